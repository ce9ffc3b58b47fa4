#include "views/ABViewSelectingController.h"

#include "foundation/LWPreferences.h"
#include "logging/LWLogger.h"
#include "support/TestEnvironment.h"
#include "views/DWPointyButton.h"

#include <QMap>
#include <QPointer>
#include <gtest/gtest.h>

namespace {
const QString key = QStringLiteral("abviewVariation");

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
    LWPreferences::standard().setObject(key, QStringLiteral("ThreeAppIcons"));
    const QString settings = LWPreferences::standard().fileName();
    const QByteArray before = dwtest::readFile(settings);
    int draws = 0;
    EXPECT_EQ(ABViewSelectingController::_decideOnVariation([&draws] { return quint32(++draws); }),
              QStringLiteral("ThreeAppIcons"));
    EXPECT_EQ(draws, 0);
    EXPECT_EQ(ABViewSelectingController().chosenVariation(), QStringLiteral("ThreeAppIcons"));
    EXPECT_EQ(dwtest::readFile(settings), before);
}

TEST_F(ABView, OverManyFreshAccountsTheDesignsComeUpAboutEquallyOften) {
    QMap<QString, int> counts;
    for (int account = 0; account < 300; ++account) {
        LWPreferences::standard().removeObject(key);
        ++counts[ABViewSelectingController::_decideOnVariation()];
    }
    ASSERT_EQ(counts.size(), 3);
    // 100 expected each; the bounds are almost five standard deviations away.
    for (int count : counts) {
        EXPECT_GT(count, 60);
        EXPECT_LT(count, 140);
    }
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
    for (const QString& stored : {QStringLiteral("PurpleBanner"), QStringLiteral("../views/x")}) {
        LWPreferences::standard().setObject(key, stored);
        const ABViewSelectingController controller;
        EXPECT_TRUE(controller.chosenVariation().isEmpty());
        // The application may still colour the label and disable the button.
        ASSERT_TRUE(controller.view() && controller.label() && controller.button());
        EXPECT_TRUE(controller.label()->isHidden() && controller.button()->isHidden());
        EXPECT_EQ(LWPreferences::standard().stringForKey(key), stored); // never rewritten
    }
    EXPECT_EQ(
        LWLogger::sharedInstance()->messageBacklog().filter(QStringLiteral("PurpleBanner")).size(),
        1);
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
