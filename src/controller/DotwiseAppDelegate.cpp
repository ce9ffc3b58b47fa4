#include "controller/DotwiseAppDelegate.h"

#include "controller/DWExampleFiles.h"
#include "controller/DWSerialQueue.h"
#include "controller/DWSoftwareUpdater.h"
#include "controller/DWTableDropTarget.h"
#include "controller/DWTaskListTableModel.h"
#include "foundation/LWBundle.h"
#include "foundation/LWPreferences.h"
#include "logging/LWLogger.h"
#include "model/DWTaskList.h"
#include "model/DWTaskRuleSet.h"
#include "monitoring/DWFileWatcher.h"
#include "platform/LaunchAtLoginController.h"
#include "ui/LWAlert.h"
#include "ui/LWAlertAdditions.h"
#include "ui/LWWorkspace.h"
#include "ui_DWMainWindow.h"
#include "ui_DWStyleExamplesView.h"
#include "views/ABViewSelectingController.h"
#include "views/DWBadgeImage.h"
#include "views/DWNamedImage.h"

#include <QAction>
#include <QApplication>
#include <QCloseEvent>
#include <QFile>
#include <QFileInfo>
#include <QFontDatabase>
#include <QHeaderView>
#include <QKeyEvent>
#include <QMainWindow>
#include <QMenu>
#include <QMouseEvent>
#include <QPainter>
#include <QPixmap>
#include <QPropertyAnimation>
#include <QScreen>
#include <QSystemTrayIcon>

namespace {
const QString taskListsKey = QStringLiteral("TaskLists");
const QString noteWhenOn = QStringLiteral(
    "Note: To add files, drag & drop them on the table above. Double-click to open a task list.");
const QString noteWhenOff =
    QStringLiteral("Note: Click the big ON/OFF switch to activate Dotwise.");
const QString didCreateExampleDataKey = QStringLiteral("DidCreateExampleData");
// Menu badges are the same picture for the same count; beyond this many
// distinct counts the cache starts afresh.
constexpr int menuBadgeCacheLimit = 256;
// Least time between two refreshes while badge updates are still queued.
constexpr qint64 refreshInterval = 200;
// Longest wait for the window's first paint before the status menu is built.
constexpr int firstMenuDelay = 250;
} // namespace

// ---------------------------------------------------------------------------
// Start-up, persistence and shutdown

DotwiseAppDelegate::DotwiseAppDelegate(Services services, QObject* parent)
    : QObject(parent), _workspace(services.workspace),
      _terminateHandler(std::move(services.terminate)) {
    Q_ASSERT(_workspace);
    Q_ASSERT(services.fileWatcher);
    Q_ASSERT(services.launchAtLoginController);

    _fileWatcher = std::move(services.fileWatcher);
    DWFileWatcherDelegate watcherDelegate;
    watcherDelegate.fileModifiedAtPath = [this](const QString& path) { fileModifiedAtPath(path); };
    watcherDelegate.fileDeletedAtPath = [this](const QString& path) { fileDeletedAtPath(path); };
    _fileWatcher->setDelegate(watcherDelegate);

    // One worker, so that badge updates run one after another in queue order.
    _backgroundQueue = std::make_unique<DWSerialQueue>(QStringLiteral("Dotwise badges"));
    _refreshTimer.setSingleShot(true);
    connect(&_refreshTimer, &QTimer::timeout, this, &DotwiseAppDelegate::_refreshAfterBadgeUpdates);

    _launchAtLoginController = std::move(services.launchAtLoginController);
    // Badging starts switched on exactly when Dotwise is set to start at login.
    _isDotwiseEnabled = _launchAtLoginController->launchAtLogin();

    _loadInterface();
    awakeFromNib();
}

DotwiseAppDelegate::~DotwiseAppDelegate() {
    // A running update refers to this controller: let it finish before anything
    // it uses goes away. Its queued follow-up dies with this object.
    _backgroundQueue->cancelAllOperations();
    _backgroundQueue->waitUntilAllOperationsAreFinished();
    _fileWatcher.reset();
    _backgroundQueue.reset();
    _taskLists.clear();
    if (_styleAlert)
        _styleAlert.release()->deleteLater();
    delete _statusMenuItem;
    _statusMenuItem = nullptr;
    delete _statusMenu;
    _statusMenu = nullptr;
    _launchAtLoginController.reset();
    // The window goes first, while the outlets it reports to are still here,
    // and no longer reports to this controller while it is taken apart.
    if (_mainWindow) {
        _mainWindow->removeEventFilter(this);
        _ui->taskListsTableView->removeEventFilter(this);
        _ui->taskListsTableView->viewport()->removeEventFilter(this);
        _mainWindow.reset();
    }
}

void DotwiseAppDelegate::_loadInterface() {
    _mainWindow = std::make_unique<QMainWindow>();
    _ui = std::make_unique<Ui::DWMainWindow>();
    _ui->setupUi(_mainWindow.get());
    _mainWindow->installEventFilter(this);
    // The switch's knob is drawn by its style sheet, which says nothing when
    // the picture fails.
    DWNamedImage::picturesThatDoNotLoad(_ui->onOffButton->styleSheet());

    // The note comes and goes with the switch; the header keeps its height.
    QSizePolicy notePolicy = _ui->launchAtLoginNote->sizePolicy();
    notePolicy.setRetainSizeWhenHidden(true);
    _ui->launchAtLoginNote->setSizePolicy(notePolicy);
    // The note under the table takes one line when off and may wrap to two
    // when on: room for two keeps the table from jumping at each switch.
    _ui->noteLabel->setMinimumHeight(2 * _ui->noteLabel->fontMetrics().lineSpacing());
    _ui->noteLabel->setAlignment(Qt::AlignLeft | Qt::AlignTop);

    _taskListsModel = new DWTaskListTableModel(*this, this);
    QTableView* table = _ui->taskListsTableView;
    table->setModel(_taskListsModel);
    table->horizontalHeader()->setSectionResizeMode(DWTaskListTableModel::LabelColumn,
                                                    QHeaderView::Stretch);
    table->horizontalHeader()->setSectionResizeMode(DWTaskListTableModel::OpenTasksColumn,
                                                    QHeaderView::ResizeToContents);

    // Kept here between questions; each style question borrows it.
    _styleExamplesView = _makeStyleExamplesView();

    _abViewController = std::make_unique<ABViewSelectingController>();

    connect(_ui->onOffButton, &QPushButton::clicked, this,
            [this] { onOffButtonAction(_ui->onOffButton); });
    connect(_ui->hideOrQuitButton, &QPushButton::clicked, this,
            [this] { hideOrQuitButtonAction(_ui->hideOrQuitButton); });
}

void DotwiseAppDelegate::awakeFromNib() {
    // No update framework is bundled on Linux (packages update the app); the
    // updater of ours is created and kept, and stays idle.
    _updater = new DWSoftwareUpdater(this);

    _ui->shortVersion->setText(
        QStringLiteral("v%1").arg(LWBundle::mainBundle().shortVersionString()));

    // The first switching builds the status menu and with it the tray item; the
    // list is still empty, so no badge work follows.
    _ui->onOffButton->setChecked(_isDotwiseEnabled);
    onOffButtonAction(nullptr);

    if (QWidget* promotion = _abViewController->view()) {
        _ui->abViewPlaceholder->layout()->addWidget(promotion);
        if (QAbstractButton* button = _abViewController->button())
            connect(button, &QAbstractButton::clicked, this,
                    [this, button] { visitWrenfield(button); });
    }
}

void DotwiseAppDelegate::applicationDidFinishLaunching() {
    _restoreTaskLists();

    // Files dragged onto the table; drags of anything else are not offered.
    QTableView* table = _ui->taskListsTableView;
    new DWTableDropTarget(
        table,
        [this](const QMimeData* data, Qt::DropActions operations) {
            return validateDrop(data, operations);
        },
        [this](const QMimeData* data, Qt::DropActions operations) {
            return acceptDrop(data, operations);
        });
    // Keys the table leaves alone (Delete, Backspace, Return) come here, from
    // the table and from anything else in the window; double-clicks too.
    table->installEventFilter(this);
    table->viewport()->installEventFilter(this);

    // The window floats above others, centred on its screen, in front.
    _mainWindow->setWindowFlag(Qt::WindowStaysOnTopHint, true);
    if (QScreen* screen = _mainWindow->screen()) {
        QRect frame = _mainWindow->frameGeometry();
        frame.moveCenter(screen->availableGeometry().center());
        _mainWindow->move(frame.topLeft());
    }
    _mainWindow->show();
    _mainWindow->raise();
    _mainWindow->activateWindow();

    // The status menu is built once the window has been painted: with
    // thousands of task lists the menu takes longer to fill than the window to
    // show, and the window is what the user waits for. A window that does not
    // paint (minimised, no screen) still gets its menu a moment later.
    _statusMenuAwaitsPaint = true;
    _refreshTimer.start(firstMenuDelay);
    setUpExampleTasksIfNeeded();
}

void DotwiseAppDelegate::_restoreTaskLists() {
    LWPreferences preferences = LWPreferences::standard();
    if (!preferences.contains(taskListsKey))
        return;
    const QByteArray archive = preferences.dataForKey(taskListsKey);
    std::optional<QList<TaskListPointer>> decoded = DWTaskList::unarchiveTaskLists(archive);
    if (!decoded) {
        // The damaged value stays where it is (it may be someone's only copy)
        // until the list is next saved.
        LW_LOG(1, "-[DotwiseAppDelegate applicationDidFinishLaunching:]",
               QStringLiteral("Could not read the saved task lists (%1 bytes); starting with "
                              "an empty list")
                   .arg(archive.size()));
        return;
    }

    QList<TaskListPointer> missing;
    QSet<QString> seen; // a damaged list could name a file twice
    seen.reserve(decoded->size());
    _taskLists.reserve(decoded->size());
    for (const TaskListPointer& taskList : std::as_const(*decoded)) {
        if (!taskList || taskList->path().isEmpty() || seen.contains(taskList->path()))
            continue;
        seen.insert(taskList->path());
        if (!QFileInfo::exists(taskList->path())) {
            missing.append(taskList);
            continue;
        }
        _taskLists.append(taskList);
        if (_isDotwiseEnabled)
            _allowBadge(taskList.get());
        updateBadgeAsync(taskList, false);
        _fileWatcher->startWatchingFile(taskList->path());
    }
    // What removeTaskListFromWatchList() does for each missing file, with one
    // save for all of them rather than one each: saving thousands of task
    // lists once per missing file would keep the window from showing for
    // seconds. The table and the menu are filled once the window shows.
    for (const TaskListPointer& taskList : std::as_const(missing)) {
        LW_LOG(3, "-[DotwiseAppDelegate applicationDidFinishLaunching:]",
               QStringLiteral("Removing file from watchlist, because it doesn't exist anymore: %1")
                   .arg(taskList->path()));
        _fileWatcher->stopWatchingFile(taskList->path());
        setIcon(LWIconImage(), taskList->path(), false);
    }
    if (!missing.isEmpty())
        saveTaskLists();
    reloadTable();
}

bool DotwiseAppDelegate::applicationShouldHandleReopen() {
    _mainWindow->show();
    _mainWindow->raise();
    _mainWindow->activateWindow();
    return false;
}

bool DotwiseAppDelegate::applicationShouldTerminateAfterLastWindowClosed() const {
    return !_isDotwiseEnabled;
}

void DotwiseAppDelegate::applicationWillTerminate() {
    _fileWatcher->shutdown();
}

void DotwiseAppDelegate::saveTaskLists() {
    LWPreferences::standard().setObject(taskListsKey, DWTaskList::archiveTaskLists(_taskLists));
}

void DotwiseAppDelegate::setTaskLists(QList<TaskListPointer> taskLists) {
    _forbidAllBadges();
    _taskLists = std::move(taskLists);
    if (_isDotwiseEnabled) {
        for (const TaskListPointer& taskList : std::as_const(_taskLists))
            _allowBadge(taskList.get());
    }
}

void DotwiseAppDelegate::setLaunchAtLoginController(
    std::unique_ptr<LaunchAtLoginController> controller) {
    _launchAtLoginController = std::move(controller);
}

bool DotwiseAppDelegate::eventFilter(QObject* watched, QEvent* event) {
    QTableView* table = _ui ? _ui->taskListsTableView : nullptr;
    if (event->type() == QEvent::KeyPress &&
        (watched == _mainWindow.get() || (table && watched == table))) {
        if (_handleKeyPress(static_cast<QKeyEvent*>(event)))
            return true;
    }
    if (table && watched == table->viewport() && event->type() == QEvent::MouseButtonDblClick) {
        const auto* click = static_cast<QMouseEvent*>(event);
        if (click->button() == Qt::LeftButton) {
            _clickedRow = table->rowAt(int(click->position().y()));
            taskDoubleClickAction(table);
        }
        return false; // the table still selects the row
    }
    if (watched == _mainWindow.get() && event->type() == QEvent::Paint && _statusMenuAwaitsPaint) {
        // Right after this paint has reached the screen.
        _statusMenuAwaitsPaint = false;
        _refreshTimer.start(0);
    }
    if (watched == _mainWindow.get() && event->type() == QEvent::Close) {
        // Decided after the close went through, as the platform asks once the
        // last window is gone.
        QMetaObject::invokeMethod(
            this,
            [this] {
                if (!_mainWindow->isVisible() && applicationShouldTerminateAfterLastWindowClosed())
                    _terminate();
            },
            Qt::QueuedConnection);
    }
    return QObject::eventFilter(watched, event);
}

void DotwiseAppDelegate::_terminate() {
    if (_terminateHandler)
        _terminateHandler();
    else
        QCoreApplication::quit();
}

// ---------------------------------------------------------------------------
// Outlets

QWidget* DotwiseAppDelegate::abViewPlaceholder() const {
    return _ui->abViewPlaceholder;
}
QLabel* DotwiseAppDelegate::shortVersion() const {
    return _ui->shortVersion;
}
QLabel* DotwiseAppDelegate::topLabel() const {
    return _ui->topLabel;
}
QLabel* DotwiseAppDelegate::noteLabel() const {
    return _ui->noteLabel;
}
QTableView* DotwiseAppDelegate::taskListsTableView() const {
    return _ui->taskListsTableView;
}
QAbstractScrollArea* DotwiseAppDelegate::scrollView() const {
    return _ui->taskListsTableView;
}
QPushButton* DotwiseAppDelegate::hideOrQuitButton() const {
    return _ui->hideOrQuitButton;
}
QPushButton* DotwiseAppDelegate::onOffButton() const {
    return _ui->onOffButton;
}
QWidget* DotwiseAppDelegate::onOffSwitchView() const {
    return _ui->onOffSwitchView;
}
QLabel* DotwiseAppDelegate::launchAtLoginNote() const {
    return _ui->launchAtLoginNote;
}

// ---------------------------------------------------------------------------
// Watch list

void DotwiseAppDelegate::addFileToWatchList(const QString& path) {
    if (QFileInfo(path).suffix().toLower() == QLatin1String("txt")) {
        // Plain .txt files come in two styles that look alike; ask.
        _waitingStyleQuestions.push_back(path);
        if (!_styleAlert)
            _askNextStyleQuestion();
        return;
    }
    addFileToWatchList(path, DWTaskRuleSet::bestMatchFor(path));
}

void DotwiseAppDelegate::_askNextStyleQuestion() {
    if (_styleAlert || _waitingStyleQuestions.empty())
        return;
    _styleAlertPath = _waitingStyleQuestions.front();
    _waitingStyleQuestions.pop_front();

    _styleAlert = LWAlert::alertWithMessageText(
        QStringLiteral("Which task style would you like to use for %1?")
            .arg(QFileInfo(_styleAlertPath).fileName()),
        QStringLiteral("Style B"), QStringLiteral("Style A"), QString(), QStringLiteral(""));
    if (!_styleExamplesView) // an alert went away with it
        _styleExamplesView = _makeStyleExamplesView();
    _styleExamplesView->show();
    _styleAlert->setAccessoryView(_styleExamplesView);
    LWAlert* alert = _styleAlert.get();
    const QString path = _styleAlertPath;
    alert->beginSheetModalForWindow(_mainWindow.get(), [this, alert, path](int returnCode) {
        styleAlertDidEnd(alert, returnCode, path);
    });
}

void DotwiseAppDelegate::styleAlertDidEnd(LWAlert* alert, int returnCode, const QString& path) {
    std::shared_ptr<DWTaskRuleSet> ruleSet = returnCode == 1
                                                 ? DWTaskRuleSet::squareBracketStyleRuleSet()
                                                 : DWTaskRuleSet::todotxtRuleSet();
    if (_styleAlert && _styleAlert.get() == alert) {
        // Take the examples back before the alert goes, so the next question
        // can show them again.
        if (QWidget* examples = _styleAlert->takeAccessoryView()) {
            examples->hide();
            examples->setParent(_mainWindow.get(), Qt::Widget);
            _styleExamplesView = examples;
        }
        // The alert is still in its own callback: delete it once that returns.
        _styleAlert.release()->deleteLater();
        _styleAlertPath.clear();
    }
    addFileToWatchList(path, std::move(ruleSet));
    _askNextStyleQuestion();
}

QWidget* DotwiseAppDelegate::_makeStyleExamplesView() {
    auto* view = new QWidget(_mainWindow.get(), Qt::Widget);
    Ui::DWStyleExamplesView examples;
    examples.setupUi(view);
    const QFont fixed = QFontDatabase::systemFont(QFontDatabase::FixedFont);
    examples.styleAExample->setFont(fixed);
    examples.styleBExample->setFont(fixed);
    view->hide();
    return view;
}

QStringList DotwiseAppDelegate::pendingStyleQuestions() const {
    QStringList paths;
    if (_styleAlert)
        paths.append(_styleAlertPath);
    for (const QString& path : _waitingStyleQuestions)
        paths.append(path);
    return paths;
}

void DotwiseAppDelegate::addFileToWatchList(const QString& path,
                                            std::shared_ptr<DWTaskRuleSet> ruleSet) {
    auto taskList = std::make_shared<DWTaskList>();
    taskList->setPath(path);
    taskList->setRuleSet(std::move(ruleSet));
    if (taskListForFile(path)) {
        LW_LOG(3, "-[DotwiseAppDelegate addFileToWatchList:ruleSet:]",
               QStringLiteral("Won't add file again: %1").arg(path));
        return;
    }
    _taskLists.append(taskList);
    if (_isDotwiseEnabled)
        _allowBadge(taskList.get());
    reloadTable();
    saveTaskLists();
    updateBadgeAsync(taskList, false);
    _fileWatcher->startWatchingFile(path);
    _updateStatusMenu();
}

void DotwiseAppDelegate::removeTaskListFromWatchList(TaskListPointer taskList) {
    if (!taskList)
        return;
    // `taskList` keeps it alive even when the list held the last reference.
    const QString path = taskList->path();
    _fileWatcher->stopWatchingFile(path);
    for (qsizetype i = _taskLists.size() - 1; i >= 0; --i) {
        if (_taskLists.at(i)->path() == path) {
            _forbidBadge(_taskLists.at(i).get());
            _taskLists.removeAt(i);
        }
    }
    _forbidBadge(taskList.get());
    reloadTable();
    saveTaskLists();
    setIcon(LWIconImage(), path, false);
    _updateStatusMenu();
}

void DotwiseAppDelegate::fileModifiedAtPath(const QString& path) {
    if (!_isDotwiseEnabled)
        return;
    LW_LOG(3, "-[DotwiseAppDelegate fileModifiedAtPath:]",
           QStringLiteral("File modified: %1").arg(path));
    updateBadgeAsync(taskListForFile(path), true);
}

void DotwiseAppDelegate::fileDeletedAtPath(const QString& path) {
    LW_LOG(3, "-[DotwiseAppDelegate fileDeletedAtPath:]",
           QStringLiteral("File deleted: %1").arg(path));
    removeTaskListFromWatchList(taskListForFile(path));
}

DotwiseAppDelegate::TaskListPointer DotwiseAppDelegate::taskListForFile(const QString& path) const {
    for (const TaskListPointer& taskList : _taskLists) {
        if (taskList->path() == path)
            return taskList;
    }
    return nullptr;
}

// ---------------------------------------------------------------------------
// Badge pipeline and ON/OFF

void DotwiseAppDelegate::setIsDotwiseEnabled(bool enabled) {
    _isDotwiseEnabled = enabled;
    _ui->taskListsTableView->setEnabled(enabled);
    // A disabled label takes the disabled text colour of the current theme.
    _ui->noteLabel->setEnabled(enabled);
    _ui->topLabel->setEnabled(enabled);
    if (QLabel* label = _abViewController->label())
        label->setEnabled(enabled);
    if (QAbstractButton* button = _abViewController->button())
        button->setEnabled(enabled);
    _ui->launchAtLoginNote->setHidden(enabled);
    _updateStatusMenu();
    if (enabled) {
        _ui->hideOrQuitButton->setText(QStringLiteral("Hide"));
        for (const TaskListPointer& taskList : std::as_const(_taskLists))
            _allowBadge(taskList.get());
        _updateAllDotwise();
        _ui->noteLabel->setText(noteWhenOn);
    } else {
        _ui->hideOrQuitButton->setText(QStringLiteral("Quit"));
        _ui->noteLabel->setText(noteWhenOff);
        // From here on no update may leave a badge behind (see updateBadge).
        _forbidAllBadges();
        for (const TaskListPointer& taskList : std::as_const(_taskLists)) {
            taskList->clearOpenTasks();
            setIcon(LWIconImage(), taskList->path(), true);
        }
    }
    reloadTable();
}

void DotwiseAppDelegate::_updateAllDotwise() {
    for (const TaskListPointer& taskList : std::as_const(_taskLists))
        updateBadgeAsync(taskList, true);
}

void DotwiseAppDelegate::updateBadgeAsync(TaskListPointer taskList, bool concealModification) {
    if (!_isDotwiseEnabled)
        return;
    _backgroundQueue->addOperation([this, taskList = std::move(taskList), concealModification] {
        updateBadge(taskList, concealModification);
        _pendingFollowUps.fetch_add(1);
        QMetaObject::invokeMethod(
            this, [this, taskList] { _badgeUpdateDidFinish(taskList); }, Qt::QueuedConnection);
    });
}

void DotwiseAppDelegate::updateBadge(const TaskListPointer& taskList, bool concealModification) {
    if (!taskList) {
        LW_LOG(1, "-[DotwiseAppDelegate updateBadge:concealModification:]",
               QStringLiteral("Task list is nil! Won't update badge."));
        return;
    }
    // Switched off or removed while this update waited: it has nothing to do.
    if (!_mayBadge(taskList.get()))
        return;
    taskList->updateOpenTasks();
    const QString path = taskList->path();
    setIcon(LWIconImage(), path, true);
    const LWIconImage icon = _workspace->iconForFile(path);
    setIcon(DWBadgeImage::addBadgeTo(icon, taskList->openTasks()), path, concealModification);
    // Switched off or removed while this update ran: the main thread took its
    // badge off before this one was written, so take this one off too.
    if (!_mayBadge(taskList.get())) {
        setIcon(LWIconImage(), path, true);
        taskList->clearOpenTasks();
    }
}

void DotwiseAppDelegate::setIcon(const LWIconImage& icon, const QString& path,
                                 bool concealModification) {
    const std::optional<LWTimestamp> date = _workspace->contentModificationDate(path);
    _workspace->setIcon(icon, path);
    if (concealModification && date)
        _workspace->setContentModificationDate(path, *date);
}

void DotwiseAppDelegate::_badgeUpdateDidFinish(const TaskListPointer& taskList) {
    const bool lastOfBurst = _pendingFollowUps.fetch_sub(1) == 1;
    // When the worker is ahead of the main thread, the follow-ups already
    // queued behind this one will show a newer state: only the last one
    // refreshes. While many updates are still queued (switching on, or a start
    // with thousands of files), refreshes come at most every
    // refreshInterval, so that rebuilding a long menu does not take the main
    // thread from the user (the pause grows with the cost of a refresh, so
    // refreshing takes at most a fifth of the main thread); the update that
    // empties the queue always refreshes at once.
    if (lastOfBurst) {
        const qint64 interval = qMax(refreshInterval, 4 * _refreshCost);
        if (_backgroundQueue->operationCount() == 0 || !_lastRefresh.isValid() ||
            _lastRefresh.hasExpired(interval)) {
            _refreshAfterBadgeUpdates();
        } else if (!_refreshTimer.isActive()) {
            _refreshTimer.start(int(interval - _lastRefresh.elapsed()));
        }
    }
    emit badgeUpdateFinished(taskList ? taskList->path() : QString());
}

void DotwiseAppDelegate::_refreshAfterBadgeUpdates() {
    _refreshTimer.stop();
    _statusMenuAwaitsPaint = false;
    _lastRefresh.start();
    reloadTable();
    _updateStatusMenu();
    _refreshCost = _lastRefresh.elapsed();
}

void DotwiseAppDelegate::waitUntilBadgeUpdatesFinish() {
    _backgroundQueue->waitUntilAllOperationsAreFinished();
    QCoreApplication::sendPostedEvents(this, QEvent::MetaCall);
    if (_refreshTimer.isActive())
        _refreshAfterBadgeUpdates();
}

qsizetype DotwiseAppDelegate::queuedBadgeUpdates() const {
    return _backgroundQueue->operationCount();
}

void DotwiseAppDelegate::_allowBadge(const DWTaskList* taskList) {
    QMutexLocker locker(&_badgeableLock);
    _badgeable.insert(taskList);
}

void DotwiseAppDelegate::_forbidBadge(const DWTaskList* taskList) {
    QMutexLocker locker(&_badgeableLock);
    _badgeable.remove(taskList);
}

void DotwiseAppDelegate::_forbidAllBadges() {
    QMutexLocker locker(&_badgeableLock);
    _badgeable.clear();
}

bool DotwiseAppDelegate::_mayBadge(const DWTaskList* taskList) const {
    QMutexLocker locker(&_badgeableLock);
    return _badgeable.contains(taskList);
}

// ---------------------------------------------------------------------------
// Status menu and links

void DotwiseAppDelegate::_updateStatusMenu() {
    if (!_statusMenuItem) {
        _statusMenu = new QMenu(QStringLiteral("Dotwise Status Menu"));
        _statusMenuItem = new QSystemTrayIcon(_statusIconTemplate(), this);
        _statusMenuItem->setToolTip(QStringLiteral("Dotwise"));
        _statusMenuItem->setContextMenu(_statusMenu);
        // A click on the item opens the menu, as a right-click does.
        connect(_statusMenuItem, &QSystemTrayIcon::activated, this,
                [this](QSystemTrayIcon::ActivationReason reason) {
                    if (reason == QSystemTrayIcon::Trigger)
                        _statusMenu->popup(QCursor::pos());
                });
        // The fixed part: separator after the task lists (only when there
        // are some), "Show Dotwise Window", separator, "Make a Suggestion…".
        _taskListSeparator = new QAction(_statusMenu);
        _taskListSeparator->setSeparator(true);
        _showWindowItem = _statusMenu->addAction(QStringLiteral("Show Dotwise Window"));
        connect(_showWindowItem, &QAction::triggered, this,
                [this] { showDotwiseWindowAction(_showWindowItem); });
        _statusMenu->addSeparator();
        QAction* suggest = _statusMenu->addAction(QStringLiteral("Make a Suggestion\u2026"));
        connect(suggest, &QAction::triggered, this,
                [this, suggest] { makeSuggestionAction(suggest); });
        connect(_statusMenu, &QMenu::triggered, this, [this](QAction* item) {
            if (_taskListItems.contains(item))
                taskListMenuItemAction(item);
        });
        // Shown even without a tray: a panel that starts after Dotwise (as
        // at login) picks the item up then.
        _statusMenuItem->show();
        if (!QSystemTrayIcon::isSystemTrayAvailable()) {
            LW_LOG(2, "-[DotwiseAppDelegate _updateStatusMenu]",
                   QStringLiteral("No system tray available: the status menu is kept but not "
                                  "shown; start Dotwise again to bring its window back"));
        }
    }

    // The menu is worked out afresh from the task lists every time. Item
    // objects are reused where they stand, so a rebuild that changes little
    // costs little even with thousands of task lists (adding or removing menu
    // items one by one takes time in proportion to the menu's length).
    const qsizetype listed = _isDotwiseEnabled ? _taskLists.size() : 0;
    const bool separated = _statusMenu->actions().contains(_taskListSeparator);
    if (listed > 0 && !separated)
        _statusMenu->insertAction(_showWindowItem, _taskListSeparator);
    else if (listed == 0 && separated)
        _statusMenu->removeAction(_taskListSeparator);
    while (_taskListItems.size() > listed)
        delete _taskListItems.takeLast();
    while (_taskListItems.size() < listed) {
        auto* item = new QAction(_statusMenu);
        _statusMenu->insertAction(_taskListSeparator, item);
        _taskListItems.append(item);
    }
    for (qsizetype i = 0; i < listed; ++i) {
        const TaskListPointer& taskList = _taskLists.at(i);
        QAction* item = _taskListItems.at(i);
        const QString path = taskList->path();
        const QString title = QFileInfo(path).fileName();
        if (item->text() != title)
            item->setText(title);
        if (item->data().toString() != path)
            item->setData(path);
        const QIcon badge = _menuBadgeIcon(taskList->openTasks());
        if (item->icon().cacheKey() != badge.cacheKey())
            item->setIcon(badge);
    }
    emit statusMenuRebuilt();
}

QIcon DotwiseAppDelegate::_statusIconTemplate() {
    QIcon icon;
    for (const qreal ratio : {1.0, 2.0}) {
        const QImage artwork =
            DWNamedImage::imageNamed(QStringLiteral("StatusIconTemplate"), ratio);
        if (!artwork.isNull())
            icon.addPixmap(QPixmap::fromImage(DWNamedImage::panelImage(artwork)));
    }
    if (icon.isNull()) {
        // Without the artwork, a plain dot keeps the item usable.
        QPixmap dot(22, 22);
        dot.fill(Qt::transparent);
        QPainter painter(&dot);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(QPen(Qt::black, 1.5));
        painter.setBrush(QColor(242, 242, 242));
        painter.drawEllipse(QRectF(4, 4, 14, 14));
        painter.end();
        icon = QIcon(dot);
    }
    // Marked as a template for panels that do tint (the drawing keeps its
    // own light-on-dark look where they don't).
    icon.setIsMask(true);
    return icon;
}

QIcon DotwiseAppDelegate::_menuBadgeIcon(int openTasks) {
    auto cached = _menuBadgeIcons.constFind(openTasks);
    if (cached != _menuBadgeIcons.constEnd())
        return *cached;
    if (_menuBadgeIcons.size() >= menuBadgeCacheLimit)
        _menuBadgeIcons.clear();
    const DWBadgeImage badge(QSizeF(15, 15), openTasks, false);
    const QIcon icon(QPixmap::fromImage(badge.image()));
    _menuBadgeIcons.insert(openTasks, icon);
    return icon;
}

void DotwiseAppDelegate::taskListMenuItemAction(QAction* sender) {
    if (!sender)
        return;
    const QString path = sender->data().toString();
    if (path.isEmpty())
        return;
    _workspace->openFile(path);
}

void DotwiseAppDelegate::showDotwiseWindowAction(QObject*) {
    _mainWindow->show();
    _mainWindow->raise();
    _mainWindow->activateWindow();
}

QUrl DotwiseAppDelegate::suggestionMailUrl(const QString& supportAddress,
                                           const QString& shortVersion) {
    // Nothing is escaped: the version goes into the link as it is.
    const QString tag = QStringLiteral("%5B%1%2%5D").arg(QStringLiteral("WEB"), shortVersion);
    return QUrl(QStringLiteral("mailto:") + supportAddress +
                QStringLiteral("?subject=Dotwise%20suggestion%20") + tag);
}

QUrl DotwiseAppDelegate::webSiteUrl(const QString& webHost, const QString& variation) {
    return QUrl(QStringLiteral("http://") + webHost +
                QStringLiteral("/go/dwapp/?utm_source=DotwiseApp&utm_medium=dwapp&utm_term=%1&"
                               "utm_content=%2&utm_campaign=FromDotwise")
                    .arg(QStringLiteral("web"), variation));
}

void DotwiseAppDelegate::makeSuggestionAction(QObject*) {
    const LWBundle& bundle = LWBundle::mainBundle();
    const QString address =
        bundle.objectForInfoDictionaryKey(QStringLiteral("DWSupportAddress")).toString();
    const QUrl url = suggestionMailUrl(address, bundle.shortVersionString());
    if (url.isValid())
        _workspace->openUrl(url);
}

void DotwiseAppDelegate::visitWrenfield(QObject*) {
    const QString host =
        LWBundle::mainBundle().objectForInfoDictionaryKey(QStringLiteral("DWWebHost")).toString();
    const QUrl url = webSiteUrl(host, _abViewController->variation());
    if (url.isValid())
        _workspace->openUrl(url);
}

// ---------------------------------------------------------------------------
// Window controls

void DotwiseAppDelegate::onOffButtonAction(QObject* sender) {
    setIsDotwiseEnabled(_ui->onOffButton->isChecked());
    _placeOnOffKnob(sender != nullptr);
    if (sender)
        _launchAtLoginController->setLaunchAtLogin(_isDotwiseEnabled);
}

void DotwiseAppDelegate::_placeOnOffKnob(bool animated) {
    QPushButton* knob = _ui->onOffButton;
    QRect frame = knob->geometry();
    const int x = _isDotwiseEnabled ? 0 : _ui->onOffSwitchView->width() - frame.width();
    frame.moveLeft(x);
    if (!animated) {
        knob->setGeometry(frame);
        return;
    }
    auto* animation = new QPropertyAnimation(knob, "geometry", knob);
    animation->setDuration(250);
    animation->setEndValue(frame);
    animation->start(QAbstractAnimation::DeleteWhenStopped);
}

void DotwiseAppDelegate::hideOrQuitButtonAction(QObject*) {
    if (_isDotwiseEnabled)
        _mainWindow->hide();
    else
        _terminate();
}

void DotwiseAppDelegate::reloadTable() {
    _taskListsModel->reloadData();
}

// ---------------------------------------------------------------------------
// Task-list table

Qt::DropAction DotwiseAppDelegate::validateDrop(const QMimeData*, Qt::DropActions) const {
    return _isDotwiseEnabled ? Qt::CopyAction : Qt::IgnoreAction;
}

bool DotwiseAppDelegate::acceptDrop(const QMimeData* data, Qt::DropActions sourceOperations) {
    if (!(sourceOperations & Qt::CopyAction))
        return false;
    bool accepted = false;
    for (const QString& path : DWTableDropTarget::filePaths(data)) {
        // A folder is never a task list, whatever its name says.
        if (QFileInfo(path).isDir() || !_workspace->isTextFile(path))
            continue;
        LW_LOG(3, "-[DotwiseAppDelegate tableView:acceptDrop:row:dropOperation:]",
               QStringLiteral("Dropped plain text file: %1").arg(path));
        addFileToWatchList(path);
        accepted = true;
    }
    return accepted;
}

bool DotwiseAppDelegate::_handleKeyPress(QKeyEvent* event) {
    if (event->modifiers() & ~(Qt::KeypadModifier | Qt::ShiftModifier))
        return false;
    switch (event->key()) {
    case Qt::Key_Backspace:
        deleteBackward(_mainWindow.get());
        return true;
    case Qt::Key_Delete:
        deleteForward(_mainWindow.get());
        return true;
    case Qt::Key_Return:
    case Qt::Key_Enter:
        // Hide/Quit is the window's default button.
        if (_ui->hideOrQuitButton->isEnabled() && _ui->hideOrQuitButton->isVisible()) {
            _ui->hideOrQuitButton->animateClick();
            return true;
        }
        return false;
    default:
        return false;
    }
}

void DotwiseAppDelegate::deleteBackward(QObject*) {
    _removeSelectedTaskList();
}

void DotwiseAppDelegate::deleteForward(QObject*) {
    _removeSelectedTaskList();
}

void DotwiseAppDelegate::_removeSelectedTaskList() {
    if (!_isDotwiseEnabled)
        return;
    const QModelIndexList rows = _ui->taskListsTableView->selectionModel()
                                     ? _ui->taskListsTableView->selectionModel()->selectedRows()
                                     : QModelIndexList();
    if (rows.isEmpty())
        return;
    const int row = rows.first().row();
    if (row < 0 || row >= _taskLists.size())
        return;
    removeTaskListFromWatchList(_taskLists.at(row));
}

void DotwiseAppDelegate::taskDoubleClickAction(QObject*) {
    const int row = _clickedRow;
    if (row < 0 || row >= _taskLists.size())
        return;
    _workspace->openFile(_taskLists.at(row)->path());
}

// ---------------------------------------------------------------------------
// First-run example task lists

void DotwiseAppDelegate::setUpExampleTasksIfNeeded() {
    LWPreferences preferences = LWPreferences::standard();
    if (preferences.boolForKey(didCreateExampleDataKey))
        return;
    // Stored before anything is shown: the offer is made once, whatever the
    // user then does with it (even quitting while it is on screen).
    preferences.setBool(didCreateExampleDataKey, true);
    preferences.synchronize();

    std::unique_ptr<LWAlert> alert = LWAlert::alertWithMessageText(
        QStringLiteral("To get started, please select a folder for the two example task lists."),
        QStringLiteral("Select Folder"), QString(), QString(),
        QStringLiteral("Hint: The desktop will work just fine."));
    lw::beginSheetModalForWindow(
        std::move(alert), _mainWindow.get(),
        [this](LWAlert& ended, int returnCode) { _welcomeAlertDidEnd(ended, returnCode); });
}

void DotwiseAppDelegate::_welcomeAlertDidEnd(LWAlert& alert, int) {
    // The sheet would otherwise stay up until its callback has returned.
    alert.orderOut();
    DWExampleFiles::openFolderChooser(_mainWindow.get(), [this](const QString& folder) {
        makeExampleFile(QStringLiteral("Example Task List.txt"), folder,
                        DWTaskRuleSet::squareBracketStyleRuleSet());
        makeExampleFile(QStringLiteral("Example Task List.taskpaper"), folder,
                        DWTaskRuleSet::taskPaperRuleSet());
    });
}

void DotwiseAppDelegate::makeExampleFile(const QString& fileName, const QString& directory,
                                         std::shared_ptr<DWTaskRuleSet> rules) {
    // Nothing is made, and nothing watched, where an item of that name exists
    // already; a missing resource or a failed write makes nothing either.
    const QString path = DWExampleFiles::writeExampleFile(fileName, directory);
    if (path.isEmpty())
        return;
    LW_LOG(3, "-[DotwiseAppDelegate makeExampleFile:inDirectory:rules:]",
           QStringLiteral("Created example file: %1").arg(fileName));
    addFileToWatchList(path, std::move(rules));
}
