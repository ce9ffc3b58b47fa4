#include "controller/DWTaskListTableModel.h"

#include "controller/DotwiseAppDelegate.h"
#include "model/DWTaskList.h"

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
    const auto& taskLists = _controller.taskLists();
    if (row < 0 || row >= taskLists.size())
        return QString();
    const auto& taskList = taskLists.at(row);
    if (identifier == QLatin1String("label"))
        return taskList->label();
    if (identifier == QLatin1String("openTasks")) {
        const int openTasks = taskList->openTasks();
        return openTasks == -1 ? QStringLiteral("n/a") : QString::number(openTasks);
    }
    return QString();
}

int DWTaskListTableModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : int(_controller.taskLists().size());
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
        if (index.column() == LabelColumn && index.row() < _controller.taskLists().size())
            return _controller.taskLists().at(index.row())->path();
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
    beginResetModel();
    endResetModel();
}
