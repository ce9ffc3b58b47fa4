#include "views/DWNamedImage.h"

#include "logging/LWLogger.h"

#include <QFile>
#include <QPainter>
#include <QSvgRenderer>
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
            const QSize pixels(int(std::ceil(points.width() * ratio)),
                               int(std::ceil(points.height() * ratio)));
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
