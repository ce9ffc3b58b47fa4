#pragma once

#include <QColor>
#include <QString>

// Additions to colours.
namespace lw {
// "FF8000" or "0xFF8000" (leading white space allowed) as an opaque RGB
// colour; reading stops at the first non-hexadecimal character, so "#FF8000"
// and unreadable text give black. Bits above the lowest 24 are ignored.
QColor colorWithHexString(const QString& text);
// The colour as plain RGB components with its alpha, for drawing code that
// wants components rather than a colour model.
QColor CGColor(const QColor& color);
} // namespace lw
