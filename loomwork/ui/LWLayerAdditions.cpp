#include "ui/LWLayerAdditions.h"

#include <QPainter>
#include <cmath>

bool lw::hasTransparentPixelAt(const LWLayer& layer, QPointF point) {
    QImage image = layer.contents();
    if (image.isNull())
        return false;
    // Drawn at its pixel size whatever its device pixel ratio.
    image.setDevicePixelRatio(1);
    // A one-pixel, alpha-only canvas, cleared; the image is drawn so that the
    // pixel holding `point` lands exactly on that one pixel (whole-pixel
    // offsets, so nothing is interpolated).
    QImage probe(1, 1, QImage::Format_Alpha8);
    if (probe.isNull())
        return false;
    probe.fill(0);
    {
        QPainter painter(&probe);
        painter.drawImage(
            QRectF(-std::floor(point.x()), -std::floor(point.y()), image.width(), image.height()),
            image);
    }
    const int alpha = qAlpha(probe.pixel(0, 0));
    return alpha / 255.0 < 0.01;
}

void lw::addDebugBorder(LWLayer* layer) {
    if (!layer)
        return;
    layer->setBorderColor(QColor::fromRgbF(1, 0, 0, 1));
    layer->setBorderWidth(2);
    layer->setCornerRadius(10);
    const QList<LWLayer*> sublayers = layer->sublayers();
    for (LWLayer* sublayer : sublayers)
        addDebugBorder(sublayer);
}

LWLayer* lw::constrain(LWLayer* layer, LWConstraintAttribute attribute, float offset) {
    if (layer)
        layer->addConstraint(
            {attribute, QStringLiteral("superlayer"), attribute, 1, qreal(offset)});
    return layer;
}

LWLayer* lw::constrain(LWLayer* layer, LWConstraintAttribute attribute) {
    return constrain(layer, attribute, 0);
}
