#include "ui/LWBackgroundImageView.h"

#include "logging/LWSystemLog.h"

#include <QFile>
#include <QPainter>
#include <QPixmap>

namespace {
QImage imageNamed(const QString& name) {
    if (name.isEmpty())
        return QImage();
    const QString prefixes[] = {QStringLiteral(":/"), QStringLiteral(":/images/")};
    const QString suffixes[] = {QString(), QStringLiteral(".png"), QStringLiteral(".svg"),
                                QStringLiteral(".jpg")};
    for (const QString& prefix : prefixes) {
        for (const QString& suffix : suffixes) {
            const QString path = prefix + name + suffix;
            if (QFile::exists(path)) {
                QImage image(path);
                if (!image.isNull())
                    return image;
            }
        }
    }
    return QImage();
}
} // namespace

LWBackgroundImageView::LWBackgroundImageView(QWidget* parent) : QWidget(parent) {}

void LWBackgroundImageView::setImage(const QImage& image) {
    _image = image;
    // Rebuilds the pattern from the new image.
    setIsPattern(_isPattern);
    update();
}

void LWBackgroundImageView::setImageName(const QString& name) {
    _imageName = name;
    const QImage found = imageNamed(name);
    setImage(found);
    if (found.isNull())
        lw::systemLog(QStringLiteral("Warning: Image not found for name: %1").arg(name));
}

void LWBackgroundImageView::setIsPattern(bool isPattern) {
    _isPattern = isPattern;
    if (isPattern && !_image.isNull())
        setPatternColor(QBrush(QPixmap::fromImage(_image)));
    else
        setPatternColor(QBrush());
    update();
}

QBrush LWBackgroundImageView::patternColor() const {
    QMutexLocker locker(&_patternLock);
    return _patternColor;
}

void LWBackgroundImageView::setPatternColor(const QBrush& brush) {
    QMutexLocker locker(&_patternLock);
    _patternColor = brush;
}

void LWBackgroundImageView::paintEvent(QPaintEvent*) {
    if (_image.isNull())
        return;
    QPainter painter(this);
    if (_isPattern) {
        _drawAsPattern(painter);
        return;
    }
    // Once, at its own size, standing in the bottom-left corner.
    const QSizeF size = _image.deviceIndependentSize();
    painter.setCompositionMode(QPainter::CompositionMode_SourceOver);
    painter.setOpacity(1);
    painter.drawImage(QPointF(0, height() - size.height()), _image);
}

void LWBackgroundImageView::_drawAsPattern(QPainter& painter) {
    painter.save();
    // Tiles start at the view's top-left corner and stay put relative to the
    // view wherever it sits in its window: the brush origin is in the view's
    // own coordinates.
    painter.setBrushOrigin(QPointF(0, 0));
    painter.setCompositionMode(QPainter::CompositionMode_SourceOver);
    painter.fillRect(rect(), patternColor());
    painter.restore();
}
