#include "ui/LWLayer.h"

#include "ui/LWLayerLayoutManager.h"
#include "ui/LWLayerTransaction.h"

#include <QPainter>
#include <QPainterPath>
#include <QVariantAnimation>

LWLayer::LWLayer(QGraphicsItem* parent) : QGraphicsObject(parent) {}

LWLayer::~LWLayer() = default;

QRectF LWLayer::presentationFrame() const {
    return QRectF(pos(), _presentationSize);
}

void LWLayer::setFrame(const QRectF& frame) {
    if (frame == _frame)
        return;
    const QRectF from = presentationFrame();
    const bool resized = frame.size() != _frame.size();
    _frame = frame;
    if (resized)
        setNeedsLayout();
    if (_frameAnimation)
        _frameAnimation->stop();
    if (LWLayerTransaction::disableActions() || !scene() || from == frame) {
        _applyPresentation(frame);
        return;
    }
    if (!_frameAnimation) {
        _frameAnimation = new QVariantAnimation(this);
        connect(_frameAnimation, &QVariantAnimation::valueChanged, this,
                [this](const QVariant& value) { _applyPresentation(value.toRectF()); });
    }
    _frameAnimation->setDuration(int(LWLayerTransaction::defaultAnimationDuration * 1000));
    _frameAnimation->setStartValue(from);
    _frameAnimation->setEndValue(frame);
    _frameAnimation->start();
}

void LWLayer::_applyPresentation(const QRectF& frame) {
    if (frame.size() != _presentationSize) {
        prepareGeometryChange();
        _presentationSize = frame.size();
    }
    setPos(frame.topLeft());
    update();
}

void LWLayer::setContents(const QImage& contents) {
    _contents = contents;
    update();
}

void LWLayer::setBackgroundColor(const QColor& color) {
    _backgroundColor = color;
    update();
}

void LWLayer::setBorderColor(const QColor& color) {
    _borderColor = color;
    update();
}

void LWLayer::setBorderWidth(qreal width) {
    _borderWidth = width;
    update();
}

void LWLayer::setCornerRadius(qreal radius) {
    _cornerRadius = radius;
    update();
}

LWLayer* LWLayer::superlayer() const {
    return qobject_cast<LWLayer*>(parentObject());
}

QList<LWLayer*> LWLayer::sublayers() const {
    QList<LWLayer*> layers;
    const QList<QGraphicsItem*> children = childItems();
    for (QGraphicsItem* child : children) {
        if (auto* layer = qobject_cast<LWLayer*>(child->toGraphicsObject()))
            layers.append(layer);
    }
    return layers;
}

void LWLayer::addSublayer(LWLayer* layer) {
    if (layer)
        layer->setParentItem(this);
}

void LWLayer::setLayoutManager(std::shared_ptr<LWLayerLayoutManager> manager) {
    _layoutManager = std::move(manager);
    setNeedsLayout();
}

void LWLayer::addConstraint(const LWLayerConstraint& constraint) {
    _constraints.append(constraint);
    if (LWLayer* parent = superlayer())
        parent->setNeedsLayout();
}

void LWLayer::setNeedsLayout() {
    if (_needsLayout)
        return;
    _needsLayout = true;
    QMetaObject::invokeMethod(this, &LWLayer::layoutIfNeeded, Qt::QueuedConnection);
}

void LWLayer::layoutIfNeeded() {
    if (_needsLayout) {
        _needsLayout = false;
        layoutSublayers();
    }
    const QList<LWLayer*> layers = sublayers();
    for (LWLayer* layer : layers)
        layer->layoutIfNeeded();
}

void LWLayer::layoutSublayers() {
    if (_layoutManager)
        _layoutManager->layoutSublayersOfLayer(this);
}

QRectF LWLayer::boundingRect() const {
    return QRectF(QPointF(0, 0), _presentationSize);
}

void LWLayer::paint(QPainter* painter, const QStyleOptionGraphicsItem*, QWidget*) {
    const QRectF rect = boundingRect();
    if (rect.isEmpty())
        return;
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing, _cornerRadius > 0);
    QPainterPath outline;
    outline.addRoundedRect(rect, _cornerRadius, _cornerRadius);
    if (_backgroundColor.isValid() && _backgroundColor.alpha() > 0)
        painter->fillPath(outline, _backgroundColor);
    if (!_contents.isNull()) {
        painter->setClipPath(outline);
        painter->setRenderHint(QPainter::SmoothPixmapTransform);
        painter->drawImage(rect, _contents);
        painter->setClipping(false);
    }
    if (_borderWidth > 0) {
        // The border lies inside the bounds, as wide as asked.
        const qreal inset = _borderWidth / 2;
        const QRectF inner = rect.adjusted(inset, inset, -inset, -inset);
        const qreal radius = qMax<qreal>(0, _cornerRadius - inset);
        painter->setPen(QPen(_borderColor, _borderWidth));
        painter->setBrush(Qt::NoBrush);
        painter->drawRoundedRect(inner, radius, radius);
    }
    painter->restore();
}

QVariant LWLayer::itemChange(GraphicsItemChange change, const QVariant& value) {
    if (change == ItemChildAddedChange || change == ItemChildRemovedChange)
        setNeedsLayout();
    return QGraphicsObject::itemChange(change, value);
}
