#pragma once

#include <QStringView>
#include <optional>

// Number reading with the rules of the number scanner the library's text
// helpers were written against: white space and line breaks at the front are
// skipped, then a number is read as far as it goes. Overflow saturates.
// By hand: QStringView::toInt reads whole strings only and fails on overflow.
namespace lw {
struct LWScannedUInt {
    quint32 value;
    qsizetype end; // position just after the last character read
};
struct LWScannedInt {
    qint32 value;
    qsizetype end;
};

// The value of one hexadecimal digit (either case), or -1.
int hexDigitValue(QChar c);

// Hexadecimal digits with an optional "0x" or "0X" in front. Nothing when no
// digit follows the white space.
std::optional<LWScannedUInt> scanHexInt(QStringView text, qsizetype from = 0);
// Decimal digits with an optional "+" or "-" in front.
std::optional<LWScannedInt> scanInt(QStringView text, qsizetype from = 0);
} // namespace lw
