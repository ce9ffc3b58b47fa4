#include "fakes/FakeFileEmblems.h"

#include <QFileInfo>

bool FakeFileEmblems::replaceEmblem(const QString& path, const QString& ownPrefix,
                                    const QString& name) {
    if (!QFileInfo::exists(path))
        return false;
    std::lock_guard lock(_lock);
    QStringList& emblems = _emblems[path];
    emblems.removeIf([&](const QString& emblem) { return emblem.startsWith(ownPrefix); });
    if (!name.isEmpty())
        emblems.append(name);
    if (emblems.isEmpty())
        _emblems.remove(path);
    return true;
}

QStringList FakeFileEmblems::emblems(const QString& path) const {
    std::lock_guard lock(_lock);
    return _emblems.value(path);
}

void FakeFileEmblems::setEmblems(const QString& path, const QStringList& emblems) {
    std::lock_guard lock(_lock);
    _emblems.insert(path, emblems);
}
