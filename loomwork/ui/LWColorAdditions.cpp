#include "ui/LWColorAdditions.h"

#include "foundation/LWScanner.h"

QColor lw::colorWithHexString(const QString& text) {
    const auto scanned = lw::scanHexInt(text);
    const quint32 value = scanned ? scanned->value : 0;
    const float red = float((value >> 16) & 0xFF) / 255.0f;
    const float green = float((value >> 8) & 0xFF) / 255.0f;
    const float blue = float(value & 0xFF) / 255.0f;
    return QColor::fromRgbF(red, green, blue, 1.0f);
}

QColor lw::CGColor(const QColor& color) {
    return color.toRgb();
}
