#include "views/DWBadgeImage.h"

#include <gtest/gtest.h>
#include <thread>

// Icons are badged on the badge worker while the status menu draws its own
// badges on the main thread; the calls share nothing.
TEST(BadgeThreads, ConcurrentComposingGivesTheSamePixels) {
    LWIconImage icon;
    for (const int side : {16, 32, 128, 256, 512}) {
        QImage image(side, side, QImage::Format_ARGB32_Premultiplied);
        image.fill(Qt::darkCyan);
        icon.addRepresentation(image);
    }
    const LWIconImage expected = DWBadgeImage::addBadgeTo(icon, 27);
    int mismatches[2] = {0, 0};
    std::thread workers[2];
    for (int t = 0; t < 2; ++t)
        workers[t] = std::thread([&, t] {
            for (int round = 0; round < 4; ++round) {
                const LWIconImage badged = DWBadgeImage::addBadgeTo(icon, 27);
                for (qsizetype i = 0; i < badged.count(); ++i)
                    mismatches[t] +=
                        badged.representations()[i].image != expected.representations()[i].image;
            }
        });
    const QImage menuBadge = DWBadgeImage(QSizeF(15, 15), 3, false).image();
    for (int round = 0; round < 20; ++round)
        EXPECT_EQ(DWBadgeImage(QSizeF(15, 15), 3, false).image(), menuBadge);
    for (std::thread& worker : workers)
        worker.join();
    EXPECT_EQ(mismatches[0] + mismatches[1], 0);
}
