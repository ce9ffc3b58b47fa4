#include "ui/LWViewAdditions.h"

#include "ui/LWViewAnimationAdditions.h"

#include <QSinglePointEvent>
#include <QWidget>
#include <cmath>

namespace {
void fade(QWidget* view, double seconds, LWViewAnimationEffect effect) {
    if (!view)
        return;
    std::unique_ptr<QPropertyAnimation> animation = lw::animationWithTarget(view, effect);
    animation->setDuration(qMax(0, int(std::lround(seconds * 1000))));
    animation.release()->start(QAbstractAnimation::DeleteWhenStopped);
}
} // namespace

void lw::fadeInWithDuration(QWidget* view, double seconds) {
    fade(view, seconds, LWViewAnimationEffect::FadeIn);
}

void lw::fadeOutWithDuration(QWidget* view, double seconds) {
    fade(view, seconds, LWViewAnimationEffect::FadeOut);
}

QPointF lw::localPointForEvent(const QWidget* view, const QSinglePointEvent& event) {
    if (!view)
        return event.scenePosition();
    return view->mapFrom(view->window(), event.scenePosition());
}

void lw::centerInParentHorizontally(QWidget* view) {
    const QWidget* parent = view ? view->parentWidget() : nullptr;
    if (!parent)
        return;
    const double x = std::round((double(parent->width()) - view->width()) * 0.5);
    view->move(int(x), view->y());
}

void lw::centerInParentVerticallyWithOffset(QWidget* view, float offset) {
    const QWidget* parent = view ? view->parentWidget() : nullptr;
    if (!parent)
        return;
    // Worked out from the bottom edge, then turned into Qt's downward y.
    const double fromBottom =
        std::round((double(parent->height()) - view->height()) * 0.5) + double(offset);
    view->move(view->x(), int(std::lround(parent->height() - view->height() - fromBottom)));
}
