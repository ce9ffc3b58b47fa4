#pragma once

#include <QObject>
#include <QStringList>
#include <functional>

class QAbstractItemView;
class QMimeData;

// Makes a table a target for files dragged from the file manager
// (text/uri-list). Drags that carry no files are not offered at all; for the
// others `validate` picks the operation offered while the drag hovers, and
// `accept` takes the dropped data. Both see the operations the drag's source
// allows. While an offered drag hovers, the table's "dropTarget" property is
// true, for the style sheet to highlight it.
class DWTableDropTarget : public QObject {
    Q_OBJECT

public:
    using Validate = std::function<Qt::DropAction(const QMimeData*, Qt::DropActions)>;
    using Accept = std::function<bool(const QMimeData*, Qt::DropActions)>;

    DWTableDropTarget(QAbstractItemView* table, Validate validate, Accept accept);

    // The local files named by the data's URL list, in order; other URLs are
    // left out.
    static QStringList filePaths(const QMimeData* data);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void setHighlighted(bool highlighted);

    QAbstractItemView* _table;
    Validate _validate;
    Accept _accept;
};
