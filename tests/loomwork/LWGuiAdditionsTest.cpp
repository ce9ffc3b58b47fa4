#include "ui/LWClipboardAdditions.h"
#include "ui/LWColorAdditions.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QMimeData>
#include <gtest/gtest.h>

TEST(HexColors, ReadAsFarAsTheHexDigitsGo) {
    const struct {
        const char* text;
        QColor expected;
    } cases[] = {
        {"FF8000", QColor(255, 128, 0)},
        {"0xFF8000", QColor(255, 128, 0)},
        {" \n ff8000;", QColor(255, 128, 0)},
        {"#FF8000", QColor(0, 0, 0)},
        {"80", QColor(0, 0, 128)},
        {"12FF8000", QColor(255, 128, 0)},
        {"", QColor(0, 0, 0)},
        {"0x", QColor(0, 0, 0)},
        {"00ff00zz", QColor(0, 255, 0)},
    };
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
