#include "views/DWBadgeImage.h"

#include "views/DWShadow.h"

#include <QColor>
#include <QFont>
#include <QFontMetricsF>
#include <QGuiApplication>
#include <QHash>
#include <QMutex>
#include <QPainter>
#include <QPainterPath>
#include <algorithm>
#include <cmath>

namespace {
int pixelExtent(qreal points, qreal devicePixelRatio) {
    // A hair below the next integer still counts as that integer: 2 x 25.5
    // must give 51 pixels, not 52.
    return int(std::ceil(points * devicePixelRatio - 1e-6));
}

QImage newCanvas(QSizeF points, qreal devicePixelRatio) {
    if (!(points.width() > 0) || !(points.height() > 0) || !(devicePixelRatio > 0))
        return QImage();
    const int width = pixelExtent(points.width(), devicePixelRatio);
    const int height = pixelExtent(points.height(), devicePixelRatio);
    if (width < 1 || height < 1 || width > DWBadgeImage::kMaxPixelSide ||
        height > DWBadgeImage::kMaxPixelSide)
        return QImage();
    QImage image(width, height, QImage::Format_ARGB32_Premultiplied);
    if (image.isNull())
        return image;
    image.setDevicePixelRatio(devicePixelRatio);
    image.fill(Qt::transparent);
    return image;
}

// Badges drawn for icons, by side in points, pixel density and count. Most
// task lists have few open tasks and icons come in the same five sizes, so a
// badge is drawn (its shadow blurred) once and then only composed; that is
// what keeps badging thousands of files quick. Bounded: an unusual mix of
// counts starts the cache afresh.
class BadgeCache {
public:
    QImage badge(qreal side, bool drawShadow, qreal devicePixelRatio, int openTasks) {
        const Key key{side, devicePixelRatio, openTasks, drawShadow};
        {
            QMutexLocker locker(&_lock);
            if (const auto found = _badges.constFind(key); found != _badges.constEnd())
                return *found;
        }
        // Drawn outside the lock: two threads may draw the same badge once
        // each, which is harmless.
        const DWBadgeImage drawn(QSizeF(side, side), openTasks, drawShadow, devicePixelRatio);
        QMutexLocker locker(&_lock);
        if (_badges.size() >= kLimit)
            _badges.clear();
        _badges.insert(key, drawn.image());
        return drawn.image();
    }

private:
    struct Key {
        qreal side, devicePixelRatio;
        int openTasks;
        bool drawShadow;
        bool operator==(const Key&) const = default;
        friend size_t qHash(const Key& key, size_t seed = 0) {
            return qHashMulti(seed, key.side, key.devicePixelRatio, key.openTasks, key.drawShadow);
        }
    };
    static constexpr qsizetype kLimit = 512;
    QMutex _lock;
    QHash<Key, QImage> _badges;
};

// Whether the text, laid out as draw() lays it out (centred across, its line
// box centred down), has all of its ink inside the disc, with a little room
// to the rim.
bool inkFitsDisc(const QFont& font, const QString& text, const QRectF& disc, qreal width,
                 qreal height) {
    const QFontMetricsF metrics(font);
    const qreal topGap = std::floor((height - metrics.height()) * 0.5);
    // Across: the glyphs' own extent; up and down: digits stand on the
    // baseline and reach the cap height (a minus sign lies between).
    const QRectF glyphs = metrics.tightBoundingRect(text);
    const qreal left = (width - metrics.horizontalAdvance(text)) * 0.5 + glyphs.left();
    const qreal baseline = topGap + metrics.ascent();
    const QRectF ink(left, baseline - metrics.capHeight(), glyphs.width(), metrics.capHeight());
    const QPointF centre = disc.center();
    const qreal rx = disc.width() * 0.5 * 0.9;
    const qreal ry = disc.height() * 0.5 * 0.9;
    if (!(rx > 0) || !(ry > 0))
        return false;
    for (const QPointF corner :
         {ink.topLeft(), ink.topRight(), ink.bottomLeft(), ink.bottomRight()}) {
        const qreal dx = (corner.x() - centre.x()) / rx;
        const qreal dy = (corner.y() - centre.y()) / ry;
        if (dx * dx + dy * dy > 1.0)
            return false;
    }
    return true;
}

BadgeCache& badgeCache() {
    static BadgeCache cache;
    return cache;
}

} // namespace

DWBadgeImage::DWBadgeImage(QSizeF size, int openTasks, bool drawShadow, qreal devicePixelRatio)
    : _size(size), _image(newCanvas(size, devicePixelRatio)) {
    if (!_image.isNull())
        draw(openTasks, drawShadow);
}

float DWBadgeImage::marginFor(qreal width, bool drawShadow) {
    return drawShadow ? float(std::floor(width * 0.05)) : 0.0f;
}

int DWBadgeImage::fontSizeFor(qreal height, int openTasks) {
    const double factor = height == 16.0 ? 0.7 : (openTasks < 10 ? 0.6 : 0.5);
    return int(std::floor(height * factor));
}

qreal DWBadgeImage::badgeSideFor(qreal iconWidth) {
    return iconWidth <= 32 ? iconWidth : std::floor(iconWidth * 0.4);
}

void DWBadgeImage::draw(int openTasks, bool drawShadowFlag) {
    const qreal width = _size.width();
    const qreal height = _size.height();
    const qreal margin = marginFor(width, drawShadowFlag);
    const QRectF disc(margin, margin, width - 2 * margin, height - 2 * margin);

    // The shadow goes first, under the disc; nothing after it casts one.
    if (drawShadowFlag && margin > 0)
        DWShadow::fillWithEllipseShadow(_image, disc, margin, 0.5);

    QPainter painter(&_image);
    painter.setRenderHints(QPainter::Antialiasing | QPainter::TextAntialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor::fromRgbF(0.76f, 0.05f, 0.11f, 1.0f));
    painter.drawEllipse(disc);

    int fontSize = fontSizeFor(height, openTasks);
    if (fontSize > 0) {
        QFont font = QGuiApplication::font();
        font.setBold(true);
        font.setPixelSize(fontSize);
        const QString text = QString::number(openTasks);
        // Up to three characters the font is as given; longer numbers get
        // the largest smaller font that keeps every digit inside the disc.
        if (text.size() > 3) {
            while (fontSize > 1 && !inkFitsDisc(font, text, disc, width, height)) {
                --fontSize;
                font.setPixelSize(fontSize);
            }
        }
        painter.setFont(font);
        painter.setPen(Qt::white);
        // One line, centred across.
        const int flags = Qt::AlignHCenter | Qt::AlignTop | Qt::TextSingleLine;
        const qreal lineHeight =
            painter.boundingRect(QRectF(0, 0, width, height), flags, text).height();
        // Centre the line box vertically, rounding the gap above it down.
        const float topGap = std::floor(float(height - lineHeight) * 0.5f);
        painter.drawText(QRectF(0, topGap, width, height - topGap), flags, text);
    }

    // The gloss lies over the upper half of the disc, text included.
    const QPointF centre(width * 0.5, height * 0.5);
    const qreal radius = (width - 2 * margin) * 0.5;
    QPainterPath gloss;
    gloss.moveTo(centre.x() + radius, centre.y());
    gloss.arcTo(QRectF(centre.x() - radius, centre.y() - radius, 2 * radius, 2 * radius), 0, 180);
    gloss.closeSubpath();
    painter.fillPath(gloss, QColor::fromRgbF(1.0f, 1.0f, 1.0f, 0.2f));
}

std::unique_ptr<DWBadgeImage> DWBadgeImage::newBadgeInRect(const QRectF& rect, int openTasks,
                                                           qreal devicePixelRatio) {
    const qreal iconWidth = rect.width();
    const qreal side = badgeSideFor(iconWidth);
    auto badge = std::make_unique<DWBadgeImage>(QSizeF(side, side), openTasks, iconWidth > 32,
                                                devicePixelRatio);
    if (badge->isNull())
        return nullptr;
    return badge;
}

void DWBadgeImage::drawAtTopRightOf(QPainter& painter, const QRectF& rect) const {
    if (_image.isNull())
        return;
    painter.save();
    painter.setCompositionMode(QPainter::CompositionMode_SourceOver);
    painter.setOpacity(1.0);
    painter.drawImage(QPointF(rect.width() - _size.width(), 0), _image);
    painter.restore();
}

LWIconImage DWBadgeImage::addBadgeTo(const LWIconImage& icon, int openTasks) {
    LWIconImage result;
    for (const LWIconImage::Representation& representation : icon.representations()) {
        const QSizeF size = representation.size;
        const QImage& source = representation.image;
        const QRectF rect(QPointF(0, 0), size);
        // Draw at the representation's own pixel density so a 2x
        // representation stays sharp.
        qreal devicePixelRatio = 1.0;
        if (!source.isNull() && size.width() > 0)
            devicePixelRatio = std::clamp(source.width() / size.width(), 1.0, 8.0);

        QImage canvas;
        const bool drawIcon = size.width() > 32;
        if (drawIcon && source.width() == pixelExtent(size.width(), devicePixelRatio) &&
            source.height() == pixelExtent(size.height(), devicePixelRatio)) {
            // Same pixels: converting equals drawing it onto a clear canvas.
            canvas = source.convertToFormat(QImage::Format_ARGB32_Premultiplied);
            canvas.setDevicePixelRatio(devicePixelRatio);
        } else {
            canvas = newCanvas(size, devicePixelRatio);
            if (drawIcon && !canvas.isNull() && !source.isNull()) {
                QPainter painter(&canvas);
                painter.setRenderHint(QPainter::SmoothPixmapTransform);
                painter.drawImage(rect, source);
            }
        }
        if (canvas.isNull())
            continue;

        const qreal side = badgeSideFor(size.width());
        const QImage badge =
            badgeCache().badge(side, size.width() > 32, devicePixelRatio, openTasks);
        if (!badge.isNull()) {
            // As drawAtTopRightOf does: top-right corner, source-over.
            QPainter painter(&canvas);
            painter.drawImage(QPointF(rect.width() - side, 0), badge);
        }
        result.addRepresentation(canvas, size);
    }
    return result;
}
