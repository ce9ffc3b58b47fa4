#pragma once

#include <QPointF>

class QSinglePointEvent;
class QWidget;

// Additions to views.
namespace lw {
// Fade the view in (showing it) or out (hiding it at the end) over `seconds`;
// the animation runs on its own and deletes itself.
void fadeInWithDuration(QWidget* view, double seconds);
void fadeOutWithDuration(QWidget* view, double seconds);
// The event's position in its window, in the view's coordinates.
QPointF localPointForEvent(const QWidget* view, const QSinglePointEvent& event);
// Centres the view in its parent along one axis, rounding halves away from
// zero; a view without a parent stays where it is. The vertical offset moves
// the view up from the centre, as y-up geometry would.
void centerInParentHorizontally(QWidget* view);
void centerInParentVerticallyWithOffset(QWidget* view, float offset);
} // namespace lw
