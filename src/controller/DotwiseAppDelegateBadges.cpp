#include "controller/DWSerialQueue.h"
#include "controller/DotwiseAppDelegate.h"
#include "logging/LWLogger.h"
#include "model/DWTaskList.h"
#include "platform/DWEmblemTheme.h"
#include "platform/DWFileEmblems.h"
#include "ui/LWWorkspace.h"
#include "ui_DWMainWindow.h"
#include "views/ABViewSelectingController.h"
#include "views/DWBadgeImage.h"

#include <QApplication>
#include <QLabel>
#include <QPushButton>
#include <QTableView>
#include <QTimer>

namespace {
const char* const noteWhenOn = QT_TRANSLATE_NOOP(
    "DotwiseAppDelegate",
    "Note: To add files, drag & drop them on the table above. Double-click to open a task list.");
const char* const noteWhenOff = QT_TRANSLATE_NOOP(
    "DotwiseAppDelegate", "Note: Click the big ON/OFF switch to activate Dotwise.");
// Least time between two refreshes while badge updates are still queued.
constexpr qint64 refreshInterval = 200;
// Common counts' emblems drawn per worker job.
constexpr int emblemsPerJob = 10;
// GTK file managers look for new icons in the theme at most every 5 s, and only
// while drawing: a file whose emblem was new to them is drawn again after that.
constexpr int newEmblemRedrawDelay = 6000;
} // namespace

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
        _ui->hideOrQuitButton->setText(tr("Hide"));
        for (const TaskListPointer& taskList : std::as_const(_taskLists))
            _allowBadge(taskList.get());
        _updateAllDotwise();
        if (_badgeMode == DWBadgeMode::Emblem)
            _prepareEmblems(0);
        _ui->noteLabel->setText(tr(noteWhenOn));
    } else {
        _ui->hideOrQuitButton->setText(tr("Quit"));
        _ui->noteLabel->setText(tr(noteWhenOff));
        // Updates still queued now write nothing (see updateBadge); the one
        // running may, and the removals queued behind it take its badge off.
        _forbidAllBadges();
        for (const TaskListPointer& taskList : std::as_const(_taskLists)) {
            taskList->clearOpenTasks();
            _removeBadgeAsync(taskList->path());
        }
    }
    reloadTable();
    emit dotwiseEnabledChanged(enabled);
}

void DotwiseAppDelegate::_updateAllDotwise() {
    for (const TaskListPointer& taskList : std::as_const(_taskLists))
        updateBadgeAsync(taskList, true);
}

void DotwiseAppDelegate::updateBadgeAsync(TaskListPointer taskList, bool concealModification) {
    if (!_isDotwiseEnabled)
        return;
    _backgroundQueue->addOperation([this, taskList = std::move(taskList), concealModification] {
        if (!_quitting) {
            updateBadge(taskList, concealModification);
            _pendingFollowUps.fetch_add(1);
            QMetaObject::invokeMethod(
                this, [this, taskList] { _badgeUpdateDidFinish(taskList); }, Qt::QueuedConnection);
        }
        ++_finishedBadgeJobs;
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
    _writeBadge(taskList->path(), taskList->openTasks(), concealModification);
    // Switched off or removed while this update ran: the removal queued behind
    // it takes the badge off; the count goes now.
    if (!_mayBadge(taskList.get()))
        taskList->clearOpenTasks();
}

void DotwiseAppDelegate::_writeBadge(const QString& path, int openTasks, bool concealModification) {
    if (_badgeMode == DWBadgeMode::Emblem) {
        _setEmblem(path, openTasks);
        return;
    }
    // An emblem may be left from a run in the other mode (asking costs no
    // write when there is none).
    if (_fileEmblems)
        _fileEmblems->replaceEmblem(path, DWEmblemTheme::kNamePrefix, QString());
    // The plain icon never includes the custom one, so the old badge needs no
    // removal first: one write replaces it.
    const LWIconImage icon = _workspace->iconForFile(path);
    setIcon(DWBadgeImage::addBadgeTo(icon, openTasks), path, concealModification);
}

void DotwiseAppDelegate::_removeBadge(const QString& path) {
    setIcon(LWIconImage(), path, false);
    if (_fileEmblems)
        _fileEmblems->replaceEmblem(path, DWEmblemTheme::kNamePrefix, QString());
}

void DotwiseAppDelegate::_setEmblem(const QString& path, int openTasks) {
    // A picture may be left from a run in the other mode.
    _workspace->setIcon(LWIconImage(), path);
    // A count whose emblem can't be drawn still gets its name: the file
    // manager shows nothing for it, which is better than a wrong count.
    const bool newEmblem = !_emblemTheme->isInstalled(openTasks);
    _emblemTheme->install(openTasks);
    _fileEmblems->replaceEmblem(path, DWEmblemTheme::kNamePrefix,
                                DWEmblemTheme::emblemName(openTasks));
    if (newEmblem) {
        QMetaObject::invokeMethod(
            this,
            [this, path] {
                QTimer::singleShot(newEmblemRedrawDelay, this, [this, path] {
                    if (TaskListPointer taskList = taskListForFile(path))
                        updateBadgeAsync(taskList, true);
                });
            },
            Qt::QueuedConnection);
    }
}

void DotwiseAppDelegate::_prepareEmblems(int from) {
    const int common = _emblemTheme->commonCounts();
    if (from >= common || !_isDotwiseEnabled)
        return;
    _backgroundQueue->addOperation([this, from, common] {
        if (!_quitting) {
            QList<int> counts;
            for (int n = from; n < qMin(from + emblemsPerJob, common); ++n)
                counts.append(n);
            _emblemTheme->install(counts);
            // The next few go behind whatever was queued meanwhile.
            QMetaObject::invokeMethod(
                this, [this, from] { _prepareEmblems(from + emblemsPerJob); },
                Qt::QueuedConnection);
        }
        ++_finishedBadgeJobs;
    });
}

void DotwiseAppDelegate::_removeBadgeAsync(const QString& path) {
    _backgroundQueue->addOperation([this, path] {
        _removeBadge(path);
        ++_finishedBadgeJobs;
    });
}

void DotwiseAppDelegate::setIcon(const LWIconImage& icon, const QString& path, bool) {
    _workspace->setIcon(icon, path);
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
