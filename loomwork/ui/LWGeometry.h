#pragma once

#include <QPointF>
#include <QRectF>
#include <QSizeF>

// Geometry helpers; they compute in single precision and round to the
// nearest whole number, halves away from zero.
QRectF LWRoundedRect(const QRectF& rect);
QPointF LWRoundedPoint(const QPointF& point);
QSizeF LWRoundedSize(const QSizeF& size);
float LWRoundedProduct(float a, float b);
// Each side rounded, then an odd result moved one further from zero: 5 -> 6,
// -3 -> -4.
QSizeF LWEvenSize(const QSizeF& size);
QRectF LWRectWithEvenSize(const QRectF& rect);
