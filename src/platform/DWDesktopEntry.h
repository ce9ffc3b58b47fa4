#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <memory>
#include <optional>

struct _GKeyFile;

// The [Desktop Entry] group of a freedesktop desktop entry file (applications,
// autostart entries), read and written by GLib's key-file parser: the rules
// the session itself applies to the entries it starts.
class DWDesktopEntry {
public:
    DWDesktopEntry();

    // Nothing when the file cannot be read or parsed, or has no [Desktop Entry]
    // group.
    static std::optional<DWDesktopEntry> fromFile(const QString& path);
    static std::optional<DWDesktopEntry> fromData(const QByteArray& data);

    bool contains(const QString& key) const;
    // The value with its escapes undone; empty when absent.
    QString value(const QString& key) const;
    // "true" or "1", "false" or "0"; anything else is `defaultValue`.
    bool boolValue(const QString& key, bool defaultValue) const;
    void setValue(const QString& key, const QString& value);

    QByteArray toData() const;
    // Written to a temporary file and renamed over `path`.
    bool save(const QString& path) const;

    // The Exec value's arguments, with field codes (%f, %U, ...) removed and
    // quoting undone; empty when the quoting is broken.
    QStringList execArguments() const;
    // One argument quoted for an Exec value when it needs quoting.
    static QString quoteExecArgument(const QString& argument);

private:
    std::unique_ptr<_GKeyFile, void (*)(_GKeyFile*)> _keyFile;
};
