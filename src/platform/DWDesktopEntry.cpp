#include "platform/DWDesktopEntry.h"

#include <QFile>
#include <QSaveFile>

namespace {
QString unescapeValue(const QString& raw) {
    QString value;
    value.reserve(raw.size());
    for (qsizetype i = 0; i < raw.size(); ++i) {
        const QChar c = raw[i];
        if (c != QLatin1Char('\\') || i + 1 == raw.size()) {
            value += c;
            continue;
        }
        const QChar next = raw[++i];
        switch (next.unicode()) {
        case 's':
            value += QLatin1Char(' ');
            break;
        case 'n':
            value += QLatin1Char('\n');
            break;
        case 't':
            value += QLatin1Char('\t');
            break;
        case 'r':
            value += QLatin1Char('\r');
            break;
        case '\\':
            value += QLatin1Char('\\');
            break;
        default: // not an escape of the format: kept as written
            value += c;
            value += next;
        }
    }
    return value;
}

QString escapeValue(const QString& value) {
    QString raw;
    raw.reserve(value.size());
    for (qsizetype i = 0; i < value.size(); ++i) {
        const QChar c = value[i];
        if (c == QLatin1Char('\\'))
            raw += QLatin1String("\\\\");
        else if (c == QLatin1Char('\n'))
            raw += QLatin1String("\\n");
        else if (c == QLatin1Char('\t'))
            raw += QLatin1String("\\t");
        else if (c == QLatin1Char('\r'))
            raw += QLatin1String("\\r");
        else if (c == QLatin1Char(' ') && i == 0)
            raw += QLatin1String("\\s"); // leading blanks would be trimmed away
        else
            raw += c;
    }
    return raw;
}

bool isFieldCode(const QString& argument) {
    return argument.size() == 2 && argument[0] == QLatin1Char('%') &&
           QStringLiteral("fFuUdDnNickvm").contains(argument[1]);
}

// Inside an argument, %% is a percent sign and other field codes vanish.
QString expandPercents(const QString& argument) {
    QString expanded;
    for (qsizetype i = 0; i < argument.size(); ++i) {
        if (argument[i] != QLatin1Char('%') || i + 1 == argument.size()) {
            expanded += argument[i];
            continue;
        }
        if (argument[++i] == QLatin1Char('%'))
            expanded += QLatin1Char('%');
    }
    return expanded;
}
} // namespace

std::optional<DWDesktopEntry> DWDesktopEntry::fromFile(const QString& path) {
    QFile file(path);
    // Entries are a few hundred bytes; anything huge is not one.
    if (!file.open(QIODevice::ReadOnly) || file.size() > 1024 * 1024)
        return std::nullopt;
    return fromData(file.readAll());
}

std::optional<DWDesktopEntry> DWDesktopEntry::fromData(const QByteArray& data) {
    DWDesktopEntry entry;
    bool inGroup = false;
    bool sawGroup = false;
    for (const QByteArray& rawLine : data.split('\n')) {
        const QString line = QString::fromUtf8(rawLine).trimmed();
        if (line.isEmpty() || line.startsWith(QLatin1Char('#')))
            continue;
        if (line.startsWith(QLatin1Char('['))) {
            if (sawGroup && inGroup)
                break; // the group ends where the next begins
            inGroup = line == QLatin1String("[Desktop Entry]");
            sawGroup = sawGroup || inGroup;
            continue;
        }
        if (!inGroup)
            continue;
        const qsizetype equals = line.indexOf(QLatin1Char('='));
        if (equals <= 0)
            continue;
        const QString key = line.left(equals).trimmed();
        // The first occurrence of a key wins.
        if (!entry.contains(key))
            entry._values.append({key, unescapeValue(line.mid(equals + 1).trimmed())});
    }
    if (!sawGroup)
        return std::nullopt;
    return entry;
}

bool DWDesktopEntry::contains(const QString& key) const {
    for (const auto& pair : _values) {
        if (pair.first == key)
            return true;
    }
    return false;
}

QString DWDesktopEntry::value(const QString& key) const {
    for (const auto& pair : _values) {
        if (pair.first == key)
            return pair.second;
    }
    return QString();
}

bool DWDesktopEntry::boolValue(const QString& key, bool defaultValue) const {
    const QString text = value(key);
    if (text == QLatin1String("true"))
        return true;
    if (text == QLatin1String("false"))
        return false;
    return defaultValue;
}

void DWDesktopEntry::setValue(const QString& key, const QString& value) {
    for (auto& pair : _values) {
        if (pair.first == key) {
            pair.second = value;
            return;
        }
    }
    _values.append({key, value});
}

QByteArray DWDesktopEntry::toData() const {
    QString text = QStringLiteral("[Desktop Entry]\n");
    for (const auto& pair : _values)
        text += pair.first + QLatin1Char('=') + escapeValue(pair.second) + QLatin1Char('\n');
    return text.toUtf8();
}

bool DWDesktopEntry::save(const QString& path) const {
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return false;
    file.write(toData());
    return file.commit();
}

QStringList DWDesktopEntry::execArguments() const {
    const QString exec = value(QStringLiteral("Exec"));
    QStringList arguments;
    QString current;
    bool inQuotes = false;
    bool inArgument = false;
    for (qsizetype i = 0; i < exec.size(); ++i) {
        const QChar c = exec[i];
        if (inQuotes) {
            if (c == QLatin1Char('\\') && i + 1 < exec.size() &&
                QStringLiteral("\"`$\\").contains(exec[i + 1]))
                current += exec[++i];
            else if (c == QLatin1Char('"'))
                inQuotes = false;
            else
                current += c;
        } else if (c == QLatin1Char(' ') || c == QLatin1Char('\t')) {
            if (inArgument)
                arguments.append(current);
            current.clear();
            inArgument = false;
        } else if (c == QLatin1Char('"')) {
            inQuotes = true;
            inArgument = true;
        } else {
            current += c;
            inArgument = true;
        }
    }
    if (inQuotes)
        return {};
    if (inArgument)
        arguments.append(current);

    QStringList expanded;
    for (const QString& argument : std::as_const(arguments)) {
        if (!isFieldCode(argument))
            expanded.append(expandPercents(argument));
    }
    return expanded;
}

QString DWDesktopEntry::quoteExecArgument(const QString& argument) {
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
