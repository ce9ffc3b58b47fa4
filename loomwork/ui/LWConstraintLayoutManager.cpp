#include "ui/LWConstraintLayoutManager.h"

#include "ui/LWLayer.h"

#include <optional>

namespace {
qreal valueOf(const QRectF& rect, LWConstraintAttribute attribute) {
    switch (attribute) {
    case LWConstraintAttribute::MinX:
        return rect.left();
    case LWConstraintAttribute::MidX:
        return rect.center().x();
    case LWConstraintAttribute::MaxX:
        return rect.right();
    case LWConstraintAttribute::Width:
        return rect.width();
    case LWConstraintAttribute::MinY:
        return rect.top();
    case LWConstraintAttribute::MidY:
        return rect.center().y();
    case LWConstraintAttribute::MaxY:
        return rect.bottom();
    case LWConstraintAttribute::Height:
        return rect.height();
    }
    return 0;
}

struct Axis {
    std::optional<qreal> min, mid, max, extent;
};

// Start and length along one axis from what the constraints asked for.
void solve(const Axis& axis, qreal& start, qreal& length) {
    if (axis.extent)
        length = *axis.extent;
    else if (axis.min && axis.max)
        length = *axis.max - *axis.min;
    if (axis.min)
        start = *axis.min;
    else if (axis.mid)
        start = *axis.mid - length / 2;
    else if (axis.max)
        start = *axis.max - length;
}
} // namespace

std::shared_ptr<LWConstraintLayoutManager> LWConstraintLayoutManager::layoutManager() {
    return std::make_shared<LWConstraintLayoutManager>();
}

void LWConstraintLayoutManager::layoutSublayersOfLayer(LWLayer* layer) {
    if (!layer)
        return;
    const QList<LWLayer*> sublayers = layer->sublayers();
    // Sublayers are placed in order, so a constraint on a sibling sees the
    // sibling's frame as placed so far.
    for (LWLayer* sublayer : sublayers) {
        if (sublayer->constraints().isEmpty())
            continue;
        Axis x;
        Axis y;
        for (const LWLayerConstraint& constraint : sublayer->constraints()) {
            std::optional<QRectF> source;
            if (constraint.sourceName == QStringLiteral("superlayer")) {
                source = layer->bounds();
            } else {
                for (LWLayer* sibling : sublayers) {
                    if (sibling != sublayer && sibling->name() == constraint.sourceName) {
                        source = sibling->frame();
                        break;
                    }
                }
            }
            if (!source)
                continue;
            const qreal value =
                valueOf(*source, constraint.sourceAttribute) * constraint.scale + constraint.offset;
            switch (constraint.attribute) {
            case LWConstraintAttribute::MinX:
                x.min = value;
                break;
            case LWConstraintAttribute::MidX:
                x.mid = value;
                break;
            case LWConstraintAttribute::MaxX:
                x.max = value;
                break;
            case LWConstraintAttribute::Width:
                x.extent = value;
                break;
            case LWConstraintAttribute::MinY:
                y.min = value;
                break;
            case LWConstraintAttribute::MidY:
                y.mid = value;
                break;
            case LWConstraintAttribute::MaxY:
                y.max = value;
                break;
            case LWConstraintAttribute::Height:
                y.extent = value;
                break;
            }
        }
        const QRectF old = sublayer->frame();
        qreal left = old.left();
        qreal width = old.width();
        qreal top = old.top();
        qreal height = old.height();
        solve(x, left, width);
        solve(y, top, height);
        sublayer->setFrame(QRectF(left, top, width, height));
    }
}
