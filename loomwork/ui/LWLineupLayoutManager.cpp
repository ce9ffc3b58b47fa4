#include "ui/LWLineupLayoutManager.h"

#include "ui/LWLayer.h"

std::shared_ptr<LWLineupLayoutManager> LWLineupLayoutManager::horizontalLineupLayoutManager() {
    return std::make_shared<LWLineupLayoutManager>();
}

void LWLineupLayoutManager::layoutSublayersOfLayer(LWLayer* layer) {
    if (!layer)
        return;
    // Y grows downwards here: standing on the bottom edge puts a sublayer's
    // bottom at the host's height, and a lift moves it up.
    const qreal hostHeight = layer->bounds().height();
    qreal x = 0;
    const QList<LWLayer*> sublayers = layer->sublayers();
    for (LWLayer* sublayer : sublayers) {
        QRectF frame = sublayer->frame();
        qreal bottomUp = 0;
        if (const std::optional<float> lift = sublayer->yOffset())
            bottomUp += qreal(*lift);
        frame.moveTopLeft(QPointF(x, hostHeight - frame.height() - bottomUp));
        sublayer->setFrame(frame);
        x += frame.width();
    }
}
