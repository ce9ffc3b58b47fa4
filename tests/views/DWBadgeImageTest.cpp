#include "views/DWBadgeImage.h"

#include <QFontMetricsF>
#include <QGuiApplication>
#include <QRegularExpression>
#include <climits>
#include <cmath>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {
// The disc's red in 8 bits, and the same red under the 20 % white gloss.
const QColor kDisc(194, 13, 28), kGlossed(206, 61, 73), kGreen(40, 170, 70);

bool near(const QColor& a, const QColor& b, int tolerance = 3) {
    return std::max({std::abs(a.red() - b.red()), std::abs(a.green() - b.green()),
                     std::abs(a.blue() - b.blue())}) <= tolerance &&
           a.alpha() == b.alpha();
}
// Text: at least half white over the red (whose green is far below 128).
bool isInk(const QColor& c) {
    return c.alpha() > 200 && c.green() >= 128 && c.blue() >= 128;
}
QRect inkBounds(const QImage& image) {
    QRect bounds;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            if (isInk(image.pixelColor(x, y)))
                bounds |= QRect(x, y, 1, 1);
    return bounds;
}
QImage badge(int side, int count, bool shadow) {
    return DWBadgeImage(QSizeF(side, side), count, shadow).image();
}
QImage green(int pixels, qreal ratio = 1, QImage::Format format = QImage::Format_ARGB32) {
    QImage image(pixels, pixels, format);
    image.fill(kGreen);
    image.setDevicePixelRatio(ratio);
    return image;
}
QSizeF boldInkSize(int pixelSize, const QString& text) {
    QFont bold = QGuiApplication::font();
    bold.setBold(true);
    bold.setPixelSize(pixelSize);
    return QFontMetricsF(bold).tightBoundingRect(text).size();
}

// Every badge the application makes (status menu, then per icon size), with
// its margin and font sizes below 10 and from 10.
struct Row {
    int side;
    bool shadow;
    int margin, below10, tenOrMore;
};
const Row kWorkedValues[] = {{15, false, 0, 9, 7},   {16, false, 0, 11, 11},
                             {32, false, 0, 19, 16}, {51, true, 2, 30, 25},
                             {102, true, 5, 61, 51}, {204, true, 10, 122, 102}};
} // namespace

TEST(BadgeImage, WorkedSizesDiscGlossShadowRoomAndDigits) {
    for (const Row& row : kWorkedValues) {
        SCOPED_TRACE(row.side);
        const int side = row.side, mid = side / 2, m = row.margin;
        const QImage image = badge(side, 1, row.shadow);
        ASSERT_EQ(image.size(), QSize(side, side));
        EXPECT_EQ(image.pixelColor(side - 1, side - 1).alpha(), 0);
        // Left of the digit: the gloss lightens the upper half as seen on screen.
        EXPECT_TRUE(near(image.pixelColor(int(side * 0.22), int(side * 0.62)), kDisc));
        EXPECT_TRUE(near(image.pixelColor(int(side * 0.22), int(side * 0.38)), kGlossed));

        const QPoint edges[] = {{mid, 0}, {mid, side - 1}, {0, mid}, {side - 1, mid}};
        if (!row.shadow) { // the disc touches all four edges
            for (const QPoint p : edges)
                EXPECT_GE(image.pixelColor(p).alpha(), 128);
        } else {
            // m points of room: black at alpha 0.5 blurred by a Gaussian of m / 2,
            // the same on all sides.
            for (const QPoint p : edges)
                EXPECT_NEAR(image.pixelColor(p).alpha(), image.pixelColor(edges[0]).alpha(), 2);
            for (int y = 0; y < m; ++y) {
                const double expected =
                    63.75 * std::erfc((m - y - 0.5) / (m / 2.0 * std::sqrt(2.0)));
                EXPECT_NEAR(image.pixelColor(mid, y).alpha(), expected, 5) << "row " << y;
            }
            for (int y = 0; y < side; ++y)
                for (int x = 0; x < side; ++x)
                    if (std::hypot(x + 0.5 - side / 2.0, y + 0.5 - side / 2.0) >
                        side / 2.0 - m + 1) {
                        const QColor c = image.pixelColor(x, y);
                        ASSERT_EQ(c.red() + c.green() + c.blue(), 0) << x << "," << y;
                        ASSERT_LE(c.alpha(), 128) << x << "," << y;
                    }
        }
        // The drawn digits are as big as the bold font of that size makes them.
        for (const auto& [count, size] : {std::pair{-1, row.below10}, {15, row.tenOrMore}}) {
            const QSizeF expected = boldInkSize(size, QString::number(count));
            const QRect ink = inkBounds(badge(side, count, row.shadow));
            EXPECT_NEAR(ink.height(), expected.height(), std::max(1.5, expected.height() * 0.06))
                << count;
            EXPECT_NEAR(ink.width(), expected.width(), std::max(2.5, expected.width() * 0.06))
                << count;
            if (row.shadow) { // centred (small badges are too few pixels to tell)
                EXPECT_NEAR(ink.center().x(), mid, side / 16) << count;
                EXPECT_NEAR(ink.center().y(), mid, side / 10) << count;
            }
        }
        if (side < 32)
            continue; // too few pixels to tell digits from the rim
        // Long numbers shrink: as wide as that many digits of that height (none
        // is missing), and all of it inside the disc (none is cut).
        const qreal radius = side / 2.0 - m;
        for (const int count : {1234, 99999, 1234567, INT_MIN}) {
            const QImage wide = badge(side, count, row.shadow);
            const QRect ink = inkBounds(wide);
            ASSERT_TRUE(ink.isValid()) << count;
            const qsizetype digits = QString::number(count).count(QRegularExpression(u"\\d"_s));
            EXPECT_GE(ink.width(), 0.4 * double(digits * ink.height())) << count;
            for (int y = ink.top(); y <= ink.bottom(); ++y)
                for (int x = ink.left(); x <= ink.right(); ++x)
                    if (isInk(wide.pixelColor(x, y))) {
                        ASSERT_LT(std::hypot(x + 0.5 - side / 2.0, y + 0.5 - side / 2.0),
                                  radius - 1)
                            << count << " at " << x << "," << y;
                    }
        }
    }
}

TEST(BadgeImage, OddSizesAndCountsNeverCrash) {
    for (const QSizeF size : {QSizeF(0, 0), QSizeF(-5, 10), QSizeF(qQNaN(), 1), QSizeF(1e6, 1e6)})
        EXPECT_TRUE(DWBadgeImage(size, 3, true).isNull());
    EXPECT_EQ(DWBadgeImage::newBadgeInRect(QRectF(0, 0, 0, 0), 3), nullptr);
    EXPECT_GT(badge(1, 3, false).pixelColor(0, 0).alpha(), 0); // no room for text
}

TEST(BadgeComposing, EveryRepresentationKeptAtItsPixelsBadgeAloneAtSmallSizes) {
    LWIconImage icon;
    for (const int side : {512, 16, 128, 32, 256})
        icon.addRepresentation(green(side));
    icon.addRepresentation(green(512, 2));
    icon.addRepresentation(green(32, 2, QImage::Format_RGB32));
    icon.addRepresentation(QImage(), QSizeF(0, 0)); // nothing to draw: left out
    const QImage before = icon.representations()[0].image.copy();
    const LWIconImage badged = DWBadgeImage::addBadgeTo(icon, 3);
    ASSERT_EQ(badged.count(), 7);
    EXPECT_EQ(icon.representations()[0].image, before); // source untouched
    for (int i = 0; i < 7; ++i) {
        const auto& rep = badged.representations()[i];
        EXPECT_EQ(rep.size, icon.representations()[i].size);
        if (rep.size.width() > 32)
            continue;
        EXPECT_GE(rep.image.pixelColor(rep.image.width() / 2, 0).alpha(), 128); // no shadow
        for (int y = 0; y < rep.image.height(); ++y)
            for (int x = 0; x < rep.image.width(); ++x) { // no trace of the green icon
                const QColor c = rep.image.pixelColor(x, y);
                ASSERT_LE(c.green(), c.red() + 40) << x << "," << y;
            }
    }
    // 512: the badge at (308, 308) counted from the bottom left, its shadow
    // darkening the icon just above the disc; the icon kept elsewhere. 256
    // points at 2x: the same pixels.
    for (const QImage& big :
         {badged.representations()[0].image, badged.representations()[5].image}) {
        for (const QPoint p :
             {QPoint(300, 300), QPoint(307, 100), QPoint(400, 205), QPoint(309, 1)})
            EXPECT_TRUE(near(big.pixelColor(p), kGreen, 0)) << p.x() << "," << p.y();
        EXPECT_TRUE(near(big.pixelColor(353, 130), kDisc));
        EXPECT_TRUE(near(big.pixelColor(353, 75), kGlossed));
        EXPECT_LT(big.pixelColor(410, 8).green(), 165);
    }
    // 16 points at 2x: the 16-point font (11) at twice the pixels.
    EXPECT_NEAR(inkBounds(badged.representations()[6].image).height(),
                boldInkSize(22, QStringLiteral("3")).height(), 2);
    EXPECT_TRUE(DWBadgeImage::addBadgeTo(LWIconImage(), 3).isEmpty());
}
