#pragma once

class LWLayer;

// Places a layer's sublayers whenever the layer lays itself out.
class LWLayerLayoutManager {
public:
    virtual ~LWLayerLayoutManager() = default;
    virtual void layoutSublayersOfLayer(LWLayer* layer) = 0;
};
