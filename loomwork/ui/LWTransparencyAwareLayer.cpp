#include "ui/LWTransparencyAwareLayer.h"

#include "ui/LWLayerAdditions.h"

bool LWTransparencyAwareLayer::contains(const QPointF& point) const {
    return boundingRect().contains(point) && !lw::hasTransparentPixelAt(*this, point);
}
