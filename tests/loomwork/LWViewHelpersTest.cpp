#include "support/TestEnvironment.h"
#include "ui/LWBackgroundImageView.h"
#include "ui/LWGeometry.h"
#include "ui/LWViewAdditions.h"
#include "ui/LWViewAnimationAdditions.h"
#include "ui/LWWidgetAdditions.h"

#include <QGraphicsEffect>
#include <QMouseEvent>
#include <QStandardItemModel>
#include <QTabWidget>
#include <QToolBar>
#include <QTreeView>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {
QImage rendered(QWidget& view) {
    QImage image(view.size(), QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    view.render(&image, QPoint(), QRegion(), QWidget::DrawChildren);
    return image;
}
} // namespace

TEST(Geometry, RoundingHalvesAwayFromZeroAndEvenSizes) {
    EXPECT_EQ(LWEvenSize(QSizeF(4.4, 4.6)), QSizeF(4, 6));
    EXPECT_EQ(LWEvenSize(QSizeF(-2.6, -0.4)), QSizeF(-4, 0));
    EXPECT_EQ(LWRectWithEvenSize(QRectF(1.5, 2.5, 3, 4)), QRectF(1.5, 2.5, 4, 4));
    EXPECT_EQ(LWRoundedRect(QRectF(-0.5, 0.5, 2.5, -2.5)), QRectF(-1, 1, 3, -3));
    EXPECT_EQ(LWRoundedPoint(QPointF(1.49, -1.5)), QPointF(1, -2));
    EXPECT_EQ(LWRoundedProduct(-0.5f, 5), -3);
}

TEST(ViewAdditions, CentringRoundsEventPointsAreLocalAndFadesEndOpaque) {
    QWidget window;
    window.resize(200, 100);
    QWidget child(&window);
    child.setGeometry(3, 4, 101, 21);
    lw::centerInParentHorizontally(&child);
    EXPECT_EQ(child.geometry(), QRect(50, 4, 101, 21)); // 49.5 rounds to 50
    // 39.5 rounds to 40 from the bottom; the offset lifts it further.
    lw::centerInParentVerticallyWithOffset(&child, 3);
    EXPECT_EQ(child.y(), 100 - 21 - 43);

    child.move(30, 40);
    const QMouseEvent event(QEvent::MouseButtonPress, QPointF(1, 1), QPointF(35, 47),
                            QPointF(135, 147), Qt::LeftButton, Qt::LeftButton, Qt::NoModifier);
    EXPECT_EQ(lw::localPointForEvent(&child, event), QPointF(5, 7));

    window.show();
    lw::fadeOutWithDuration(&child, 0.05);
    ASSERT_TRUE(dwtest::waitUntil([&] { return !child.isVisible(); }, 2000));
    lw::fadeInWithDuration(&child, 0.05);
    EXPECT_TRUE(child.isVisible()); // shown as the fade starts
    ASSERT_TRUE(dwtest::waitUntil([&] { return child.graphicsEffect() == nullptr; }, 2000));
    EXPECT_TRUE(child.isVisible());
}

TEST(WidgetAdditions, ToolbarTabAndTreeLookups) {
    QToolBar toolBar;
    QAction* items[3] = {toolBar.addAction(u"a"_s), toolBar.addAction(u"b"_s),
                         toolBar.addAction(u"c"_s)};
    items[1]->setObjectName(u"share"_s);
    items[2]->setObjectName(u"share"_s);
    lw::removeItemWithIdentifier(&toolBar, u"share"_s); // the first match only
    EXPECT_EQ(toolBar.actions(), (QList<QAction*>{items[0], items[2]}));

    QTabWidget tabs;
    auto* page = new QWidget();
    page->setObjectName(u"general"_s);
    tabs.addTab(new QWidget(), u"First"_s);
    tabs.addTab(page, u"General"_s);
    EXPECT_EQ(lw::tabViewItemWithIdentifier(&tabs, u"general"_s), page);
    EXPECT_EQ(lw::tabViewItemWithIdentifier(&tabs, u"General"_s), nullptr);

    // Only rows on screen can be selected.
    QStandardItemModel model;
    for (const QString& text : {u"parent"_s, u"other"_s})
        model.appendRow(new QStandardItem(text));
    model.item(0)->appendRow(new QStandardItem(u"child"_s));
    QTreeView tree;
    tree.setModel(&model);
    tree.setSelectionMode(QAbstractItemView::ExtendedSelection);
    const QModelIndex childIndex = model.index(0, 0, model.index(0, 0));
    lw::selectItem(&tree, childIndex, false); // collapsed: not shown
    EXPECT_FALSE(tree.selectionModel()->hasSelection());
    lw::selectItem(&tree, model.index(1, 0), false);
    tree.expand(model.index(0, 0));
    lw::selectItem(&tree, childIndex, true);
    EXPECT_EQ(tree.selectionModel()->selectedRows().size(), 2);
    lw::selectItem(&tree, childIndex, false);
    EXPECT_EQ(tree.selectionModel()->selectedRows(), QModelIndexList{childIndex});
}

TEST(BackgroundImageView, DrawsOnceOrAsATiledPattern) {
    QImage tile(2, 1, QImage::Format_ARGB32_Premultiplied);
    tile.setPixel(0, 0, qRgba(255, 0, 0, 255));
    tile.setPixel(1, 0, qRgba(0, 0, 255, 255));
    LWBackgroundImageView view;
    view.resize(5, 3);
    view.setIsPattern(true);
    view.setImage(tile); // the pattern follows a later image
    const QImage pattern = rendered(view);
    for (int y = 0; y < 3; ++y)
        for (int x = 0; x < 5; ++x)
            EXPECT_EQ(pattern.pixel(x, y), tile.pixel(x % 2, 0)) << x << "," << y;

    view.setIsPattern(false);
    const QImage once = rendered(view);
    EXPECT_EQ(once.pixel(1, 2), tile.pixel(1, 0)); // standing in the bottom-left corner
    EXPECT_EQ(qAlpha(once.pixel(2, 2)), 0);
    EXPECT_EQ(qAlpha(once.pixel(0, 0)), 0);
}
