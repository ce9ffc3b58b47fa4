#include "ControllerTestSupport.h"
#include "controller/DWExampleFiles.h"
#include "controller/DWTaskListTableModel.h"
#include "ui/LWAlert.h"

#include <QDir>
#include <QDropEvent>
#include <QFileDialog>
#include <QMainWindow>
#include <QMimeData>
#include <QPushButton>
#include <QStandardPaths>
#include <QTableView>
#include <QTest>

// Readable paths in failure messages.
inline void PrintTo(const QString& text, std::ostream* out) {
    *out << text.toStdString();
}

namespace {
const QString kText = u"Example Task List.txt"_s;
const QString kTaskPaper = u"Example Task List.taskpaper"_s;

std::unique_ptr<QMimeData> fileDrag(const QStringList& paths) {
    auto data = std::make_unique<QMimeData>();
    QList<QUrl> urls;
    for (const QString& path : paths)
        urls << QUrl::fromLocalFile(path);
    data->setUrls(urls);
    return data;
}
} // namespace

// The window as a user works it: drags onto the table, keys, double-clicks,
// the switch, Hide/Quit and the first-run offer, through real widgets.
class WindowControlsTest : public ControllerTest {
protected:
    QTableView* table() { return delegate->taskListsTableView(); }

    // A drag from the file manager entering the table and, when offered
    // something, dropped there. Returns whether the drop was taken.
    bool dragAndDrop(const QMimeData* data, Qt::DropActions sourceOperations,
                     bool* offered = nullptr) {
        QWidget* target = table()->viewport();
        const QPoint where = target->rect().center();
        QDragEnterEvent enter(where, sourceOperations, data, Qt::LeftButton, Qt::NoModifier);
        QCoreApplication::sendEvent(target, &enter);
        if (offered)
            *offered = enter.isAccepted() && enter.dropAction() == Qt::CopyAction;
        if (!enter.isAccepted())
            return false;
        EXPECT_TRUE(table()->property("dropTarget").toBool()); // highlighted while it hovers
        QDropEvent drop(where, sourceOperations, data, Qt::LeftButton, Qt::NoModifier);
        QCoreApplication::sendEvent(target, &drop);
        EXPECT_FALSE(table()->property("dropTarget").toBool());
        return drop.isAccepted();
    }

    int knobX() { return delegate->onOffButton()->geometry().x(); }
    int knobRightX() {
        return delegate->onOffSwitchView()->width() - delegate->onOffButton()->width();
    }
};

// --- Drops ---------------------------------------------------------------------

TEST_F(WindowControlsTest, DropsAddTheTextFilesInOrderWhenCopyingWhileOn) {
    DotwiseAppDelegate& app = start(true);
    const QString notes = makeFile(u"notes.md"_s, "- [ ] a\n");
    const QString image = makeFile(u"photo.png"_s, "\x89PNG\r\n");
    const QString work = makeFile(u"work.taskpaper"_s, "- a\n- b @done\n");
    const QString folderNamedLikeText = folder + u"/archive.md"_s;
    QDir().mkpath(folderNamedLikeText);
    const auto data = fileDrag({notes, image, folderNamedLikeText, work});

    // A source that only moves or links: not offered, and refused if dropped.
    bool offered = true;
    EXPECT_FALSE(dragAndDrop(data.get(), Qt::MoveAction | Qt::LinkAction, &offered));
    EXPECT_FALSE(offered);
    EXPECT_FALSE(app.acceptDrop(data.get(), Qt::MoveAction | Qt::LinkAction));
    EXPECT_TRUE(app.taskLists().isEmpty());

    EXPECT_TRUE(dragAndDrop(data.get(), Qt::CopyAction | Qt::MoveAction, &offered));
    EXPECT_TRUE(offered);
    EXPECT_EQ(listedPaths(), (QStringList{notes, work}));
    const QString dropping = u"-[DotwiseAppDelegate tableView:acceptDrop:row:dropOperation:]"_s;
    EXPECT_EQ(logged(u"Dropped plain text file: %1"_s.arg(notes), dropping), 1);
    EXPECT_EQ(logged(u"Dropped plain text file: %1"_s.arg(image), dropping), 0);

    // Nothing that is text: refused, nothing added. Drags that carry no
    // files (text, web links) are not even offered.
    const auto noText = fileDrag({image, folderNamedLikeText});
    EXPECT_FALSE(dragAndDrop(noText.get(), Qt::CopyAction));
    QMimeData words;
    words.setText(u"- [ ] not a file"_s);
    words.setUrls({QUrl(u"https://example.org/list.md"_s)});
    EXPECT_FALSE(dragAndDrop(&words, Qt::CopyAction, &offered));
    EXPECT_FALSE(offered);

    // Switched off: not offered, and nothing is added.
    app.onOffButton()->click();
    const auto more = fileDrag({makeFile(u"more.md"_s, "- [ ] c\n")});
    EXPECT_EQ(app.validateDrop(more.get(), Qt::CopyAction), Qt::IgnoreAction);
    EXPECT_FALSE(dragAndDrop(more.get(), Qt::CopyAction, &offered));
    EXPECT_FALSE(offered);
    EXPECT_EQ(listedPaths(), (QStringList{notes, work}));
}

// --- Delete keys and double-click ---------------------------------------------

TEST_F(WindowControlsTest, DeleteKeysRemoveTheSelectedListOnlyWhileBadgingIsOn) {
    const QString a = makeFile(u"a.md"_s, "- [ ] one\n");
    const QString b = makeFile(u"b.md"_s, "- [ ] two\n");
    const QString c = makeFile(u"c.md"_s, "- [ ] three\n");
    saveTaskLists({a, b, c});
    DotwiseAppDelegate& app = start(true);
    app.waitUntilBadgeUpdatesFinish();

    // No selection: nothing happens.
    table()->clearSelection();
    QTest::keyClick(table(), Qt::Key_Delete);
    EXPECT_EQ(listedPaths(), (QStringList{a, b, c}));

    // Forward Delete on the table removes the selected entry and its badge.
    table()->selectRow(1);
    QTest::keyClick(table(), Qt::Key_Delete);
    EXPECT_EQ(listedPaths(), (QStringList{a, c}));
    EXPECT_EQ(savedPaths(), (QStringList{a, c}));
    EXPECT_FALSE(workspace.hasCustomIcon(b));
    EXPECT_TRUE(QFile::exists(b)); // the file itself stays

    // Backspace pressed elsewhere in the window reaches the controller too.
    table()->selectRow(0);
    QTest::keyClick(app.hideOrQuitButton(), Qt::Key_Backspace);
    EXPECT_EQ(listedPaths(), QStringList{c});

    // Switched off: the keys change nothing.
    app.onOffButton()->click();
    table()->selectRow(0);
    QTest::keyClick(app.mainWindow(), Qt::Key_Delete);
    QTest::keyClick(app.mainWindow(), Qt::Key_Backspace);
    EXPECT_EQ(listedPaths(), QStringList{c});
}

TEST_F(WindowControlsTest, DoubleClickOpensTheRowsFileInEitherStateButNotBelowTheRows) {
    const QString a = makeFile(u"a.md"_s, "- [ ] one\n");
    const QString b = makeFile(u"b.md"_s, "- [ ] two\n");
    saveTaskLists({a, b});
    DotwiseAppDelegate& app = start(true);
    app.mainWindow()->resize(560, 480);
    dwtest::processEventsFor(20);

    const QRect second = table()->visualRect(app.taskListsModel()->index(1, 0));
    QTest::mouseDClick(table()->viewport(), Qt::LeftButton, {}, second.center());
    EXPECT_EQ(app.clickedRow(), 1);
    EXPECT_EQ(workspace.openedFiles(), QStringList{b});

    const QPoint belowTheRows(second.center().x(), second.bottom() + 40);
    ASSERT_LT(belowTheRows.y(), table()->viewport()->height());
    QTest::mouseDClick(table()->viewport(), Qt::LeftButton, {}, belowTheRows);
    EXPECT_EQ(app.clickedRow(), -1);
    EXPECT_EQ(workspace.openedFiles(), QStringList{b});

    // Switched off, the table is greyed out but its lists still open.
    app.onOffButton()->click();
    ASSERT_FALSE(table()->isEnabled());
    const QRect first = table()->visualRect(app.taskListsModel()->index(0, 0));
    QTest::mouseDClick(table()->viewport(), Qt::LeftButton, {}, first.center());
    EXPECT_EQ(workspace.openedFiles(), (QStringList{b, a}));
}

// --- The switch, Hide/Quit and Return --------------------------------------------

TEST_F(WindowControlsTest, KnobIsPlacedAtOnceAtStartAndSlidesOnAClick) {
    DotwiseAppDelegate& app = start(false);
    // Start-up places the knob without animation and leaves the login item alone.
    EXPECT_EQ(knobX(), knobRightX());
    EXPECT_EQ(loginItem->writeCount(), 0);

    // A click anywhere on the switch picture clicks the knob.
    QWidget* switchView = app.onOffSwitchView();
    QTest::mouseClick(switchView, Qt::LeftButton, {}, QPoint(10, switchView->height() / 2));
    EXPECT_TRUE(app.isDotwiseEnabled());
    EXPECT_EQ(loginItem->writeCount(), 1);
    EXPECT_TRUE(app.launchAtLoginController()->launchAtLogin());
    EXPECT_EQ(knobX(), knobRightX()); // it slides, rather than jumping there
    EXPECT_TRUE(dwtest::waitUntil([&] { return knobX() == 0; }, 2000));

    app.onOffButton()->click();
    EXPECT_FALSE(app.isDotwiseEnabled());
    EXPECT_EQ(loginItem->writeCount(), 2);
    EXPECT_FALSE(app.launchAtLoginController()->launchAtLogin());
    EXPECT_EQ(knobX(), 0);
    EXPECT_TRUE(dwtest::waitUntil([&] { return knobX() == knobRightX(); }, 2000));

    // Started with the login item set: on the left at once, login item untouched.
    delegate.reset();
    start(true);
    EXPECT_EQ(knobX(), 0);
    EXPECT_EQ(loginItem->writeCount(), 0);
}

TEST_F(WindowControlsTest, ReturnOrClosingHidesWhileOnAndQuitsWhileOff) {
    const QString a = makeFile(u"a.md"_s, "- [ ] one\n");
    saveTaskLists({a});
    const QByteArray saved = LWPreferences::standard().dataForKey(u"TaskLists"_s);
    DotwiseAppDelegate& app = start(true);
    app.mainWindow()->close();
    dwtest::processEventsFor(20);
    EXPECT_EQ(terminations, 0);
    EXPECT_FALSE(app.applicationShouldHandleReopen());
    EXPECT_TRUE(app.mainWindow()->isVisible());
    QTest::keyClick(table(), Qt::Key_Return); // Hide/Quit is the default button
    EXPECT_TRUE(dwtest::waitUntil([&] { return !app.mainWindow()->isVisible(); }, 2000));
    EXPECT_EQ(terminations, 0);

    // Quitting stops the watcher only: badges and the saved list stay.
    app.waitUntilBadgeUpdatesFinish();
    workspace.clearEvents();
    app.applicationWillTerminate();
    EXPECT_FALSE(app.fileWatcher()->isStreaming());
    EXPECT_TRUE(workspace.events().isEmpty());
    EXPECT_TRUE(workspace.hasCustomIcon(a));
    EXPECT_EQ(LWPreferences::standard().dataForKey(u"TaskLists"_s), saved);

    // Switched off, the button (and Return, also from the keypad) quits, and
    // so does closing the window.
    app.applicationShouldHandleReopen();
    app.onOffButton()->click();
    QTest::keyClick(app.onOffButton(), Qt::Key_Enter, Qt::KeypadModifier);
    EXPECT_TRUE(dwtest::waitUntil([&] { return terminations == 1; }, 2000));
    app.hideOrQuitButton()->click();
    EXPECT_EQ(terminations, 2);
    app.mainWindow()->close();
    EXPECT_TRUE(dwtest::waitUntil([&] { return terminations == 3; }, 1000));
}

// --- First run -------------------------------------------------------------------

class FirstRunTest : public WindowControlsTest {
protected:
    void SetUp() override {
        WindowControlsTest::SetUp();
        LWPreferences::standard().removeObject(u"DidCreateExampleData"_s);
        desktop = QStandardPaths::writableLocation(QStandardPaths::DesktopLocation);
        QDir().mkpath(desktop);
    }
    void TearDown() override {
        for (LWAlert* alert : LWAlert::activeAlerts())
            alert->clickButtonWithReturnCode(1);
        if (delegate) {
            for (QFileDialog* chooser : delegate->mainWindow()->findChildren<QFileDialog*>())
                chooser->close();
        }
        WindowControlsTest::TearDown();
    }

    // Answers the welcome sheet and returns the folder chooser it opens.
    QFileDialog* answerWelcome() {
        const QList<LWAlert*> alerts = LWAlert::activeAlerts();
        EXPECT_EQ(alerts.size(), 1);
        if (alerts.isEmpty())
            return nullptr;
        LWAlert* welcome = alerts.first();
        EXPECT_EQ(welcome->messageText(),
                  QStringLiteral(
                      "To get started, please select a folder for the two example task lists."));
        EXPECT_EQ(welcome->informativeText(), u"Hint: The desktop will work just fine."_s);
        EXPECT_EQ(welcome->buttons().size(), 1);
        EXPECT_EQ(welcome->buttons().value(0)->text(), u"Select Folder"_s);
        EXPECT_TRUE(welcome->clickButtonWithReturnCode(1));
        dwtest::processEventsFor(20);
        EXPECT_TRUE(LWAlert::activeAlerts().isEmpty());
        return delegate->mainWindow()->findChild<QFileDialog*>();
    }
    // As a user does it: go into the folder, then press Select.
    static void choose(QFileDialog* chooser, const QString& folder) {
        chooser->setDirectory(folder);
        static_cast<QDialog*>(chooser)->accept();
    }

    QString desktop;
};

TEST_F(FirstRunTest, ExamplesGoIntoTheChosenFolderInOrderAndAreWatched) {
    start(true);
    // The offer counts as made before the user has answered anything.
    EXPECT_TRUE(LWPreferences::standard().boolForKey(u"DidCreateExampleData"_s));
    QFileDialog* chooser = answerWelcome();
    ASSERT_TRUE(chooser);
    EXPECT_EQ(chooser->windowModality(), Qt::WindowModal);
    EXPECT_EQ(chooser->fileMode(), QFileDialog::Directory);
    EXPECT_EQ(chooser->labelText(QFileDialog::Accept), u"Select"_s);
    EXPECT_EQ(QDir(chooser->directory()).canonicalPath(), QDir(desktop).canonicalPath());

    const QString chosen = folder + u"/Lists"_s;
    QDir().mkpath(chosen);
    choose(chooser, chosen);
    const QString text = chosen + QLatin1Char('/') + kText;
    const QString taskPaper = chosen + QLatin1Char('/') + kTaskPaper;
    EXPECT_EQ(listedPaths(), (QStringList{text, taskPaper}));
    EXPECT_EQ(delegate->taskLists().at(0)->ruleSet()->name(),
              DWTaskRuleSet::squareBracketStyleRuleSet()->name());
    EXPECT_EQ(delegate->taskLists().at(1)->ruleSet()->name(),
              DWTaskRuleSet::taskPaperRuleSet()->name());
    EXPECT_EQ(savedPaths(), (QStringList{text, taskPaper}));
    EXPECT_EQ(logged(u"Created example file: %1"_s.arg(kText),
                     u"-[DotwiseAppDelegate makeExampleFile:inDirectory:rules:]"_s),
              1);
    delegate->waitUntilBadgeUpdatesFinish();
    EXPECT_TRUE(workspace.hasCustomIcon(text));
    EXPECT_EQ(menuTitles().mid(0, 2), (QStringList{kText, kTaskPaper}));
}

TEST_F(FirstRunTest, AnExistingExampleIsLeftAloneAndNotWatched) {
    const QString chosen = folder + u"/Existing"_s;
    const QString mine = chosen + QLatin1Char('/') + kText;
    dwtest::writeFile(mine, "- [ ] my own list\n");
    start(true);
    QFileDialog* chooser = answerWelcome();
    ASSERT_TRUE(chooser);
    choose(chooser, chosen);
    EXPECT_EQ(dwtest::readFile(mine), QByteArray("- [ ] my own list\n"));
    EXPECT_EQ(listedPaths(), QStringList{chosen + QLatin1Char('/') + kTaskPaper});
    delegate->waitUntilBadgeUpdatesFinish();
    EXPECT_FALSE(workspace.hasCustomIcon(mine));
}

TEST_F(FirstRunTest, CancellingMakesNothingAndUsesUpTheOffer) {
    start(true);
    QFileDialog* chooser = answerWelcome();
    ASSERT_TRUE(chooser);
    chooser->reject();
    EXPECT_TRUE(delegate->taskLists().isEmpty());
    EXPECT_FALSE(QFile::exists(desktop + QLatin1Char('/') + kText));

    delegate.reset();
    start(true);
    EXPECT_TRUE(LWAlert::activeAlerts().isEmpty());
}
