// Start-up registration: 10,000 task lists spread over 1,000 directories are
// registered with one watcher, as the app does when it restores its list.
// The peer is the least any inotify watcher must do: 1,000 inotify_add_watch
// calls on a fresh instance. Rounds alternate between the two so that both
// see the same machine. Medians of wall time and of the thread's own CPU
// time are printed; on a machine that others share, the CPU times compare
// more fairly (waiting for a core is not counted).
#include "monitoring/DWFileWatcher.h"
#include "platform/DWInotifyEventStreamFactory.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <algorithm>
#include <cstdio>
#include <ctime>
#include <functional>
#include <sys/inotify.h>
#include <unistd.h>
#include <vector>

namespace {
constexpr int directoryCount = 1000;
constexpr int filesPerDirectory = 10;
constexpr int rounds = 11;

double nowMs(clockid_t clock) {
    timespec time{};
    clock_gettime(clock, &time);
    return double(time.tv_sec) * 1e3 + double(time.tv_nsec) / 1e6;
}

struct Timing {
    std::vector<double> wall;
    std::vector<double> cpu;

    void measure(const std::function<void()>& work) {
        const double wallStart = nowMs(CLOCK_MONOTONIC);
        const double cpuStart = nowMs(CLOCK_THREAD_CPUTIME_ID);
        work();
        cpu.push_back(nowMs(CLOCK_THREAD_CPUTIME_ID) - cpuStart);
        wall.push_back(nowMs(CLOCK_MONOTONIC) - wallStart);
    }
    static double median(std::vector<double> values) {
        std::sort(values.begin(), values.end());
        return values[values.size() / 2];
    }
    double wallMs() const { return median(wall); }
    double cpuMs() const { return median(cpu); }
};
} // namespace

int main(int argc, char* argv[]) {
    QCoreApplication app(argc, argv);
    QTemporaryDir root;
    if (!root.isValid()) {
        std::fprintf(stderr, "cannot make a temporary folder\n");
        return 1;
    }
    std::vector<QByteArray> directories;
    for (int d = 0; d < directoryCount; ++d) {
        const QString directory =
            root.path() + QStringLiteral("/folder-%1").arg(d, 4, 10, QLatin1Char('0'));
        QDir().mkpath(directory);
        directories.push_back(QFile::encodeName(directory));
    }
    // Files in the order a user adds them: folders interleaved.
    QStringList files;
    for (int f = 0; f < filesPerDirectory; ++f)
        for (const QByteArray& directory : directories) {
            files.append(QFile::decodeName(directory) + QStringLiteral("/list-%1.txt").arg(f));
            QFile(files.last()).open(QIODevice::WriteOnly);
        }

    Timing direct, registration;
    quint64 additions = 0;
    int watches = 0;
    for (int round = 0; round < rounds; ++round) {
        const int fd = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
        direct.measure([&] {
            for (const QByteArray& directory : directories)
                inotify_add_watch(fd, directory.constData(),
                                  IN_MODIFY | IN_CLOSE_WRITE | IN_CREATE | IN_DELETE |
                                      IN_MOVED_FROM | IN_MOVED_TO | IN_DELETE_SELF | IN_MOVE_SELF |
                                      IN_ONLYDIR);
        });
        ::close(fd);

        auto factory = DWInotifyEventStreamFactory::create();
        DWFileWatcher watcher(factory);
        registration.measure([&] {
            for (const QString& file : std::as_const(files))
                watcher.startWatchingFile(file);
            // Watches left for the event loop are part of the cost.
            QCoreApplication::processEvents();
        });
        additions = factory->watchAdditions();
        watches = factory->watchCount();
    }

    std::printf("register %lld files in %d directories with one watcher: %.2f ms wall, %.2f ms "
                "CPU (%llu watch additions, %d watches, %lld stream rebuilds)\n",
                static_cast<long long>(files.size()), directoryCount, registration.wallMs(),
                registration.cpuMs(), static_cast<unsigned long long>(additions), watches,
                static_cast<long long>(files.size()));
    std::printf("peer: %d inotify_add_watch calls on a fresh instance: %.2f ms wall, %.2f ms CPU\n",
                directoryCount, direct.wallMs(), direct.cpuMs());
    std::printf("ratio registration / peer: %.2fx wall, %.2fx CPU "
                "(goal: within 3x, and under 1000 ms)\n",
                registration.wallMs() / direct.wallMs(), registration.cpuMs() / direct.cpuMs());
    return 0;
}
