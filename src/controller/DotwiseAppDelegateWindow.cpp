#include "controller/DWTableDropTarget.h"
#include "controller/DWTaskListTableModel.h"
#include "controller/DotwiseAppDelegate.h"
#include "logging/LWLogger.h"
#include "model/DWTaskList.h"
#include "platform/LaunchAtLoginController.h"
#include "ui/LWWorkspace.h"
#include "ui_DWMainWindow.h"

#include <QFileInfo>
#include <QKeyEvent>
#include <QMainWindow>
#include <QPropertyAnimation>
#include <QPushButton>
#include <QSystemTrayIcon>
#include <QTableView>

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
        _putWindowAway();
    else
        _terminate();
}

bool DotwiseAppDelegate::_isSystemTrayAvailable() const {
    return _systemTrayAvailable ? _systemTrayAvailable() : QSystemTrayIcon::isSystemTrayAvailable();
}

void DotwiseAppDelegate::_putWindowAway() {
    // Asked now, not at start: a panel may have come or gone since.
    if (_isSystemTrayAvailable())
        _mainWindow->hide();
    else
        _mainWindow->showMinimized();
}

void DotwiseAppDelegate::_bringWindowForward() {
    _mainWindow->setWindowState(_mainWindow->windowState() & ~Qt::WindowMinimized);
    _mainWindow->show();
    _mainWindow->raise();
    _mainWindow->activateWindow();
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
    // One save, one table reload and one menu rebuild for the whole drop.
    _batchWatchListChanges([&] {
        for (const QString& path : DWTableDropTarget::filePaths(data)) {
            // A folder is never a task list, whatever its name says.
            if (QFileInfo(path).isDir() || !_workspace->isTextFile(path))
                continue;
            LW_LOG(3, "-[DotwiseAppDelegate tableView:acceptDrop:row:dropOperation:]",
                   QStringLiteral("Dropped plain text file: %1").arg(path));
            addFileToWatchList(path);
            accepted = true;
        }
    });
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
