#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <QVariant>
#include <memory>

class QSettings;

// The user's preferences: a thin wrapper over QSettings, so that every reader
// and writer names the same store. On Linux it lives under $XDG_CONFIG_HOME.
class LWPreferences {
public:
    LWPreferences(const QString& organization, const QString& application);

    // The application's own store: organisation "LWOrganizationName" and
    // application "CFBundleName" from the main bundle, or QCoreApplication's.
    static LWPreferences standard();

    QVariant objectForKey(const QString& key) const;
    bool boolForKey(const QString& key) const;
    QString stringForKey(const QString& key) const;
    QByteArray dataForKey(const QString& key) const;
    QStringList stringArrayForKey(const QString& key) const;
    bool contains(const QString& key) const;

    void setObject(const QString& key, const QVariant& value);
    void setBool(const QString& key, bool value) { setObject(key, value); }
    void removeObject(const QString& key);
    // Writes pending changes to disk now.
    void synchronize();

    QString fileName() const;

private:
    std::shared_ptr<QSettings> _settings;
};
