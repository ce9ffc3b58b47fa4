#pragma once

#include <QImage>
#include <QList>
#include <QSizeF>

// An icon held at several sizes: an ordered list of representations, each a
// QImage with its size in points. A HiDPI representation has twice as many
// pixels as points (device pixel ratio 2). Plain QImages only, so icons can be
// made and drawn on any thread.
class LWIconImage {
public:
    struct Representation {
        QImage image;
        QSizeF size; // points
    };

    LWIconImage() = default;

    // Adds a representation; its size in points is the image's pixel size
    // divided by the image's device pixel ratio.
    void addRepresentation(const QImage& image);
    void addRepresentation(const QImage& image, QSizeF pointSize);

    const QList<Representation>& representations() const { return _representations; }
    bool isEmpty() const { return _representations.isEmpty(); }
    qsizetype count() const { return _representations.size(); }

    // The representation with the most pixels; null image when empty.
    QImage largestImage() const;
    // The representation whose point width is closest to `points` (larger wins
    // a tie); null image when empty.
    QImage imageForSize(qreal points) const;

private:
    QList<Representation> _representations;
};
