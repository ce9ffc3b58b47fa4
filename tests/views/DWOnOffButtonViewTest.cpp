#include "views/DWOnOffButtonView.h"

#include <QLabel>
#include <QPainter>
#include <QPushButton>
#include <QSignalSpy>
#include <QTest>
#include <gtest/gtest.h>

namespace {
// Each pixel carries its own coordinates (red = x, green = y), so a rendered
// pixel tells which image pixel landed there.
QImage coordinateImage(int width, int height) {
    QImage image(width, height, QImage::Format_ARGB32_Premultiplied);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            image.setPixel(x, y, qRgb(x, y, 255));
    return image;
}

QImage render(QWidget& widget) {
    QImage canvas(widget.size(), QImage::Format_ARGB32_Premultiplied);
    canvas.fill(Qt::black);
    widget.render(&canvas, QPoint(), QRegion(), QWidget::DrawChildren);
    return canvas;
}

bool isImagePixel(QRgb pixel) {
    return qBlue(pixel) == 255;
}
} // namespace

TEST(OnOffButtonView, DrawsThePictureCentredRoundedAndClipped) {
    DWOnOffButtonView view;
    view.resize(200, 100);
    view.setImage(coordinateImage(120, 61));
    const QImage canvas = render(view);
    // (200 - 120) / 2 = 40 and round((100 - 61) / 2) = round(19.5) = 20.
    EXPECT_EQ(canvas.pixel(40, 20), qRgb(0, 0, 255));
    EXPECT_EQ(canvas.pixel(159, 80), qRgb(119, 60, 255));
    EXPECT_FALSE(isImagePixel(canvas.pixel(39, 20)));
    EXPECT_FALSE(isImagePixel(canvas.pixel(40, 19)));
    EXPECT_FALSE(isImagePixel(canvas.pixel(160, 80)));
    EXPECT_FALSE(isImagePixel(canvas.pixel(159, 81)));

    // A picture larger than the view: centred at (-20, -10) and clipped.
    view.resize(100, 50);
    view.setImage(coordinateImage(140, 70));
    const QImage clipped = render(view);
    EXPECT_EQ(clipped.pixel(0, 0), qRgb(20, 10, 255));
    EXPECT_EQ(clipped.pixel(99, 49), qRgb(119, 59, 255));
}

TEST(OnOffButtonView, FallsBackToTheNamedPictureWhenNoneIsSet) {
    DWOnOffButtonView view;
    view.resize(300, 120);
    EXPECT_TRUE(view.image().isNull());
    render(view);
    const QImage named = view.image();
    ASSERT_FALSE(named.isNull());
    EXPECT_EQ(view.sizeHint(), named.deviceIndependentSize().toSize());

    view.setImage(coordinateImage(10, 10));
    EXPECT_EQ(render(view).pixel(145, 55), qRgb(0, 0, 255));

    view.setImage(QImage());
    render(view);
    EXPECT_EQ(view.image().size(), named.size());
}

class OnOffButtonViewClicks : public ::testing::Test {
protected:
    void SetUp() override {
        view.resize(200, 80);
        label = new QLabel(QStringLiteral("not a button"), &view);
        label->setGeometry(0, 0, 20, 20);
        first = new QPushButton(&view);
        first->setCheckable(true);
        first->setGeometry(100, 0, 100, 80);
        second = new QPushButton(&view);
        second->setGeometry(150, 0, 50, 80);
    }
    void clickOnView(QPoint press, QPoint release) {
        QTest::mousePress(&view, Qt::LeftButton, {}, press);
        QTest::mouseRelease(&view, Qt::LeftButton, {}, release);
    }

    DWOnOffButtonView view;
    QLabel* label = nullptr;
    QPushButton* first = nullptr;
    QPushButton* second = nullptr;
};

TEST_F(OnOffButtonViewClicks, ClickAnywhereClicksTheFirstButtonOnly) {
    QSignalSpy firstClicks(first, &QAbstractButton::clicked);
    QSignalSpy secondClicks(second, &QAbstractButton::clicked);
    clickOnView({30, 40}, {30, 40});
    EXPECT_EQ(firstClicks.count(), 1);
    EXPECT_EQ(secondClicks.count(), 0);
    EXPECT_TRUE(first->isChecked()); // a click toggles the knob's state
    // Left and top edges are inside.
    clickOnView({0, 0}, {0, 0});
    EXPECT_EQ(firstClicks.count(), 2);
    EXPECT_FALSE(first->isChecked());
}

TEST_F(OnOffButtonViewClicks, ReleaseOutsideTheBoundsDoesNothing) {
    QSignalSpy firstClicks(first, &QAbstractButton::clicked);
    clickOnView({30, 40}, {200, 40}); // the right edge is outside
    clickOnView({30, 40}, {30, 80});  // so is the bottom edge
    clickOnView({30, 40}, {-1, 40});
    clickOnView({30, 40}, {500, 500});
    EXPECT_EQ(firstClicks.count(), 0);
    QTest::mouseClick(&view, Qt::RightButton, {}, {30, 40});
    EXPECT_EQ(firstClicks.count(), 0);
    clickOnView({30, 40}, {199, 79});
    EXPECT_EQ(firstClicks.count(), 1);
}
