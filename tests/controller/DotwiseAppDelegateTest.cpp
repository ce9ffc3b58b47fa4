#include "ControllerTestSupport.h"
#include "controller/DWTaskListTableModel.h"
#include "foundation/LWBundle.h"
#include "ui/LWAlert.h"
#include "views/ABViewSelectingController.h"

#include <QAction>
#include <QFile>
#include <QLabel>
#include <QMainWindow>
#include <QPushButton>
#include <QSystemTrayIcon>
#include <QTableView>

namespace {
const QString launching = QStringLiteral("-[DotwiseAppDelegate applicationDidFinishLaunching:]");

// The alert the controller has on screen; fails the test when there is none.
LWAlert* openAlert() {
    const QList<LWAlert*> alerts = LWAlert::activeAlerts();
    EXPECT_EQ(alerts.size(), 1);
    return alerts.isEmpty() ? nullptr : alerts.constFirst();
}
} // namespace

// --- Start-up and persistence ----------------------------------------------

TEST_F(ControllerTest, StartUpDropsAMissingFileAndKeepsTheOthersInOrder) {
    const QString a = makeFile(QStringLiteral("a.md"), "- [ ] one\n");
    const QString b = makeFile(QStringLiteral("b.md"), "- [ ] two\n");
    const QString c = makeFile(QStringLiteral("c.md"), "- [ ] three\n");
    saveTaskLists({a, b, c});
    ASSERT_TRUE(QFile::remove(b));

    DotwiseAppDelegate& app = start(/*launchAtLogin=*/false);
    EXPECT_EQ(listedPaths(), (QStringList{a, c}));
    EXPECT_EQ(savedPaths(), (QStringList{a, c}));
    EXPECT_EQ(logged(QStringLiteral("Removing file from watchlist, because it doesn't exist "
                                    "anymore: %1")
                         .arg(b),
                     launching),
              1);
    EXPECT_EQ(app.taskListsModel()->rowCount(), 2);
    EXPECT_EQ(app.taskListsModel()->objectValue(QStringLiteral("label"), 1),
              QStringLiteral("c.md"));
    EXPECT_EQ(app.taskListsModel()->objectValue(QStringLiteral("openTasks"), 1),
              QStringLiteral("n/a"));
    // Badging is off: the only icon write takes the missing file's badge off,
    // without touching dates; both others are still watched.
    app.waitUntilBadgeUpdatesFinish();
    EXPECT_EQ(workspace.events(), QStringList{QStringLiteral("remove b.md")});
    EXPECT_EQ(app.fileWatcher()->watchedFiles().size(), 2);
    EXPECT_TRUE(app.fileWatcher()->watchedFiles().contains(a));
    EXPECT_TRUE(app.fileWatcher()->watchedFiles().contains(c));
    EXPECT_TRUE(app.mainWindow()->isVisible());
    EXPECT_EQ(app.shortVersion()->text(),
              QStringLiteral("v") + LWBundle::mainBundle().shortVersionString());
}

TEST_F(ControllerTest, StartingWithTheLoginItemBadgesEveryRestoredFile) {
    const QString a = makeFile(QStringLiteral("a.md"), "- [ ] one\n- [ ] two\n");
    const QString b = makeFile(QStringLiteral("b.md"), "- [x] done\n");
    saveTaskLists({a, b});

    DotwiseAppDelegate& app = start(/*launchAtLogin=*/true);
    EXPECT_TRUE(app.isDotwiseEnabled());
    app.waitUntilBadgeUpdatesFinish();
    EXPECT_TRUE(workspace.hasCustomIcon(a));
    EXPECT_TRUE(workspace.hasCustomIcon(b));
    EXPECT_EQ(app.taskListsModel()->objectValue(QStringLiteral("openTasks"), 0),
              QStringLiteral("2"));
    EXPECT_EQ(app.taskListsModel()->objectValue(QStringLiteral("openTasks"), 1),
              QStringLiteral("0"));
    // Neither start touched the login item.
    EXPECT_EQ(loginItem->writeCount(), 0);
}

TEST_F(ControllerTest, DamagedSavedListStartsEmptyAndIsKeptUntilTheNextSave) {
    const QByteArray damaged("\xbf\x00garbage", 9);
    LWPreferences::standard().setObject(QStringLiteral("TaskLists"), damaged);

    DotwiseAppDelegate& app = start(false);
    EXPECT_TRUE(app.taskLists().isEmpty());
    int warnings = 0;
    for (const QString& line : LWLogger::sharedInstance()->messageBacklog())
        warnings += line.startsWith(QStringLiteral(" WARN|")) && line.endsWith(launching);
    EXPECT_EQ(warnings, 1);
    EXPECT_EQ(LWPreferences::standard().dataForKey(QStringLiteral("TaskLists")), damaged);

    const QString a = makeFile(QStringLiteral("a.taskpaper"), "- one\n");
    app.addFileToWatchList(a);
    EXPECT_EQ(savedPaths(), QStringList{a});
}

// --- Watch list ------------------------------------------------------------

TEST_F(ControllerTest, PlainTextFilesAreAddedOnlyOnceTheirStyleIsChosen) {
    DotwiseAppDelegate& app = start(true);
    const QString notes = makeFile(QStringLiteral("Notes.TXT"), "- [ ] a\n(A) b\n");
    const QString todo = makeFile(QStringLiteral("todo.txt"), "- [ ] a\n(A) b\n");

    // Both arrive in one drop; each gets its own question, one after the other.
    app.addFileToWatchList(notes);
    app.addFileToWatchList(todo);
    EXPECT_TRUE(app.taskLists().isEmpty());
    EXPECT_TRUE(savedPaths().isEmpty());
    EXPECT_EQ(app.pendingStyleQuestions(), (QStringList{notes, todo}));

    LWAlert* first = openAlert();
    ASSERT_TRUE(first);
    EXPECT_EQ(first->messageText(),
              QStringLiteral("Which task style would you like to use for Notes.TXT?"));
    EXPECT_EQ(first->informativeText(), QString());
    EXPECT_EQ(first->accessoryView(), app.styleExamplesView());
    ASSERT_TRUE(first->clickButtonWithReturnCode(1)); // "Style B"
    ASSERT_EQ(listedPaths(), QStringList{notes});
    EXPECT_EQ(app.taskLists().at(0)->ruleSet()->name(),
              DWTaskRuleSet::squareBracketStyleRuleSet()->name());

    LWAlert* second = openAlert();
    ASSERT_TRUE(second);
    EXPECT_EQ(second->messageText(),
              QStringLiteral("Which task style would you like to use for todo.txt?"));
    EXPECT_EQ(second->accessoryView(), app.styleExamplesView());
    ASSERT_TRUE(second->clickButtonWithReturnCode(0)); // "Style A"
    ASSERT_EQ(listedPaths(), (QStringList{notes, todo}));
    EXPECT_EQ(app.taskLists().at(1)->ruleSet()->name(), DWTaskRuleSet::todotxtRuleSet()->name());
    EXPECT_EQ(savedPaths(), (QStringList{notes, todo}));
    EXPECT_TRUE(app.pendingStyleQuestions().isEmpty());

    // Counted with the chosen rules: one open task each way.
    app.waitUntilBadgeUpdatesFinish();
    EXPECT_EQ(app.taskLists().at(0)->openTasks(), 1);
    EXPECT_EQ(app.taskLists().at(1)->openTasks(), 2);
}

TEST_F(ControllerTest, OtherFilesAreAddedAtOnceAndNeverTwice) {
    DotwiseAppDelegate& app = start(true);
    const QString list = makeFile(QStringLiteral("work.taskpaper"), "- one\n- two @done\n");
    app.addFileToWatchList(list);
    EXPECT_TRUE(LWAlert::activeAlerts().isEmpty());
    ASSERT_EQ(listedPaths(), QStringList{list});
    EXPECT_EQ(app.taskLists().at(0)->ruleSet()->name(), DWTaskRuleSet::bestMatchFor(list)->name());
    EXPECT_EQ(menuTitles().first(), QStringLiteral("work.taskpaper"));

    app.addFileToWatchList(list, DWTaskRuleSet::todotxtRuleSet());
    EXPECT_EQ(listedPaths(), QStringList{list});
    EXPECT_EQ(app.taskLists().at(0)->ruleSet()->name(), DWTaskRuleSet::bestMatchFor(list)->name());
    EXPECT_EQ(logged(QStringLiteral("Won't add file again: %1").arg(list),
                     QStringLiteral("-[DotwiseAppDelegate addFileToWatchList:ruleSet:]")),
              1);
}

TEST_F(ControllerTest, ADeletedFileLeavesTheListAlsoWhileBadgingIsOff) {
    const QString a = makeFile(QStringLiteral("a.md"), "- [ ] one\n");
    const QString b = makeFile(QStringLiteral("b.md"), "- [ ] two\n");
    saveTaskLists({a, b});
    DotwiseAppDelegate& app = start(false);

    // The watcher finds b gone when its folder is reported.
    ASSERT_TRUE(QFile::remove(b));
    streams->deliver(folder);
    EXPECT_EQ(listedPaths(), QStringList{a});
    EXPECT_EQ(app.fileWatcher()->watchedFiles(), QList<QString>{a});
    EXPECT_EQ(savedPaths(), QStringList{a});
    EXPECT_EQ(app.taskListsModel()->rowCount(), 1);
    EXPECT_EQ(logged(QStringLiteral("File deleted: %1").arg(b),
                     QStringLiteral("-[DotwiseAppDelegate fileDeletedAtPath:]")),
              1);

    // A report for a file that is in no list is only logged.
    app.fileDeletedAtPath(folder + QStringLiteral("/never.md"));
    EXPECT_EQ(listedPaths(), QStringList{a});
    // A modification while off is dropped without a word or any work.
    workspace.clearEvents();
    ASSERT_TRUE(lw::setContentModificationDate(a, {1800000000, 0}));
    streams->deliver(folder);
    app.waitUntilBadgeUpdatesFinish();
    EXPECT_TRUE(workspace.events().isEmpty());
    EXPECT_EQ(logged(QStringLiteral("File modified: %1").arg(a),
                     QStringLiteral("-[DotwiseAppDelegate fileModifiedAtPath:]")),
              0);
}

// --- Status menu and links -------------------------------------------------

TEST_F(ControllerTest, TheMenuListsTaskListsOnlyWhileBadgingIsOn) {
    const QStringList fixed = {QStringLiteral("Show Dotwise Window"), QStringLiteral("---"),
                               QStringLiteral("Make a Suggestion\u2026")};
    DotwiseAppDelegate& app = start(true);
    EXPECT_EQ(menuTitles(), fixed);
    EXPECT_EQ(app.statusMenu()->title(), QStringLiteral("Dotwise Status Menu"));

    // Two files of one name in two folders: two items, each opening its own.
    const QString first = makeFile(QStringLiteral("one/list.md"), "- [ ] a\n");
    const QString second = makeFile(QStringLiteral("two/list.md"), "- [ ] a\n- [ ] b\n");
    app.addFileToWatchList(first);
    app.addFileToWatchList(second);
    app.waitUntilBadgeUpdatesFinish();
    EXPECT_EQ(menuTitles(), QStringList({QStringLiteral("list.md"), QStringLiteral("list.md"),
                                         QStringLiteral("---")}) +
                                fixed);
    const QList<QAction*> items = app.statusMenu()->actions();
    EXPECT_FALSE(items.at(0)->icon().isNull());
    EXPECT_EQ(items.at(0)->icon().availableSizes().value(0), QSize(15, 15));
    items.at(1)->trigger();
    EXPECT_EQ(workspace.openedFiles(), QStringList{second});

    app.setIsDotwiseEnabled(false);
    EXPECT_EQ(menuTitles(), fixed);
    // Back on, without the first list: the remaining item opens its own file.
    app.setIsDotwiseEnabled(true);
    app.removeTaskListFromWatchList(app.taskListForFile(first));
    EXPECT_EQ(menuTitles(),
              QStringList({QStringLiteral("list.md"), QStringLiteral("---")}) + fixed);
    app.statusMenu()->actions().at(0)->trigger();
    EXPECT_EQ(workspace.openedFiles(), (QStringList{second, second}));
    app.setIsDotwiseEnabled(false);

    // However often it is rebuilt, there is one tray item, made once.
    QSystemTrayIcon* item = app.statusMenuItem();
    for (int i = 0; i < 5; ++i)
        app._updateStatusMenu();
    EXPECT_EQ(app.statusMenuItem(), item);
    EXPECT_EQ(app.findChildren<QSystemTrayIcon*>().size(), 1);
    if (!QSystemTrayIcon::isSystemTrayAvailable()) {
        int notes = 0;
        for (const QString& line : LWLogger::sharedInstance()->messageBacklog())
            notes += line.contains(QStringLiteral("No system tray available"));
        EXPECT_EQ(notes, 1);
    }

    // "Show Dotwise Window" brings a hidden window back.
    app.mainWindow()->hide();
    app.statusMenu()->actions().at(0)->trigger();
    EXPECT_TRUE(app.mainWindow()->isVisible());
}

TEST_F(ControllerTest, TheLinksCarryTheVersionAndTheVariation) {
    const LWBundle saved = LWBundle::mainBundle();
    QJsonObject info = saved.infoDictionary();
    info.insert(QStringLiteral("CFBundleShortVersionString"), QStringLiteral("1.2"));
    info.insert(QStringLiteral("DWSupportAddress"), QStringLiteral("ideas@example.com"));
    info.insert(QStringLiteral("DWWebHost"), QStringLiteral("www.example.com"));
    LWBundle::setMainBundle(LWBundle(info));
    LWPreferences::standard().setObject(QStringLiteral("abviewVariation"),
                                        QStringLiteral("ThreeAppIcons"));

    DotwiseAppDelegate& app = start(true);
    menuTitles(); // built
    app.statusMenu()->actions().last()->trigger();
    app.abViewController()->button()->click();
    LWBundle::setMainBundle(saved);

    const QList<QUrl> opened = workspace.openedUrls();
    ASSERT_EQ(opened.size(), 2);
    EXPECT_EQ(opened.at(0).toEncoded(),
              QByteArray("mailto:ideas@example.com?subject=Dotwise%20suggestion%20%5BWEB1.2%5D"));
    EXPECT_EQ(opened.at(1).toEncoded(),
              QByteArray("http://www.example.com/go/dwapp/?utm_source=DotwiseApp&utm_medium=dwapp"
                         "&utm_term=web&utm_content=ThreeAppIcons&utm_campaign=FromDotwise"));
}

// --- Window and shutdown ---------------------------------------------------

TEST_F(ControllerTest, ClosingOrHidingQuitsOnlyWhileBadgingIsOff) {
    DotwiseAppDelegate& app = start(true);
    EXPECT_EQ(app.hideOrQuitButton()->text(), QStringLiteral("Hide"));
    app.mainWindow()->close();
    dwtest::processEventsFor(20);
    EXPECT_EQ(terminations, 0);
    EXPECT_FALSE(app.applicationShouldHandleReopen());
    EXPECT_TRUE(app.mainWindow()->isVisible());
    app.hideOrQuitButton()->click();
    EXPECT_FALSE(app.mainWindow()->isVisible());
    EXPECT_EQ(terminations, 0);

    // The user switches off: the login item follows the switch.
    app.applicationShouldHandleReopen();
    app.onOffButton()->click();
    EXPECT_FALSE(app.isDotwiseEnabled());
    EXPECT_EQ(loginItem->writeCount(), 1);
    EXPECT_FALSE(loginItem->launchAtLogin());
    EXPECT_EQ(app.onOffButton()->isChecked(), false);
    EXPECT_EQ(app.hideOrQuitButton()->text(), QStringLiteral("Quit"));
    app.hideOrQuitButton()->click();
    EXPECT_EQ(terminations, 1);
    app.mainWindow()->close();
    EXPECT_TRUE(dwtest::waitUntil([&] { return terminations == 2; }, 1000));
}

TEST_F(ControllerTest, QuittingLeavesBadgesAndTheSavedListAsTheyAre) {
    const QString a = makeFile(QStringLiteral("a.md"), "- [ ] one\n");
    saveTaskLists({a});
    const QByteArray before = LWPreferences::standard().dataForKey(QStringLiteral("TaskLists"));
    DotwiseAppDelegate& app = start(true);
    app.waitUntilBadgeUpdatesFinish();
    workspace.clearEvents();
    app.applicationWillTerminate();
    EXPECT_TRUE(workspace.events().isEmpty());
    EXPECT_TRUE(workspace.hasCustomIcon(a));
    EXPECT_EQ(LWPreferences::standard().dataForKey(QStringLiteral("TaskLists")), before);
}
