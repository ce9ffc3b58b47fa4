// Start-up registration: 10,000 task lists spread over 1,000 directories are
// registered with one watcher, as the app does when it restores its list.
// The peer is the least any inotify watcher must do: 1,000 inotify_add_watch
// calls on a fresh instance. Rounds alternate between the two so that both
// see the same machine; medians and bests are printed (the bests say more
// on a machine that others share).
#include "monitoring/DWFileWatcher.h"
#include "platform/DWInotifyEventStreamFactory.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>
#include <algorithm>
#include <cstdio>
#include <sys/inotify.h>
#include <unistd.h>
#include <vector>

namespace {
constexpr int directoryCount = 1000;
constexpr int filesPerDirectory = 10;
constexpr int rounds = 11;

double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

double directAdditionsMs(const std::vector<QByteArray>& directories) {
    const int fd = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    QElapsedTimer timer;
    timer.start();
    for (const QByteArray& directory : directories)
        inotify_add_watch(fd, directory.constData(),
                          IN_MODIFY | IN_CLOSE_WRITE | IN_CREATE | IN_DELETE | IN_MOVED_FROM |
                              IN_MOVED_TO | IN_DELETE_SELF | IN_MOVE_SELF | IN_ONLYDIR);
    const double ms = double(timer.nsecsElapsed()) / 1e6;
    ::close(fd);
    return ms;
}

struct Registration {
    double ms = 0;
    quint64 additions = 0;
    int watches = 0;
};

Registration registerAll(const QStringList& files) {
    auto factory = DWInotifyEventStreamFactory::create();
    DWFileWatcher watcher(factory);
    QElapsedTimer timer;
    timer.start();
    for (const QString& file : files)
        watcher.startWatchingFile(file);
    // Watches left for the event loop are part of the cost.
    QCoreApplication::processEvents();
    Registration result{double(timer.nsecsElapsed()) / 1e6, factory->watchAdditions(),
                        factory->watchCount()};
    return result;
}
} // namespace

int main(int argc, char* argv[]) {
    QCoreApplication app(argc, argv);
    QTemporaryDir root;
    if (!root.isValid()) {
        std::fprintf(stderr, "cannot make a temporary folder\n");
        return 1;
    }
    std::vector<QByteArray> directories;
    QStringList files;
    for (int d = 0; d < directoryCount; ++d) {
        const QString directory =
            root.path() + QStringLiteral("/folder-%1").arg(d, 4, 10, QLatin1Char('0'));
        QDir().mkpath(directory);
        directories.push_back(QFile::encodeName(directory));
    }
    // Files in the order a user adds them: folders interleaved.
    for (int f = 0; f < filesPerDirectory; ++f)
        for (int d = 0; d < directoryCount; ++d) {
            const QString file =
                QFile::decodeName(directories[size_t(d)]) + QStringLiteral("/list-%1.txt").arg(f);
            QFile(file).open(QIODevice::WriteOnly);
            files.append(file);
        }

    std::vector<double> direct, registration;
    Registration last;
    for (int round = 0; round < rounds; ++round) {
        direct.push_back(directAdditionsMs(directories));
        last = registerAll(files);
        registration.push_back(last.ms);
    }
    const double directMs = median(direct);
    const double registrationMs = median(registration);
    const double directBest = *std::min_element(direct.begin(), direct.end());
    const double registrationBest = *std::min_element(registration.begin(), registration.end());
    std::printf("register %lld files in %d directories with one watcher: %.2f ms "
                "(%llu watch additions, %d watches, %lld stream rebuilds)\n",
                static_cast<long long>(files.size()), directoryCount, registrationMs,
                static_cast<unsigned long long>(last.additions), last.watches,
                static_cast<long long>(files.size()));
    std::printf("peer: %d inotify_add_watch calls on a fresh instance: %.2f ms\n", directoryCount,
                directMs);
    std::printf("ratio registration / peer: %.2fx median, %.2fx best (%.2f ms / %.2f ms); "
                "goal: within 3x, and under 1000 ms\n",
                registrationMs / directMs, registrationBest / directBest, registrationBest,
                directBest);
    return 0;
}
