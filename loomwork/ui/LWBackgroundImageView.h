#pragma once

#include <QBrush>
#include <QImage>
#include <QMutex>
#include <QString>
#include <QWidget>

// Draws an image once, at its own size in the bottom-left corner, or tiled
// as a pattern over the whole view starting at its top-left corner. The
// setters can come in any order: the pattern follows the image and the flag.
class LWBackgroundImageView : public QWidget {
    Q_OBJECT

public:
    explicit LWBackgroundImageView(QWidget* parent = nullptr);

    QImage image() const { return _image; }
    void setImage(const QImage& image);
    QString imageName() const { return _imageName; }
    // Looks the image up by name in the application's resources (":/name",
    // ":/images/name", with or without .png, .svg or .jpg); a name that
    // finds nothing leaves the view without an image and writes
    // "Warning: Image not found for name: <name>" to the system log.
    void setImageName(const QString& name);
    bool isPattern() const { return _isPattern; }
    void setIsPattern(bool isPattern);

    // The texture brush made from the image while isPattern() is on;
    // Qt::NoBrush otherwise. Safe to read from any thread.
    QBrush patternColor() const;
    void setPatternColor(const QBrush& brush);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    void _drawAsPattern(QPainter& painter);

    mutable QMutex _patternLock;
    QBrush _patternColor;
    QImage _image;
    QString _imageName;
    bool _isPattern = false;
};
