#include "views/DWBadgeImage.h"

#include "BadgePixels.h"

#include <QFontMetricsF>
#include <QGuiApplication>
#include <QPainter>
#include <climits>
#include <cmath>
#include <gtest/gtest.h>
#include <limits>

using namespace badgepixels;

namespace {
struct BadgeCase {
    int side;
    bool shadow;
    int margin;
};

// Every badge the application makes: the status menu's, and one per icon size.
const BadgeCase kSystemBadges[] = {{15, false, 0}, {16, false, 0}, {32, false, 0},
                                   {51, true, 2},  {102, true, 5}, {204, true, 10}};

DWBadgeImage badge(int side, int count, bool shadow) {
    return DWBadgeImage(QSizeF(side, side), count, shadow);
}

QColor at(const QImage& image, qreal fx, qreal fy) {
    return image.pixelColor(int(fx * image.width()), int(fy * image.height()));
}

QImage solidImage(int pixels, qreal devicePixelRatio = 1.0,
                  QImage::Format format = QImage::Format_ARGB32_Premultiplied) {
    QImage image(pixels, pixels, format);
    image.fill(QColor(40, 170, 70));
    image.setDevicePixelRatio(devicePixelRatio);
    return image;
}
} // namespace

TEST(BadgeImage, DiscGlossAndCornersForEverySystemBadge) {
    for (const BadgeCase& c : kSystemBadges) {
        SCOPED_TRACE(c.side);
        const DWBadgeImage b = badge(c.side, 1, c.shadow);
        const QImage& image = b.image();
        ASSERT_FALSE(image.isNull());
        EXPECT_EQ(image.format(), QImage::Format_ARGB32_Premultiplied);
        EXPECT_EQ(image.size(), QSize(c.side, c.side));
        EXPECT_EQ(b.size(), QSizeF(c.side, c.side));

        for (const QPoint corner : {QPoint(0, 0), QPoint(c.side - 1, 0), QPoint(0, c.side - 1),
                                    QPoint(c.side - 1, c.side - 1)})
            EXPECT_EQ(image.pixelColor(corner).alpha(), 0) << corner.x() << "," << corner.y();

        // Left of the digit, in the lower and upper halves of the disc: the
        // gloss lies over the upper half as seen on screen.
        const QColor lower = at(image, 0.22, 0.62);
        const QColor upper = at(image, 0.22, 0.38);
        EXPECT_TRUE(near(lower, kDisc)) << lower.name(QColor::HexArgb).toStdString();
        EXPECT_TRUE(near(upper, kGlossedDisc)) << upper.name(QColor::HexArgb).toStdString();
        EXPECT_GT(upper.red(), lower.red());
        EXPECT_GT(upper.green(), lower.green());
    }
}

TEST(BadgeImage, DiscTouchesTheEdgesWithoutShadowAndLeavesShadowRoomWithIt) {
    for (const BadgeCase& c : kSystemBadges) {
        SCOPED_TRACE(c.side);
        const QImage image = badge(c.side, 3, c.shadow).image();
        const int mid = c.side / 2;
        const QPoint edges[] = {{mid, 0}, {mid, c.side - 1}, {0, mid}, {c.side - 1, mid}};
        if (!c.shadow) {
            for (const QPoint p : edges)
                EXPECT_GE(image.pixelColor(p).alpha(), 128) << p.x() << "," << p.y();
            continue;
        }
        // With shadow the disc starts m points in; the room is only the black
        // blur, the same on all four sides since the shadow has no offset.
        const int shadowAlpha = image.pixelColor(edges[0]).alpha();
        for (const QPoint p : edges) {
            const QColor colour = image.pixelColor(p);
            EXPECT_EQ(colour.red() + colour.green() + colour.blue(), 0);
            EXPECT_LT(colour.alpha(), 128);
            EXPECT_NEAR(colour.alpha(), shadowAlpha, 2);
        }
        EXPECT_EQ(image.pixelColor(mid, c.margin + 2).alpha(), 255);
        // Black at alpha 0.5 blurred by a radius of m (a Gaussian of m / 2):
        // next to a straight edge the coverage falls off as erfc.
        const double sigma = c.margin / 2.0;
        for (int y = 0; y < c.margin; ++y) {
            const double distance = c.margin - (y + 0.5);
            const double expected = 127.5 * 0.5 * std::erfc(distance / (sigma * std::sqrt(2.0)));
            EXPECT_NEAR(image.pixelColor(mid, y).alpha(), expected, 5) << "row " << y;
        }

        const double radius = c.side / 2.0 - c.margin;
        for (int y = 0; y < c.side; ++y)
            for (int x = 0; x < c.side; ++x) {
                const double distance = std::hypot(x + 0.5 - c.side / 2.0, y + 0.5 - c.side / 2.0);
                if (distance < radius + 1)
                    continue;
                const QColor colour = image.pixelColor(x, y);
                ASSERT_EQ(colour.red() + colour.green() + colour.blue(), 0) << x << "," << y;
                ASSERT_LE(colour.alpha(), 128) << x << "," << y;
            }
    }
}

TEST(BadgeImage, TextIsWhiteCentredAndShowsTheSign) {
    for (const int count : {0, 7, 42, -1}) {
        SCOPED_TRACE(count);
        const QImage image = badge(102, count, true).image();
        int white = 0;
        for (int y = 26; y < 77; ++y)
            for (int x = 26; x < 77; ++x)
                white += near(image.pixelColor(x, y), QColor(Qt::white), 0);
        EXPECT_GT(white, 100);
        const QRect ink = inkBounds(image);
        ASSERT_FALSE(ink.isEmpty());
        EXPECT_NEAR(ink.center().x(), 51, 6);
        EXPECT_NEAR(ink.center().y(), 51, 10);
    }
    const QRect one = inkBounds(badge(102, 1, true).image());
    const QImage minusOneImage = badge(102, -1, true).image();
    const QRect minusOne = inkBounds(minusOneImage);
    // Same font size for both, so the sign only adds width.
    EXPECT_NEAR(minusOne.height(), one.height(), 1);
    EXPECT_GT(minusOne.width(), one.width() + 10);
    // The leftmost ink is a short horizontal bar, not a digit.
    QRect bar;
    for (int y = minusOne.top(); y <= minusOne.bottom(); ++y)
        for (int x = minusOne.left(); x < minusOne.left() + minusOne.width() / 4; ++x)
            if (isInk(minusOneImage.pixelColor(x, y)))
                bar |= QRect(x, y, 1, 1);
    ASSERT_FALSE(bar.isEmpty());
    EXPECT_LT(bar.height(), minusOne.height() / 3);
    EXPECT_GT(bar.top(), minusOne.top() + minusOne.height() / 4);
}

TEST(BadgeImage, WorkedValuesHoldForEveryRowInNumbersAndPixels) {
    struct Row {
        int side;
        bool shadow;
        float margin;
        int below10;
        int tenOrMore;
    };
    const Row table[] = {{15, false, 0, 9, 7},  {16, false, 0, 11, 11}, {32, false, 0, 19, 16},
                         {51, true, 2, 30, 25}, {102, true, 5, 61, 51}, {204, true, 10, 122, 102}};
    QFont bold = QGuiApplication::font();
    bold.setBold(true);
    for (const Row& row : table) {
        SCOPED_TRACE(row.side);
        EXPECT_EQ(DWBadgeImage::marginFor(row.side, row.shadow), row.margin);
        EXPECT_EQ(DWBadgeImage::fontSizeFor(row.side, 9), row.below10);
        EXPECT_EQ(DWBadgeImage::fontSizeFor(row.side, -1), row.below10);
        EXPECT_EQ(DWBadgeImage::fontSizeFor(row.side, 10), row.tenOrMore);
        EXPECT_EQ(DWBadgeImage::fontSizeFor(row.side, INT_MAX), row.tenOrMore);

        // The drawn digits are as tall as the font of that size makes them.
        for (const auto& [count, fontSize] : {std::pair{5, row.below10}, {15, row.tenOrMore}}) {
            bold.setPixelSize(fontSize);
            const qreal expected =
                QFontMetricsF(bold).tightBoundingRect(QString::number(count)).height();
            const QRect ink = inkBounds(badge(row.side, count, row.shadow).image());
            EXPECT_NEAR(ink.height(), expected, std::max(1.5, expected * 0.08))
                << "count " << count << ", font " << fontSize;
        }
    }
    EXPECT_EQ(DWBadgeImage::marginFor(204, false), 0.0f);
    // The icon widths the badge is sized for.
    EXPECT_EQ(DWBadgeImage::badgeSideFor(16), 16);
    EXPECT_EQ(DWBadgeImage::badgeSideFor(32), 32);
    EXPECT_EQ(DWBadgeImage::badgeSideFor(128), 51);
    EXPECT_EQ(DWBadgeImage::badgeSideFor(256), 102);
    EXPECT_EQ(DWBadgeImage::badgeSideFor(512), 204);
}

TEST(BadgeImage, OddInputsGiveANullOrCutBadgeAndNeverCrash) {
    const qreal nan = std::numeric_limits<qreal>::quiet_NaN();
    for (const QSizeF size : {QSizeF(0, 0), QSizeF(-5, 10), QSizeF(nan, nan), QSizeF(1e6, 1e6)})
        EXPECT_TRUE(DWBadgeImage(size, 3, true).isNull());
    EXPECT_EQ(DWBadgeImage::newBadgeInRect(QRectF(0, 0, 0, 0), 3), nullptr);

    // Not square: an oval with its shadow around it, the corners still clear.
    // (The gloss keeps to a circle of the width, so look at the lower half.)
    const QImage oval = DWBadgeImage(QSizeF(120, 60), 3, true).image();
    ASSERT_EQ(oval.size(), QSize(120, 60));
    EXPECT_EQ(oval.pixelColor(0, 59).alpha(), 0);
    for (const QPoint room : {QPoint(60, 57), QPoint(3, 33), QPoint(116, 33)}) {
        EXPECT_EQ(oval.pixelColor(room).red(), 0);
        EXPECT_GT(oval.pixelColor(room).alpha(), 0);
    }
    EXPECT_NEAR(oval.pixelColor(3, 33).alpha(), oval.pixelColor(116, 33).alpha(), 2);
    EXPECT_TRUE(near(oval.pixelColor(20, 38), kDisc));

    // Too small for any text: just the disc.
    const DWBadgeImage tiny(QSizeF(1, 1), 3, false);
    ASSERT_FALSE(tiny.isNull());
    EXPECT_GT(tiny.image().pixelColor(0, 0).alpha(), 0);

    // A number far wider than the badge is centred and cut at both edges.
    for (const int count : {INT_MIN, 1234567}) {
        const QImage image = badge(16, count, false).image();
        const QRect ink = inkBounds(image);
        ASSERT_FALSE(ink.isEmpty());
        EXPECT_LE(ink.left(), 1);
        EXPECT_GE(ink.right(), 14);
    }
}

TEST(BadgeSizing, NewBadgeInRectSizesForTheIconAndIgnoresTheOrigin) {
    for (const int width : {16, 32, 128, 256, 512}) {
        SCOPED_TRACE(width);
        const auto atOrigin = DWBadgeImage::newBadgeInRect(QRectF(0, 0, width, width), 12);
        const auto elsewhere = DWBadgeImage::newBadgeInRect(QRectF(70, 30, width, 1), 12);
        ASSERT_TRUE(atOrigin && elsewhere);
        const int side = int(DWBadgeImage::badgeSideFor(width));
        EXPECT_EQ(atOrigin->image().size(), QSize(side, side));
        EXPECT_EQ(atOrigin->image(), elsewhere->image());
        // A shadow only above 32: it shows as room around the disc.
        const int edgeAlpha = atOrigin->image().pixelColor(side / 2, 0).alpha();
        if (width > 32)
            EXPECT_LT(edgeAlpha, 128);
        else
            EXPECT_GE(edgeAlpha, 128);
    }
}

TEST(BadgeSizing, DrawAtTopRightOfPlacesTheBadgeSourceOverInTheTopRightCorner) {
    const auto b = DWBadgeImage::newBadgeInRect(QRectF(0, 0, 32, 32), 4);
    ASSERT_TRUE(b);
    for (const QRectF rect : {QRectF(0, 0, 100, 60), QRectF(30, 30, 100, 60)}) {
        QImage canvas = solidImage(1).scaled(100, 60);
        canvas = canvas.convertToFormat(QImage::Format_ARGB32_Premultiplied);
        QPainter painter(&canvas);
        // The badge's own compositing wins over whatever the painter had.
        painter.setCompositionMode(QPainter::CompositionMode_Source);
        b->drawAtTopRightOf(painter, rect);
        EXPECT_EQ(painter.compositionMode(), QPainter::CompositionMode_Source); // restored
        painter.end();
        EXPECT_TRUE(near(canvas.pixelColor(75, 22), kDisc));  // lower-left of the disc
        EXPECT_TRUE(isIconGreen(canvas.pixelColor(68, 0)));   // the badge's transparent corner
        EXPECT_TRUE(isIconGreen(canvas.pixelColor(67, 16)));  // left of the badge
        EXPECT_TRUE(isIconGreen(canvas.pixelColor(84, 33)));  // below the badge
        EXPECT_FALSE(isIconGreen(canvas.pixelColor(84, 31))); // its bottom edge
    }
}

TEST(BadgeComposing, OneRepresentationPerInputSameSizesSameOrder) {
    LWIconImage icon;
    for (const int side : {512, 16, 128, 32, 256})
        icon.addRepresentation(solidImage(side));
    const LWIconImage badged = DWBadgeImage::addBadgeTo(icon, 42);
    ASSERT_EQ(badged.count(), 5);
    for (int i = 0; i < 5; ++i) {
        const auto& rep = badged.representations()[i];
        EXPECT_EQ(rep.size, icon.representations()[i].size);
        EXPECT_EQ(rep.image.size(), icon.representations()[i].image.size());
        EXPECT_EQ(rep.image.format(), QImage::Format_ARGB32_Premultiplied);
    }
    EXPECT_TRUE(DWBadgeImage::addBadgeTo(LWIconImage(), 42).isEmpty());
}

TEST(BadgeComposing, SmallSizesShowTheBadgeAloneLargeOnesKeepTheIcon) {
    LWIconImage icon;
    for (const int side : {16, 32, 128, 256, 512})
        icon.addRepresentation(solidImage(side));
    const LWIconImage badged = DWBadgeImage::addBadgeTo(icon, 3);
    ASSERT_EQ(badged.count(), 5);

    for (const int i : {0, 1}) {
        const QImage& image = badged.representations()[i].image;
        for (int y = 0; y < image.height(); ++y)
            for (int x = 0; x < image.width(); ++x)
                ASSERT_FALSE(isIconGreen(image.pixelColor(x, y))) << i << ": " << x << "," << y;
        EXPECT_EQ(image.pixelColor(0, 0).alpha(), 0);
    }

    // 512: the 204-point badge sits at (308, 308) counted from the bottom-left,
    // which is the top-right corner on screen.
    const QImage& big = badged.representations()[4].image;
    for (const QPoint p : {QPoint(10, 10), QPoint(300, 300), QPoint(511, 511), QPoint(307, 100),
                           QPoint(400, 205), QPoint(309, 1)})
        EXPECT_TRUE(near(big.pixelColor(p), QColor(40, 170, 70), 0)) << p.x() << "," << p.y();
    EXPECT_TRUE(near(big.pixelColor(308 + 45, 130), kDisc));
    EXPECT_TRUE(near(big.pixelColor(308 + 45, 75), kGlossedDisc));
    // The shadow darkens the icon just above the disc.
    const QColor rim = big.pixelColor(308 + 102, 8);
    EXPECT_LT(rim.green(), 165);
    EXPECT_TRUE(isIconGreen(rim));
}

TEST(BadgeComposing, TwoTimesRepresentationsAreDrawnAtTheirPixelSize) {
    LWIconImage icon;
    icon.addRepresentation(solidImage(512, 2.0)); // 256 points
    icon.addRepresentation(solidImage(32, 2.0));  // 16 points
    const LWIconImage badged = DWBadgeImage::addBadgeTo(icon, 5);
    ASSERT_EQ(badged.count(), 2);
    const auto& large = badged.representations()[0];
    EXPECT_EQ(large.size, QSizeF(256, 256));
    EXPECT_EQ(large.image.size(), QSize(512, 512));
    EXPECT_EQ(large.image.devicePixelRatio(), 2.0);
    // A 102-point badge is 204 pixels: the same place as on a 512 at 1x.
    EXPECT_TRUE(near(large.image.pixelColor(307, 100), QColor(40, 170, 70), 0));
    EXPECT_TRUE(near(large.image.pixelColor(308 + 45, 130), kDisc));
    EXPECT_TRUE(near(large.image.pixelColor(308 + 45, 75), kGlossedDisc));

    const auto& small = badged.representations()[1];
    EXPECT_EQ(small.size, QSizeF(16, 16));
    EXPECT_EQ(small.image.size(), QSize(32, 32));
    EXPECT_TRUE(near(small.image.pixelColor(7, 20), kDisc));
    // The 16-point font (11) at twice the pixels, not a 32-pixel badge's 19.
    QFont bold = QGuiApplication::font();
    bold.setBold(true);
    bold.setPixelSize(22);
    EXPECT_NEAR(inkBounds(small.image).height(),
                QFontMetricsF(bold).tightBoundingRect(QStringLiteral("5")).height(), 2);
}

TEST(BadgeComposing, LeavesTheSourceIconUntouchedWhateverItsFormat) {
    for (const QImage::Format format :
         {QImage::Format_ARGB32_Premultiplied, QImage::Format_ARGB32, QImage::Format_RGB32}) {
        SCOPED_TRACE(int(format));
        LWIconImage icon;
        icon.addRepresentation(solidImage(128, 1.0, format));
        const QImage before = icon.representations()[0].image.copy();
        const LWIconImage badged = DWBadgeImage::addBadgeTo(icon, 8);
        ASSERT_EQ(badged.count(), 1);
        EXPECT_EQ(icon.representations()[0].image, before);
        EXPECT_EQ(badged.representations()[0].image.format(), QImage::Format_ARGB32_Premultiplied);
        EXPECT_FALSE(isIconGreen(badged.representations()[0].image.pixelColor(100, 25)));
    }

    // A representation whose image is missing still gets its badge; one that
    // has no size is left out.
    LWIconImage odd;
    odd.addRepresentation(QImage(), QSizeF(64, 64));
    odd.addRepresentation(QImage(), QSizeF(0, 0));
    const LWIconImage badged = DWBadgeImage::addBadgeTo(odd, 8);
    ASSERT_EQ(badged.count(), 1);
    EXPECT_EQ(badged.representations()[0].image.size(), QSize(64, 64));
    EXPECT_EQ(badged.representations()[0].image.pixelColor(2, 60).alpha(), 0);
}
