#include "controller/DotwiseAppDelegate.h"

#include "controller/DWConfigViewController.h"
#include "controller/DWSerialQueue.h"
#include "controller/DWSoftwareUpdater.h"
#include "controller/DWTableDropTarget.h"
#include "controller/DWTaskListTableModel.h"
#include "foundation/LWBundle.h"
#include "foundation/LWPreferences.h"
#include "logging/LWLogger.h"
#include "model/DWTaskList.h"
#include "monitoring/DWFileWatcher.h"
#include "platform/LaunchAtLoginController.h"
#include "ui/LWAlert.h"
#include "ui_DWMainWindow.h"
#include "views/ABViewSelectingController.h"
#include "views/DWNamedImage.h"
#include "views/DWTextContrast.h"

#include <QApplication>
#include <QDateTime>
#include <QDir>
#include <QFileInfo>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLabel>
#include <QMainWindow>
#include <QMenu>
#include <QMouseEvent>
#include <QPushButton>
#include <QSaveFile>
#include <QScreen>
#include <QSystemTrayIcon>
#include <QTableView>

namespace {
const QString taskListsKey = QStringLiteral("TaskLists");
// Longest wait for the window's first paint before the status menu is built.
constexpr int firstMenuDelay = 250;
// Longest wait at quitting for a badge write that has started.
constexpr std::chrono::seconds quitWaitForWorker{5};
} // namespace

// ---------------------------------------------------------------------------
// Start-up, persistence and shutdown

DotwiseAppDelegate::DotwiseAppDelegate(Services services, QObject* parent)
    : QObject(parent), _workspace(services.workspace), _fileEmblems(services.fileEmblems),
      _emblemTheme(services.emblemTheme),
      _badgeMode(_fileEmblems && _emblemTheme ? services.badgeMode : DWBadgeMode::Picture),
      _terminateHandler(std::move(services.terminate)),
      _systemTrayAvailable(std::move(services.isSystemTrayAvailable)) {
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
    // Switched-off texts stay readable wherever they stand: on the window,
    // the header's speckle and the promotion's green panel, which take up
    // to a third off the contrast against the window colour, hence the room.
    // Application-wide, because widgets with a style sheet go back to the
    // palette they started with when they are disabled.
    QApplication::setPalette(
        DWTextContrast::withReadableDisabledText(QApplication::palette(), 7.0));
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
    // A list added below the visible rows comes into view; the first filling
    // at start-up leaves the table at its top.
    connect(_taskListsModel, &QAbstractItemModel::rowsInserted, table,
            [this, table](const QModelIndex&, int first, int last) {
                if (first > 0)
                    table->scrollTo(_taskListsModel->index(last, 0));
            });

    // Kept here between questions; each style question borrows it.
    _styleExamplesView = _makeStyleExamplesView();

    _abViewController = std::make_unique<ABViewSelectingController>();
    _configViewController = std::make_unique<DWConfigViewController>();

    connect(_ui->onOffButton, &QPushButton::clicked, this,
            [this] { onOffButtonAction(_ui->onOffButton); });
    connect(_ui->hideOrQuitButton, &QPushButton::clicked, this,
            [this] { hideOrQuitButtonAction(_ui->hideOrQuitButton); });
}

void DotwiseAppDelegate::awakeFromNib() {
    // No update framework is bundled on Linux (packages update the app); the
    // updater of ours is created and kept, and stays idle.
    _updater = new DWSoftwareUpdater(this);

    // Opening a row follows the desktop's activation: a double or single
    // click, as the style says, and Enter.
    connect(_ui->taskListsTableView, &QAbstractItemView::activated, this,
            [this](const QModelIndex& index) {
                _clickedRow = index.row();
                taskDoubleClickAction(_ui->taskListsTableView);
            });

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
    _statusMenuAwaitsPaint = true;
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
    // the table and from anything else in the window; so do double-clicks on
    // the table while it is switched off.
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
        LW_LOG(1, "-[DotwiseAppDelegate applicationDidFinishLaunching:]",
               QStringLiteral("Could not read the saved task lists (%1 bytes); starting with "
                              "an empty list")
                   .arg(archive.size()));
        // The next save overwrites the value, and it may be someone's only copy.
        _keepDamagedTaskLists(archive);
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
        else
            // Switched off outside Dotwise (autostart turned off in the
            // desktop's settings): the badges of the last session come off.
            _removeBadgeAsync(taskList->path());
        updateBadgeAsync(taskList, false);
        _fileWatcher->startWatchingFile(taskList->path());
    }
    // One save for all the missing files: saving thousands of task lists once
    // per missing file would keep the window from showing for seconds. The
    // table and the menu are filled once the window shows.
    _batchWatchListChanges([&] {
        for (const TaskListPointer& taskList : std::as_const(missing)) {
            LW_LOG(
                3, "-[DotwiseAppDelegate applicationDidFinishLaunching:]",
                QStringLiteral("Removing file from watchlist, because it doesn't exist anymore: %1")
                    .arg(taskList->path()));
            removeTaskListFromWatchList(taskList);
        }
    });
    reloadTable();
}

void DotwiseAppDelegate::_keepDamagedTaskLists(const QByteArray& archive) {
    const QFileInfo preferences(LWPreferences::standard().fileName());
    const QString copy = preferences.absoluteDir().filePath(
        QStringLiteral("TaskLists-damaged-%1.archive")
            .arg(QDateTime::currentDateTime().toString(QStringLiteral("yyyyMMdd-HHmmss-zzz"))));
    QSaveFile file(copy);
    if (QDir().mkpath(preferences.absolutePath()) && file.open(QIODevice::WriteOnly) &&
        file.write(archive) == archive.size() && file.commit())
        LW_LOG(1, "-[DotwiseAppDelegate applicationDidFinishLaunching:]",
               QStringLiteral("Kept a copy of the unreadable task lists in %1").arg(copy));
    else
        LW_LOG(1, "-[DotwiseAppDelegate applicationDidFinishLaunching:]",
               QStringLiteral("Could not keep a copy of the unreadable task lists in %1: %2")
                   .arg(copy, file.errorString()));
}

bool DotwiseAppDelegate::applicationShouldHandleReopen() {
    _bringWindowForward();
    return false;
}

bool DotwiseAppDelegate::applicationShouldTerminateAfterLastWindowClosed() const {
    return !_isDotwiseEnabled;
}

void DotwiseAppDelegate::applicationWillTerminate() {
    _fileWatcher->shutdown();
    // Badges still to be written are dropped; badges still to be taken off
    // (switched off, then Quit) are not. The wait ends only when a job stops
    // making progress.
    _quitting = true;
    for (quint64 finished = _finishedBadgeJobs;;) {
        if (_backgroundQueue->waitUntilAllOperationsAreFinished(quitWaitForWorker))
            return;
        if (_finishedBadgeJobs == finished)
            break;
        finished = _finishedBadgeJobs;
    }
    // The running job uses this controller, which can't go away under it.
    LW_LOG(1, "-[DotwiseAppDelegate applicationWillTerminate:]",
           QStringLiteral("A badge write has not returned after %1 s; quitting without it")
               .arg(quitWaitForWorker.count()));
    LWPreferences::standard().synchronize();
    std::_Exit(0);
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

void DotwiseAppDelegate::setStatusMenuItem(QSystemTrayIcon* item) {
    if (item == _statusMenuItem)
        return;
    delete _statusMenuItem;
    _statusMenuItem = item;
}

void DotwiseAppDelegate::setLaunchAtLoginController(
    std::unique_ptr<LaunchAtLoginController> controller) {
    _launchAtLoginController = std::move(controller);
}

bool DotwiseAppDelegate::eventFilter(QObject* watched, QEvent* event) {
    QTableView* table = _ui ? _ui->taskListsTableView : nullptr;
    if (event->type() == QEvent::KeyPress &&
        (watched == _mainWindow.get() || (table && watched == table))) {
        if (_handleKeyPress(watched, static_cast<QKeyEvent*>(event)))
            return true;
    }
    // Switched off, the table takes no input and activates nothing, yet its
    // lists still open.
    if (table && watched == table->viewport() && !table->isEnabled() &&
        event->type() == QEvent::MouseButtonDblClick) {
        const auto* click = static_cast<QMouseEvent*>(event);
        if (click->button() == Qt::LeftButton) {
            _clickedRow = table->rowAt(int(click->position().y()));
            taskDoubleClickAction(table);
        }
    }
    if (watched == _mainWindow.get() && event->type() == QEvent::Paint && _statusMenuAwaitsPaint) {
        // Right after this paint has reached the screen.
        _statusMenuAwaitsPaint = false;
        _refreshTimer.start(0);
    }
    if (watched == _mainWindow.get() && event->type() == QEvent::Close && _isDotwiseEnabled &&
        !_isSystemTrayAvailable()) {
        // Nothing would bring a hidden window back: it stays, minimised.
        event->ignore();
        _putWindowAway();
        return true;
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
