#include "views/DWNamedImage.h"

#include "logging/LWLogger.h"
#include "views/DWShadow.h"

#include <QFile>
#include <QPainter>
#include <QSvgRenderer>
#include <algorithm>
#include <cmath>

namespace {
QString svgPath(const QString& name) {
    return QStringLiteral(":/images/%1.svg").arg(name);
}
QString pngPath(const QString& name) {
    return QStringLiteral(":/images/%1.png").arg(name);
}
} // namespace

QImage DWNamedImage::imageNamed(const QString& name, qreal devicePixelRatio) {
    const qreal ratio = devicePixelRatio > 0 ? devicePixelRatio : 1.0;
    if (QFile::exists(svgPath(name))) {
        QSvgRenderer renderer(svgPath(name));
        const QSize points = renderer.defaultSize();
        if (renderer.isValid() && !points.isEmpty()) {
            // A hair above an integer is that integer: 22 x (16 / 22) is 16.
            const QSize pixels(int(std::ceil(points.width() * ratio - 1e-6)),
                               int(std::ceil(points.height() * ratio - 1e-6)));
            QImage image(pixels, QImage::Format_ARGB32_Premultiplied);
            image.fill(Qt::transparent);
            QPainter painter(&image);
            painter.setRenderHint(QPainter::Antialiasing);
            renderer.render(&painter, QRectF(QPointF(0, 0), QSizeF(pixels)));
            painter.end();
            image.setDevicePixelRatio(ratio);
            return image;
        }
    }
    QImage image(pngPath(name));
    if (!image.isNull())
        return image;
    LW_LOG(1, "+[DWNamedImage imageNamed:]", QStringLiteral("No image named: %1").arg(name));
    return {};
}

QImage DWNamedImage::panelImage(const QImage& templateImage) {
    if (templateImage.isNull())
        return {};
    const QImage source = templateImage.convertToFormat(QImage::Format_ARGB32_Premultiplied);
    const int w = source.width();
    const int h = source.height();
    // The outline: the drawing's coverage blurred by under a pixel and then
    // strengthened, so that even thin strokes get a rim.
    DWShadow::Mask outline(size_t(w) * size_t(h));
    for (int y = 0; y < h; ++y) {
        const auto* row = reinterpret_cast<const QRgb*>(source.constScanLine(y));
        for (int x = 0; x < w; ++x)
            outline[size_t(y) * size_t(w) + size_t(x)] = uchar(qAlpha(row[x]));
    }
    DWShadow::gaussianBlur(outline, w, h, 0.8 * source.devicePixelRatio());
    QImage image(source.size(), QImage::Format_ARGB32_Premultiplied);
    for (int y = 0; y < h; ++y) {
        auto* row = reinterpret_cast<QRgb*>(image.scanLine(y));
        const auto* glyph = reinterpret_cast<const QRgb*>(source.constScanLine(y));
        for (int x = 0; x < w; ++x) {
            const int rim =
                std::min(255, outline[size_t(y) * size_t(w) + size_t(x)] * 4) * 205 / 255;
            const int ink = qAlpha(glyph[x]);
            // The light drawing over its dark rim, premultiplied.
            const int alpha = ink + rim * (255 - ink) / 255;
            const int light = 242 * ink / 255;
            row[x] = qRgba(light, light, light, alpha);
        }
    }
    image.setDevicePixelRatio(source.devicePixelRatio());
    return image;
}
