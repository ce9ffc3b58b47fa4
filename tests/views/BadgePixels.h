#pragma once

#include <QColor>
#include <QImage>
#include <QRect>
#include <cstdlib>

// Small readers of badge pixels shared by the badge tests.
namespace badgepixels {

// The disc's red, and the same red under the 20 % white gloss, in 8 bits.
inline const QColor kDisc(194, 13, 28);
inline const QColor kGlossedDisc(206, 61, 73);

inline bool near(const QColor& a, const QColor& b, int tolerance = 3) {
    return std::abs(a.red() - b.red()) <= tolerance &&
           std::abs(a.green() - b.green()) <= tolerance &&
           std::abs(a.blue() - b.blue()) <= tolerance && a.alpha() == b.alpha();
}

// Mostly text: at least half white over the red disc (the disc's green
// channel is far below 128, white's is 255).
inline bool isInk(const QColor& c) {
    return c.alpha() > 200 && c.green() >= 128 && c.blue() >= 128;
}

// Bounding box of the text pixels; empty when there are none.
inline QRect inkBounds(const QImage& image) {
    QRect bounds;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            if (isInk(image.pixelColor(x, y)))
                bounds |= QRect(x, y, 1, 1);
    return bounds;
}

// A colour that no badge contains: green clearly above red.
inline bool isIconGreen(const QColor& c) {
    return c.green() > c.red() + 40;
}

} // namespace badgepixels
