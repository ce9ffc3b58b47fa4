#include "ui/LWGeometry.h"

#include <cmath>

namespace {
float rounded(qreal value) {
    return std::round(float(value));
}

float even(qreal value) {
    const float r = rounded(value);
    if (std::fmod(r, 2.0f) == 0.0f)
        return r;
    return r + (r > 0 ? 1.0f : -1.0f);
}
} // namespace

QRectF LWRoundedRect(const QRectF& rect) {
    return QRectF(rounded(rect.x()), rounded(rect.y()), rounded(rect.width()),
                  rounded(rect.height()));
}

QPointF LWRoundedPoint(const QPointF& point) {
    return QPointF(rounded(point.x()), rounded(point.y()));
}

QSizeF LWRoundedSize(const QSizeF& size) {
    const QPointF point = LWRoundedPoint(QPointF(size.width(), size.height()));
    return QSizeF(point.x(), point.y());
}

float LWRoundedProduct(float a, float b) {
    return std::round(a * b);
}

QSizeF LWEvenSize(const QSizeF& size) {
    return QSizeF(even(size.width()), even(size.height()));
}

QRectF LWRectWithEvenSize(const QRectF& rect) {
    return QRectF(rect.topLeft(), LWEvenSize(rect.size()));
}
