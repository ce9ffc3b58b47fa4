// The folder-size walk against `du -sb` over the same tree, warm cache.
//
//   bench_folder_size [FOLDER] [ROUNDS]      (defaults: /usr, 5)
//
// Prints the median time of each, their ratio (ours / du, lower is better),
// both totals and the `find ! -type d` sum that ours must equal. du counts
// folders' own sizes and hard links once, so its total differs from ours.
#include "filesystem/LWFileSystem.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QProcess>
#include <algorithm>
#include <cstdio>
#include <vector>

namespace {
struct Run {
    qint64 nanoseconds = 0;
    quint64 total = 0;
};

Run runWalk(const QString& folder) {
    QElapsedTimer timer;
    timer.start();
    const quint64 total = LWFileSystem::fileSizeForPath(folder);
    return {timer.nsecsElapsed(), total};
}

QByteArray runProgram(const QString& program, const QStringList& arguments, qint64* nanoseconds) {
    QProcess process;
    process.setStandardErrorFile(QProcess::nullDevice());
    QElapsedTimer timer;
    timer.start();
    process.start(program, arguments);
    process.waitForFinished(-1);
    if (nanoseconds)
        *nanoseconds = timer.nsecsElapsed();
    return process.readAllStandardOutput();
}

Run runDu(const QString& folder) {
    Run run;
    const QByteArray output =
        runProgram(QStringLiteral("du"), {QStringLiteral("-sb"), folder}, &run.nanoseconds);
    run.total = output.split('\t').value(0).toULongLong();
    return run;
}

quint64 findTotal(const QString& folder) {
    const QByteArray output =
        runProgram(QStringLiteral("find"),
                   {folder, QStringLiteral("!"), QStringLiteral("-type"), QStringLiteral("d"),
                    QStringLiteral("-printf"), QStringLiteral("%s\\n")},
                   nullptr);
    quint64 total = 0;
    for (const QByteArray& line : output.split('\n'))
        total += line.toULongLong();
    return total;
}

qint64 median(std::vector<qint64> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}
} // namespace

int main(int argc, char* argv[]) {
    QCoreApplication app(argc, argv);
    const QStringList arguments = app.arguments();
    const QString folder = arguments.value(1, QStringLiteral("/usr"));
    const int rounds = std::max(1, arguments.value(2, QStringLiteral("5")).toInt());

    // Warm the cache for both.
    runWalk(folder);
    runDu(folder);

    std::vector<qint64> ours;
    std::vector<qint64> du;
    Run lastOurs;
    Run lastDu;
    for (int round = 0; round < rounds; ++round) {
        // Alternating, so that both see the same machine load.
        lastOurs = runWalk(folder);
        lastDu = runDu(folder);
        ours.push_back(lastOurs.nanoseconds);
        du.push_back(lastDu.nanoseconds);
    }
    const quint64 expected = findTotal(folder);
    const double oursMs = median(ours) / 1e6;
    const double duMs = median(du) / 1e6;

    std::printf("folder size of %s, %d rounds, median wall time\n", qPrintable(folder), rounds);
    std::printf("  fileSizeForPath  %10.1f ms  total %llu bytes\n", oursMs,
                static_cast<unsigned long long>(lastOurs.total));
    std::printf("  du -sb           %10.1f ms  total %llu bytes\n", duMs,
                static_cast<unsigned long long>(lastDu.total));
    std::printf("  find ! -type d sum           total %llu bytes (%s)\n",
                static_cast<unsigned long long>(expected),
                expected == lastOurs.total ? "equal to ours" : "DIFFERS from ours");
    std::printf("ratio fileSizeForPath / du: %.3f\n", oursMs / duMs);
    return expected == lastOurs.total ? 0 : 1;
}
