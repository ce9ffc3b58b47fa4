#include "ControllerTestSupport.h"
#include "views/ABViewSelectingController.h"

#include <QFile>
#include <QLabel>
#include <QPushButton>
#include <QTableView>

TEST_F(ControllerTest, OnBadgesEachFileWithOneIconWriteAndOffTakesEveryBadgeOff) {
    const QString a = makeFile(u"a.md"_s, "- [ ] 1\n- [ ] 2\n");
    const QString gone = makeFile(u"gone.md"_s, "- [ ] 1\n");
    const QString empty = makeFile(u"empty.md"_s, "- [x] done\n");
    saveTaskLists({a, gone, empty});
    ASSERT_TRUE(QFile::remove(gone));

    // Started without the login item (autostart turned off outside Dotwise):
    // the badges an earlier session left come off, the missing file's too.
    DotwiseAppDelegate& app = start(false);
    app.waitUntilBadgeUpdatesFinish();
    EXPECT_EQ(workspace.takeEvents(),
              (QStringList{u"remove a.md"_s, u"remove empty.md"_s, u"remove gone.md"_s}));
    EXPECT_EQ(savedPaths(), (QStringList{a, empty}));
    EXPECT_EQ(
        logged(u"Removing file from watchlist, because it doesn't exist anymore: %1"_s.arg(gone)),
        1);
    EXPECT_EQ(openTasksColumn(), (QStringList{u"n/a"_s, u"n/a"_s}));

    // The plain icon never includes the badge: no removal before each badge,
    // and the workspace's icon write leaves dates alone, so none is put back.
    EXPECT_EQ(eventsAfter([&] { app.setIsDotwiseEnabled(true); }),
              (QStringList{u"set a.md"_s, u"set empty.md"_s}));
    EXPECT_EQ(openTasksColumn(), (QStringList{u"2"_s, u"0"_s}));
    EXPECT_TRUE(app.launchAtLoginNote()->isHidden());
    EXPECT_EQ(
        app.noteLabel()->text(),
        u"Note: To add files, drag & drop them on the table above. Double-click to open a task list."_s);
    EXPECT_EQ(app.hideOrQuitButton()->text(), u"Hide"_s);
    // A report for a file in no list only warns.
    EXPECT_TRUE(eventsAfter([&] { app.fileModifiedAtPath(folder + u"/stranger.md"_s); }).isEmpty());
    EXPECT_EQ(logged(u"Task list is nil! Won't update badge."_s), 1);

    // Switching off clears the counts and greys the window at once, and takes
    // the badges off on the worker.
    EXPECT_EQ(eventsAfter([&] { app.setIsDotwiseEnabled(false); }),
              (QStringList{u"remove a.md"_s, u"remove empty.md"_s}));
    EXPECT_EQ(openTasksColumn(), (QStringList{u"n/a"_s, u"n/a"_s}));
    for (QWidget* widget : std::initializer_list<QWidget*>{
             app.taskListsTableView(), app.topLabel(), app.noteLabel(),
             app.abViewController()->label(), app.abViewController()->button()})
        EXPECT_FALSE(widget->isEnabled()) << widget->objectName().toStdString();
    EXPECT_FALSE(app.launchAtLoginNote()->isHidden());
    EXPECT_EQ(app.noteLabel()->text(), u"Note: Click the big ON/OFF switch to activate Dotwise."_s);
    EXPECT_EQ(app.hideOrQuitButton()->text(), u"Quit"_s);
    app.updateBadgeAsync(app.taskLists().first(), true); // nothing is queued while off
    EXPECT_EQ(app.queuedBadgeUpdates(), 0);

    // The watcher runs while off: a deleted file leaves the list too.
    ASSERT_TRUE(QFile::remove(empty));
    EXPECT_EQ(eventsAfter([&] { streams->deliver(folder); }), QStringList{u"remove empty.md"_s});
    EXPECT_EQ(savedPaths(), QStringList{a});
}

TEST_F(ControllerTest, NoBadgeOutlivesSwitchingOffOrRemovalWhileUpdatesAreQueued) {
    const QString a = makeFile(u"a.md"_s, "- [ ] 1\n");
    const QString b = makeFile(u"b.md"_s, "- [ ] 1\n"), c = makeFile(u"c.md"_s, "- [ ] 1\n");
    saveTaskLists({a, b, c});
    workspace.closeGate();
    DotwiseAppDelegate& app = start(true);
    // a's update is running (held before its badge is written); b and c wait.
    ASSERT_TRUE(workspace.waitUntilAnUpdateWaits());
    app.removeTaskListFromWatchList(app.taskListForFile(b));
    app.setIsDotwiseEnabled(false);
    workspace.openGate();
    app.waitUntilBadgeUpdatesFinish();
    for (const QString& path : {a, b, c})
        EXPECT_FALSE(workspace.hasCustomIcon(path)) << path.toStdString();
    EXPECT_EQ(openTasksColumn(), (QStringList{u"n/a"_s, u"n/a"_s}));

    // Removal alone, with badging on: removed files stay bare, a new one is badged.
    workspace.closeGate();
    app.setIsDotwiseEnabled(true);
    ASSERT_TRUE(workspace.waitUntilAnUpdateWaits());
    app.removeTaskListFromWatchList(app.taskListForFile(a));
    app.removeTaskListFromWatchList(app.taskListForFile(c));
    const QString d = makeFile(u"d.md"_s, "- [ ] 1\n");
    app.addFileToWatchList(d);
    workspace.openGate();
    app.waitUntilBadgeUpdatesFinish();
    EXPECT_FALSE(workspace.hasCustomIcon(a) || workspace.hasCustomIcon(c));
    EXPECT_TRUE(workspace.hasCustomIcon(d));
}

// The user saves while the badge of the previous save is being written: the
// new save keeps its date, and the watcher counts it again.
TEST_F(ControllerTest, ASaveDuringABadgeWriteKeepsItsDateAndIsCountedAgain) {
    const QString a = makeFile(u"a.md"_s, "- [ ] 1\n");
    DotwiseAppDelegate& app = start(true);
    app.addFileToWatchList(a);
    app.waitUntilBadgeUpdatesFinish();

    workspace.closeGate(RecordingWorkspace::Gate::BadgeWrite);
    ASSERT_TRUE(lw::setContentModificationDate(a, {1700000000, 1}));
    streams->deliver(folder);
    ASSERT_TRUE(workspace.waitUntilAnUpdateWaits());
    dwtest::writeFile(a, "- [ ] 1\n- [ ] 2\n- [ ] 3\n");
    const LWTimestamp saved{1700000005, 987654321};
    ASSERT_TRUE(lw::setContentModificationDate(a, saved));
    workspace.openGate();
    app.waitUntilBadgeUpdatesFinish();
    EXPECT_EQ(lw::contentModificationDate(a), saved);

    streams->deliver(folder);
    app.waitUntilBadgeUpdatesFinish();
    EXPECT_EQ(openTasksColumn(), QStringList{u"3"_s});
    EXPECT_EQ(lw::contentModificationDate(a), saved);
}

TEST_F(ControllerTest, EmblemModeMarksEachFileWithItsCountAndLeavesNothingBehind) {
    badgeMode = DWBadgeMode::Emblem;
    const QString a = makeFile(u"a.md"_s, "- [ ] 1\n- [ ] 2\n"),
                  b = makeFile(u"b.md"_s, "- [ ] 1\n");
    saveTaskLists({a, b});
    // Left from earlier runs: a picture on a, an old count on b next to the
    // user's own emblem.
    LWIconImage picture;
    picture.addRepresentation(QImage(16, 16, QImage::Format_ARGB32), QSizeF(16, 16));
    workspace.setIcon(picture, a);
    emblems.setEmblems(b, {u"emblem-favorite"_s, u"emblem-dotwise-9"_s});

    DotwiseAppDelegate& app = start(true);
    app.waitUntilBadgeUpdatesFinish();
    EXPECT_FALSE(workspace.hasCustomIcon(a));
    EXPECT_EQ(emblems.emblems(a), QStringList{u"emblem-dotwise-2"_s});
    EXPECT_EQ(emblems.emblems(b), (QStringList{u"emblem-favorite"_s, u"emblem-dotwise-1"_s}));
    EXPECT_FALSE(QImage(emblemTheme.iconPath(2, 256, 2)).isNull());

    // A count beyond the common ones gets its emblem drawn when needed.
    dwtest::writeFile(a, QByteArray("- [ ] task\n").repeated(120));
    ASSERT_TRUE(lw::setContentModificationDate(a, LWTimestamp{1700000000, 5}));
    streams->deliver(folder);
    app.waitUntilBadgeUpdatesFinish();
    EXPECT_EQ(emblems.emblems(a), QStringList{u"emblem-dotwise-120"_s});
    EXPECT_EQ(QImage(emblemTheme.iconPath(120, 16, 1)).size(), QSize(16, 16));

    app.removeTaskListFromWatchList(app.taskListForFile(a));
    app.setIsDotwiseEnabled(false);
    app.waitUntilBadgeUpdatesFinish();
    EXPECT_TRUE(emblems.emblems(a).isEmpty());
    EXPECT_EQ(emblems.emblems(b), QStringList{u"emblem-favorite"_s});
}
