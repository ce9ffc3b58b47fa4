#pragma once

#include <QAbstractTableModel>

class DotwiseAppDelegate;

// The main window's table of watched task lists: row i is the controller's task
// list i. It keeps no copy of the list; reloadData() resets the view after the
// controller changed the list or a count.
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
    DotwiseAppDelegate& _controller;
};
