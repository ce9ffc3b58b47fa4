#pragma once

#include "ui/LWLayerLayoutManager.h"

#include <memory>

// Places each sublayer by its constraints (LWLayer::addConstraint), relative
// to the host ("superlayer") or to a sibling by name. Per axis, a constrained
// extent sets the size; then a constrained min edge, middle or max edge (in
// that order of preference) sets the position; min and max edges together
// without an extent set both. Unconstrained values are kept.
class LWConstraintLayoutManager : public LWLayerLayoutManager {
public:
    static std::shared_ptr<LWConstraintLayoutManager> layoutManager();
    void layoutSublayersOfLayer(LWLayer* layer) override;
};
