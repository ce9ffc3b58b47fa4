#include "ui/LWIconImage.h"

#include <cmath>

void LWIconImage::addRepresentation(const QImage& image) {
    addRepresentation(image, image.deviceIndependentSize());
}

void LWIconImage::addRepresentation(const QImage& image, QSizeF pointSize) {
    _representations.append({image, pointSize});
}

QImage LWIconImage::largestImage() const {
    const Representation* best = nullptr;
    for (const Representation& rep : _representations) {
        if (!best || qint64(rep.image.width()) * rep.image.height() >
                         qint64(best->image.width()) * best->image.height())
            best = &rep;
    }
    return best ? best->image : QImage();
}

QImage LWIconImage::imageForSize(qreal points) const {
    const Representation* best = nullptr;
    for (const Representation& rep : _representations) {
        if (!best) {
            best = &rep;
            continue;
        }
        const qreal distance = std::abs(rep.size.width() - points);
        const qreal bestDistance = std::abs(best->size.width() - points);
        if (distance < bestDistance ||
            (distance == bestDistance && rep.image.width() > best->image.width()))
            best = &rep;
    }
    return best ? best->image : QImage();
}
