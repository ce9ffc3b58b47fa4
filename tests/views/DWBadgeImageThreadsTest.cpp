#include "BadgePixels.h"
#include "views/DWBadgeImage.h"

#include <gtest/gtest.h>
#include <thread>
#include <vector>

// Qt's raster engine hands large fills to its own thread pool, whose locks and
// wait conditions live in the (uninstrumented) Qt libraries, so ThreadSanitizer
// cannot see them and reports the hand-over as races. Races inside Qt are not
// ours to judge; races in our own frames are still reported. Only read when
// the test runs under ThreadSanitizer.
extern "C" const char* __tsan_default_suppressions() {
    return "race:libQt6Core.so\n"
           "race:libQt6Gui.so\n";
}

// Badges are composed on the badge worker while the status menu draws its own
// on the main thread; the calls share nothing and must not disturb each other.
TEST(BadgeThreads, ConcurrentComposingGivesTheSamePixelsAsOneThread) {
    LWIconImage icon;
    for (const int side : {16, 32, 128, 256, 512}) {
        QImage image(side, side, QImage::Format_ARGB32_Premultiplied);
        image.fill(QColor(40, 170, 70));
        icon.addRepresentation(image);
    }
    const LWIconImage expected = DWBadgeImage::addBadgeTo(icon, 27);
    ASSERT_EQ(expected.count(), 5);

    std::vector<int> mismatches(2, 0);
    std::vector<std::thread> workers;
    for (int t = 0; t < 2; ++t)
        workers.emplace_back([&, t] {
            for (int round = 0; round < 4; ++round) {
                const LWIconImage badged = DWBadgeImage::addBadgeTo(icon, 27);
                for (qsizetype i = 0; i < badged.count(); ++i)
                    mismatches[size_t(t)] +=
                        badged.representations()[i].image != expected.representations()[i].image;
            }
        });
    // Meanwhile the main thread draws menu badges.
    for (int round = 0; round < 20; ++round) {
        const DWBadgeImage menuBadge(QSizeF(15, 15), round, false);
        EXPECT_TRUE(badgepixels::near(menuBadge.image().pixelColor(3, 9), badgepixels::kDisc) ||
                    round >= 10);
    }
    for (std::thread& worker : workers)
        worker.join();
    EXPECT_EQ(mismatches[0], 0);
    EXPECT_EQ(mismatches[1], 0);
}
