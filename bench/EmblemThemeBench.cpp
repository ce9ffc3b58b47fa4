// What drawing the emblem icons costs: the common counts' emblems (every size,
// 1x and 2x, written as PNGs) drawn into an empty theme, against the peer, the
// picture mode's work for the same counts (a badge composed onto a five-size
// icon and its largest picture written as a PNG, as each picture update does).
// Prints both times, the ratio, the disk space and the peak memory growth.
//
//   build/release/bench/bench_emblem_theme [COUNTS]

#include "platform/DWEmblemTheme.h"
#include "views/DWBadgeImage.h"

#include <QDir>
#include <QDirIterator>
#include <QElapsedTimer>
#include <QGuiApplication>
#include <QTemporaryDir>
#include <cstdio>
#include <sys/resource.h>

namespace {
long peakKilobytes() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
}

qint64 bytesUnder(const QString& folder) {
    qint64 bytes = 0;
    QDirIterator it(folder, QDir::Files, QDirIterator::Subdirectories);
    while (it.hasNext())
        bytes += it.nextFileInfo().size();
    return bytes;
}
} // namespace

int main(int argc, char* argv[]) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    const int counts = argc > 1 ? atoi(argv[1]) : 100;
    QTemporaryDir folder;

    // The peer first, so that the glyph caches are warm for both.
    LWIconImage icon;
    for (int points : {16, 32, 128, 256, 512}) {
        QImage image(points, points, QImage::Format_ARGB32_Premultiplied);
        image.fill(QColor(220, 220, 230));
        icon.addRepresentation(image, QSizeF(points, points));
    }
    QElapsedTimer timer;
    timer.start();
    for (int n = 0; n < counts; ++n)
        DWBadgeImage::addBadgeTo(icon, n).largestImage().save(
            folder.filePath(QStringLiteral("picture-%1.png").arg(n)));
    const double pictureMs = double(timer.nsecsElapsed()) / 1e6;

    const long peakBefore = peakKilobytes();
    DWEmblemTheme theme(folder.filePath(QStringLiteral("hicolor")));
    QList<int> all;
    for (int n = 0; n < counts; ++n)
        all.append(n);
    timer.restart();
    theme.install(all);
    const double emblemMs = double(timer.nsecsElapsed()) / 1e6;

    std::printf("emblems for %d counts (%lld sizes x 2 scales): %.0f ms, %.1f ms a count\n", counts,
                static_cast<long long>(DWEmblemTheme::sizes().size()), emblemMs, emblemMs / counts);
    std::printf("peer, picture updates for the same counts: %.0f ms, %.1f ms a count\n", pictureMs,
                pictureMs / counts);
    std::printf("ratio emblem/picture: %.2f\n", emblemMs / pictureMs);
    std::printf("emblem theme on disk: %.1f MB; peak memory growth while drawing: %ld kB\n",
                double(bytesUnder(theme.themeDirectory())) / 1e6, peakKilobytes() - peakBefore);
    return 0;
}
