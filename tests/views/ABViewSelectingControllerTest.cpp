#include "views/ABViewSelectingController.h"

#include "foundation/LWPreferences.h"
#include "logging/LWLogger.h"
#include "support/TestEnvironment.h"
#include "views/DWPointyButton.h"

#include <QPointer>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {
const QString key = u"abviewVariation"_s;

class ABView : public ::testing::Test {
protected:
    void SetUp() override { LWPreferences::standard().removeObject(key); }
};
} // namespace

TEST_F(ABView, TheFirstChoiceIsStoredAndShownFromThenOn) {
    const ABViewSelectingController first;
    const QString chosen = LWPreferences::standard().stringForKey(key);
    EXPECT_TRUE(ABViewSelectingController::variations().contains(chosen));
    EXPECT_EQ(first.variation(), chosen);
    EXPECT_EQ(first.view()->objectName(), chosen);
    EXPECT_EQ(ABViewSelectingController().chosenVariation(), chosen);

    // The random number picks in list order.
    const quint32 numbers[] = {0, 1, 2, 0xFFFFFFFFu}; // 0xFFFFFFFF = 3 * 1431655765
    const char* expected[] = {"WFLogo", "ThreeAppIcons", "GreenWallpaperShelf", "WFLogo"};
    for (size_t i = 0; i < std::size(numbers); ++i) {
        LWPreferences::standard().removeObject(key);
        EXPECT_EQ(ABViewSelectingController::_decideOnVariation([&] { return numbers[i]; }),
                  QLatin1String(expected[i]));
        EXPECT_EQ(LWPreferences::standard().stringForKey(key), QLatin1String(expected[i]));
    }
}

TEST_F(ABView, AStoredChoiceDrawsNoNumberAndWritesNothing) {
    LWPreferences::standard().setObject(key, u"ThreeAppIcons"_s);
    const QString settings = LWPreferences::standard().fileName();
    const QByteArray before = dwtest::readFile(settings);
    int draws = 0;
    EXPECT_EQ(ABViewSelectingController::_decideOnVariation([&draws] { return quint32(++draws); }),
              u"ThreeAppIcons"_s);
    EXPECT_EQ(draws, 0);
    EXPECT_EQ(ABViewSelectingController().chosenVariation(), u"ThreeAppIcons"_s);
    EXPECT_EQ(dwtest::readFile(settings), before);
}

TEST_F(ABView, EveryDesignLoadsWithItsLabelButtonAndPictures) {
    for (const QString& variation : ABViewSelectingController::variations()) {
        LWPreferences::standard().setObject(key, variation);
        const ABViewSelectingController controller;
        ASSERT_TRUE(controller.label() && controller.button()) << variation.toStdString();
        EXPECT_FALSE(controller.label()->text().isEmpty());
        EXPECT_FALSE(controller.button()->text().isEmpty());
        EXPECT_TRUE(controller.view()->isAncestorOf(controller.button()));
        // A link out of the app: the pointing hand shows it.
        EXPECT_TRUE(qobject_cast<DWPointyButton*>(controller.button()));
        EXPECT_EQ(controller.button()->cursor().shape(), Qt::PointingHandCursor);
        // Artwork comes from the resources; a missing picture would be empty.
        int pictures = 0;
        for (const QLabel* picture : controller.view()->findChildren<QLabel*>()) {
            if (picture != controller.label())
                pictures += !picture->pixmap().isNull();
        }
        EXPECT_GE(pictures, 1) << variation.toStdString();
    }
}

TEST_F(ABView, AStoredNameWithoutADesignShowsAnEmptyPlaceholderAndWarns) {
    LWLogger::sharedInstance()->setMessageBacklogSize(50);
    LWLogger::sharedInstance()->setMessageBacklog({});
    for (const QString& stored : {u"PurpleBanner"_s, u"../views/x"_s}) {
        LWPreferences::standard().setObject(key, stored);
        const ABViewSelectingController controller;
        EXPECT_TRUE(controller.chosenVariation().isEmpty());
        // The application may still colour the label and disable the button.
        ASSERT_TRUE(controller.view() && controller.label() && controller.button());
        EXPECT_TRUE(controller.label()->isHidden() && controller.button()->isHidden());
        EXPECT_EQ(LWPreferences::standard().stringForKey(key), stored); // never rewritten
    }
    EXPECT_EQ(LWLogger::sharedInstance()->messageBacklog().filter(u"PurpleBanner"_s).size(), 1);
}

TEST_F(ABView, TheViewOutlivesTheControllerOnlyWhenAWindowAdoptedIt) {
    QPointer<QWidget> loose = ABViewSelectingController().view();
    EXPECT_TRUE(loose.isNull());
    QWidget window;
    QPointer<QWidget> adopted;
    {
        const ABViewSelectingController controller;
        controller.view()->setParent(&window);
        adopted = controller.view();
    }
    EXPECT_FALSE(adopted.isNull());
}
