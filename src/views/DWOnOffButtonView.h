#pragma once

#include <QImage>
#include <QWidget>

// The big ON/OFF switch: draws the switch's picture centred and turns a click
// anywhere on it into a click on the first button it contains (the knob).
// The knob itself is placed by whoever handles its click.
class DWOnOffButtonView : public QWidget {
    Q_OBJECT
    Q_PROPERTY(QImage image READ image WRITE setImage)

public:
    explicit DWOnOffButtonView(QWidget* parent = nullptr);

    // Null until first drawn or set; a null image brings the application's
    // "OnOffButton" picture back at the next drawing.
    QImage image() const { return _image; }
    void setImage(const QImage& image);

    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;

private:
    void loadDefaultImageIfNeeded();

    QImage _image;
    bool _imageIsDefault = false;
};
