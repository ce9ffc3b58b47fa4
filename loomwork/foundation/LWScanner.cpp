#include "foundation/LWScanner.h"

#include <algorithm>
#include <limits>

namespace {
qsizetype skipWhiteSpace(QStringView text, qsizetype at) {
    while (at < text.size() && text[at].isSpace())
        ++at;
    return at;
}
} // namespace

int lw::hexDigitValue(QChar c) {
    const char16_t u = c.unicode();
    if (u >= u'0' && u <= u'9')
        return u - u'0';
    if (u >= u'a' && u <= u'f')
        return u - u'a' + 10;
    if (u >= u'A' && u <= u'F')
        return u - u'A' + 10;
    return -1;
}

std::optional<lw::LWScannedUInt> lw::scanHexInt(QStringView text, qsizetype from) {
    qsizetype at = skipWhiteSpace(text, qMax<qsizetype>(0, from));
    // "0x" counts as a prefix only when a digit follows it; otherwise the "0"
    // is the number.
    if (at + 2 < text.size() && text[at] == u'0' &&
        (text[at + 1] == u'x' || text[at + 1] == u'X') && hexDigitValue(text[at + 2]) >= 0) {
        at += 2;
    }
    if (at >= text.size() || hexDigitValue(text[at]) < 0)
        return std::nullopt;
    quint64 value = 0;
    while (at < text.size()) {
        const int digit = hexDigitValue(text[at]);
        if (digit < 0)
            break;
        value = qMin<quint64>(value * 16 + quint64(digit), std::numeric_limits<quint32>::max());
        ++at;
    }
    return LWScannedUInt{quint32(value), at};
}

std::optional<lw::LWScannedInt> lw::scanInt(QStringView text, qsizetype from) {
    qsizetype at = skipWhiteSpace(text, qMax<qsizetype>(0, from));
    bool negative = false;
    if (at < text.size() && (text[at] == u'+' || text[at] == u'-')) {
        negative = text[at] == u'-';
        ++at;
    }
    if (at >= text.size() || text[at].unicode() < u'0' || text[at].unicode() > u'9')
        return std::nullopt;
    qint64 value = 0;
    constexpr qint64 limit = qint64(std::numeric_limits<qint32>::max()) + 1;
    while (at < text.size() && text[at].unicode() >= u'0' && text[at].unicode() <= u'9') {
        value = qMin<qint64>(value * 10 + (text[at].unicode() - u'0'), limit);
        ++at;
    }
    if (negative)
        value = -value;
    value = std::clamp<qint64>(value, std::numeric_limits<qint32>::min(),
                               std::numeric_limits<qint32>::max());
    return LWScannedInt{qint32(value), at};
}
