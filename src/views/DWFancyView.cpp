#include "views/DWFancyView.h"

#include "views/DWNamedImage.h"
#include "views/DWShadow.h"

#include <QPainter>
#include <algorithm>

DWFancyView::DWFancyView(QWidget* parent) : QWidget(parent) {}

const QImage& DWFancyView::glow() {
    const qreal ratio = devicePixelRatioF();
    const QSize pixels = (QSizeF(size()) * ratio).toSize();
    if (_glow.size() == pixels && qFuzzyCompare(_glow.devicePixelRatio(), ratio))
        return _glow;
    QImage alpha(pixels, QImage::Format_Alpha8);
    alpha.fill(0);
    {
        QPainter painter(&alpha);
        painter.scale(ratio, ratio);
        painter.fillRect(QRectF(rect()).adjusted(kInset, kInset, -kInset, -kInset), Qt::black);
    }
    DWShadow::Mask mask(size_t(pixels.width()) * size_t(pixels.height()));
    for (int y = 0; y < pixels.height(); ++y)
        std::copy_n(alpha.constScanLine(y), pixels.width(),
                    mask.begin() + ptrdiff_t(y) * pixels.width());
    // A blur radius of r points spreads about like a Gaussian of r / 2.
    DWShadow::gaussianBlur(mask, pixels.width(), pixels.height(), kGlowRadius * ratio / 2.0);
    _glow = QImage(pixels, QImage::Format_ARGB32_Premultiplied);
    for (int y = 0; y < pixels.height(); ++y) {
        auto* row = reinterpret_cast<QRgb*>(_glow.scanLine(y));
        const uchar* coverage = mask.data() + ptrdiff_t(y) * pixels.width();
        for (int x = 0; x < pixels.width(); ++x)
            row[x] = qRgba(0, 0, 0, coverage[x]);
    }
    _glow.setDevicePixelRatio(ratio);
    return _glow;
}

void DWFancyView::paintEvent(QPaintEvent*) {
    if (_noise.isNull())
        _noise = DWNamedImage::imageNamed(QStringLiteral("noise"));
    const QRectF panel = QRectF(rect()).adjusted(kInset, kInset, -kInset, -kInset);
    if (panel.isEmpty())
        return;
    QPainter painter(this);
    painter.save();
    painter.drawImage(QPointF(0, 0), glow());
    // The window colour underneath keeps the panel at home in light and dark
    // themes; the texture itself is mostly transparent speckle.
    painter.fillRect(panel, palette().color(QPalette::Window));
    if (!_noise.isNull()) {
        painter.setBrushOrigin(panel.topLeft());
        painter.fillRect(panel, QBrush(_noise));
    }
    painter.restore();
}
