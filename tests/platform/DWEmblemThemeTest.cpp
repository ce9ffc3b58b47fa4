#include "platform/DWEmblemTheme.h"

#include "foundation/LWTimestamp.h"
#include "support/LogCapture.h"
#include "support/TestEnvironment.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QImage>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

TEST(DWEmblemThemeTest, DrawsEverySizeOnceAndTouchesTheThemeOnlyWhenItAdds) {
    DWEmblemTheme theme(dwtest::homePath() + u"/theme"_s);
    ASSERT_TRUE(theme.install({7, 1234}));
    for (int size : DWEmblemTheme::sizes()) {
        for (int scale : {1, 2}) {
            const QImage image(theme.iconPath(7, size, scale));
            ASSERT_EQ(image.size(), QSize(size * scale, size * scale)) << size << "@" << scale;
            // The disc's red at the centre, whatever the size.
            const QColor centre = image.pixelColor(image.width() / 2, image.height() * 3 / 4);
            EXPECT_GT(centre.red(), 150) << size << "@" << scale;
            EXPECT_LT(centre.green(), 60) << size << "@" << scale;
        }
    }
    EXPECT_EQ(QFileInfo(theme.iconPath(1234, 48, 1)).fileName(), u"emblem-dotwise-1234.png"_s);

    // Installed already, by this theme or an earlier run's: nothing moves.
    const QString icon = theme.iconPath(7, 16, 1);
    const LWTimestamp old{1000000000, 0};
    ASSERT_TRUE(lw::setContentModificationDate(icon, old) &&
                lw::setContentModificationDate(theme.themeDirectory(), old));
    DWEmblemTheme again(theme.themeDirectory());
    ASSERT_TRUE(again.install(7));
    EXPECT_EQ(lw::contentModificationDate(icon), old);
    EXPECT_EQ(lw::contentModificationDate(theme.themeDirectory()), old);
    ASSERT_TRUE(again.install(8));
    EXPECT_NE(lw::contentModificationDate(theme.themeDirectory()), old);

    // Uninstalling takes our pictures and nobody else's.
    const QString other = theme.themeDirectory() + u"/16x16/emblems/emblem-favorite.png"_s;
    dwtest::writeFile(other, "png");
    EXPECT_EQ(again.uninstall(), 3 * 2 * int(DWEmblemTheme::sizes().size()));
    EXPECT_FALSE(QFile::exists(icon));
    EXPECT_TRUE(QFile::exists(other));
    EXPECT_FALSE(again.isInstalled(8));
}

TEST(DWEmblemThemeTest, UnwritableThemeSaysSoAndDrawsLater) {
    const QString blocked = dwtest::homePath() + u"/blocked"_s;
    dwtest::writeFile(blocked, "a file where the theme folder should be");
    DWEmblemTheme theme(blocked + u"/hicolor"_s);
    dwtest::LogCapture log;
    EXPECT_FALSE(theme.install(3));
    EXPECT_FALSE(theme.isInstalled(3));
    EXPECT_TRUE(
        log.standardError().contains(u"Can't write the emblem %1"_s.arg(theme.iconPath(3, 16, 1))));
}
