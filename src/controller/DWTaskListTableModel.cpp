#include "controller/DWTaskListTableModel.h"

#include "controller/DotwiseAppDelegate.h"
#include "model/DWTaskList.h"

#include <QSet>

DWTaskListTableModel::DWTaskListTableModel(DotwiseAppDelegate& controller, QObject* parent)
    : QAbstractTableModel(parent), _controller(controller) {}

QString DWTaskListTableModel::columnIdentifier(int column) {
    switch (column) {
    case LabelColumn:
        return QStringLiteral("label");
    case OpenTasksColumn:
        return QStringLiteral("openTasks");
    default:
        return QString();
    }
}

int DWTaskListTableModel::columnForIdentifier(const QString& identifier) {
    for (int column = 0; column < ColumnCount; ++column) {
        if (columnIdentifier(column) == identifier)
            return column;
    }
    return -1;
}

QString DWTaskListTableModel::objectValue(const QString& identifier, int row) const {
    if (row < 0 || row >= _rows.size())
        return QString();
    const auto& taskList = _rows.at(row).taskList;
    if (identifier == QLatin1String("label"))
        return taskList->label();
    if (identifier == QLatin1String("openTasks")) {
        const int openTasks = taskList->openTasks();
        return openTasks == -1 ? tr("n/a") : QString::number(openTasks);
    }
    return QString();
}

int DWTaskListTableModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : int(_rows.size());
}

int DWTaskListTableModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : ColumnCount;
}

QVariant DWTaskListTableModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid())
        return QVariant();
    switch (role) {
    case Qt::DisplayRole:
        return objectValue(columnIdentifier(index.column()), index.row());
    case Qt::ToolTipRole:
        if (index.column() == LabelColumn && index.row() < _rows.size())
            return _rows.at(index.row()).taskList->path();
        return QVariant();
    case Qt::TextAlignmentRole:
        if (index.column() == OpenTasksColumn)
            return int(Qt::AlignRight | Qt::AlignVCenter);
        return QVariant();
    default:
        return QVariant();
    }
}

QVariant DWTaskListTableModel::headerData(int section, Qt::Orientation orientation,
                                          int role) const {
    if (orientation != Qt::Horizontal)
        return QVariant();
    if (role == Qt::DisplayRole) {
        if (section == LabelColumn)
            return tr("Task List");
        if (section == OpenTasksColumn)
            return tr("Open Tasks");
    }
    // Titles line up with their column's contents.
    if (role == Qt::TextAlignmentRole)
        return int((section == OpenTasksColumn ? Qt::AlignRight : Qt::AlignLeft) |
                   Qt::AlignVCenter);
    return QVariant();
}

void DWTaskListTableModel::reloadData() {
    const QList<std::shared_ptr<DWTaskList>>& taskLists = _controller.taskLists();
    _removeRowsMissingFrom(taskLists);
    if (!_keepsOrderOf(taskLists)) {
        // Not a change the watch list makes; start over.
        beginResetModel();
        _rows.clear();
        for (const auto& taskList : taskLists)
            _rows.append(Row{taskList, taskList->openTasks()});
        endResetModel();
        return;
    }
    // What is left is in the list's order: insert what is new between it,
    // and tell the view about counts that changed.
    int changedFirst = -1;
    int changedLast = -1;
    qsizetype row = 0;
    for (qsizetype index = 0; index < taskLists.size();) {
        if (row < _rows.size() && _rows.at(row).taskList == taskLists.at(index)) {
            Row& known = _rows[row];
            const int openTasks = known.taskList->openTasks();
            if (known.openTasks != openTasks) {
                known.openTasks = openTasks;
                if (changedFirst < 0)
                    changedFirst = int(row);
                changedLast = int(row);
            }
            ++row;
            ++index;
            continue;
        }
        qsizetype end = index;
        while (end < taskLists.size() &&
               (row >= _rows.size() || _rows.at(row).taskList != taskLists.at(end)))
            ++end;
        beginInsertRows(QModelIndex(), int(row), int(row + end - index - 1));
        for (; index < end; ++index, ++row)
            _rows.insert(row, Row{taskLists.at(index), taskLists.at(index)->openTasks()});
        endInsertRows();
    }
    if (changedFirst >= 0)
        emit dataChanged(index(changedFirst, OpenTasksColumn), index(changedLast, OpenTasksColumn),
                         {Qt::DisplayRole});
}

void DWTaskListTableModel::_removeRowsMissingFrom(
    const QList<std::shared_ptr<DWTaskList>>& taskLists) {
    QSet<const DWTaskList*> listed;
    listed.reserve(taskLists.size());
    for (const auto& taskList : taskLists)
        listed.insert(taskList.get());
    // From the bottom, a run of missing rows at a time.
    for (qsizetype last = _rows.size() - 1; last >= 0;) {
        if (listed.contains(_rows.at(last).taskList.get())) {
            --last;
            continue;
        }
        qsizetype first = last;
        while (first > 0 && !listed.contains(_rows.at(first - 1).taskList.get()))
            --first;
        beginRemoveRows(QModelIndex(), int(first), int(last));
        _rows.remove(first, last - first + 1);
        endRemoveRows();
        last = first - 1;
    }
}

bool DWTaskListTableModel::_keepsOrderOf(
    const QList<std::shared_ptr<DWTaskList>>& taskLists) const {
    // Every remaining row is listed; they must appear in the same order.
    qsizetype row = 0;
    for (const auto& taskList : taskLists) {
        if (row < _rows.size() && _rows.at(row).taskList == taskList)
            ++row;
    }
    return row == _rows.size();
}
