#include "foundation/LWStringAdditions.h"

#include "foundation/LWHTMLEntities.h"
#include "foundation/LWScanner.h"

std::optional<LWTimestamp> lw::lastModifiedDate(const QString& path) {
    if (path.isEmpty())
        return std::nullopt;
    return contentModificationDate(path);
}

QString lw::uniquePrefixComparedTo(const QString& string, const std::optional<QString>& other) {
    if (string.isEmpty())
        return QString();
    if (!other)
        return string.left(1);
    for (qsizetype n = 1; n <= string.size(); ++n) {
        if (QStringView(string).left(n) != QStringView(*other).left(n))
            return string.left(n);
    }
    return string;
}

namespace {
constexpr qsizetype shortestEntity = 4; // "&lt;"
constexpr qsizetype longestEntity = 10; // "&thetasym;"
constexpr qint64 largestNumericReference = 0xFFFE;

// The code unit a numeric reference such as "&#65;" or "&#x41;" stands for.
std::optional<char16_t> decodeNumericReference(QStringView candidate) {
    const qsizetype semicolon = candidate.size() - 1;
    qint64 value = 0;
    if (candidate[2] == u'x' || candidate[2] == u'X') {
        const auto scanned = lw::scanHexInt(candidate, 3);
        if (!scanned || scanned->end != semicolon)
            return std::nullopt;
        value = scanned->value;
    } else {
        const auto scanned = lw::scanInt(candidate, 2);
        if (!scanned || scanned->end != semicolon)
            return std::nullopt;
        value = scanned->value;
    }
    if (value < 1 || value > largestNumericReference)
        return std::nullopt;
    return char16_t(value);
}
} // namespace

QString lw::stringByUnescapingHTML(const QString& string) {
    qsizetype amp = string.lastIndexOf(u'&');
    if (amp < 0)
        return string;
    // Positions come from the input, and the work runs from the back, so a
    // replacement never moves text still to be looked at and decoded text is
    // never decoded again.
    QString result = string;
    qsizetype nextAmp = string.size();
    while (amp >= 0) {
        qsizetype semicolon = -1;
        for (qsizetype i = amp + 1; i < nextAmp; ++i) {
            if (string[i] == u';') {
                semicolon = i;
                break;
            }
        }
        if (semicolon >= 0) {
            const QStringView candidate = QStringView(string).mid(amp, semicolon - amp + 1);
            if (candidate.size() >= shortestEntity && candidate.size() <= longestEntity) {
                const std::optional<char16_t> unit = candidate[1] == u'#'
                                                         ? decodeNumericReference(candidate)
                                                         : codeUnitForHTMLEntity(candidate);
                if (unit)
                    result.replace(amp, candidate.size(), QChar(*unit));
            }
        }
        nextAmp = amp;
        amp = amp > 0 ? string.lastIndexOf(u'&', amp - 1) : -1;
    }
    return result;
}

std::optional<QString> lw::stringByEncodingAsUrlParameterValue(const QString& string) {
    for (qsizetype i = 0; i < string.size(); ++i) {
        const QChar c = string[i];
        if (c.isHighSurrogate() && i + 1 < string.size() && string[i + 1].isLowSurrogate()) {
            ++i;
            continue;
        }
        if (c.isSurrogate())
            return std::nullopt;
    }
    return QString::fromLatin1(string.toUtf8().toPercentEncoding());
}

bool lw::isAnyEnterCharacter(const QString& string) {
    if (string.size() != 1)
        return false;
    const char16_t unit = string[0].unicode();
    return unit == 0x0003 || unit == 0x000A || unit == 0x000D;
}

QStringList lw::splitIntoURLComponents(const QString& string) {
    const QStringList halves = string.split(QStringLiteral("://"));
    if (halves.size() != 2)
        return {};
    QStringList components{halves[0]};
    components.append(halves[1].split(u'/'));
    return components;
}
