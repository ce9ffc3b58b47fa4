#pragma once

#include <QJsonObject>
#include <QString>
#include <QVariant>

// The application's information list: names, identifiers, versions and the
// library's configuration keys. The main bundle reads ":/Info.json", which the
// application embeds; tests substitute their own with setMainBundle().
class LWBundle {
public:
    LWBundle() = default;
    explicit LWBundle(QJsonObject info) : _info(std::move(info)) {}

    // Damaged or missing JSON gives an empty bundle: every key is then absent.
    static LWBundle fromJsonFile(const QString& path);

    static const LWBundle& mainBundle();
    static void setMainBundle(const LWBundle& bundle);

    // An invalid QVariant when the key is absent.
    QVariant objectForInfoDictionaryKey(const QString& key) const;
    const QJsonObject& infoDictionary() const { return _info; }

    QString bundleName() const;
    QString bundleIdentifier() const;
    QString shortVersionString() const;
    QString version() const;

private:
    QJsonObject _info;
};
