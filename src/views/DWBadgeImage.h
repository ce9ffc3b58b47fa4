#pragma once

#include "ui/LWIconImage.h"

#include <QImage>
#include <QRectF>
#include <QSizeF>
#include <memory>

class QPainter;

// The red count badge: a red disc with the count in white bold digits and a
// light gloss over its upper half, optionally over a soft drop shadow.
// Numbers of four characters or more get a smaller font, as large as lets
// every digit show inside the disc.
//
// Drawn once, when constructed, into a premultiplied ARGB32 QImage and never
// redrawn. Only QImage and QPainter are used, so badges can be made on the
// badge worker thread as well as on the main thread. addBadgeTo() keeps the
// badges it draws in a small cache behind a lock, shared by all threads.
class DWBadgeImage {
public:
    // Largest side, in pixels, of a badge or a badged representation. Badges
    // are a few hundred pixels at most; far more is a caller's mistake and must
    // not turn into a gigabyte allocation.
    static constexpr int kMaxPixelSide = 8192;

    // Draws a badge of `size` points. `devicePixelRatio` 2 draws it with twice
    // as many pixels so that it stays sharp on a HiDPI representation; all the
    // geometry stays in points. The image is null when it cannot be made
    // (empty size, more than kMaxPixelSide pixels a side, out of memory).
    DWBadgeImage(QSizeF size, int openTasks, bool drawShadow, qreal devicePixelRatio = 1.0);

    const QImage& image() const { return _image; }
    bool isNull() const { return _image.isNull(); }
    // Size in points.
    QSizeF size() const { return _size; }

    // A badge sized for an icon representation `rect.width()` points wide: the
    // whole width (without shadow) up to 32 points, 40 % of it (with shadow)
    // above. Null when the image cannot be made.
    static std::unique_ptr<DWBadgeImage> newBadgeInRect(const QRectF& rect, int openTasks,
                                                        qreal devicePixelRatio = 1.0);

    // Draws the badge so that its top-right corner is the top-right corner of
    // `rect`, taken at the origin (its own origin is ignored), source-over.
    void drawAtTopRightOf(QPainter& painter, const QRectF& rect) const;

    // A copy of `icon` with the badge composed onto every representation, same
    // sizes, same order. Representations of 32 points or less hold the badge
    // alone. Representations that cannot be drawn are left out.
    static LWIconImage addBadgeTo(const LWIconImage& icon, int openTasks);

    // The geometry the drawing uses, exposed so that it can be checked.
    static float marginFor(qreal width, bool drawShadow);
    // Before any fitting of a long number.
    static int fontSizeFor(qreal height, int openTasks);
    static qreal badgeSideFor(qreal iconWidth);

private:
    void draw(int openTasks, bool drawShadow);

    QSizeF _size;
    QImage _image;
};
