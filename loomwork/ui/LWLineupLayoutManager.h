#pragma once

#include "ui/LWLayerLayoutManager.h"

#include <memory>

// Lines the sublayers up side by side from the left, without gaps, in
// sublayer order, each standing on the host's bottom edge and lifted by its
// yOffset() when it has one. Sizes are kept; the host's own size is not
// changed.
class LWLineupLayoutManager : public LWLayerLayoutManager {
public:
    static std::shared_ptr<LWLineupLayoutManager> horizontalLineupLayoutManager();
    void layoutSublayersOfLayer(LWLayer* layer) override;
};
