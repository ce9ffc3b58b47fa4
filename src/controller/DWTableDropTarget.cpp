#include "controller/DWTableDropTarget.h"

#include <QAbstractItemView>
#include <QDropEvent>
#include <QMimeData>
#include <QStyle>

DWTableDropTarget::DWTableDropTarget(QAbstractItemView* table, Validate validate, Accept accept)
    : QObject(table), _table(table), _validate(std::move(validate)), _accept(std::move(accept)) {
    _table->setAcceptDrops(true);
    _table->viewport()->setAcceptDrops(true);
    _table->viewport()->installEventFilter(this);
}

QStringList DWTableDropTarget::filePaths(const QMimeData* data) {
    QStringList paths;
    if (!data || !data->hasUrls())
        return paths;
    for (const QUrl& url : data->urls())
        if (url.isLocalFile() && !url.toLocalFile().isEmpty())
            paths << url.toLocalFile();
    return paths;
}

bool DWTableDropTarget::eventFilter(QObject* watched, QEvent* event) {
    switch (event->type()) {
    case QEvent::DragEnter:
    case QEvent::DragMove: {
        auto* drag = static_cast<QDragMoveEvent*>(event);
        const Qt::DropAction action =
            filePaths(drag->mimeData()).isEmpty()
                ? Qt::IgnoreAction
                : (_validate ? _validate(drag->mimeData(), drag->possibleActions())
                             : Qt::IgnoreAction);
        if (action != Qt::IgnoreAction && (drag->possibleActions() & action)) {
            drag->setDropAction(action);
            drag->accept();
            setHighlighted(true);
        } else {
            drag->ignore();
            setHighlighted(false);
        }
        return true;
    }
    case QEvent::DragLeave:
        setHighlighted(false);
        return true;
    case QEvent::Drop: {
        auto* drop = static_cast<QDropEvent*>(event);
        setHighlighted(false);
        const bool taken = !filePaths(drop->mimeData()).isEmpty() && _accept &&
                           _accept(drop->mimeData(), drop->possibleActions());
        if (taken) {
            drop->setDropAction(Qt::CopyAction);
            drop->accept();
        } else {
            drop->ignore();
        }
        return true;
    }
    default:
        return QObject::eventFilter(watched, event);
    }
}

void DWTableDropTarget::setHighlighted(bool highlighted) {
    if (_table->property("dropTarget").toBool() == highlighted)
        return;
    _table->setProperty("dropTarget", highlighted);
    // Property selectors in style sheets are only looked at when polishing.
    _table->style()->unpolish(_table);
    _table->style()->polish(_table);
    _table->update();
}
