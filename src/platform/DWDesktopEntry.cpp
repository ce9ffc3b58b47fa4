#include "platform/DWDesktopEntry.h"

#include <QFile>
#include <glib.h>

namespace {
constexpr char group[] = "Desktop Entry";

QString takeString(gchar* text) {
    const QString string = QString::fromUtf8(text);
    g_free(text);
    return string;
}
} // namespace

DWDesktopEntry::DWDesktopEntry() : _keyFile(g_key_file_new(), g_key_file_unref) {}

std::optional<DWDesktopEntry> DWDesktopEntry::fromFile(const QString& path) {
    QFile file(path);
    // Entries are a few hundred bytes; anything huge is not one.
    if (!file.open(QIODevice::ReadOnly) || file.size() > 1024 * 1024)
        return std::nullopt;
    return fromData(file.readAll());
}

std::optional<DWDesktopEntry> DWDesktopEntry::fromData(const QByteArray& data) {
    DWDesktopEntry entry;
    if (!g_key_file_load_from_data(entry._keyFile.get(), data.constData(), gsize(data.size()),
                                   G_KEY_FILE_NONE, nullptr) ||
        !g_key_file_has_group(entry._keyFile.get(), group))
        return std::nullopt;
    return entry;
}

bool DWDesktopEntry::contains(const QString& key) const {
    return g_key_file_has_key(_keyFile.get(), group, key.toUtf8().constData(), nullptr);
}

QString DWDesktopEntry::value(const QString& key) const {
    return takeString(
        g_key_file_get_string(_keyFile.get(), group, key.toUtf8().constData(), nullptr));
}

bool DWDesktopEntry::boolValue(const QString& key, bool defaultValue) const {
    GError* error = nullptr;
    const bool value =
        g_key_file_get_boolean(_keyFile.get(), group, key.toUtf8().constData(), &error);
    if (!error)
        return value;
    g_error_free(error);
    return defaultValue;
}

void DWDesktopEntry::setValue(const QString& key, const QString& value) {
    g_key_file_set_string(_keyFile.get(), group, key.toUtf8().constData(),
                          value.toUtf8().constData());
}

QByteArray DWDesktopEntry::toData() const {
    gsize length = 0;
    gchar* data = g_key_file_to_data(_keyFile.get(), &length, nullptr);
    const QByteArray bytes(data, qsizetype(length));
    g_free(data);
    return bytes;
}

bool DWDesktopEntry::save(const QString& path) const {
    return g_key_file_save_to_file(_keyFile.get(), QFile::encodeName(path).constData(), nullptr);
}

QStringList DWDesktopEntry::execArguments() const {
    // As GLib launches an entry: "%%" is a percent sign, other field codes
    // expand to nothing without files, then the line is split like a shell's.
    const QByteArray exec = value(QStringLiteral("Exec")).toUtf8();
    QByteArray expanded;
    for (qsizetype i = 0; i < exec.size(); ++i) {
        if (exec[i] != '%' || i + 1 == exec.size())
            expanded += exec[i];
        else if (exec[++i] == '%')
            expanded += '%';
    }
    gchar** argv = nullptr;
    if (!g_shell_parse_argv(expanded.constData(), nullptr, &argv, nullptr))
        return {};
    QStringList arguments;
    for (gchar** argument = argv; *argument; ++argument)
        arguments.append(QString::fromUtf8(*argument));
    g_strfreev(argv);
    return arguments;
}

QString DWDesktopEntry::quoteExecArgument(const QString& argument) {
    // The format allows double quotes only, so GLib's g_shell_quote (single
    // quotes) does not fit.
    QString text = argument;
    text.replace(QLatin1Char('%'), QLatin1String("%%"));
    static const QString reserved = QStringLiteral(" \t\n\"'\\><~|&;$*?#()`");
    bool needsQuotes = text.isEmpty();
    for (const QChar c : std::as_const(text))
        needsQuotes = needsQuotes || reserved.contains(c);
    if (!needsQuotes)
        return text;
    QString quoted = QStringLiteral("\"");
    for (const QChar c : std::as_const(text)) {
        if (c == QLatin1Char('"') || c == QLatin1Char('`') || c == QLatin1Char('$') ||
            c == QLatin1Char('\\'))
            quoted += QLatin1Char('\\');
        quoted += c;
    }
    return quoted + QLatin1Char('"');
}
