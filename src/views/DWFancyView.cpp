#include "views/DWFancyView.h"

#include "views/DWNamedImage.h"

#include <QPainter>
#include <cmath>

namespace {
// One horizontal and one vertical running-sum pass over an 8-bit alpha image.
void boxBlur(QImage& alpha, int radius) {
    const int w = alpha.width();
    const int h = alpha.height();
    const int window = 2 * radius + 1;
    std::vector<int> line(size_t(std::max(w, h)));
    for (int y = 0; y < h; ++y) {
        uchar* row = alpha.scanLine(y);
        for (int x = 0; x < w; ++x)
            line[size_t(x)] = row[x];
        int sum = 0;
        for (int x = -radius; x <= radius; ++x)
            sum += (x >= 0 && x < w) ? line[size_t(x)] : 0;
        for (int x = 0; x < w; ++x) {
            row[x] = uchar(sum / window);
            const int out = x - radius;
            const int in = x + radius + 1;
            sum -= (out >= 0) ? line[size_t(out)] : 0;
            sum += (in < w) ? line[size_t(in)] : 0;
        }
    }
    for (int x = 0; x < w; ++x) {
        for (int y = 0; y < h; ++y)
            line[size_t(y)] = alpha.scanLine(y)[x];
        int sum = 0;
        for (int y = -radius; y <= radius; ++y)
            sum += (y >= 0 && y < h) ? line[size_t(y)] : 0;
        for (int y = 0; y < h; ++y) {
            alpha.scanLine(y)[x] = uchar(sum / window);
            const int out = y - radius;
            const int in = y + radius + 1;
            sum -= (out >= 0) ? line[size_t(out)] : 0;
            sum += (in < h) ? line[size_t(in)] : 0;
        }
    }
}
} // namespace

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
    // Three box passes approximate a Gaussian; a blur radius of r points is
    // about a standard deviation of r / 2, and three passes of radius k have a
    // variance of k (k + 1).
    const qreal sigma = kGlowRadius * ratio / 2.0;
    const int passRadius = std::max(1, int(std::lround(std::sqrt(sigma * sigma + 0.25) - 0.5)));
    for (int pass = 0; pass < 3; ++pass)
        boxBlur(alpha, passRadius);
    _glow = alpha.convertToFormat(QImage::Format_ARGB32_Premultiplied);
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
