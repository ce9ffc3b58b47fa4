#include "views/DWFancyView.h"

#include "support/LogCapture.h"
#include "views/DWNamedImage.h"

#include <QPainter>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

TEST(FancyView, PanelIsInsetFivePointsAndRingedByAFadingGlow) {
    DWFancyView view;
    QPalette palette = view.palette();
    palette.setColor(QPalette::Window, QColor(200, 200, 200));
    view.setPalette(palette);
    view.resize(80, 60);
    QImage canvas(view.size(), QImage::Format_ARGB32_Premultiplied);
    canvas.fill(Qt::white);
    view.render(&canvas, QPoint(), QRegion(), QWidget::RenderFlags());

    // Inside the panel: the window colour under a faint texture.
    EXPECT_NEAR(qGray(canvas.pixel(5, 30)), 200, 14);
    // Just outside it the glow is darkest and fades towards the view's edge.
    const int g4 = qGray(canvas.pixel(4, 30)), g2 = qGray(canvas.pixel(2, 30)),
              g0 = qGray(canvas.pixel(0, 30));
    EXPECT_LT(g4, 200);
    EXPECT_LT(g4, g2);
    EXPECT_LE(g2, g0);
    EXPECT_GT(g0, 220);
    // The same on the far edges: the panel ends at width - 5.
    EXPECT_NEAR(qGray(canvas.pixel(74, 30)), 200, 14);
    EXPECT_LT(qGray(canvas.pixel(75, 30)), qGray(canvas.pixel(77, 30)));
}

TEST(NamedImage, EveryImageTheViewsAndMenusNameLoadsAndAMissingOneIsLoggedByName) {
    for (const char* name : {"OnOffButton", "OnOffKnob", "StatusIconTemplate", "noise"})
        EXPECT_FALSE(DWNamedImage::imageNamed(QString::fromLatin1(name)).isNull()) << name;
    // Vector pictures are rendered for the screen's density.
    const QImage single = DWNamedImage::imageNamed(u"OnOffButton"_s, 1.0);
    const QImage doubled = DWNamedImage::imageNamed(u"OnOffButton"_s, 2.0);
    EXPECT_EQ(doubled.size(), single.size() * 2);
    EXPECT_EQ(doubled.deviceIndependentSize(), single.deviceIndependentSize());

    // An unknown name, or a style sheet's picture that does not load, is logged
    // by name. The style sheet's knob loads only with Qt's SVG image plugin.
    dwtest::LogCapture log(10);
    EXPECT_TRUE(DWNamedImage::imageNamed(u"NoSuchPicture"_s).isNull());
    EXPECT_EQ(
        DWNamedImage::picturesThatDoNotLoad(u"QPushButton { image: url(:/images/OnOffKnob.svg); "
                                            u"} QLabel { image: url(:/images/Gone.svg); }"_s),
        QStringList{u":/images/Gone.svg"_s});
    EXPECT_EQ(log.loggerLines().filter(u"No image named: NoSuchPicture"_s).size(), 1);
    EXPECT_EQ(log.loggerLines().filter(u"Gone.svg"_s).size(), 1);
}

TEST(NamedImage, PanelImageIsALightDrawingInADarkRim) {
    QImage stroke(22, 22, QImage::Format_ARGB32_Premultiplied);
    stroke.fill(Qt::transparent);
    QPainter(&stroke).fillRect(10, 6, 2, 10, Qt::black);
    const QImage panel = DWNamedImage::panelImage(stroke);
    ASSERT_EQ(panel.size(), stroke.size());
    // The drawing light and opaque, beside it a dark partly covering rim, away
    // from it nothing.
    EXPECT_EQ(qAlpha(panel.pixel(10, 10)), 255);
    EXPECT_GT(qGray(panel.pixel(10, 10)), 220);
    EXPECT_GT(qAlpha(panel.pixel(9, 10)), 60);
    EXPECT_LT(qGray(panel.pixel(9, 10)), 40);
    EXPECT_EQ(qAlpha(panel.pixel(2, 2)), 0);
    EXPECT_TRUE(DWNamedImage::panelImage(QImage()).isNull());
}
