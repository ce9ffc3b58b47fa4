#include "views/ABViewSelectingController.h"

#include "foundation/LWPreferences.h"
#include "support/LogCapture.h"
#include "support/TestEnvironment.h"
#include "views/DWPointyButton.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {
const QString key = u"abviewVariation"_s;
}

TEST(ABView, TheFirstChoiceIsStoredAndAStoredOneDrawsNoNumber) {
    // The random number picks in list order.
    const quint32 numbers[] = {0, 1, 2, 0xFFFFFFFFu}; // 0xFFFFFFFF = 3 * 1431655765
    const char* expected[] = {"WFLogo", "ThreeAppIcons", "GreenWallpaperShelf", "WFLogo"};
    for (size_t i = 0; i < std::size(numbers); ++i) {
        LWPreferences::standard().removeObject(key);
        EXPECT_EQ(ABViewSelectingController::_decideOnVariation([&] { return numbers[i]; }),
                  QLatin1String(expected[i]));
        EXPECT_EQ(LWPreferences::standard().stringForKey(key), QLatin1String(expected[i]));
    }
    const QByteArray before = dwtest::readFile(LWPreferences::standard().fileName());
    int draws = 0;
    EXPECT_EQ(ABViewSelectingController::_decideOnVariation([&draws] { return quint32(++draws); }),
              u"WFLogo"_s);
    EXPECT_EQ(draws, 0);
    EXPECT_EQ(dwtest::readFile(LWPreferences::standard().fileName()), before);
}

// The application may colour the label and disable the button of any of them.
TEST(ABView, EveryDesignLoadsAndANameWithoutOneGivesAHiddenPlaceholderAndAWarning) {
    dwtest::LogCapture log(50);
    const QStringList designs = ABViewSelectingController::variations();
    for (const QString& stored : designs + QStringList{u"PurpleBanner"_s, u"../views/x"_s}) {
        SCOPED_TRACE(stored.toStdString());
        LWPreferences::standard().setObject(key, stored);
        const ABViewSelectingController controller;
        ASSERT_TRUE(controller.view() && controller.label() && controller.button());
        EXPECT_EQ(LWPreferences::standard().stringForKey(key), stored); // never rewritten
        if (!designs.contains(stored)) {
            EXPECT_TRUE(controller.chosenVariation().isEmpty());
            EXPECT_TRUE(controller.label()->isHidden() && controller.button()->isHidden());
            continue;
        }
        EXPECT_FALSE(controller.label()->text().isEmpty() || controller.button()->text().isEmpty());
        EXPECT_TRUE(controller.view()->isAncestorOf(controller.button()));
        EXPECT_TRUE(qobject_cast<DWPointyButton*>(controller.button())); // loaded as ours
        // Artwork comes from the resources; a missing picture would be empty.
        int pictures = 0;
        for (const QLabel* picture : controller.view()->findChildren<QLabel*>())
            pictures += picture != controller.label() && !picture->pixmap().isNull();
        EXPECT_GE(pictures, 1);
    }
    EXPECT_EQ(log.loggerLines().filter(u"does not load"_s), QStringList());
    EXPECT_EQ(log.loggerLines().filter(u"PurpleBanner"_s).size(), 1);
}
