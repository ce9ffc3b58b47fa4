// Build-time helper: renders the raster artwork the application and its
// installation need, so that only sources are kept in git.
//
//   dw_render_artwork icon INPUT.svg SIZE OUTPUT.png
//   dw_render_artwork noise SIZE OUTPUT.png
#include <QGuiApplication>
#include <QImage>
#include <QPainter>
#include <QRandomGenerator>
#include <QSvgRenderer>
#include <cstdio>

namespace {
int renderIcon(const QString& input, int side, const QString& output) {
    QSvgRenderer renderer(input);
    if (!renderer.isValid()) {
        std::fprintf(stderr, "dw_render_artwork: cannot read %s\n", qPrintable(input));
        return 1;
    }
    QImage image(side, side, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    renderer.render(&painter, QRectF(0, 0, side, side));
    painter.end();
    return image.save(output, "PNG") ? 0 : 1;
}

// A tile of faint light and dark speckle, mostly transparent so that it sits
// on the window colour of a light or a dark theme alike. Seeded, so every
// build makes the same tile.
int renderNoise(int side, const QString& output) {
    QRandomGenerator random(0x6e6f6973u);
    QImage image(side, side, QImage::Format_ARGB32);
    for (int y = 0; y < side; ++y) {
        auto* row = reinterpret_cast<QRgb*>(image.scanLine(y));
        for (int x = 0; x < side; ++x) {
            const int value = int(random.bounded(256)) - 128;
            const int alpha = std::abs(value) * 26 / 128;
            row[x] = value < 0 ? qRgba(0, 0, 0, alpha) : qRgba(255, 255, 255, alpha);
        }
    }
    return image.save(output, "PNG") ? 0 : 1;
}
} // namespace

int main(int argc, char* argv[]) {
    QGuiApplication app(argc, argv); // fonts for the text in the pictures
    const QStringList args = app.arguments();
    if (args.size() == 5 && args[1] == QLatin1String("icon"))
        return renderIcon(args[2], args[3].toInt(), args[4]);
    if (args.size() == 4 && args[1] == QLatin1String("noise"))
        return renderNoise(args[2].toInt(), args[3]);
    std::fprintf(stderr,
                 "usage: dw_render_artwork icon IN.svg SIZE OUT.png | noise SIZE OUT.png\n");
    return 2;
}
