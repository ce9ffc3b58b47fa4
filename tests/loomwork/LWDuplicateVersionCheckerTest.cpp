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
    bool sheet = false;
    QStringList buttons;
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
                             alert->window()->parentWidget() == &window,
                             {}};
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

TEST_F(DuplicateVersionCheckerTest, EachBuildRevealsTheUnneededCopyAndOnlyTheWebBuildQuits) {
    const struct {
        QString running, displayName, installed, entry;
        QWidget* parent; // none: a free-standing alert
        QString title, button, informative, revealed;
        int terminations;
    } cases[] = {
        {storeId, QString(), webId, webEntry, &window, u"Multiple Notes Versions Installed"_s,
         u"Show Unneeded Version in Finder"_s,
         u"It looks like you downloaded a version of Notes directly from the website"_s, webEntry,
         0},
        {webId, u"Notes Pro"_s, storeId, storeEntry, nullptr,
         u"Multiple Notes Pro Versions Installed"_s, u"Quit and Show in Finder"_s,
         u"It looks like you have a copy of Notes Pro from the Mac App Store installed in "
         u"\"/usr/share/applications\".\n\nThe application you just launched is the standalone"_s,
         ownPath, 1}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.title.toStdString());
        runningBuild(c.running, c.displayName);
        workspace.setInstalledApplication(c.installed, c.entry);
        workspace.clearRecords();
        answerWith(LWAlert::DefaultReturn);
        checker.runModalDuplicateVersionCheckInWindow(c.parent, storeId, webId);
        ASSERT_TRUE(seen); // answered before the check returned
        EXPECT_EQ(seen->sheet, c.parent != nullptr);
        EXPECT_EQ(seen->message, c.title);
        EXPECT_EQ(seen->buttons, (QStringList{c.button, u"Continue"_s}));
        EXPECT_TRUE(seen->informative.startsWith(c.informative)) << seen->informative.toStdString();
        EXPECT_EQ(workspace.selectedFiles(), QStringList{c.revealed});
        EXPECT_EQ(terminations, c.terminations);
    }

    // "Continue" leaves everything as it is (the check would not return unanswered).
    workspace.clearRecords();
    answerWith(LWAlert::AlternateReturn);
    checker.runModalDuplicateVersionCheckInWindow(&window, storeId, webId);
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
}

TEST_F(DuplicateVersionCheckerTest, AWindowClosedUnderTheSheetEndsTheCheck) {
    runningBuild(storeId);
    workspace.setInstalledApplication(webId, webEntry);
    auto doomed = std::make_unique<QWidget>();
    doomed->show();
    QTimer::singleShot(0, [&] { doomed.reset(); });
    checker.runModalDuplicateVersionCheckInWindow(doomed.get(), storeId, webId);
    EXPECT_TRUE(workspace.selectedFiles().isEmpty());
    EXPECT_TRUE(LWAlert::activeAlerts().isEmpty());
}
