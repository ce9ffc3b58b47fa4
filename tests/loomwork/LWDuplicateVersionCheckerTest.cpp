#include "distribution/LWDuplicateVersionChecker.h"

#include "fakes/FakeWorkspace.h"
#include "foundation/LWBundle.h"
#include "support/LogCapture.h"
#include "ui/LWAlert.h"

#include <QDialog>
#include <QPushButton>
#include <QTimer>
#include <QWidget>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {
const QString storeId = u"org.example.notes"_s;
const QString webId = u"org.example.notes.web"_s;
const QString storeEntry = u"/usr/share/applications/org.example.notes.desktop"_s;
const QString webEntry = u"/home/u/.local/share/applications/org.example.notes.web.desktop"_s;
const QString ownPath = u"/opt/notes/bin/notes"_s;

struct SeenAlert {
    QString message, informative;
    QStringList buttons;
    bool sheet = false;
};

class DuplicateVersionCheckerTest : public ::testing::Test {
protected:
    void SetUp() override {
        saved = LWBundle::mainBundle();
        checker.setOwnBundlePath(ownPath);
        checker.setTerminateApplication([this] { ++terminations; });
        window.show();
    }
    void TearDown() override { LWBundle::setMainBundle(saved); }

    void runningBuild(const QString& id, const QString& displayName = QString()) {
        QJsonObject info{{"CFBundleName", "Notes"}};
        if (!id.isNull())
            info.insert(u"CFBundleIdentifier"_s, id);
        if (!displayName.isEmpty())
            info.insert(u"CFBundleDisplayName"_s, displayName);
        LWBundle::setMainBundle(LWBundle(info));
    }

    // Answers the alert once the check waits for the user, recording what it showed.
    void answerWith(int returnCode) {
        QTimer::singleShot(0, [this, returnCode] {
            ASSERT_EQ(LWAlert::activeAlerts().size(), 1);
            LWAlert* alert = LWAlert::activeAlerts().first();
            seen = SeenAlert{alert->messageText(),
                             alert->informativeText(),
                             {},
                             alert->window()->parentWidget() == &window};
            for (QPushButton* button : alert->buttons())
                seen->buttons.append(button->text());
            alert->clickButtonWithReturnCode(returnCode);
        });
    }

    LWBundle saved;
    FakeWorkspace workspace;
    LWDuplicateVersionChecker checker{&workspace};
    QWidget window;
    int terminations = 0;
    std::optional<SeenAlert> seen;
};
} // namespace

TEST_F(DuplicateVersionCheckerTest, StoreBuildRunningRevealsTheWebCopyAndKeepsRunning) {
    runningBuild(storeId);
    workspace.setInstalledApplication(webId, webEntry);
    answerWith(LWAlert::DefaultReturn);
    checker.runModalDuplicateVersionCheckInWindow(&window, storeId, webId);
    ASSERT_TRUE(seen); // answered before the check returned
    EXPECT_TRUE(seen->sheet);
    EXPECT_EQ(seen->message, u"Multiple Notes Versions Installed"_s);
    EXPECT_EQ(seen->buttons, (QStringList{"Show Unneeded Version in Finder", "Continue"}));
    EXPECT_TRUE(seen->informative.startsWith(
        u"It looks like you downloaded a version of Notes directly from the website"_s));
    EXPECT_EQ(workspace.selectedFiles(), QStringList{webEntry});
    EXPECT_EQ(terminations, 0);

    // Without a window the alert stands alone; an identifier equal to both is the store build.
    workspace.clearRecords();
    workspace.setInstalledApplication(storeId, storeEntry);
    answerWith(LWAlert::DefaultReturn);
    checker.runModalDuplicateVersionCheckInWindow(nullptr, storeId, storeId);
    EXPECT_FALSE(seen->sheet);
    EXPECT_EQ(workspace.selectedFiles(), QStringList{storeEntry});
    EXPECT_EQ(terminations, 0);
}

TEST_F(DuplicateVersionCheckerTest, WebBuildRunningOffersToQuitAndRevealItself) {
    runningBuild(webId, u"Notes Pro"_s);
    workspace.setInstalledApplication(storeId, storeEntry);
    answerWith(LWAlert::DefaultReturn);
    checker.runModalDuplicateVersionCheckInWindow(&window, storeId, webId);
    ASSERT_TRUE(seen);
    EXPECT_EQ(seen->message, u"Multiple Notes Pro Versions Installed"_s);
    EXPECT_EQ(seen->buttons, (QStringList{"Quit and Show in Finder", "Continue"}));
    EXPECT_TRUE(seen->informative.startsWith(QStringLiteral(
        "It looks like you have a copy of Notes Pro from the Mac App Store installed in "
        "\"/usr/share/applications\".\n\nThe application you just launched is the standalone")));
    EXPECT_EQ(workspace.selectedFiles(), QStringList{ownPath});
    EXPECT_EQ(terminations, 1);

    // "Continue" leaves everything as it is.
    workspace.clearRecords();
    seen.reset();
    answerWith(LWAlert::AlternateReturn);
    checker.runModalDuplicateVersionCheckInWindow(&window, storeId, webId);
    ASSERT_TRUE(seen);
    EXPECT_TRUE(workspace.selectedFiles().isEmpty());
    EXPECT_EQ(terminations, 1);
}

TEST_F(DuplicateVersionCheckerTest, NothingIsShownWithoutADuplicateOrAMatchingIdentifier) {
    runningBuild(storeId);
    checker.runModalDuplicateVersionCheckInWindow(&window, storeId, webId);

    dwtest::LogCapture log;
    workspace.setInstalledApplication(webId, webEntry);
    runningBuild(u"org.example.other"_s);
    checker.runModalDuplicateVersionCheckInWindow(&window, storeId, webId);
    runningBuild(QString());
    checker.runModalDuplicateVersionCheckInWindow(&window, storeId, webId);
    const QStringList lines = log.loggerLines();
    ASSERT_EQ(lines.size(), 2);
    EXPECT_TRUE(lines[0].contains(u"Our bundle id ((null)) doesn't match"_s)); // newest first
    EXPECT_TRUE(lines[1].startsWith(u" WARN| Our bundle id (org.example.other) doesn't match "
                                    u"'org.example.notes' or 'org.example.notes.web'."_s));
    EXPECT_FALSE(seen);
    EXPECT_TRUE(workspace.selectedFiles().isEmpty());
}

TEST_F(DuplicateVersionCheckerTest, AWindowClosedUnderTheSheetEndsTheCheck) {
    runningBuild(storeId);
    workspace.setInstalledApplication(webId, webEntry);
    auto doomed = std::make_unique<QWidget>();
    doomed->show();
    QTimer::singleShot(0, [&] { doomed.reset(); });
    dwtest::LogCapture log;
    checker.runModalDuplicateVersionCheckInWindow(doomed.get(), storeId, webId);
    EXPECT_TRUE(workspace.selectedFiles().isEmpty());
    EXPECT_TRUE(LWAlert::activeAlerts().isEmpty());
}
