#pragma once

#include <QImage>
#include <QWidget>

// A decorative panel: the window colour with the "noise" texture tiled over
// it, five points smaller than the view on each side, ringed by a soft black
// glow that spills into that border.
class DWFancyView : public QWidget {
    Q_OBJECT

public:
    explicit DWFancyView(QWidget* parent = nullptr);

    static constexpr int kInset = 5;
    static constexpr qreal kGlowRadius = 5.0;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    // The blurred glow for the current size and pixel density, made once per
    // size rather than on every repaint.
    const QImage& glow();

    QImage _noise;
    QImage _glow;
};
