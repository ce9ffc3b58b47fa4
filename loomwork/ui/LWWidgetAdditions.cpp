#include "ui/LWWidgetAdditions.h"

#include <QAction>
#include <QItemSelectionModel>
#include <QTabWidget>
#include <QToolBar>
#include <QTreeView>

QWidget* lw::tabViewItemWithIdentifier(const QTabWidget* tabs, const QString& identifier) {
    if (!tabs)
        return nullptr;
    for (int i = 0; i < tabs->count(); ++i) {
        QWidget* page = tabs->widget(i);
        if (page && page->objectName() == identifier)
            return page;
    }
    return nullptr;
}

void lw::removeItemWithIdentifier(QToolBar* toolBar, const QString& identifier) {
    if (!toolBar)
        return;
    const QList<QAction*> actions = toolBar->actions();
    for (QAction* action : actions) {
        if (action->objectName() == identifier) {
            toolBar->removeAction(action);
            return;
        }
    }
}

void lw::selectItem(QTreeView* view, const QModelIndex& item, bool byExtendingSelection) {
    if (!view || !item.isValid() || item.model() != view->model() || !view->selectionModel())
        return;
    // Shown only when every ancestor is expanded and no row on the way is
    // hidden.
    for (QModelIndex at = item; at.isValid(); at = at.parent()) {
        if (view->isRowHidden(at.row(), at.parent()))
            return;
        if (at != item && !view->isExpanded(at))
            return;
    }
    const QItemSelectionModel::SelectionFlags flags =
        (byExtendingSelection ? QItemSelectionModel::Select : QItemSelectionModel::ClearAndSelect) |
        QItemSelectionModel::Rows;
    view->selectionModel()->select(item, flags);
}
