#pragma once
// INTERIM stand-in until the badge layer lands; removed then.
#include "ui/LWIconImage.h"

#include <QImage>
#include <QPainter>
#include <QRectF>
#include <memory>

class DWBadgeImage {
public:
    DWBadgeImage(QSizeF size, int openTasks, bool drawShadow);
    const QImage& image() const { return _image; }
    static std::unique_ptr<DWBadgeImage> newBadgeInRect(const QRectF& rect, int openTasks);
    void drawAtTopRightOf(QPainter& painter, const QRectF& rect) const;
    static LWIconImage addBadgeTo(const LWIconImage& icon, int openTasks);

private:
    QImage _image;
};
