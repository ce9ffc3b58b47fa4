#include "views/ABViewSelectingController.h"

#include "foundation/LWPreferences.h"
#include "logging/LWLogger.h"
#include "support/TestEnvironment.h"

#include <QAbstractButton>
#include <QFileInfo>
#include <QLabel>
#include <QMap>
#include <QPointer>
#include <QWidget>
#include <gtest/gtest.h>

namespace {
const QString key = QStringLiteral("abviewVariation");

class ABView : public ::testing::Test {
protected:
    void SetUp() override { LWPreferences::standard().removeObject(key); }
    void TearDown() override { LWPreferences::standard().removeObject(key); }
};
} // namespace

TEST_F(ABView, TheFirstChoiceIsStoredAndShownFromThenOn) {
    std::unique_ptr<ABViewSelectingController> first;
    first = std::make_unique<ABViewSelectingController>();
    const QString chosen = LWPreferences::standard().stringForKey(key);
    EXPECT_TRUE(ABViewSelectingController::variations().contains(chosen));
    EXPECT_EQ(first->chosenVariation(), chosen);
    EXPECT_EQ(first->variation(), chosen);
    ASSERT_NE(first->view(), nullptr);
    EXPECT_EQ(first->view()->objectName(), chosen);

    for (int launch = 0; launch < 3; ++launch)
        EXPECT_EQ(ABViewSelectingController().chosenVariation(), chosen);
}

TEST_F(ABView, AStoredChoiceDrawsNoNumberAndWritesNothing) {
    LWPreferences::standard().setObject(key, QStringLiteral("ThreeAppIcons"));
    const QString settings = LWPreferences::standard().fileName();
    const QByteArray before = dwtest::readFile(settings);
    const QDateTime modified = QFileInfo(settings).lastModified();

    int draws = 0;
    EXPECT_EQ(ABViewSelectingController::_decideOnVariation([&draws] { return quint32(++draws); }),
              QStringLiteral("ThreeAppIcons"));
    EXPECT_EQ(draws, 0);
    EXPECT_EQ(ABViewSelectingController().chosenVariation(), QStringLiteral("ThreeAppIcons"));
    EXPECT_EQ(dwtest::readFile(settings), before);
    EXPECT_EQ(QFileInfo(settings).lastModified(), modified);
}

TEST_F(ABView, TheRandomNumberPicksInListOrder) {
    const quint32 numbers[] = {0, 1, 2, 3, 0xFFFFFFFFu};
    const char* expected[] = {"WFLogo", "ThreeAppIcons", "GreenWallpaperShelf", "WFLogo",
                              "WFLogo"}; // 4294967295 = 3 * 1431655765
    for (size_t i = 0; i < std::size(numbers); ++i) {
        LWPreferences::standard().removeObject(key);
        EXPECT_EQ(ABViewSelectingController::_decideOnVariation([&] { return numbers[i]; }),
                  QString::fromLatin1(expected[i]));
        EXPECT_EQ(LWPreferences::standard().stringForKey(key), QString::fromLatin1(expected[i]));
    }
}

TEST_F(ABView, OverManyFreshAccountsTheDesignsComeUpAboutEquallyOften) {
    QMap<QString, int> counts;
    const int accounts = 300;
    for (int i = 0; i < accounts; ++i) {
        LWPreferences::standard().removeObject(key);
        ++counts[ABViewSelectingController::_decideOnVariation()];
    }
    ASSERT_EQ(counts.size(), 3);
    // 100 expected each; the bounds are almost five standard deviations away.
    for (auto it = counts.cbegin(); it != counts.cend(); ++it) {
        EXPECT_GT(it.value(), 60) << it.key().toStdString();
        EXPECT_LT(it.value(), 140) << it.key().toStdString();
    }
}

TEST_F(ABView, EveryDesignLoadsWithItsLabelButtonAndPictures) {
    for (const QString& variation : ABViewSelectingController::variations()) {
        SCOPED_TRACE(variation.toStdString());
        LWPreferences::standard().setObject(key, variation);
        ABViewSelectingController controller;
        ASSERT_NE(controller.view(), nullptr);
        ASSERT_NE(controller.label(), nullptr);
        ASSERT_NE(controller.button(), nullptr);
        EXPECT_FALSE(controller.label()->text().isEmpty());
        EXPECT_FALSE(controller.button()->text().isEmpty());
        EXPECT_TRUE(controller.view()->isAncestorOf(controller.label()));
        EXPECT_TRUE(controller.view()->isAncestorOf(controller.button()));
        // Artwork comes from the resources; a missing picture would be empty.
        int pictures = 0;
        for (const QLabel* picture : controller.view()->findChildren<QLabel*>()) {
            if (picture != controller.label()) {
                EXPECT_FALSE(picture->pixmap().isNull()) << picture->objectName().toStdString();
                ++pictures;
            }
        }
        EXPECT_GE(pictures, 1);
    }
}

TEST_F(ABView, AStoredNameWithoutADesignShowsAnEmptyPlaceholderAndWarnsOnce) {
    LWLogger::sharedInstance()->setMessageBacklogSize(50);
    LWLogger::sharedInstance()->setMessageBacklog({});
    for (const QString& stored : {QStringLiteral("PurpleBanner"), QStringLiteral("../views/x")}) {
        LWPreferences::standard().setObject(key, stored);
        ABViewSelectingController controller;
        ASSERT_NE(controller.view(), nullptr);
        EXPECT_TRUE(controller.chosenVariation().isEmpty());
        // The application may still colour and disable them.
        ASSERT_NE(controller.label(), nullptr);
        ASSERT_NE(controller.button(), nullptr);
        controller.button()->setEnabled(false);
        EXPECT_TRUE(controller.label()->isHidden());
        EXPECT_TRUE(controller.button()->isHidden());
        // The stored name is kept: it is never changed once written.
        EXPECT_EQ(LWPreferences::standard().stringForKey(key), stored);
    }
    const QStringList lines = LWLogger::sharedInstance()->messageBacklog();
    EXPECT_EQ(lines.size(), 2);
    EXPECT_TRUE(lines.value(1).contains(QStringLiteral("PurpleBanner")));
}

TEST_F(ABView, TheViewOutlivesTheControllerOnlyWhenAWindowAdoptedIt) {
    QPointer<QWidget> loose;
    {
        ABViewSelectingController controller;
        loose = controller.view();
    }
    EXPECT_TRUE(loose.isNull());

    QWidget window;
    QPointer<QWidget> adopted;
    {
        ABViewSelectingController controller;
        controller.view()->setParent(&window);
        adopted = controller.view();
    }
    EXPECT_FALSE(adopted.isNull());
}
