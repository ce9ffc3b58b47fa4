#include "foundation/LWPreferences.h"

#include "foundation/LWBundle.h"

#include <QCoreApplication>
#include <QSettings>

LWPreferences::LWPreferences(const QString& organization, const QString& application)
    : _settings(std::make_shared<QSettings>(QSettings::NativeFormat, QSettings::UserScope,
                                            organization, application)) {}

LWPreferences LWPreferences::standard() {
    const LWBundle& bundle = LWBundle::mainBundle();
    QString organization =
        bundle.objectForInfoDictionaryKey(QStringLiteral("LWOrganizationName")).toString();
    QString application = bundle.bundleName();
    if (organization.isEmpty())
        organization = QCoreApplication::organizationName();
    if (application.isEmpty())
        application = QCoreApplication::applicationName();
    return LWPreferences(organization, application);
}

QVariant LWPreferences::objectForKey(const QString& key) const {
    return _settings->value(key);
}

namespace {
// The file keeps every value as text, and a hand-edited one may say "NO":
// after blanks, a sign and zeros, a leading Y, T or digit 1 to 9 means true.
bool textAsBool(const QString& text) {
    qsizetype i = 0;
    while (i < text.size() && text[i].isSpace())
        ++i;
    if (i < text.size() && (text[i] == u'+' || text[i] == u'-'))
        ++i;
    while (i < text.size() && text[i] == u'0')
        ++i;
    if (i == text.size())
        return false;
    const QChar c = text[i].toUpper();
    return c == u'Y' || c == u'T' || (c >= u'1' && c <= u'9');
}
} // namespace

bool LWPreferences::boolForKey(const QString& key) const {
    const QVariant value = _settings->value(key);
    if (value.typeId() == QMetaType::QString)
        return textAsBool(value.toString());
    return value.toDouble() != 0;
}

QString LWPreferences::stringForKey(const QString& key) const {
    return _settings->value(key).toString();
}

QByteArray LWPreferences::dataForKey(const QString& key) const {
    return _settings->value(key).toByteArray();
}

QStringList LWPreferences::stringArrayForKey(const QString& key) const {
    return _settings->value(key).toStringList();
}

bool LWPreferences::contains(const QString& key) const {
    return _settings->contains(key);
}

void LWPreferences::setObject(const QString& key, const QVariant& value) {
    _settings->setValue(key, value);
    // Written at once: other readers in this process and the next start see it.
    _settings->sync();
}

void LWPreferences::removeObject(const QString& key) {
    _settings->remove(key);
    _settings->sync();
}

void LWPreferences::synchronize() {
    _settings->sync();
}

QString LWPreferences::fileName() const {
    return _settings->fileName();
}
