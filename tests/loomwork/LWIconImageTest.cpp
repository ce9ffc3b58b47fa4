#include "ui/LWIconImage.h"

#include "fakes/FakeWorkspace.h"
#include "support/TestEnvironment.h"

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

TEST(FakeWorkspace, RecordsIconAndDateWritesWithoutTouchingContents) {
    FakeWorkspace workspace;
    const QString path = dwtest::homePath() + QStringLiteral("/fake/list.txt");
    dwtest::writeFile(path, "- [ ] one\n");
    const auto before = workspace.contentModificationDate(path);
    ASSERT_TRUE(before.has_value());

    ASSERT_TRUE(workspace.setIcon(workspace.iconForFile(path), path));
    EXPECT_TRUE(workspace.hasCustomIcon(path));
    ASSERT_TRUE(workspace.setContentModificationDate(path, LWTimestamp{1000, 123456789}));
    EXPECT_EQ(workspace.contentModificationDate(path), (LWTimestamp{1000, 123456789}));
    ASSERT_TRUE(workspace.setIcon(LWIconImage(), path));
    EXPECT_FALSE(workspace.hasCustomIcon(path));
    EXPECT_EQ(workspace.iconWrites().size(), 2);
    EXPECT_TRUE(workspace.iconWrites()[1].removed);
    EXPECT_EQ(dwtest::readFile(path), QByteArray("- [ ] one\n"));
}
