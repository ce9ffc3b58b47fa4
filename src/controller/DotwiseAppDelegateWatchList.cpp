#include "controller/DotwiseAppDelegate.h"
#include "logging/LWLogger.h"
#include "model/DWTaskList.h"
#include "model/DWTaskRuleSet.h"
#include "monitoring/DWFileWatcher.h"
#include "ui/LWAlert.h"
#include "ui_DWStyleExamplesView.h"

#include <QFileInfo>
#include <QFontDatabase>
#include <QMainWindow>

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

    _styleAlert =
        LWAlert::alertWithMessageText(tr("Which task style would you like to use for %1?")
                                          .arg(QFileInfo(_styleAlertPath).fileName()),
                                      tr("Style B"), tr("Style A"), QString(), QStringLiteral(""));
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
    updateBadgeAsync(taskList, false);
    _fileWatcher->startWatchingFile(path);
    _watchListDidChange();
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
    // On the worker: a hung mount or a busy metadata daemon must not freeze
    // the window, and an update of this file queued before runs first.
    _removeBadgeAsync(path);
    _watchListDidChange();
}

void DotwiseAppDelegate::_watchListDidChange() {
    if (_watchListBatchDepth > 0) {
        _watchListChangedInBatch = true;
        return;
    }
    reloadTable();
    saveTaskLists();
    // At start-up the menu is built once the window has painted.
    if (!_statusMenuAwaitsPaint)
        _updateStatusMenu();
}

void DotwiseAppDelegate::_batchWatchListChanges(const std::function<void()>& changes) {
    ++_watchListBatchDepth;
    changes();
    if (--_watchListBatchDepth > 0 || !_watchListChangedInBatch)
        return;
    _watchListChangedInBatch = false;
    _watchListDidChange();
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
