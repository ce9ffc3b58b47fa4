#include "foundation/LWBundle.h"

#include <QFile>
#include <QJsonDocument>
#include <QMutex>
#include <optional>

namespace {
QMutex mainBundleLock;
std::optional<LWBundle> mainBundleStorage;
} // namespace

LWBundle LWBundle::fromJsonFile(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return LWBundle();
    return LWBundle(QJsonDocument::fromJson(file.readAll()).object());
}

const LWBundle& LWBundle::mainBundle() {
    QMutexLocker locker(&mainBundleLock);
    if (!mainBundleStorage)
        mainBundleStorage = fromJsonFile(QStringLiteral(":/Info.json"));
    return *mainBundleStorage;
}

void LWBundle::setMainBundle(const LWBundle& bundle) {
    QMutexLocker locker(&mainBundleLock);
    mainBundleStorage = bundle;
}

QVariant LWBundle::objectForInfoDictionaryKey(const QString& key) const {
    const auto it = _info.constFind(key);
    return it == _info.constEnd() ? QVariant() : it->toVariant();
}

QString LWBundle::bundleName() const {
    return _info.value(QStringLiteral("CFBundleName")).toString();
}

QString LWBundle::bundleIdentifier() const {
    return _info.value(QStringLiteral("CFBundleIdentifier")).toString();
}

QString LWBundle::shortVersionString() const {
    return _info.value(QStringLiteral("CFBundleShortVersionString")).toString();
}

QString LWBundle::version() const {
    return _info.value(QStringLiteral("CFBundleVersion")).toString();
}
