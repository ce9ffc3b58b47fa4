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
    const auto index = [&](int x, int y) {
        return size_t(y - box.top()) * box.width() + (x - box.left());
    };
    QList<QRect> badges;
    for (int y = box.top(); y <= box.bottom(); ++y) {
        for (int x = box.left(); x <= box.right(); ++x) {
            if (seen[index(x, y)] || !isBadgeRed(image.pixel(x, y)))
                continue;
            // Flood the patch; gaps of up to 2 pixels (the digits) join it.
            QRect patch(x, y, 1, 1);
            std::vector<QPoint> todo{{x, y}};
            seen[index(x, y)] = 1;
            while (!todo.empty()) {
                const QPoint p = todo.back();
                todo.pop_back();
                patch |= QRect(p, QSize(1, 1));
                for (int dy = -3; dy <= 3; ++dy) {
                    for (int dx = -3; dx <= 3; ++dx) {
                        const QPoint q(p.x() + dx, p.y() + dy);
                        if (!box.contains(q) || seen[index(q.x(), q.y())] ||
                            !isBadgeRed(image.pixel(q)))
                            continue;
                        seen[index(q.x(), q.y())] = 1;
                        todo.push_back(q);
                    }
                }
            }
            if (patch.width() >= 6 && patch.height() >= 6)
                badges.append(patch);
        }
    }
    return badges;
}

QRect rectFrom(char** argv) {
    return QRect(atoi(argv[0]), atoi(argv[1]), atoi(argv[2]), atoi(argv[3]));
}
} // namespace

int main(int argc, char* argv[]) {
    QGuiApplication app(argc, argv);
    const QString command = argc > 1 ? QString::fromLocal8Bit(argv[1]) : QString();
    if (command == QLatin1String("badges") && argc == 7) {
        const QImage shot(QString::fromLocal8Bit(argv[2]));
        if (shot.isNull())
            return fail("can't read the screenshot");
        for (const QRect& badge :
             badgesIn(shot.convertToFormat(QImage::Format_RGB32), rectFrom(argv + 3)))
            std::printf("%d %d %d %d\n", badge.x(), badge.y(), badge.width(), badge.height());
        return 0;
    }
    if (command == QLatin1String("differ") && argc == 8) {
        const QImage a =
            QImage(QString::fromLocal8Bit(argv[2])).convertToFormat(QImage::Format_RGB32);
        const QImage b =
            QImage(QString::fromLocal8Bit(argv[3])).convertToFormat(QImage::Format_RGB32);
        if (a.isNull() || a.size() != b.size())
            return fail("can't read the screenshots, or their sizes differ");
        const QRect box = rectFrom(argv + 4).intersected(a.rect());
        long differing = 0;
        for (int y = box.top(); y <= box.bottom(); ++y) {
            for (int x = box.left(); x <= box.right(); ++x)
                differing += a.pixel(x, y) != b.pixel(x, y);
        }
        std::printf("%ld\n", differing);
        return 0;
    }
    return fail("usage: badges SHOT.png X Y W H | differ A.png B.png X Y W H");
}
