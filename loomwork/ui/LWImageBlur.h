#pragma once

#include <QColor>
#include <QImage>

// Soft shadows for QPainter drawing: blur an alpha mask, then colour it.
// Plain QImage work, safe on any thread.
namespace lw {
// A Gaussian-like blur (three box passes) of an alpha mask (any format; its
// alpha is used) with roughly the given radius; the result is Format_Alpha8
// of the same size.
QImage blurredAlphaMask(const QImage& mask, qreal radius);
// The mask as an image of `color` (premultiplied ARGB32), with the mask's
// alpha times the colour's.
QImage shadowFromAlphaMask(const QImage& mask, const QColor& color);
} // namespace lw
