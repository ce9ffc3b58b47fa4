#include "ui/LWLayer.h"

#include "support/TestEnvironment.h"
#include "ui/LWConstraintLayoutManager.h"
#include "ui/LWLayerAdditions.h"
#include "ui/LWLayerTransaction.h"
#include "ui/LWLineupLayoutManager.h"
#include "ui/LWTransparencyAwareLayer.h"

#include <QGraphicsScene>
#include <gtest/gtest.h>

namespace {
// Layer changes take effect at once unless a test switches actions back on.
class LayerTest : public ::testing::Test {
protected:
    void SetUp() override { LWBeginActionlessTransaction(); }
    void TearDown() override {
        LWCommitTransaction();
        EXPECT_EQ(LWLayerTransaction::depth(), 0);
    }
    // A sublayer of `parent`, or a top layer in the scene.
    LWLayer* addLayer(LWLayer* parent, const QRectF& frame) {
        auto* layer = new LWLayer(parent);
        if (!parent)
            scene.addItem(layer);
        layer->setFrame(frame);
        return layer;
    }
    QGraphicsScene scene;
};

class LiftedLayer : public LWLayer {
public:
    std::optional<float> yOffset() const override { return 4.0f; }
};
} // namespace

TEST_F(LayerTest, TransparentPixelsLetClicksThrough) {
    // Read at its pixel size, whatever its pixel ratio.
    QImage image(5, 1, QImage::Format_ARGB32);
    image.setDevicePixelRatio(2);
    for (int x = 0; x < 5; ++x) // alphas 0, 1, 2, 3, 255
        image.setPixel(x, 0, qRgba(200, 0, 0, x == 4 ? 255 : x));
    auto* below = addLayer(nullptr, QRectF(0, 0, 5, 1));
    below->setBackgroundColor(Qt::white);
    auto* above = new LWTransparencyAwareLayer();
    above->setFrame(QRectF(0, 0, 5, 1));
    above->setContents(image);
    scene.addItem(above);

    for (int x = 0; x < 5; ++x) {
        const QList<QGraphicsItem*> hits = scene.items(QPointF(x + 0.5, 0.5));
        ASSERT_FALSE(hits.isEmpty());
        EXPECT_EQ(hits.first(), x >= 3 ? static_cast<QGraphicsItem*>(above) : below) << x;
    }
    EXPECT_FALSE(above->contains(QPointF(5.5, 0.5)));
    EXPECT_FALSE(lw::hasTransparentPixelAt(*below, QPointF(0.5, 0.5))); // no contents
}

TEST_F(LayerTest, LineupPlacesSublayersSideBySideOnTheBottomEdge) {
    auto* host = addLayer(nullptr, QRectF(7, 9, 100, 50));
    host->setLayoutManager(LWLineupLayoutManager::horizontalLineupLayoutManager());
    auto* a = addLayer(host, QRectF(40, 3, 10, 5));
    auto* b = addLayer(host, QRectF(0, 0, 20, 10));
    auto* lifted = new LiftedLayer();
    lifted->setFrame(QRectF(-5, -5, 30, 15));
    host->addSublayer(lifted);
    // Laid out at the end of the event.
    ASSERT_TRUE(dwtest::waitUntil([&] { return !host->needsLayout(); }, 1000));
    EXPECT_EQ(a->frame(), QRectF(0, 45, 10, 5));
    EXPECT_EQ(b->frame(), QRectF(10, 40, 20, 10));
    EXPECT_EQ(lifted->frame(), QRectF(30, 31, 30, 15));
}

TEST_F(LayerTest, ConstraintsTieAttributesToTheSuperlayer) {
    auto* host = addLayer(nullptr, QRectF(0, 0, 200, 100));
    host->setLayoutManager(LWConstraintLayoutManager::layoutManager());
    auto* centred = addLayer(host, QRectF(0, 0, 20, 10));
    EXPECT_EQ(lw::constrain(lw::constrain(centred, LWConstraintAttribute::MidX),
                            LWConstraintAttribute::MaxY, -5),
              centred);
    auto* stretched = addLayer(host, QRectF(3, 4, 20, 10));
    lw::constrain(stretched, LWConstraintAttribute::Width, -40);
    lw::constrain(stretched, LWConstraintAttribute::MinX, 20);
    host->layoutIfNeeded();
    EXPECT_EQ(centred->frame(), QRectF(90, 85, 20, 10));
    EXPECT_EQ(stretched->frame(), QRectF(20, 4, 160, 10));
}

TEST_F(LayerTest, FrameChangesAnimateUnlessTheTransactionDisablesActions) {
    auto* layer = addLayer(nullptr, QRectF(0, 0, 10, 10));
    LWLayerTransaction::begin();
    EXPECT_TRUE(LWLayerTransaction::disableActions()); // inherited
    LWLayerTransaction::setDisableActions(false);
    layer->setFrame(QRectF(100, 0, 10, 10));
    EXPECT_EQ(layer->presentationFrame(), QRectF(0, 0, 10, 10));
    EXPECT_TRUE(dwtest::waitUntil(
        [&] { return layer->presentationFrame() == QRectF(100, 0, 10, 10); }, 2000));

    // Disabled: at once, and a running animation is cut short.
    layer->setFrame(QRectF(0, 0, 10, 10));
    LWBeginActionlessTransaction();
    layer->setFrame(QRectF(50, 50, 20, 20));
    LWCommitTransaction();
    LWCommitTransaction();
    EXPECT_EQ(layer->presentationFrame(), QRectF(50, 50, 20, 20));
    dwtest::processEventsFor(50);
    EXPECT_EQ(layer->presentationFrame(), QRectF(50, 50, 20, 20));
}
