#include "ui/LWViewAnimationAdditions.h"

#include <QGraphicsOpacityEffect>
#include <QPointer>
#include <QWidget>

std::unique_ptr<QPropertyAnimation> lw::animationWithTarget(QWidget* target,
                                                            LWViewAnimationEffect effect) {
    auto animation = std::make_unique<QPropertyAnimation>();
    animation->setDuration(defaultViewAnimationDurationMs);
    if (!target)
        return animation;
    const bool fadeIn = effect == LWViewAnimationEffect::FadeIn;
    const bool window = target->isWindow();
    QObject* animated = target;
    if (window) {
        animation->setPropertyName("windowOpacity");
    } else {
        auto* opacity = qobject_cast<QGraphicsOpacityEffect*>(target->graphicsEffect());
        if (!opacity) {
            opacity = new QGraphicsOpacityEffect(target);
            target->setGraphicsEffect(opacity);
        }
        animated = opacity;
        animation->setPropertyName("opacity");
    }
    animation->setTargetObject(animated);
    animation->setStartValue(fadeIn ? 0.0 : 1.0);
    animation->setEndValue(fadeIn ? 1.0 : 0.0);

    QPointer<QWidget> view(target);
    // Back to a plain, opaque view once done: an effect costs drawing time.
    auto restore = [view, window] {
        if (!view)
            return;
        if (window)
            view->setWindowOpacity(1.0);
        else if (qobject_cast<QGraphicsOpacityEffect*>(view->graphicsEffect()))
            view->setGraphicsEffect(nullptr);
    };
    QObject::connect(animation.get(), &QAbstractAnimation::stateChanged, target,
                     [view, fadeIn](QAbstractAnimation::State state, QAbstractAnimation::State) {
                         if (view && fadeIn && state == QAbstractAnimation::Running)
                             view->show();
                     });
    QObject::connect(animation.get(), &QAbstractAnimation::finished, target,
                     [view, fadeIn, restore] {
                         if (view && !fadeIn)
                             view->hide();
                         restore();
                     });
    return animation;
}
