#include "views/DWShadow.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <type_traits>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace {
using Mask = DWShadow::Mask;

// Widths of three successive box blurs that together approximate a Gaussian
// of the given sigma (the usual box-blur cascade).
std::array<int, 3> boxRadiiForGauss(double sigma) {
    constexpr int passes = 3;
    const double idealWidth = std::sqrt(12.0 * sigma * sigma / passes + 1.0);
    int lower = int(std::floor(idealWidth));
    if (lower % 2 == 0)
        --lower;
    const int upper = lower + 2;
    const double idealCount =
        (12.0 * sigma * sigma - passes * lower * lower - 4.0 * passes * lower - 3.0 * passes) /
        (-4.0 * lower - 4.0);
    const int lowerCount = int(std::lround(idealCount));
    std::array<int, 3> radii{};
    for (int i = 0; i < passes; ++i)
        radii[size_t(i)] = ((i < lowerCount ? lower : upper) - 1) / 2;
    return radii;
}

// dst = round(sums / window) through a 0.16 fixed-point reciprocal, clamped
// to a byte; off by one level now and then, which a shadow never shows.
template <typename Sum>
void divideSums(const Sum* __restrict sums, uchar* __restrict dst, int width, Sum half,
                Sum reciprocal) {
    using Wide = std::conditional_t<sizeof(Sum) == 2, uint32_t, uint64_t>;
    for (int x = 0; x < width; ++x) {
        const Sum rounded = Sum(sums[x] + half);
        const Sum level = Sum((Wide(rounded) * Wide(reciprocal)) >> 16);
        dst[x] = uchar(std::min<Sum>(255, level));
    }
}

#if defined(__SSE2__)
// The common case, 16 pixels at a time: the compilers do not find this form
// on their own.
template <>
void divideSums<uint16_t>(const uint16_t* __restrict sums, uchar* __restrict dst, int width,
                          uint16_t half, uint16_t reciprocal) {
    const __m128i halves = _mm_set1_epi16(short(half));
    const __m128i reciprocals = _mm_set1_epi16(short(reciprocal));
    int x = 0;
    for (; x + 16 <= width; x += 16) {
        const __m128i low = _mm_loadu_si128(reinterpret_cast<const __m128i*>(sums + x));
        const __m128i high = _mm_loadu_si128(reinterpret_cast<const __m128i*>(sums + x + 8));
        // Levels are at most 256 here, so the signed saturating pack clamps
        // them to 255 just right.
        _mm_storeu_si128(
            reinterpret_cast<__m128i*>(dst + x),
            _mm_packus_epi16(_mm_mulhi_epu16(_mm_add_epi16(low, halves), reciprocals),
                             _mm_mulhi_epu16(_mm_add_epi16(high, halves), reciprocals)));
    }
    for (; x < width; ++x)
        dst[x] = uchar(std::min(255u, (uint32_t(uint16_t(sums[x] + half)) * reciprocal) >> 16));
}
#endif

// One box pass of radius r down every column of a `width` by `height` mask,
// worked a row at a time so that the inner loops run over contiguous bytes
// and vectorise. Samples outside the mask count as 0, which is right for a
// shape that lies inside it.
template <typename Sum>
void boxBlurColumns(const uchar* __restrict in, uchar* __restrict out, int width, int height, int r,
                    Sum* __restrict sums) {
    const Sum window = Sum(2 * r + 1);
    const Sum half = Sum(window / 2);
    // Rounded up, so that a full window of 255 still gives 255; 16 bits hold
    // it for every window above 1, and a window of 1 is a plain copy.
    const Sum reciprocal = Sum((65536u + window - 1) / window);
    if (r <= 0) {
        std::copy(in, in + qsizetype(width) * height, out);
        return;
    }
    std::fill(sums, sums + width, Sum(0));
    for (int k = 0; k <= std::min(r, height - 1); ++k) {
        const uchar* row = in + qsizetype(k) * width;
        for (int x = 0; x < width; ++x)
            sums[x] += row[x];
    }
    for (int y = 0; y < height; ++y) {
        divideSums(sums, out + qsizetype(y) * width, width, half, reciprocal);
        if (y + r + 1 < height) {
            const uchar* row = in + qsizetype(y + r + 1) * width;
            for (int x = 0; x < width; ++x)
                sums[x] += row[x];
        }
        if (y - r >= 0) {
            const uchar* row = in + qsizetype(y - r) * width;
            for (int x = 0; x < width; ++x)
                sums[x] -= row[x];
        }
    }
}

// Three box passes down the columns, from `mask` back into `mask`.
void boxBlurColumnsThreeTimes(Mask& mask, Mask& scratch, int width, int height,
                              const std::array<int, 3>& radii) {
    const int widestWindow = 2 * *std::max_element(radii.begin(), radii.end()) + 1;
    auto run = [&](auto* sums) {
        boxBlurColumns(mask.data(), scratch.data(), width, height, radii[0], sums);
        boxBlurColumns(scratch.data(), mask.data(), width, height, radii[1], sums);
        boxBlurColumns(mask.data(), scratch.data(), width, height, radii[2], sums);
        mask.swap(scratch);
    };
    if (255 * (widestWindow + 1) <= 65535) {
        std::vector<uint16_t> sums(static_cast<size_t>(width));
        run(sums.data());
    } else {
        std::vector<uint32_t> sums(static_cast<size_t>(width));
        run(sums.data());
    }
}

void transpose(const uchar* __restrict in, uchar* __restrict out, int width, int height) {
    constexpr int block = 16;
    for (int y0 = 0; y0 < height; y0 += block)
        for (int x0 = 0; x0 < width; x0 += block)
            for (int y = y0; y < std::min(height, y0 + block); ++y)
                for (int x = x0; x < std::min(width, x0 + block); ++x)
                    out[qsizetype(x) * height + y] = in[qsizetype(y) * width + x];
}

// A true Gaussian kernel, for small blurs where boxes of a pixel or two would
// cut the tail off. Rows first, then columns.
void gaussianKernelBlur(Mask& mask, int width, int height, double sigma) {
    const int radius = int(std::ceil(3 * sigma));
    std::vector<double> weights(size_t(2 * radius + 1));
    double total = 0;
    for (int k = -radius; k <= radius; ++k)
        total += weights[size_t(k + radius)] = std::exp(-k * k / (2 * sigma * sigma));
    std::vector<uint32_t> fixedWeights; // 16.16 fixed point
    for (const double weight : weights)
        fixedWeights.push_back(uint32_t(std::lround(weight / total * 65536)));

    Mask across(mask.size());
    for (int y = 0; y < height; ++y) {
        const uchar* src = mask.data() + qsizetype(y) * width;
        uchar* dst = across.data() + qsizetype(y) * width;
        for (int x = 0; x < width; ++x) {
            uint32_t sum = 0;
            for (int k = std::max(0, x - radius); k <= std::min(width - 1, x + radius); ++k)
                sum += src[k] * fixedWeights[size_t(k - x + radius)];
            dst[x] = uchar(std::min<uint32_t>(255, (sum + 32768u) >> 16));
        }
    }
    std::vector<uint32_t> sums(static_cast<size_t>(width));
    for (int y = 0; y < height; ++y) {
        std::fill(sums.begin(), sums.end(), 0);
        for (int k = std::max(0, y - radius); k <= std::min(height - 1, y + radius); ++k) {
            const uchar* src = across.data() + qsizetype(k) * width;
            const uint32_t weight = fixedWeights[size_t(k - y + radius)];
            for (int x = 0; x < width; ++x)
                sums[size_t(x)] += src[x] * weight;
        }
        uchar* dst = mask.data() + qsizetype(y) * width;
        for (int x = 0; x < width; ++x)
            dst[x] = uchar(std::min<uint32_t>(255, (sums[size_t(x)] + 32768u) >> 16));
    }
}

// Large blurs use three box passes each way, which cost the same whatever the
// radius and stay within a level or two of the true Gaussian; the passes
// across run down the columns of the transposed mask, much faster than along
// its rows.
void gaussianBlurImpl(Mask& mask, int width, int height, double sigma) {
    if (sigma <= 0)
        return;
    if (sigma < 2.5) {
        gaussianKernelBlur(mask, width, height, sigma);
        return;
    }
    const std::array<int, 3> radii = boxRadiiForGauss(sigma);
    Mask scratch(mask.size());
    boxBlurColumnsThreeTimes(mask, scratch, width, height, radii);
    transpose(mask.data(), scratch.data(), width, height);
    mask.swap(scratch);
    boxBlurColumnsThreeTimes(mask, scratch, height, width, radii);
    transpose(mask.data(), scratch.data(), height, width);
    mask.swap(scratch);
}

// Coverage of the ellipse inscribed in `ellipse` (pixels) for a `width` by
// `height` mask, smoothed over about one pixel at the rim. Only the shadow
// uses it, after a blur, so the distance to the rim of a non-circular ellipse
// may be approximate. Each row is worked out as a span: only the pixels near
// the rim need a square root, the inside is filled.
Mask ellipseCoverage(int width, int height, const QRectF& ellipse) {
    Mask mask(size_t(width) * size_t(height), 0);
    const float cx = float(ellipse.center().x());
    const float cy = float(ellipse.center().y());
    const float rx = float(ellipse.width() / 2);
    const float ry = float(ellipse.height() / 2);
    if (!(rx > 0) || !(ry > 0))
        return mask;
    const float rim = std::min(rx, ry);                    // pixels per unit of normalised radius
    const float outer = 1.0f + 1.0f / rim;                 // beyond: nothing
    const float inner = std::max(0.0f, 1.0f - 1.0f / rim); // within: fully covered
    for (int y = 0; y < height; ++y) {
        const float dy = (float(y) + 0.5f - cy) / ry;
        const float outerHalf = rx * std::sqrt(std::max(0.0f, outer * outer - dy * dy));
        if (outerHalf <= 0)
            continue;
        const float innerHalf = rx * std::sqrt(std::max(0.0f, inner * inner - dy * dy));
        uchar* row = mask.data() + qsizetype(y) * width;
        const int from = std::max(0, int(std::floor(cx - outerHalf)));
        const int to = std::min(width, int(std::ceil(cx + outerHalf)));
        for (int x = from; x < to; ++x) {
            const float offset = float(x) + 0.5f - cx;
            if (std::abs(offset) < innerHalf) {
                row[x] = 255;
                continue;
            }
            const float dx = offset / rx;
            const float inside = (1.0f - std::sqrt(dx * dx + dy * dy)) * rim + 0.5f;
            row[x] = uchar(std::clamp(inside, 0.0f, 1.0f) * 255.0f + 0.5f);
        }
    }
    return mask;
}

} // namespace

void DWShadow::gaussianBlur(Mask& mask, int width, int height, double sigma) {
    if (width < 1 || height < 1 || mask.size() != size_t(width) * size_t(height))
        return;
    gaussianBlurImpl(mask, width, height, sigma);
}

void DWShadow::fillWithEllipseShadow(QImage& image, const QRectF& ellipse, qreal blurRadius,
                                     qreal alpha) {
    if (image.isNull() || image.format() != QImage::Format_ARGB32_Premultiplied)
        return;
    const qreal scale = image.devicePixelRatio();
    const int width = image.width();
    const int height = image.height();
    Mask mask = ellipseCoverage(width, height,
                                QRectF(ellipse.x() * scale, ellipse.y() * scale,
                                       ellipse.width() * scale, ellipse.height() * scale));
    // A blur radius spreads about two standard deviations, as shadows in
    // desktop drawing APIs conventionally do.
    gaussianBlur(mask, width, height, blurRadius * scale * 0.5);
    const uint32_t opacity = uint32_t(std::lround(std::clamp(alpha, 0.0, 1.0) * 255));
    for (int y = 0; y < height; ++y) {
        auto* pixels = reinterpret_cast<QRgb*>(image.scanLine(y));
        const uchar* coverage = mask.data() + qsizetype(y) * width;
        for (int x = 0; x < width; ++x)
            pixels[x] = QRgb((coverage[x] * opacity + 127) / 255) << 24; // premultiplied black
    }
}
