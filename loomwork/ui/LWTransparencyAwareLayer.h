#pragma once

#include "ui/LWLayer.h"

// A layer that takes clicks only where its contents are not transparent:
// the scene's hit-testing asks contains(), so clicks on transparent pixels
// reach whatever lies below.
class LWTransparencyAwareLayer : public LWLayer {
    Q_OBJECT

public:
    using LWLayer::LWLayer;
    bool contains(const QPointF& point) const override;
};
