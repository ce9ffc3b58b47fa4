// INTERIM stand-in until the badge layer lands; removed then.
#include "views/DWBadgeImage.h"

#include <cmath>

DWBadgeImage::DWBadgeImage(QSizeF size, int openTasks, bool)
    : _image(size.toSize(), QImage::Format_ARGB32_Premultiplied) {
    _image.fill(Qt::transparent);
    QPainter painter(&_image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setBrush(QColor::fromRgbF(0.76f, 0.05f, 0.11f));
    painter.setPen(Qt::NoPen);
    painter.drawEllipse(QRectF(QPointF(0, 0), size));
    painter.setPen(Qt::white);
    painter.drawText(QRectF(QPointF(0, 0), size), Qt::AlignCenter, QString::number(openTasks));
}

std::unique_ptr<DWBadgeImage> DWBadgeImage::newBadgeInRect(const QRectF& rect, int openTasks) {
    const qreal w = rect.width();
    const qreal side = w <= 32 ? w : std::floor(w * 0.4);
    return std::make_unique<DWBadgeImage>(QSizeF(side, side), openTasks, w > 32);
}

void DWBadgeImage::drawAtTopRightOf(QPainter& painter, const QRectF& rect) const {
    painter.drawImage(QPointF(rect.width() - _image.width(), 0), _image);
}

LWIconImage DWBadgeImage::addBadgeTo(const LWIconImage& icon, int openTasks) {
    LWIconImage result;
    for (const auto& representation : icon.representations()) {
        const QSize pixels = representation.image.size();
        QImage canvas(pixels, QImage::Format_ARGB32_Premultiplied);
        canvas.fill(Qt::transparent);
        QPainter painter(&canvas);
        const QRectF rect(QPointF(0, 0), QSizeF(pixels));
        if (pixels.width() > 32)
            painter.drawImage(QPointF(0, 0), representation.image);
        newBadgeInRect(rect, openTasks)->drawAtTopRightOf(painter, rect);
        painter.end();
        result.addRepresentation(canvas, representation.size);
    }
    return result;
}
