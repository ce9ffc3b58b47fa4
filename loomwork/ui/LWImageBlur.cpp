#include "ui/LWImageBlur.h"

#include <cmath>
#include <vector>

namespace {
// One box pass along rows (horizontal) or columns, radius r, edges clamped
// to zero (nothing lies outside the mask).
void boxPass(std::vector<int>& values, int width, int height, int r, bool horizontal) {
    if (r <= 0)
        return;
    std::vector<int> source = values;
    const int lines = horizontal ? height : width;
    const int length = horizontal ? width : height;
    const int divisor = 2 * r + 1;
    for (int line = 0; line < lines; ++line) {
        auto at = [&](int i) -> int& {
            return horizontal ? source[size_t(line * width + i)] : source[size_t(i * width + line)];
        };
        auto out = [&](int i) -> int& {
            return horizontal ? values[size_t(line * width + i)] : values[size_t(i * width + line)];
        };
        int sum = 0;
        for (int i = -r; i <= r; ++i)
            sum += (i >= 0 && i < length) ? at(i) : 0;
        for (int i = 0; i < length; ++i) {
            out(i) = (sum + divisor / 2) / divisor;
            const int leaving = i - r;
            const int entering = i + r + 1;
            if (leaving >= 0)
                sum -= at(leaving);
            if (entering < length)
                sum += at(entering);
        }
    }
}
} // namespace

QImage lw::blurredAlphaMask(const QImage& mask, qreal radius) {
    const QImage alpha = mask.convertToFormat(QImage::Format_Alpha8);
    const int width = alpha.width();
    const int height = alpha.height();
    if (width == 0 || height == 0)
        return alpha;
    std::vector<int> values(size_t(width) * size_t(height));
    for (int y = 0; y < height; ++y) {
        const uchar* line = alpha.constScanLine(y);
        for (int x = 0; x < width; ++x)
            values[size_t(y * width + x)] = line[x];
    }
    // Three box passes of this radius approximate a Gaussian with a standard
    // deviation of half the blur radius.
    const qreal sigma = radius / 2;
    const int box = int(std::lround((std::sqrt(4 * sigma * sigma + 1) - 1) / 2));
    for (int pass = 0; pass < 3; ++pass) {
        boxPass(values, width, height, box, true);
        boxPass(values, width, height, box, false);
    }
    QImage result(width, height, QImage::Format_Alpha8);
    for (int y = 0; y < height; ++y) {
        uchar* line = result.scanLine(y);
        for (int x = 0; x < width; ++x)
            line[x] = uchar(qBound(0, values[size_t(y * width + x)], 255));
    }
    return result;
}

QImage lw::shadowFromAlphaMask(const QImage& mask, const QColor& color) {
    const QImage alpha = mask.convertToFormat(QImage::Format_Alpha8);
    QImage result(alpha.size(), QImage::Format_ARGB32_Premultiplied);
    const QRgb rgb = color.rgba();
    for (int y = 0; y < alpha.height(); ++y) {
        const uchar* in = alpha.constScanLine(y);
        auto* out = reinterpret_cast<QRgb*>(result.scanLine(y));
        for (int x = 0; x < alpha.width(); ++x) {
            const int a = in[x] * qAlpha(rgb) / 255;
            out[x] = qPremultiply(qRgba(qRed(rgb), qGreen(rgb), qBlue(rgb), a));
        }
    }
    return result;
}
