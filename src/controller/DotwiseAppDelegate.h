#pragma once

#include "platform/DWBadgeMode.h"
#include "ui/LWIconImage.h"

#include <QElapsedTimer>
#include <QHash>
#include <QIcon>
#include <QList>
#include <QMutex>
#include <QObject>
#include <QPointer>
#include <QSet>
#include <QSystemTrayIcon>
#include <QTimer>
#include <QUrl>
#include <QWidget>
#include <atomic>
#include <deque>
#include <functional>
#include <memory>

class ABViewSelectingController;
class DWConfigViewController;
class DWEmblemTheme;
class DWFileEmblems;
class DWFileWatcher;
class DWSerialQueue;
class DWSoftwareUpdater;
class DWTaskList;
class DWTaskListTableModel;
class DWTaskRuleSet;
class LaunchAtLoginController;
class LWAlert;
class LWWorkspace;
class QAbstractScrollArea;
class QAction;
class QKeyEvent;
class QMimeData;
class QLabel;
class QMainWindow;
class QMenu;
class QPushButton;
class QTableView;

namespace Ui {
class DWMainWindow;
}

// The one controller of the application. It owns the watch list (the task
// lists, saved in the preferences after every change), the file watcher whose
// reports it turns into badge updates and removals, the serial background
// worker that counts files and writes their badged icons, the ON/OFF state, the
// tray item and its menu, and the main window.
//
// Construction does what loading the main interface does: the state is set up
// (init), the window is built from its Designer file and the outlets are put in
// order (awakeFromNib). applicationDidFinishLaunching() then restores the saved
// task lists and shows the window; main() calls it once the event loop runs.
//
// Everything runs on the main thread except updateBadge(), which runs on the
// background worker.
//
// The definitions live in one file per concern, in the order of the sections
// below: DotwiseAppDelegate.cpp (start-up, persistence, outlets), then
// ...WatchList, ...Badges, ...StatusMenu, ...Window (window controls and the
// table) and ...Examples.
class DotwiseAppDelegate : public QObject {
    Q_OBJECT
public:
    // The platform services, chosen in main() (the Linux ones) or by a test
    // (fakes).
    struct Services {
        // Icons, dates and opening files and links. Must outlive the controller.
        LWWorkspace* workspace = nullptr;
        // Whether the application starts at login; it also decides whether
        // badging starts switched on.
        std::unique_ptr<LaunchAtLoginController> launchAtLoginController;
        // The file watcher over the platform's directory event stream; the
        // controller becomes its delegate.
        std::unique_ptr<DWFileWatcher> fileWatcher;
        // How badges are shown. Emblems need the two services below; without
        // them badges are pictures.
        DWBadgeMode::Mode badgeMode = DWBadgeMode::Picture;
        // Emblems on files and the emblem icons; both must outlive the
        // controller. With emblems set, every badge removal takes off the
        // file's emblem too, in either mode.
        DWFileEmblems* fileEmblems = nullptr;
        DWEmblemTheme* emblemTheme = nullptr;
        // Ends the application. Default: QCoreApplication::quit().
        std::function<void()> terminate;
        // Whether a tray shows the status item now; asked each time it
        // matters, as panels come and go. Default:
        // QSystemTrayIcon::isSystemTrayAvailable().
        std::function<bool()> isSystemTrayAvailable;
    };

    using TaskListPointer = std::shared_ptr<DWTaskList>;

    explicit DotwiseAppDelegate(Services services, QObject* parent = nullptr);
    // Cancels the queued badge updates and waits for the running one.
    ~DotwiseAppDelegate() override;

    DotwiseAppDelegate(const DotwiseAppDelegate&) = delete;
    DotwiseAppDelegate& operator=(const DotwiseAppDelegate&) = delete;

    // --- Start-up, persistence and shutdown --------------------------------

    // Restores the saved task lists, shows the window, builds the status menu.
    void applicationDidFinishLaunching();
    // The user started Dotwise again: the window comes forward. Answers false
    // (nothing further to do).
    bool applicationShouldHandleReopen();
    // Closing the main window quits only while badging is off.
    bool applicationShouldTerminateAfterLastWindowClosed() const;
    // Stops the watcher's stream, drops the badge writes still queued and
    // lets the queued removals run. Nothing is saved and badges stay on files.
    // A badge job that does not return (a hung mount, a stuck metadata
    // daemon) is given a few seconds, then the process ends without it.
    void applicationWillTerminate();
    // Writes "TaskLists" to the preferences.
    void saveTaskLists();

    const QList<TaskListPointer>& taskLists() const { return _taskLists; }
    void setTaskLists(QList<TaskListPointer> taskLists);
    QSystemTrayIcon* statusMenuItem() const { return _statusMenuItem; }
    // Takes ownership; the item held before is deleted.
    void setStatusMenuItem(QSystemTrayIcon* item);
    QMenu* statusMenu() const { return _statusMenu; }
    bool isDotwiseEnabled() const { return _isDotwiseEnabled; }
    LaunchAtLoginController* launchAtLoginController() const {
        return _launchAtLoginController.get();
    }
    void setLaunchAtLoginController(std::unique_ptr<LaunchAtLoginController> controller);
    DWFileWatcher* fileWatcher() const { return _fileWatcher.get(); }
    DWSoftwareUpdater* updater() const { return _updater; }
    LWWorkspace& workspace() const { return *_workspace; }
    DWBadgeMode::Mode badgeMode() const { return _badgeMode; }

    // --- Outlets -----------------------------------------------------------

    QMainWindow* mainWindow() const { return _mainWindow.get(); }
    ABViewSelectingController* abViewController() const { return _abViewController.get(); }
    // The rule-set chooser; nothing shows it yet.
    DWConfigViewController* configViewController() const { return _configViewController.get(); }
    QWidget* abViewPlaceholder() const;
    QLabel* shortVersion() const;
    QLabel* topLabel() const;
    QLabel* noteLabel() const;
    QTableView* taskListsTableView() const;
    QAbstractScrollArea* scrollView() const; // the table scrolls itself
    QPushButton* hideOrQuitButton() const;
    QWidget* styleExamplesView() const { return _styleExamplesView; }
    QPushButton* onOffButton() const;
    QWidget* onOffSwitchView() const; // the switch that holds onOffButton
    QLabel* launchAtLoginNote() const;
    DWTaskListTableModel* taskListsModel() const { return _taskListsModel; }

    // --- Watch list --------------------------------------------------------

    // A .txt file (any letter case) is added once the user has answered which
    // task style it uses; any other file at once with the best matching rules.
    void addFileToWatchList(const QString& path);
    void addFileToWatchList(const QString& path, std::shared_ptr<DWTaskRuleSet> ruleSet);
    // The style question ended: 1 ("Style B") means square brackets, anything
    // else todo.txt.
    void styleAlertDidEnd(LWAlert* alert, int returnCode, const QString& path);
    void removeTaskListFromWatchList(TaskListPointer taskList);
    void fileModifiedAtPath(const QString& path);
    void fileDeletedAtPath(const QString& path);
    TaskListPointer taskListForFile(const QString& path) const;
    // The style questions not yet answered, the one on screen first.
    QStringList pendingStyleQuestions() const;

    // --- Badge pipeline and ON/OFF -----------------------------------------

    // Off takes every badge off (on the worker, behind the updates queued
    // before) and clears every count at once.
    void setIsDotwiseEnabled(bool enabled);
    // Queues a count and badge write for the task list on the background
    // worker, followed by a table reload and a status-menu rebuild on the main
    // thread. Nothing happens while badging is off.
    void updateBadgeAsync(TaskListPointer taskList, bool concealModification);
    // Background worker: counts the file again and writes its badged icon.
    void updateBadge(const TaskListPointer& taskList, bool concealModification);
    // Sets (or, with an empty icon, removes) the file's custom icon. The
    // workspace never moves the file's dates when it writes an icon, so
    // concealment takes no step here: putting back a date read before the
    // write would roll back a save that landed meanwhile. Any thread.
    void setIcon(const LWIconImage& icon, const QString& path, bool concealModification);
    // Blocks until the background worker is idle, then delivers the follow-ups
    // it queued. For tests and benchmarks.
    void waitUntilBadgeUpdatesFinish();
    qsizetype queuedBadgeUpdates() const;

    // --- Status menu and links ---------------------------------------------

    // Creates the tray item the first time; rebuilds its menu in full.
    void _updateStatusMenu();
    void taskListMenuItemAction(QAction* sender);
    void showDotwiseWindowAction(QObject* sender);
    void makeSuggestionAction(QObject* sender);
    void visitWrenfield(QObject* sender);

    // The two outward links, exactly as they are opened.
    static QUrl suggestionMailUrl(const QString& supportAddress, const QString& shortVersion);
    static QUrl webSiteUrl(const QString& webHost, const QString& variation);

    // --- Window controls ---------------------------------------------------

    // The switch: its state turns badging on or off. A user's click (sender
    // set) also moves the knob with animation and sets launch at login; the
    // start-up call (no sender) places the knob at once.
    void onOffButtonAction(QObject* sender);
    // Hides the window while badging is on (minimises it while no tray shows
    // the status item, the only other way back), quits while it is off.
    void hideOrQuitButtonAction(QObject* sender);
    void reloadTable();

    // --- Task-list table ---------------------------------------------------

    // Drags of files are offered the copy operation while badging is on and
    // nothing while it is off.
    Qt::DropAction validateDrop(const QMimeData* data, Qt::DropActions sourceOperations) const;
    // Hands every dropped file that is a kind of plain text to the watch list,
    // in the drag's order; other files are skipped. False when the source
    // doesn't allow copying or no file was handed over.
    bool acceptDrop(const QMimeData* data, Qt::DropActions sourceOperations);
    // Files named when Dotwise was started: added as if dropped on the table.
    void openFiles(const QStringList& paths);
    // Delete and Backspace: remove the selected task list while badging is on.
    void deleteBackward(QObject* sender);
    void deleteForward(QObject* sender);
    // The table's activation (a double or single click, as the desktop says,
    // or Enter on the selected row): opens the task list in the activated row
    // with the user's default application; a click below the rows opens
    // nothing.
    void taskDoubleClickAction(QObject* sender);
    // The row of the last activation, -1 before the first.
    int clickedRow() const { return _clickedRow; }

    // --- First-run example task lists ---------------------------------------

    // Offers the examples once per user: the welcome sheet, then a folder
    // chooser. The offer counts as made as soon as it is shown.
    void setUpExampleTasksIfNeeded();
    // Copies one example into the folder, unless something of that name is
    // there already, and watches it with the given rules.
    void makeExampleFile(const QString& fileName, const QString& directory,
                         std::shared_ptr<DWTaskRuleSet> rules);

signals:
    // After each badge update's main-thread follow-up, in the order the
    // updates were queued.
    void badgeUpdateFinished(const QString& path);
    // After every rebuild of the status menu.
    void statusMenuRebuilt();
    // At the end of every setIsDotwiseEnabled().
    void dotwiseEnabledChanged(bool enabled);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void _loadInterface();
    void awakeFromNib();
    void _restoreTaskLists();
    void _keepDamagedTaskLists(const QByteArray& archive);
    // Runs the changes with the save, the table reload and the status-menu
    // rebuild held back, then does each once if any change asked for it.
    void _batchWatchListChanges(const std::function<void()>& changes);
    // After an addition or removal: reload, save, rebuild (or mark the batch).
    void _watchListDidChange();
    // The two worker-side steps every badge goes through: the one place that
    // writes a file's badge for a count, and the one that takes it off.
    void _writeBadge(const QString& path, int openTasks, bool concealModification);
    void _removeBadge(const QString& path);
    // Queues _removeBadge on the worker, behind every update queued before.
    void _removeBadgeAsync(const QString& path);
    void _updateAllDotwise();
    // Background worker: the count's emblem in place of whatever was on the
    // file.
    void _setEmblem(const QString& path, int openTasks);
    // Draws the common counts' emblems on the worker, a few at a time, so
    // that badge updates queued meanwhile don't wait for all of them.
    void _prepareEmblems(int from);
    void _badgeUpdateDidFinish(const TaskListPointer& taskList);
    void _refreshAfterBadgeUpdates();
    void _askNextStyleQuestion();
    QWidget* _makeStyleExamplesView();
    void _placeOnOffKnob(bool animated);
    void _terminate();
    bool _isSystemTrayAvailable() const;
    // Hidden, or minimised while no tray would bring it back.
    void _putWindowAway();
    void _bringWindowForward();
    void _statusItemActivated(QSystemTrayIcon::ActivationReason reason);
    void _removeSelectedTaskList();
    bool _handleKeyPress(QObject* watched, QKeyEvent* event);
    void _welcomeAlertDidEnd(LWAlert& alert, int returnCode);
    QIcon _menuBadgeIcon(int openTasks);
    static QIcon _statusIconTemplate();

    // Which task lists may carry a badge: those in the list while badging is
    // on. Read by the worker, written on the main thread.
    void _allowBadge(const DWTaskList* taskList);
    void _forbidBadge(const DWTaskList* taskList);
    void _forbidAllBadges();
    bool _mayBadge(const DWTaskList* taskList) const;

    LWWorkspace* _workspace = nullptr;
    DWFileEmblems* _fileEmblems = nullptr;
    DWEmblemTheme* _emblemTheme = nullptr;
    DWBadgeMode::Mode _badgeMode = DWBadgeMode::Picture;
    std::function<void()> _terminateHandler;
    std::function<bool()> _systemTrayAvailable;

    std::unique_ptr<QMainWindow> _mainWindow;
    std::unique_ptr<Ui::DWMainWindow> _ui;
    std::unique_ptr<ABViewSelectingController> _abViewController;
    std::unique_ptr<DWConfigViewController> _configViewController;
    QPointer<QWidget> _styleExamplesView;
    DWTaskListTableModel* _taskListsModel = nullptr;

    QSystemTrayIcon* _statusMenuItem = nullptr;
    QMenu* _statusMenu = nullptr;
    QHash<int, QIcon> _menuBadgeIcons;
    QList<QAction*> _taskListItems; // one per listed task list, in order
    QAction* _taskListSeparator = nullptr;
    QAction* _showWindowItem = nullptr;

    std::unique_ptr<DWFileWatcher> _fileWatcher;
    QList<TaskListPointer> _taskLists;
    std::unique_ptr<DWSerialQueue> _backgroundQueue;
    bool _isDotwiseEnabled = false;
    std::unique_ptr<LaunchAtLoginController> _launchAtLoginController;
    DWSoftwareUpdater* _updater = nullptr;

    // Style questions: one on screen at a time, the rest wait their turn.
    std::unique_ptr<LWAlert> _styleAlert;
    QString _styleAlertPath;
    std::deque<QString> _waitingStyleQuestions;

    int _clickedRow = -1;
    // The Return key the table is opening a row with, on its way up to the
    // window.
    const QEvent* _keyOpeningRow = nullptr;

    int _watchListBatchDepth = 0;
    bool _watchListChangedInBatch = false;

    mutable QMutex _badgeableLock;
    QSet<const DWTaskList*> _badgeable;
    // Follow-ups posted to the main thread and not yet run; only the last of a
    // burst rebuilds the table and the menu.
    std::atomic<int> _pendingFollowUps{0};
    // Quitting: queued badge writes are skipped. Jobs finished, to tell a
    // slow worker from a stuck one.
    std::atomic<bool> _quitting{false};
    std::atomic<quint64> _finishedBadgeJobs{0};
    QElapsedTimer _lastRefresh;
    qint64 _refreshCost = 0;             // milliseconds the last refresh took
    bool _statusMenuAwaitsPaint = false; // start-up: menu built after the first paint
    QTimer _refreshTimer;
};
