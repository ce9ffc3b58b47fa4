#include "views/DWOnOffButtonView.h"

#include <QLabel>
#include <QPainter>
#include <QPushButton>
#include <QSignalSpy>
#include <QTest>
#include <gtest/gtest.h>

namespace {
// Each pixel carries its coordinates (red = x, green = y).
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
} // namespace

TEST(OnOffButtonView, DrawsThePictureCentredRoundedAndClippedOrTheNamedOne) {
    DWOnOffButtonView view;
    view.resize(200, 100);
    view.setImage(coordinateImage(120, 61));
    const QImage canvas = render(view);
    // (200 - 120) / 2 = 40 across; round(19.5) = 20 rows below the picture,
    // so 19 above it.
    EXPECT_EQ(canvas.pixel(40, 19), qRgb(0, 0, 255));
    EXPECT_EQ(canvas.pixel(159, 79), qRgb(119, 60, 255));
    EXPECT_NE(qBlue(canvas.pixel(159, 80)), 255); // not the picture's

    // A picture larger than the view: centred at (-20, -10) and clipped.
    view.resize(100, 50);
    view.setImage(coordinateImage(140, 70));
    EXPECT_EQ(render(view).pixel(0, 0), qRgb(20, 10, 255));

    // Without a picture of its own it draws the named one, and sizes to it.
    view.setImage(QImage());
    render(view);
    ASSERT_FALSE(view.image().isNull());
    EXPECT_EQ(view.sizeHint(), view.image().deviceIndependentSize().toSize());
}

// A label, then two buttons, the second over the first's right half.
TEST(OnOffButtonView, AReleaseInsideClicksTheFirstButtonOnly) {
    DWOnOffButtonView view;
    view.resize(200, 80);
    (new QLabel(QStringLiteral("not a button"), &view))->setGeometry(0, 0, 20, 20);
    auto* first = new QPushButton(&view);
    first->setGeometry(100, 0, 100, 80);
    auto* second = new QPushButton(&view);
    second->setGeometry(150, 0, 50, 80);
    QSignalSpy clicks(first, &QAbstractButton::clicked);
    QSignalSpy secondClicks(second, &QAbstractButton::clicked);
    const auto click = [&](QPoint press, QPoint release) {
        QTest::mousePress(&view, Qt::LeftButton, {}, press);
        QTest::mouseRelease(&view, Qt::LeftButton, {}, release);
    };

    // Released outside, or with another button: nothing.
    click({30, 40}, {200, 40});
    QTest::mouseClick(&view, Qt::RightButton, {}, {30, 40});
    EXPECT_EQ(clicks.count(), 0);

    click({30, 40}, {199, 1});
    EXPECT_EQ(clicks.count(), 1);
    EXPECT_EQ(secondClicks.count(), 0);
}
