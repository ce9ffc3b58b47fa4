#include "views/DWOnOffButtonView.h"

#include "views/DWNamedImage.h"

#include <QAbstractButton>
#include <QMouseEvent>
#include <QPainter>
#include <cmath>

DWOnOffButtonView::DWOnOffButtonView(QWidget* parent) : QWidget(parent) {
    // The whole picture is clickable, so it should look it.
    setCursor(Qt::PointingHandCursor);
}

void DWOnOffButtonView::setImage(const QImage& image) {
    _image = image;
    _imageIsDefault = false;
    update();
}

QSize DWOnOffButtonView::sizeHint() const {
    if (!_image.isNull())
        return _image.deviceIndependentSize().toSize();
    return DWNamedImage::imageNamed(QStringLiteral("OnOffButton")).deviceIndependentSize().toSize();
}

void DWOnOffButtonView::loadDefaultImageIfNeeded() {
    const qreal ratio = devicePixelRatioF();
    // The named picture is rendered for this screen; a move to a screen of
    // another density renders it again.
    if (_image.isNull() || (_imageIsDefault && !qFuzzyCompare(_image.devicePixelRatio(), ratio))) {
        _image = DWNamedImage::imageNamed(QStringLiteral("OnOffButton"), ratio);
        _imageIsDefault = true;
    }
}

void DWOnOffButtonView::paintEvent(QPaintEvent*) {
    loadDefaultImageIfNeeded();
    if (_image.isNull())
        return;
    const QSizeF bounds = size();
    const QSizeF picture = _image.deviceIndependentSize();
    const qreal x = std::round((bounds.width() - picture.width()) * 0.5);
    // The picture's distance from the bottom is what rounds, as with any
    // y-up drawing: an odd leftover puts the extra pixel above the picture.
    const qreal spare = bounds.height() - picture.height();
    const qreal y = spare - std::round(spare * 0.5);
    QPainter painter(this);
    painter.setCompositionMode(QPainter::CompositionMode_SourceOver);
    painter.setOpacity(1.0);
    painter.drawImage(QPointF(x, y), _image);
}

void DWOnOffButtonView::mousePressEvent(QMouseEvent* event) {
    // Accepting the press makes this view receive the matching release.
    if (event->button() == Qt::LeftButton)
        event->accept();
    else
        QWidget::mousePressEvent(event);
}

void DWOnOffButtonView::mouseReleaseEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton) {
        QWidget::mouseReleaseEvent(event);
        return;
    }
    event->accept();
    // Half-open bounds measured from the bottom-left corner: a release on the
    // left or bottom edge is inside, one on the right or top edge outside.
    const QPointF point = event->position();
    const qreal fromBottom = height() - point.y();
    if (point.x() < 0 || point.x() >= width() || fromBottom < 0 || fromBottom >= height())
        return;
    for (QObject* child : children()) {
        if (auto* button = qobject_cast<QAbstractButton*>(child)) {
            button->click();
            return;
        }
    }
}
