#include "ui/LWToolbarSeparatorView.h"

#include "ui/LWImageBlur.h"

#include <QLinearGradient>
#include <QPainter>
#include <cmath>

LWToolbarSeparatorView::LWToolbarSeparatorView(QWidget* parent) : QWidget(parent) {
    setAttribute(Qt::WA_TranslucentBackground);
}

void LWToolbarSeparatorView::paintEvent(QPaintEvent*) {
    const qreal w = width();
    const qreal h = height();
    const QColor darkGray = QColor::fromRgbF(1.0f / 3, 1.0f / 3, 1.0f / 3, 1);
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    // The drawing is laid out with y growing upwards from the bottom edge; a
    // flipped view keeps Qt's downward y, which puts it along the top edge.
    if (!isFlipped()) {
        painter.translate(0, h);
        painter.scale(1, -1);
    }

    // The shadow of a white ellipse lying just outside the edge (-15 to -1):
    // only its blur, radius 8, reaches into the view.
    constexpr qreal blurRadius = 8;
    const QRectF ellipse(0, -15, w, 14);
    const qreal margin = blurRadius * 2;
    QImage mask(QSize(int(std::ceil(w + 2 * margin)), int(std::ceil(14 + 2 * margin))),
                QImage::Format_Alpha8);
    mask.fill(0);
    {
        QPainter maskPainter(&mask);
        maskPainter.setRenderHint(QPainter::Antialiasing);
        maskPainter.setPen(Qt::NoPen);
        maskPainter.setBrush(Qt::black);
        maskPainter.drawEllipse(QRectF(margin, margin, w, 14));
    }
    const QImage shadow = lw::shadowFromAlphaMask(lw::blurredAlphaMask(mask, blurRadius), darkGray);
    painter.save();
    painter.drawImage(QPointF(ellipse.left() - margin, ellipse.top() - margin), shadow);
    painter.setPen(Qt::NoPen);
    painter.setBrush(Qt::white);
    painter.drawEllipse(ellipse);
    painter.restore();

    // The line: clear at both ends, dark gray at 30 % in the middle.
    QLinearGradient gradient(QPointF(0, 0), QPointF(w, 0));
    QColor clear = Qt::transparent;
    QColor middle = darkGray;
    middle.setAlphaF(0.3f);
    gradient.setColorAt(0, clear);
    gradient.setColorAt(0.05, clear);
    gradient.setColorAt(0.5, middle);
    gradient.setColorAt(0.95, clear);
    gradient.setColorAt(1, clear);
    painter.fillRect(QRectF(0, 0, w, 1), gradient);
}
