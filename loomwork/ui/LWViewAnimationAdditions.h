#pragma once

#include <QPropertyAnimation>
#include <memory>

class QWidget;

enum class LWViewAnimationEffect { FadeIn, FadeOut };

namespace lw {
constexpr int defaultViewAnimationDurationMs = 500;

// A new animation, not started, of one view with one effect and the default
// duration. A fade-in shows the view when it starts; a fade-out hides it when
// it ends; either way the view is left fully opaque afterwards. Child views
// fade through a QGraphicsOpacityEffect, windows through their opacity.
std::unique_ptr<QPropertyAnimation> animationWithTarget(QWidget* target,
                                                        LWViewAnimationEffect effect);
} // namespace lw
