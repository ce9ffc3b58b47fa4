#pragma once

#include "ui/LWLayer.h"

#include <QPointF>

// Additions to layers.
namespace lw {
// True when the layer's contents image is (nearly) transparent at `point`:
// the image pixel at the point, taken at the image's own pixel size from its
// top-left corner, has an alpha of 0, 1 or 2 (off the image nothing is
// drawn, which counts as transparent). No contents: not transparent.
bool hasTransparentPixelAt(const LWLayer& layer, QPointF point);
// An opaque red border, 2 wide with corners of radius 10, on the layer and
// every sublayer below it.
void addDebugBorder(LWLayer* layer);
// Ties `attribute` of the layer to the same attribute of its superlayer, plus
// the offset; takes effect under an LWConstraintLayoutManager. Returns the
// layer, for chaining.
LWLayer* constrain(LWLayer* layer, LWConstraintAttribute attribute, float offset);
LWLayer* constrain(LWLayer* layer, LWConstraintAttribute attribute);
} // namespace lw
