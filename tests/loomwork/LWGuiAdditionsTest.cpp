#include "ui/LWClipboardAdditions.h"
#include "ui/LWColorAdditions.h"
#include "ui/LWIconImage.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QMimeData>
#include <gtest/gtest.h>

TEST(HexColors, ReadAsFarAsTheHexDigitsGo) {
    const struct {
        const char* text;
        QColor expected;
    } cases[] = {{"FF8000", QColor(255, 128, 0)},      {"0xFF8000", QColor(255, 128, 0)},
                 {" \n ff8000;", QColor(255, 128, 0)}, {"#FF8000", QColor(0, 0, 0)},
                 {"12FF8000", QColor(255, 128, 0)},    {"00ff00zz", QColor(0, 255, 0)}};
    for (const auto& c : cases) {
        const QColor color = lw::colorWithHexString(QString::fromLatin1(c.text));
        EXPECT_EQ(color.rgba(), c.expected.rgba()) << c.text;
        EXPECT_EQ(color.alphaF(), 1.0f) << c.text;
    }

    const QColor hsv = QColor::fromHsvF(0.5f, 1.0f, 1.0f, 0.25f);
    const QColor rgb = lw::CGColor(hsv);
    // Converted to RGB components, not just the same colour in HSV.
    EXPECT_EQ(rgb, hsv.toRgb());
    EXPECT_NE(rgb, hsv);
}

TEST(Clipboard, WritingReplacesWhatItHeldWithPlainText) {
    auto* rich = new QMimeData();
    rich->setHtml(QStringLiteral("<b>old</b>"));
    rich->setText(QStringLiteral("old"));
    QGuiApplication::clipboard()->setMimeData(rich);
    lw::writeToClipboard(QStringLiteral("new \u00E9"));
    const QMimeData* now = QGuiApplication::clipboard()->mimeData();
    ASSERT_NE(now, nullptr);
    EXPECT_EQ(now->text(), QStringLiteral("new \u00E9"));
    EXPECT_FALSE(now->hasHtml());
}

TEST(IconImage, RepresentationsKeepOrderAndPointSizes) {
    LWIconImage icon;
    QImage retina(64, 64, QImage::Format_ARGB32_Premultiplied);
    retina.setDevicePixelRatio(2);
    icon.addRepresentation(QImage(16, 16, QImage::Format_ARGB32_Premultiplied));
    icon.addRepresentation(retina);
    icon.addRepresentation(QImage(128, 128, QImage::Format_ARGB32_Premultiplied));
    ASSERT_EQ(icon.count(), 3);
    EXPECT_EQ(icon.representations()[1].size, QSizeF(32, 32));
    EXPECT_EQ(icon.largestImage().width(), 128);
    // 32 points: the 2x one is exactly that size.
    EXPECT_EQ(icon.imageForSize(32).width(), 64);
    EXPECT_EQ(icon.imageForSize(20).width(), 16);
}
