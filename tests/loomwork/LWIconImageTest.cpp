#include "ui/LWIconImage.h"

#include <gtest/gtest.h>

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
    EXPECT_TRUE(LWIconImage().largestImage().isNull());
}
