#pragma once

#include <QColor>
#include <QGraphicsObject>
#include <QImage>
#include <QList>
#include <QRectF>
#include <QString>
#include <memory>
#include <optional>

class LWLayerLayoutManager;
class QVariantAnimation;

// What a layout constraint ties: an edge, the middle or the extent of a
// layer along one axis. Y grows downwards, as everywhere in Qt.
enum class LWConstraintAttribute { MinX, MidX, MaxX, Width, MinY, MidY, MaxY, Height };

// attribute of this layer = sourceAttribute of the layer named `sourceName`
// (a sibling, or "superlayer" for the layer's own superlayer) * scale + offset.
struct LWLayerConstraint {
    LWConstraintAttribute attribute;
    QString sourceName;
    LWConstraintAttribute sourceAttribute;
    qreal scale = 1;
    qreal offset = 0;
};

// A rectangular layer in a QGraphicsScene: a frame in its superlayer's
// coordinates, optional contents (an image drawn over the bounds), a
// background, a border, sublayers (its LWLayer child items, in stacking order)
// and a layout manager that places them.
//
// Frame changes are implicit animations: frame() is the new frame at once,
// while the item on screen (its presentation) moves there over 0.25 seconds,
// unless actions are disabled by the current transaction or the layer is in
// no scene (see LWLayerTransaction).
class LWLayer : public QGraphicsObject {
    Q_OBJECT

public:
    explicit LWLayer(QGraphicsItem* parent = nullptr);
    ~LWLayer() override;

    QString name() const { return objectName(); }
    void setName(const QString& name) { setObjectName(name); }

    QRectF frame() const { return _frame; }
    void setFrame(const QRectF& frame);
    QRectF bounds() const { return QRectF(QPointF(0, 0), _frame.size()); }
    // Where the layer is drawn right now: frame() unless it is animating.
    QRectF presentationFrame() const;

    QImage contents() const { return _contents; }
    void setContents(const QImage& contents);
    QColor backgroundColor() const { return _backgroundColor; }
    void setBackgroundColor(const QColor& color);
    QColor borderColor() const { return _borderColor; }
    void setBorderColor(const QColor& color);
    qreal borderWidth() const { return _borderWidth; }
    void setBorderWidth(qreal width);
    qreal cornerRadius() const { return _cornerRadius; }
    void setCornerRadius(qreal radius);

    LWLayer* superlayer() const;
    QList<LWLayer*> sublayers() const;
    void addSublayer(LWLayer* layer);

    std::shared_ptr<LWLayerLayoutManager> layoutManager() const { return _layoutManager; }
    void setLayoutManager(std::shared_ptr<LWLayerLayoutManager> manager);
    const QList<LWLayerConstraint>& constraints() const { return _constraints; }
    void addConstraint(const LWLayerConstraint& constraint);

    // Layout runs at the end of the current event after setNeedsLayout(), or
    // at once with layoutIfNeeded(); it goes down through the sublayers.
    void setNeedsLayout();
    bool needsLayout() const { return _needsLayout; }
    void layoutIfNeeded();
    virtual void layoutSublayers();

    // A lift for line-up layouts; nothing by default.
    virtual std::optional<float> yOffset() const { return std::nullopt; }

    QRectF boundingRect() const override;
    void paint(QPainter* painter, const QStyleOptionGraphicsItem* option, QWidget* widget) override;

protected:
    QVariant itemChange(GraphicsItemChange change, const QVariant& value) override;

private:
    void _applyPresentation(const QRectF& frame);

    QRectF _frame;
    QSizeF _presentationSize;
    QImage _contents;
    QColor _backgroundColor;
    QColor _borderColor = Qt::black;
    qreal _borderWidth = 0;
    qreal _cornerRadius = 0;
    std::shared_ptr<LWLayerLayoutManager> _layoutManager;
    QList<LWLayerConstraint> _constraints;
    bool _needsLayout = false;
    QVariantAnimation* _frameAnimation = nullptr;
};
