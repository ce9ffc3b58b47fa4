#include "ControllerTestSupport.h"
#include "controller/DWTaskListTableModel.h"
#include "views/ABViewSelectingController.h"

#include <QAction>
#include <QLabel>
#include <QPushButton>
#include <QTableView>

namespace {
const QString noteOn = QStringLiteral(
    "Note: To add files, drag & drop them on the table above. Double-click to open a task list.");
const QString noteOff = QStringLiteral("Note: Click the big ON/OFF switch to activate Dotwise.");
} // namespace

TEST_F(ControllerTest, UpdatesRunInQueueOrderAndEachIsShownWhenItEnds) {
    const QString a = makeFile(QStringLiteral("a.md"), "- [ ] 1\n");
    const QString b = makeFile(QStringLiteral("b.md"), "- [ ] 1\n- [ ] 2\n");
    const QString c = makeFile(QStringLiteral("c.md"), "- [ ] 1\n- [ ] 2\n- [ ] 3\n");
    saveTaskLists({a, b, c});
    DotwiseAppDelegate& app = start(false);
    QStringList finished;
    QObject receiver; // the connections end with the test, even an early return
    QObject::connect(&app, &DotwiseAppDelegate::badgeUpdateFinished, &receiver,
                     [&](const QString& path) { finished.append(path); });

    workspace.closeGate();
    app.setIsDotwiseEnabled(true);
    EXPECT_EQ(app.queuedBadgeUpdates(), 3);
    int rebuilds = 0;
    QObject::connect(&app, &DotwiseAppDelegate::statusMenuRebuilt, &receiver, [&] { ++rebuilds; });
    const QStringList counts = {QStringLiteral("1"), QStringLiteral("2"), QStringLiteral("3")};
    for (int step = 0; step < 3; ++step) {
        ASSERT_TRUE(workspace.waitUntilAnUpdateWaits());
        workspace.permit();
        ASSERT_TRUE(dwtest::waitUntil([&] { return finished.size() == step + 1; }, 5000));
        // The table shows this update's count (the next update may have
        // counted already, but has not written its badge) and the menu was
        // rebuilt once more.
        QStringList column;
        for (int row = 0; row <= step; ++row)
            column.append(app.taskListsModel()->objectValue(QStringLiteral("openTasks"), row));
        EXPECT_EQ(column, counts.mid(0, step + 1)) << "after update " << step + 1;
        EXPECT_EQ(workspace.hasCustomIcon(c), step == 2)
            << workspace.events().join(",").toStdString();
        // While more updates wait, the refresh may come a moment later.
        EXPECT_TRUE(dwtest::waitUntil([&] { return rebuilds == step + 1; }, 2000));
    }
    EXPECT_EQ(finished, (QStringList{a, b, c}));
    // Each update wrote its icon before the next one started.
    EXPECT_EQ(workspace.events().filter(QStringLiteral("set ")),
              (QStringList{QStringLiteral("set a.md"), QStringLiteral("set b.md"),
                           QStringLiteral("set c.md")}));
}

TEST_F(ControllerTest, EachKindOfIconWriteConcealsTheDateOrNotAsItShould) {
    const QString a = makeFile(QStringLiteral("a.md"), "- [ ] 1\n");
    saveTaskLists({a});
    const QStringList removeConcealed = {QStringLiteral("remove"), QStringLiteral("date")};
    const QStringList badgeConcealed =
        removeConcealed + QStringList{QStringLiteral("set"), QStringLiteral("date")};
    const QStringList badgeShown = removeConcealed + QStringList{QStringLiteral("set")};

    // Restored at start-up: the badge write shows as a change.
    DotwiseAppDelegate& app = start(true);
    app.waitUntilBadgeUpdatesFinish();
    EXPECT_EQ(workspace.eventsFor(QStringLiteral("a.md")), badgeShown);

    // The user edits the file and the watcher reports it: the date the edit
    // gave stays.
    LWTimestamp edited{1700000000, 123456789};
    ASSERT_TRUE(lw::setContentModificationDate(a, edited));
    workspace.clearEvents();
    streams->deliver(folder);
    app.waitUntilBadgeUpdatesFinish();
    EXPECT_EQ(workspace.eventsFor(QStringLiteral("a.md")), badgeConcealed);
    EXPECT_EQ(workspace.dateWrites().last().date, edited);
    EXPECT_EQ(lw::contentModificationDate(a), edited);
    EXPECT_EQ(logged(QStringLiteral("File modified: %1").arg(a),
                     QStringLiteral("-[DotwiseAppDelegate fileModifiedAtPath:]")),
              1);

    // Switching off works on the main thread, at once.
    workspace.clearEvents();
    app.setIsDotwiseEnabled(false);
    EXPECT_EQ(workspace.eventsFor(QStringLiteral("a.md")), removeConcealed);

    // Switching on badges every file, concealed.
    workspace.clearEvents();
    app.setIsDotwiseEnabled(true);
    app.waitUntilBadgeUpdatesFinish();
    EXPECT_EQ(workspace.eventsFor(QStringLiteral("a.md")), badgeConcealed);

    // A new file is badged without concealment; a removed one loses its badge
    // without a date write.
    const QString b = makeFile(QStringLiteral("b.taskpaper"), "- 1\n");
    app.addFileToWatchList(b);
    app.waitUntilBadgeUpdatesFinish();
    EXPECT_EQ(workspace.eventsFor(QStringLiteral("b.taskpaper")), badgeShown);
    workspace.clearEvents();
    app.removeTaskListFromWatchList(app.taskListForFile(b));
    EXPECT_EQ(workspace.eventsFor(QStringLiteral("b.taskpaper")),
              QStringList{QStringLiteral("remove")});
    EXPECT_FALSE(workspace.hasCustomIcon(b));
    EXPECT_EQ(lw::contentModificationDate(a), edited);
}

TEST_F(ControllerTest, SwitchingOffTakesEveryBadgeAndCountAwayAndGreysTheWindow) {
    const QString a = makeFile(QStringLiteral("a.md"), "- [ ] 1\n");
    const QString b = makeFile(QStringLiteral("b.md"), "");
    saveTaskLists({a, b});
    DotwiseAppDelegate& app = start(true);
    app.waitUntilBadgeUpdatesFinish();
    const auto dateOfA = lw::contentModificationDate(a);

    EXPECT_TRUE(app.taskListsTableView()->isEnabled());
    EXPECT_TRUE(app.topLabel()->isEnabled());
    EXPECT_TRUE(app.noteLabel()->isEnabled());
    EXPECT_TRUE(app.abViewController()->label()->isEnabled());
    EXPECT_TRUE(app.abViewController()->button()->isEnabled());
    EXPECT_TRUE(app.launchAtLoginNote()->isHidden());
    EXPECT_EQ(app.noteLabel()->text(), noteOn);
    EXPECT_EQ(app.hideOrQuitButton()->text(), QStringLiteral("Hide"));
    EXPECT_EQ(app.taskListsModel()->objectValue(QStringLiteral("openTasks"), 1),
              QStringLiteral("0"));

    app.setIsDotwiseEnabled(false);
    EXPECT_FALSE(app.taskListsTableView()->isEnabled());
    EXPECT_FALSE(app.topLabel()->isEnabled());
    EXPECT_FALSE(app.noteLabel()->isEnabled());
    EXPECT_NE(app.noteLabel()->palette().color(QPalette::Current, QPalette::WindowText),
              app.noteLabel()->palette().color(QPalette::Active, QPalette::WindowText));
    EXPECT_FALSE(app.abViewController()->label()->isEnabled());
    EXPECT_FALSE(app.abViewController()->button()->isEnabled());
    EXPECT_FALSE(app.launchAtLoginNote()->isHidden());
    EXPECT_EQ(app.noteLabel()->text(), noteOff);
    EXPECT_EQ(app.hideOrQuitButton()->text(), QStringLiteral("Quit"));
    EXPECT_FALSE(workspace.hasCustomIcon(a));
    EXPECT_FALSE(workspace.hasCustomIcon(b));
    for (const auto& taskList : app.taskLists())
        EXPECT_EQ(taskList->openTasks(), -1);
    EXPECT_EQ(app.taskListsModel()->objectValue(QStringLiteral("openTasks"), 0),
              QStringLiteral("n/a"));
    EXPECT_EQ(lw::contentModificationDate(a), dateOfA);
    // Nothing is queued while off, and the files stay watched (deletions are
    // still noticed).
    app.updateBadgeAsync(app.taskLists().first(), true);
    EXPECT_EQ(app.queuedBadgeUpdates(), 0);
}

TEST_F(ControllerTest, NoBadgeOutlivesSwitchingOffOrRemovalWhileUpdatesAreQueued) {
    const QString a = makeFile(QStringLiteral("a.md"), "- [ ] 1\n");
    const QString b = makeFile(QStringLiteral("b.md"), "- [ ] 1\n");
    const QString c = makeFile(QStringLiteral("c.md"), "- [ ] 1\n");
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
    for (const auto& taskList : app.taskLists())
        EXPECT_EQ(taskList->openTasks(), -1);
    EXPECT_EQ(app.taskListsModel()->objectValue(QStringLiteral("openTasks"), 0),
              QStringLiteral("n/a"));

    // Removal alone, with badging on: the removed file stays bare, the others
    // are badged.
    workspace.closeGate();
    app.setIsDotwiseEnabled(true);
    ASSERT_TRUE(workspace.waitUntilAnUpdateWaits());
    app.removeTaskListFromWatchList(app.taskListForFile(a));
    app.removeTaskListFromWatchList(app.taskListForFile(c));
    const QString d = makeFile(QStringLiteral("d.md"), "- [ ] 1\n");
    app.addFileToWatchList(d);
    workspace.openGate();
    app.waitUntilBadgeUpdatesFinish();
    EXPECT_FALSE(workspace.hasCustomIcon(a));
    EXPECT_FALSE(workspace.hasCustomIcon(c));
    EXPECT_TRUE(workspace.hasCustomIcon(d));
}

TEST_F(ControllerTest, AReportForAFileInNoListOnlyWarns) {
    DotwiseAppDelegate& app = start(true);
    QStringList finished;
    QObject receiver; // the connections end with the test, even an early return
    QObject::connect(&app, &DotwiseAppDelegate::badgeUpdateFinished, &receiver,
                     [&](const QString& path) { finished.append(path); });
    app.fileModifiedAtPath(folder + QStringLiteral("/stranger.md"));
    app.waitUntilBadgeUpdatesFinish();
    EXPECT_EQ(logged(QStringLiteral("Task list is nil! Won't update badge."),
                     QStringLiteral("-[DotwiseAppDelegate updateBadge:concealModification:]")),
              1);
    EXPECT_EQ(finished, QStringList{QString()});
    EXPECT_TRUE(workspace.events().isEmpty());
}
