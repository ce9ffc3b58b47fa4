#include "ControllerTestSupport.h"
#include "views/ABViewSelectingController.h"
#include "views/DWBadgeImage.h"
#include "views/DWTextContrast.h"

#include <QApplication>
#include <QDir>
#include <QDropEvent>
#include <QFileDialog>
#include <QLabel>
#include <QMainWindow>
#include <QMimeData>
#include <QProxyStyle>
#include <QPushButton>
#include <QScrollBar>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QSystemTrayIcon>
#include <QTableView>
#include <QTest>

// The window as a user works it, through real widgets.
class WindowControlsTest : public ControllerTest {
protected:
    QTableView* table() { return delegate->taskListsTableView(); }
    // Saved lists of one open task each, badged, in a window of this height.
    QStringList startWithLists(const QStringList& names, int height = 480) {
        QStringList paths;
        for (const QString& name : names)
            paths.append(makeFile(name, "- [ ] one\n"));
        saveTaskLists(paths);
        start(true).waitUntilBadgeUpdatesFinish();
        delegate->mainWindow()->resize(560, height);
        dwtest::processEventsFor(20);
        return paths;
    }

    // A drag of these files (or other URLs) entering the table and, when
    // taken, dropped there. Returns whether the drop was taken.
    bool dragAndDrop(const QStringList& items, Qt::DropActions operations) {
        QMimeData data;
        QList<QUrl> urls;
        for (const QString& item : items)
            urls.append(QUrl::fromUserInput(item));
        data.setUrls(urls);
        QWidget* target = table()->viewport();
        const QPoint where = target->rect().center();
        QDragEnterEvent enter(where, operations, &data, Qt::LeftButton, Qt::NoModifier);
        QCoreApplication::sendEvent(target, &enter);
        if (!enter.isAccepted())
            return false;
        EXPECT_EQ(enter.dropAction(), Qt::CopyAction);
        EXPECT_TRUE(table()->property("dropTarget").toBool());
        QDropEvent drop(where, operations, &data, Qt::LeftButton, Qt::NoModifier);
        QCoreApplication::sendEvent(target, &drop);
        EXPECT_FALSE(table()->property("dropTarget").toBool());
        return drop.isAccepted();
    }
    int knobX() { return delegate->onOffButton()->geometry().x(); }
    int knobRightX() {
        return delegate->onOffSwitchView()->width() - delegate->onOffButton()->width();
    }
};

TEST_F(WindowControlsTest, DropsAddTheTextFilesInOrderWhenCopyingWhileOn) {
    DotwiseAppDelegate& app = start(true);
    const QString notes = makeFile(u"notes.md"_s, "- [ ] a\n");
    const QString image = makeFile(u"photo.png"_s, "\x89PNG\r\n");
    const QString work = makeFile(u"work.taskpaper"_s, "- a\n");
    const QString folderNamedLikeText = folder + u"/archive.md"_s;
    QDir().mkpath(folderNamedLikeText);
    const QStringList dragged = {notes, image, folderNamedLikeText, work};

    // Refused: a drag that offers no copy, nothing that is text, no files at all.
    EXPECT_FALSE(dragAndDrop(dragged, Qt::MoveAction | Qt::LinkAction));
    EXPECT_FALSE(dragAndDrop({image, folderNamedLikeText}, Qt::CopyAction));
    EXPECT_FALSE(dragAndDrop({u"https://example.org/list.md"_s}, Qt::CopyAction));
    dwtest::processEventsFor(300); // the first full menu, built once the window painted
    // A spy, not a lambda on a local: rebuilds go on after the test's end.
    QSignalSpy menuRebuilds(&app, &DotwiseAppDelegate::statusMenuRebuilt);
    EXPECT_TRUE(dragAndDrop(dragged, Qt::CopyAction | Qt::MoveAction));
    EXPECT_EQ(savedPaths(), (QStringList{notes, work}));
    EXPECT_EQ(menuRebuilds.count(), 1); // once for the whole drop

    app.onOffButton()->click();
    EXPECT_FALSE(dragAndDrop({makeFile(u"more.md"_s, "- [ ] c\n")}, Qt::CopyAction));
}

namespace {
// A desktop that opens items with one click.
class SingleClickStyle : public QProxyStyle {
public:
    int styleHint(StyleHint hint, const QStyleOption* option, const QWidget* widget,
                  QStyleHintReturn* returned) const override {
        if (hint == SH_ItemView_ActivateItemOnSingleClick)
            return 1;
        return QProxyStyle::styleHint(hint, option, widget, returned);
    }
};
} // namespace

TEST_F(WindowControlsTest, DeleteKeysRemoveTheSelectedListWhileOnAndRowsOpenAsActivated) {
    const QStringList lists = startWithLists({u"a.md"_s, u"b.md"_s, u"c.md"_s, u"d.md"_s});
    const QString &b = lists[1], &c = lists[2], &d = lists[3];
    DotwiseAppDelegate& app = *delegate;

    table()->clearSelection();
    QTest::keyClick(table(), Qt::Key_Delete);
    table()->selectRow(1);
    QTest::keyClick(table(), Qt::Key_Delete);
    app.waitUntilBadgeUpdatesFinish(); // the badge comes off on the worker
    EXPECT_FALSE(workspace.hasCustomIcon(b));
    EXPECT_TRUE(QFile::exists(b));
    // Backspace pressed elsewhere in the window reaches the controller too.
    table()->selectRow(0);
    QTest::keyClick(app.hideOrQuitButton(), Qt::Key_Backspace);
    EXPECT_EQ(savedPaths(), (QStringList{c, d}));

    // Enter on a row opens it, and a desktop's single click; not below the rows.
    table()->selectRow(1);
    QTest::keyClick(table(), Qt::Key_Return);
    EXPECT_TRUE(app.mainWindow()->isVisible()); // not the Hide button's Return
    const QRect first = table()->visualRect(app.taskListsModel()->index(0, 0));
    const QPoint belowRows = first.center() + QPoint(0, 3 * first.height());
    SingleClickStyle style;
    table()->setStyle(&style);
    QTest::mouseClick(table()->viewport(), Qt::LeftButton, {}, first.center());
    QTest::mouseClick(table()->viewport(), Qt::LeftButton, {}, belowRows);
    table()->setStyle(nullptr);
    QTest::mouseDClick(table()->viewport(), Qt::LeftButton, {}, belowRows);
    EXPECT_EQ(workspace.openedFiles(), (QStringList{d, c}));

    // Switched off: the keys change nothing, but the lists still open.
    app.onOffButton()->click();
    table()->selectRow(0);
    QTest::keyClick(app.mainWindow(), Qt::Key_Delete);
    QTest::keyClick(app.mainWindow(), Qt::Key_Backspace);
    EXPECT_EQ(savedPaths(), (QStringList{c, d}));
    QTest::mouseDClick(table()->viewport(), Qt::LeftButton, {}, first.center());
    EXPECT_EQ(workspace.openedFiles(), (QStringList{d, c, c}));
}

TEST_F(WindowControlsTest, UpdatesKeepTheSelectionAndScrollAndNewRowsComeIntoView) {
    QStringList names;
    for (int i = 0; i < 30; ++i)
        names.append(u"list%1.md"_s.arg(i));
    const QStringList paths = startWithLists(names, 420);
    DotwiseAppDelegate& app = *delegate;
    table()->selectRow(20);
    table()->scrollTo(app.taskListsModel()->index(20, 0));
    const int scrolled = table()->verticalScrollBar()->value();
    ASSERT_GT(scrolled, 0);

    for (const QString& path : paths)
        dwtest::writeFile(path, "- [ ] one\n- [ ] two\n");
    for (const auto& taskList : app.taskLists())
        app.updateBadgeAsync(taskList, true);
    app.waitUntilBadgeUpdatesFinish();
    EXPECT_EQ(openTasksColumn().value(29), u"2"_s);
    EXPECT_EQ(table()->verticalScrollBar()->value(), scrolled);
    QTest::keyClick(table(), Qt::Key_Delete);
    EXPECT_FALSE(savedPaths().contains(paths[20]));
    EXPECT_EQ(savedPaths().size(), 29);

    table()->scrollToTop();
    app.addFileToWatchList(makeFile(u"new.md"_s, "- [ ] one\n"));
    const QRect added = table()->visualRect(app.taskListsModel()->index(29, 0));
    EXPECT_TRUE(table()->viewport()->rect().contains(added)) << added.y();
}

TEST_F(WindowControlsTest, KnobIsPlacedAtOnceAtStartSlidesOnAClickAndTabAndSpaceReachIt) {
    DotwiseAppDelegate& app = start(false);
    EXPECT_EQ(knobX(), knobRightX());
    // A click anywhere on the switch picture clicks the knob.
    QWidget* switchView = app.onOffSwitchView();
    QTest::mouseClick(switchView, Qt::LeftButton, {}, QPoint(10, switchView->height() / 2));
    EXPECT_TRUE(app.isDotwiseEnabled() && app.launchAtLoginController()->launchAtLogin());
    EXPECT_EQ(knobX(), knobRightX()); // it slides, rather than jumping there
    EXPECT_TRUE(dwtest::waitUntil([&] { return knobX() == 0; }, 2000));

    QMainWindow* window = app.mainWindow();
    window->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(window));
    table()->setFocus();
    // Tab leaves the table rather than moving between its cells, and comes
    // round to the switch.
    for (int i = 0; i < 6 && QApplication::focusWidget() != app.onOffButton(); ++i)
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
    ASSERT_EQ(QApplication::focusWidget(), app.onOffButton());
    QTest::keyClick(app.onOffButton(), Qt::Key_Space);
    EXPECT_FALSE(app.isDotwiseEnabled() || app.launchAtLoginController()->launchAtLogin());
    EXPECT_TRUE(dwtest::waitUntil([&] { return knobX() == knobRightX(); }, 2000));
    // The focused knob looks it.
    const QImage focused = app.onOffButton()->grab().toImage();
    app.hideOrQuitButton()->setFocus();
    EXPECT_NE(app.onOffButton()->grab().toImage(), focused);

    delegate.reset();
    start(true);
    EXPECT_EQ(knobX(), 0);
    EXPECT_EQ(loginItem->writeCount(), 0);
}

// Hide and closing put the window away while on, into the tray or, with no
// tray to bring it back from, minimised; while off they quit.
TEST_F(WindowControlsTest, HideReturnAndClosingPutTheWindowAwayWhileOnAndQuitWhileOff) {
    startWithLists({u"a.md"_s});
    DotwiseAppDelegate& app = *delegate;
    QMainWindow* window = app.mainWindow();
    // Quitting stops the watcher only: badges and the saved list stay.
    const QByteArray saved = LWPreferences::standard().dataForKey(u"TaskLists"_s);
    EXPECT_TRUE(eventsAfter([&] { app.applicationWillTerminate(); }).isEmpty());
    EXPECT_FALSE(app.fileWatcher()->isStreaming());
    EXPECT_EQ(LWPreferences::standard().dataForKey(u"TaskLists"_s), saved);

    using Action = std::function<void()>;
    const Action close = [&] { window->close(); };
    const Action hide = [&] { app.hideOrQuitButton()->click(); };
    // Hide/Quit is the window's default button.
    const Action returnKey = [&] { QTest::keyClick(table(), Qt::Key_Return); };
    const Action enterKey = [&] {
        QTest::keyClick(app.onOffButton(), Qt::Key_Enter, Qt::KeypadModifier);
    };
    const struct {
        bool tray, on;
        Action action;
        QString after;
    } cases[] = {{true, true, close, u"hidden"_s},    {true, true, returnKey, u"hidden"_s},
                 {false, true, hide, u"minimised"_s}, {false, true, close, u"minimised"_s},
                 {true, true, hide, u"hidden"_s},     {true, false, enterKey, u"quit"_s},
                 {true, false, hide, u"quit"_s},      {true, false, close, u"quit"_s}};
    for (const auto& c : cases) {
        trayAvailable = c.tray;
        app.setIsDotwiseEnabled(c.on);
        const int before = terminations;
        const auto state = [&] {
            return terminations > before   ? u"quit"_s
                   : window->isMinimized() ? u"minimised"_s
                   : !window->isVisible()  ? u"hidden"_s
                                           : u"shown"_s;
        };
        c.action();
        dwtest::waitUntil([&] { return state() != u"shown"_s; }, 2000);
        dwtest::processEventsFor(20); // a quit queued by closing, or a second one
        EXPECT_EQ(state(), c.after) << "tray " << c.tray << ", on " << c.on;
        EXPECT_EQ(terminations, before + (c.after == u"quit"_s));
        EXPECT_FALSE(app.applicationShouldHandleReopen()); // a second start brings it back
        EXPECT_TRUE(window->isVisible() && !window->isMinimized());
    }
}

TEST_F(WindowControlsTest, SwitchedOffTextsKeepAReadableContrast) {
    DotwiseAppDelegate& app = start(false);
    QMainWindow* window = app.mainWindow();
    window->resize(560, 480);
    const auto worstContrast = [](const QColor& text, const QImage& behind) {
        double worst = 21;
        for (int y = 0; y < behind.height(); ++y)
            for (int x = 0; x < behind.width(); ++x)
                worst =
                    std::min(worst, DWTextContrast::contrastRatio(text, behind.pixelColor(x, y)));
        return worst;
    };
    for (QLabel* label :
         {app.topLabel(), app.noteLabel(), app.shortVersion(), app.abViewController()->label()}) {
        ASSERT_FALSE(label->isEnabled());
        // What lies behind the words: the window drawn without the label.
        label->hide();
        const QImage behind =
            window->grab(QRect(label->mapTo(window, QPoint()), label->size())).toImage();
        label->show();
        EXPECT_GE(
            worstContrast(label->palette().color(QPalette::Disabled, QPalette::WindowText), behind),
            DWTextContrast::kMinimumRatio)
            << label->objectName().toStdString();
    }
    // The empty table's cells.
    EXPECT_GE(worstContrast(table()->palette().color(QPalette::Disabled, QPalette::Text),
                            table()->viewport()->grab().toImage()),
              DWTextContrast::kMinimumRatio);
}

TEST_F(ControllerTest, TheTrayMenuListsTaskListsWhileOnWithTheirNamesAndSharpBadges) {
    const QStringList fixed = {u"Show Dotwise Window"_s, u"---"_s, u"Make a Suggestion\u2026"_s};
    DotwiseAppDelegate& app = start(true);
    EXPECT_EQ(menuTitles(), fixed);

    // Two files of one name in two folders: two items, each opening its own,
    // their names shown as they are (no mnemonic).
    const QString first = makeFile(u"one/Home & Garden.md"_s, "- [ ] a\n");
    const QString second = makeFile(u"two/Home & Garden.md"_s, "- [ ] a\n- [ ] b\n");
    app.addFileToWatchList(first);
    app.addFileToWatchList(second);
    app.waitUntilBadgeUpdatesFinish();
    const QStringList two = {u"Home & Garden.md"_s, u"Home & Garden.md"_s, u"---"_s};
    EXPECT_EQ(menuTitles(), two + fixed);
    app.statusMenu()->actions().at(1)->trigger();
    EXPECT_EQ(workspace.openedFiles(), QStringList{second});
    // On a HiDPI menu: the badge drawn with twice the pixels, not scaled up.
    const QImage shown =
        app.statusMenu()->actions().at(1)->icon().pixmap(QSize(15, 15), 2.0).toImage();
    const QImage sharp = DWBadgeImage(QSizeF(15, 15), 2, false, 2.0).image();
    EXPECT_EQ(shown.convertToFormat(sharp.format()), sharp) << "scaled from 1x";

    app.setIsDotwiseEnabled(false);
    EXPECT_EQ(menuTitles(), fixed);
    // Back on, without the first list: the remaining item opens its own file.
    app.setIsDotwiseEnabled(true);
    app.removeTaskListFromWatchList(app.taskListForFile(first));
    EXPECT_EQ(menuTitles(), two.mid(1) + fixed);
    app.statusMenu()->actions().at(0)->trigger();
    EXPECT_EQ(workspace.openedFiles(), (QStringList{second, second}));

    // However often it is rebuilt, there is one tray item. It tells no position
    // here (as over StatusNotifierItem): a left click brings the window forward
    // and opens no menu somewhere else.
    app._updateStatusMenu();
    EXPECT_EQ(app.findChildren<QSystemTrayIcon*>().size(), 1);
    app.mainWindow()->hide();
    emit app.statusMenuItem()->activated(QSystemTrayIcon::Trigger);
    EXPECT_TRUE(app.mainWindow()->isVisible());
    EXPECT_FALSE(app.statusMenu()->isVisible());
    app.mainWindow()->hide();
    app.statusMenu()->actions().at(2)->trigger(); // "Show Dotwise Window"
    EXPECT_TRUE(app.mainWindow()->isVisible());
}

TEST_F(WindowControlsTest, FirstRunExamplesGoIntoTheChosenFolderAnExistingOneIsLeftAlone) {
    const QString desktop = QStandardPaths::writableLocation(QStandardPaths::DesktopLocation);
    QDir().mkpath(desktop);
    // A first start: the folder chooser the welcome sheet's answer opens.
    const auto answerWelcome = [&]() -> QFileDialog* {
        delegate.reset();
        LWPreferences::standard().removeObject(u"DidCreateExampleData"_s);
        start(true);
        // The offer counts as made before the user has answered anything.
        EXPECT_TRUE(LWPreferences::standard().boolForKey(u"DidCreateExampleData"_s));
        const QList<LWAlert*> alerts = LWAlert::activeAlerts();
        if (alerts.size() != 1)
            return nullptr;
        EXPECT_EQ((QStringList{alerts[0]->messageText(), alerts[0]->informativeText(),
                               alerts[0]->buttons().value(0)->text()}),
                  (QStringList{
                      u"To get started, please select a folder for the two example task lists."_s,
                      u"Hint: The desktop will work just fine."_s, u"Select Folder"_s}));
        EXPECT_TRUE(alerts[0]->clickButtonWithReturnCode(1));
        dwtest::processEventsFor(20);
        return delegate->mainWindow()->findChild<QFileDialog*>();
    };
    // Cancelled: nothing made.
    QFileDialog* chooser = answerWelcome();
    ASSERT_TRUE(chooser);
    EXPECT_EQ(QDir(chooser->directory()).canonicalPath(), QDir(desktop).canonicalPath());
    chooser->reject();
    EXPECT_TRUE(delegate->taskLists().isEmpty());
    EXPECT_FALSE(QFile::exists(desktop + u"/Example Task List.txt"_s));

    // An example already there is left alone and not watched; the text one is
    // added with its style, without asking.
    chooser = answerWelcome();
    ASSERT_TRUE(chooser);
    const QString chosen = folder + u"/Lists"_s;
    const QString text = chosen + u"/Example Task List.txt"_s;
    const QString mine = chosen + u"/Example Task List.taskpaper"_s;
    dwtest::writeFile(mine, "- my own list\n");
    chooser->setDirectory(chosen);
    static_cast<QDialog*>(chooser)->accept();
    EXPECT_EQ(savedPaths(), QStringList{text});
    EXPECT_TRUE(LWAlert::activeAlerts().isEmpty());
    EXPECT_EQ(delegate->taskLists().at(0)->ruleSet()->name(),
              DWTaskRuleSet::squareBracketStyleName);
    delegate->waitUntilBadgeUpdatesFinish();
    EXPECT_TRUE(workspace.hasCustomIcon(text));
    EXPECT_FALSE(workspace.hasCustomIcon(mine));
}
