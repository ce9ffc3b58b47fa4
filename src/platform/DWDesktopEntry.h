#pragma once

#include <QByteArray>
#include <QList>
#include <QPair>
#include <QString>
#include <QStringList>
#include <optional>

// The [Desktop Entry] group of a freedesktop desktop entry file (applications,
// autostart entries): string values with their escapes undone, booleans, and
// the Exec key split into arguments. Other groups are ignored.
class DWDesktopEntry {
public:
    DWDesktopEntry() = default;

    // Nothing when the file cannot be read or has no [Desktop Entry] group.
    static std::optional<DWDesktopEntry> fromFile(const QString& path);
    static std::optional<DWDesktopEntry> fromData(const QByteArray& data);

    bool contains(const QString& key) const;
    // The value with \s, \n, \t, \r and \\ undone; empty when absent.
    QString value(const QString& key) const;
    // "true" or "false"; anything else is `defaultValue`.
    bool boolValue(const QString& key, bool defaultValue) const;
    // Replaces the key's value in place, or appends the key.
    void setValue(const QString& key, const QString& value);

    QByteArray toData() const;
    // Written to a temporary file and renamed over `path`.
    bool save(const QString& path) const;

    // The Exec value's arguments, with quoting undone and field codes (%f, %U,
    // ...) removed; empty when the quoting is broken.
    QStringList execArguments() const;
    // One argument quoted for an Exec value when it needs quoting.
    static QString quoteExecArgument(const QString& argument);

private:
    QList<QPair<QString, QString>> _values; // in file order, values unescaped
};
