#pragma once

#include <QWidget>

// A separator for toolbar areas: a one-point line along the bottom edge,
// darkest in the middle and fading out towards both ends, over the soft
// shadow of a shape just outside that edge.
class LWToolbarSeparatorView : public QWidget {
    Q_OBJECT

public:
    explicit LWToolbarSeparatorView(QWidget* parent = nullptr);

    // A flipped view draws the same along its top edge.
    virtual bool isFlipped() const { return false; }

protected:
    void paintEvent(QPaintEvent* event) override;
};
