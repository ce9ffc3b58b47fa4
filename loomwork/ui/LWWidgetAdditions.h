#pragma once

#include <QModelIndex>
#include <QString>

class QTabWidget;
class QToolBar;
class QTreeView;
class QWidget;

// Additions to tab widgets, tool bars and tree views. Identifiers are object
// names, as Designer gives them.
namespace lw {
// The page whose object name is `identifier`, or nullptr.
QWidget* tabViewItemWithIdentifier(const QTabWidget* tabs, const QString& identifier);
// Removes the first action, in tool bar order, whose object name is
// `identifier`; nothing when there is none.
void removeItemWithIdentifier(QToolBar* toolBar, const QString& identifier);
// Selects the row showing `item`, adding to or replacing the selection;
// nothing when the row is not shown (an ancestor is collapsed, or it is
// hidden).
void selectItem(QTreeView* view, const QModelIndex& item, bool byExtendingSelection);
} // namespace lw
