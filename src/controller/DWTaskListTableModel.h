#pragma once

#include <QAbstractTableModel>
#include <QList>
#include <memory>

class DotwiseAppDelegate;
class DWTaskList;

// The main window's table of watched task lists: row i is the controller's task
// list i. reloadData() brings the rows in line with the controller's list after
// it changed the list or a count, as row insertions, removals and changed
// cells rather than a reset: badge updates refresh the table several times a
// second, and the selection, the current row and the scroll position must
// survive that.
class DWTaskListTableModel : public QAbstractTableModel {
    Q_OBJECT
public:
    enum Column { LabelColumn = 0, OpenTasksColumn = 1, ColumnCount };

    explicit DWTaskListTableModel(DotwiseAppDelegate& controller, QObject* parent = nullptr);

    // "label" and "openTasks"; empty for any other column.
    static QString columnIdentifier(int column);
    // -1 when no column has the identifier.
    static int columnForIdentifier(const QString& identifier);
    // The text shown in a cell: the file name, or the count ("n/a" for -1).
    QString objectValue(const QString& columnIdentifier, int row) const;

    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    int columnCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation,
                        int role = Qt::DisplayRole) const override;

    void reloadData();

protected:
    DotwiseAppDelegate& controller() const { return _controller; }

private:
    struct Row {
        std::shared_ptr<DWTaskList> taskList;
        int openTasks; // the count the view was last told about
    };

    void _removeRowsMissingFrom(const QList<std::shared_ptr<DWTaskList>>& taskLists);
    bool _keepsOrderOf(const QList<std::shared_ptr<DWTaskList>>& taskLists) const;

    DotwiseAppDelegate& _controller;
    // The rows as the view knows them; they follow the controller's list at
    // each reloadData().
    QList<Row> _rows;
};
