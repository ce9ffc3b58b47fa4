#include "views/DWBadgeImage.h"

#include <QColor>
#include <QFont>
#include <QGuiApplication>
#include <QPainter>
#include <QPainterPath>
#include <algorithm>
#include <cmath>
#include <vector>

namespace {
int pixelExtent(qreal points, qreal devicePixelRatio) {
    // A hair below the next integer still counts as that integer: 2 x 25.5
    // must give 51 pixels, not 52.
    return int(std::ceil(points * devicePixelRatio - 1e-6));
}

QImage newCanvas(QSizeF points, qreal devicePixelRatio) {
    if (!(points.width() > 0) || !(points.height() > 0) || !(devicePixelRatio > 0))
        return QImage();
    const int width = pixelExtent(points.width(), devicePixelRatio);
    const int height = pixelExtent(points.height(), devicePixelRatio);
    if (width < 1 || height < 1 || width > DWBadgeImage::kMaxPixelSide ||
        height > DWBadgeImage::kMaxPixelSide)
        return QImage();
    QImage image(width, height, QImage::Format_ARGB32_Premultiplied);
    if (image.isNull())
        return image;
    image.setDevicePixelRatio(devicePixelRatio);
    image.fill(Qt::transparent);
    return image;
}

// Widths of three successive box blurs that together approximate a Gaussian
// of the given sigma (the usual box-blur cascade).
std::vector<int> boxRadiiForGauss(double sigma) {
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
    std::vector<int> radii;
    for (int i = 0; i < passes; ++i)
        radii.push_back(((i < lowerCount ? lower : upper) - 1) / 2);
    return radii;
}

// One box blur of radius r over a line; samples outside the line count as 0,
// which is right for a mask whose shape lies inside the image.
void boxBlurLine(const uchar* in, uchar* out, int length, int r) {
    if (r <= 0) {
        std::copy(in, in + length, out);
        return;
    }
    const int window = 2 * r + 1;
    int sum = 0;
    for (int k = 0; k <= std::min(r, length - 1); ++k)
        sum += in[k];
    for (int x = 0; x < length; ++x) {
        out[x] = uchar((sum + window / 2) / window);
        if (x + r + 1 < length)
            sum += in[x + r + 1];
        if (x - r >= 0)
            sum -= in[x - r];
    }
}

// Runs `blurLine(in, out, length)` over every row, then every column, of an
// 8-bit mask, in place.
template <typename BlurLine> void blurRowsAndColumns(QImage& mask, BlurLine blurLine) {
    const int width = mask.width();
    const int height = mask.height();
    std::vector<uchar> in(size_t(std::max(width, height)));
    std::vector<uchar> out(in.size());
    for (int y = 0; y < height; ++y) {
        uchar* row = mask.scanLine(y);
        std::copy(row, row + width, in.begin());
        blurLine(in.data(), out.data(), width);
        std::copy(out.begin(), out.begin() + width, row);
    }
    const qsizetype stride = mask.bytesPerLine();
    uchar* bits = mask.bits();
    for (int x = 0; x < width; ++x) {
        for (int y = 0; y < height; ++y)
            in[size_t(y)] = bits[y * stride + x];
        blurLine(in.data(), out.data(), height);
        for (int y = 0; y < height; ++y)
            bits[y * stride + x] = out[size_t(y)];
    }
}

// A true Gaussian kernel, for small blurs where three boxes of a pixel or two
// would cut the tail off.
void gaussianKernelBlur(QImage& mask, double sigma) {
    const int radius = int(std::ceil(3 * sigma));
    std::vector<double> weights(size_t(2 * radius + 1));
    double total = 0;
    for (int k = -radius; k <= radius; ++k)
        total += weights[size_t(k + radius)] = std::exp(-k * k / (2 * sigma * sigma));
    std::vector<int> fixedWeights; // 16.16 fixed point
    for (const double weight : weights)
        fixedWeights.push_back(int(std::lround(weight / total * 65536)));
    blurRowsAndColumns(mask, [&](const uchar* in, uchar* out, int length) {
        for (int x = 0; x < length; ++x) {
            int sum = 0;
            const int from = std::max(0, x - radius);
            const int to = std::min(length - 1, x + radius);
            for (int k = from; k <= to; ++k)
                sum += in[k] * fixedWeights[size_t(k - x + radius)];
            out[x] = uchar(std::min(255, (sum + 32768) >> 16));
        }
    });
}

// Blurs an 8-bit mask in place with a Gaussian of the given sigma (pixels).
// Large blurs use three box passes each way, which cost the same whatever the
// radius and are within a level or two of the true Gaussian.
void gaussianBlur(QImage& mask, double sigma) {
    if (sigma <= 0)
        return;
    if (sigma < 2.5) {
        gaussianKernelBlur(mask, sigma);
        return;
    }
    const std::vector<int> radii = boxRadiiForGauss(sigma);
    std::vector<uchar> between(size_t(std::max(mask.width(), mask.height())));
    blurRowsAndColumns(mask, [&](const uchar* in, uchar* out, int length) {
        boxBlurLine(in, out, length, radii[0]);
        boxBlurLine(out, between.data(), length, radii[1]);
        boxBlurLine(between.data(), out, length, radii[2]);
    });
}

// Fills `image` (still transparent) with the disc's shadow: the disc's
// coverage, blurred with a radius of `blurRadius` points, as black at alpha 0.5.
// Offset 0, so it shows only as a soft rim around the disc.
void drawShadow(QImage& image, const QRectF& disc, qreal blurRadius) {
    QImage mask(image.size(), QImage::Format_Alpha8);
    if (mask.isNull())
        return;
    mask.setDevicePixelRatio(image.devicePixelRatio());
    mask.fill(0);
    {
        QPainter painter(&mask);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(Qt::NoPen);
        painter.setBrush(Qt::black);
        painter.drawEllipse(disc);
    }
    // A blur radius spreads about two standard deviations, as shadows in
    // desktop drawing APIs conventionally do.
    gaussianBlur(mask, blurRadius * image.devicePixelRatio() * 0.5);
    for (int y = 0; y < image.height(); ++y) {
        const uchar* coverage = mask.constScanLine(y);
        auto* pixels = reinterpret_cast<QRgb*>(image.scanLine(y));
        for (int x = 0; x < image.width(); ++x)
            pixels[x] = QRgb((coverage[x] + 1u) / 2u) << 24; // premultiplied black
    }
}
} // namespace

DWBadgeImage::DWBadgeImage(QSizeF size, int openTasks, bool drawShadow, qreal devicePixelRatio)
    : _size(size), _image(newCanvas(size, devicePixelRatio)) {
    if (!_image.isNull())
        draw(openTasks, drawShadow);
}

float DWBadgeImage::marginFor(qreal width, bool drawShadow) {
    return drawShadow ? float(std::floor(width * 0.05)) : 0.0f;
}

int DWBadgeImage::fontSizeFor(qreal height, int openTasks) {
    const double factor = height == 16.0 ? 0.7 : (openTasks < 10 ? 0.6 : 0.5);
    return int(std::floor(height * factor));
}

qreal DWBadgeImage::badgeSideFor(qreal iconWidth) {
    return iconWidth <= 32 ? iconWidth : std::floor(iconWidth * 0.4);
}

void DWBadgeImage::draw(int openTasks, bool drawShadowFlag) {
    const qreal width = _size.width();
    const qreal height = _size.height();
    const qreal margin = marginFor(width, drawShadowFlag);
    const QRectF disc(margin, margin, width - 2 * margin, height - 2 * margin);

    if (drawShadowFlag && margin > 0)
        drawShadow(_image, disc, margin);

    QPainter painter(&_image);
    painter.setRenderHints(QPainter::Antialiasing | QPainter::TextAntialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor::fromRgbF(0.76f, 0.05f, 0.11f, 1.0f));
    painter.drawEllipse(disc);

    const int fontSize = fontSizeFor(height, openTasks);
    if (fontSize > 0) {
        QFont font = QGuiApplication::font();
        font.setBold(true);
        font.setPixelSize(fontSize);
        painter.setFont(font);
        painter.setPen(Qt::white);
        const QString text = QString::number(openTasks);
        // One line, centred across; a number wider than the badge is centred
        // and cut at the badge's edges rather than wrapped.
        const int flags = Qt::AlignHCenter | Qt::AlignTop | Qt::TextSingleLine;
        const qreal lineHeight =
            painter.boundingRect(QRectF(0, 0, width, height), flags, text).height();
        // Centre the line box vertically, rounding the gap above it down.
        const float topGap = std::floor(float(height - lineHeight) * 0.5f);
        painter.drawText(QRectF(0, topGap, width, height - topGap), flags, text);
    }

    // The gloss lies over the upper half of the disc, text included.
    const QPointF centre(width * 0.5, height * 0.5);
    const qreal radius = (width - 2 * margin) * 0.5;
    QPainterPath gloss;
    gloss.moveTo(centre.x() + radius, centre.y());
    gloss.arcTo(QRectF(centre.x() - radius, centre.y() - radius, 2 * radius, 2 * radius), 0, 180);
    gloss.closeSubpath();
    painter.fillPath(gloss, QColor::fromRgbF(1.0f, 1.0f, 1.0f, 0.2f));
}

std::unique_ptr<DWBadgeImage> DWBadgeImage::newBadgeInRect(const QRectF& rect, int openTasks,
                                                           qreal devicePixelRatio) {
    const qreal iconWidth = rect.width();
    const qreal side = badgeSideFor(iconWidth);
    auto badge = std::make_unique<DWBadgeImage>(QSizeF(side, side), openTasks, iconWidth > 32,
                                                devicePixelRatio);
    if (badge->isNull())
        return nullptr;
    return badge;
}

void DWBadgeImage::drawAtTopRightOf(QPainter& painter, const QRectF& rect) const {
    if (_image.isNull())
        return;
    painter.save();
    painter.setCompositionMode(QPainter::CompositionMode_SourceOver);
    painter.setOpacity(1.0);
    painter.drawImage(QPointF(rect.width() - _size.width(), 0), _image);
    painter.restore();
}

LWIconImage DWBadgeImage::addBadgeTo(const LWIconImage& icon, int openTasks) {
    LWIconImage result;
    for (const LWIconImage::Representation& representation : icon.representations()) {
        const QSizeF size = representation.size;
        const QImage& source = representation.image;
        const QRectF rect(QPointF(0, 0), size);
        // Draw at the representation's own pixel density so a 2x
        // representation stays sharp.
        qreal devicePixelRatio = 1.0;
        if (!source.isNull() && size.width() > 0)
            devicePixelRatio = std::clamp(source.width() / size.width(), 1.0, 8.0);

        QImage canvas;
        const bool drawIcon = size.width() > 32;
        if (drawIcon && source.width() == pixelExtent(size.width(), devicePixelRatio) &&
            source.height() == pixelExtent(size.height(), devicePixelRatio)) {
            // Same pixels: converting equals drawing it onto a clear canvas.
            canvas = source.convertToFormat(QImage::Format_ARGB32_Premultiplied);
            canvas.setDevicePixelRatio(devicePixelRatio);
        } else {
            canvas = newCanvas(size, devicePixelRatio);
            if (drawIcon && !canvas.isNull() && !source.isNull()) {
                QPainter painter(&canvas);
                painter.setRenderHint(QPainter::SmoothPixmapTransform);
                painter.drawImage(rect, source);
            }
        }
        if (canvas.isNull())
            continue;

        if (auto badge = newBadgeInRect(rect, openTasks, devicePixelRatio)) {
            QPainter painter(&canvas);
            badge->drawAtTopRightOf(painter, rect);
        }
        result.addRepresentation(canvas, size);
    }
    return result;
}
