#pragma once

#include <QImage>
#include <QRectF>
#include <vector>

// A soft drop shadow made by blurring an alpha mask. Plain memory and QImage
// only: no widgets or graphics effects, so it works on any thread.
class DWShadow {
public:
    // 8-bit coverage, one byte per pixel, rows packed.
    using Mask = std::vector<uchar>;

    // Overwrites every pixel of `image` (premultiplied ARGB32; anything else
    // is left alone) with the shadow of the ellipse inscribed in `ellipse`
    // (in points): black at `alpha`, blurred by `blurRadius` points, no
    // offset. Whatever is drawn next goes on top of it.
    static void fillWithEllipseShadow(QImage& image, const QRectF& ellipse, qreal blurRadius,
                                      qreal alpha);

    // Blurs a `width` by `height` mask in place with a Gaussian of standard
    // deviation `sigma` pixels; outside the mask counts as empty.
    static void gaussianBlur(Mask& mask, int width, int height, double sigma);
};
