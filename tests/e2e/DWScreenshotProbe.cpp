// Finds Dotwise's red badges in a screenshot, for the file-manager end-to-end
// test, which sees only pixels.
//
//   dw_screenshot_probe badges SHOT.png X Y WIDTH HEIGHT
//       one line "x y width height" (screen coordinates) per badge inside
//       that rectangle: a patch of the badge's red, gloss and digits included,
//       at least 6 pixels across
//   dw_screenshot_probe differ A.png B.png X Y WIDTH HEIGHT
//       how many pixels differ between the two inside the rectangle

#include <QGuiApplication>
#include <QImage>
#include <QRect>
#include <cstdio>
#include <utility>
#include <vector>

namespace {
int fail(const char* message) {
    std::fprintf(stderr, "dw_screenshot_probe: %s\n", message);
    return 1;
}

// The disc's red (0.76, 0.05, 0.11), alone or under the white gloss, scaled
// and blended with a light background by the file manager.
bool isBadgeRed(QRgb pixel) {
    const int r = qRed(pixel), g = qGreen(pixel), b = qBlue(pixel);
    return r >= 150 && r - g >= 90 && r - b >= 80 && qAbs(g - b) <= 40;
}

QList<QRect> badgesIn(const QImage& image, const QRect& area) {
    const QRect box = area.intersected(image.rect());
    std::vector<char> seen(size_t(box.width()) * box.height(), 0);
    // True the first time it is asked about a point of the badge's red.
    const auto takeRed = [&](QPoint p) {
        if (!box.contains(p) || !isBadgeRed(image.pixel(p)))
            return false;
        char& mark = seen[size_t(p.y() - box.top()) * box.width() + (p.x() - box.left())];
        return !std::exchange(mark, 1);
    };
    QList<QRect> badges;
    for (int y = box.top(); y <= box.bottom(); ++y) {
        for (int x = box.left(); x <= box.right(); ++x) {
            if (!takeRed({x, y}))
                continue;
            // Flood the patch; gaps of up to 2 pixels (the digits) join it.
            QRect patch(x, y, 1, 1);
            std::vector<QPoint> todo{{x, y}};
            while (!todo.empty()) {
                const QPoint p = todo.back();
                todo.pop_back();
                patch |= QRect(p, QSize(1, 1));
                for (int dy = -3; dy <= 3; ++dy)
                    for (int dx = -3; dx <= 3; ++dx)
                        if (takeRed(p + QPoint(dx, dy)))
                            todo.push_back(p + QPoint(dx, dy));
            }
            if (patch.width() >= 6 && patch.height() >= 6)
                badges.append(patch);
        }
    }
    return badges;
}

QImage load(const char* path) {
    return QImage(QString::fromLocal8Bit(path)).convertToFormat(QImage::Format_RGB32);
}

QRect rectFrom(char** argv) {
    return QRect(atoi(argv[0]), atoi(argv[1]), atoi(argv[2]), atoi(argv[3]));
}
} // namespace

int main(int argc, char* argv[]) {
    QGuiApplication app(argc, argv);
    const QString command = argc > 1 ? QString::fromLocal8Bit(argv[1]) : QString();
    if (command == QLatin1String("badges") && argc == 7) {
        const QImage shot = load(argv[2]);
        if (shot.isNull())
            return fail("can't read the screenshot");
        for (const QRect& badge : badgesIn(shot, rectFrom(argv + 3)))
            std::printf("%d %d %d %d\n", badge.x(), badge.y(), badge.width(), badge.height());
        return 0;
    }
    if (command == QLatin1String("differ") && argc == 8) {
        const QImage a = load(argv[2]), b = load(argv[3]);
        if (a.isNull() || a.size() != b.size())
            return fail("can't read the screenshots, or their sizes differ");
        const QRect box = rectFrom(argv + 4).intersected(a.rect());
        long differing = 0;
        for (int y = box.top(); y <= box.bottom(); ++y)
            for (int x = box.left(); x <= box.right(); ++x)
                differing += a.pixel(x, y) != b.pixel(x, y);
        std::printf("%ld\n", differing);
        return 0;
    }
    return fail("usage: badges SHOT.png X Y W H | differ A.png B.png X Y W H");
}
