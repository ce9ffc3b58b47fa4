// The watcher over real inotify streams: what an editor does to a watched
// file arrives as the right report. A short latency keeps these quick; the
// last test runs at the app's own 2.0 s.
#include "foundation/LWTimestamp.h"
#include "monitoring/DWFileWatcher.h"
#include "platform/DWInotifyEventStreamFactory.h"
#include "support/TestEnvironment.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <functional>
#include <gtest/gtest.h>

namespace {
class WatcherOnInotifyTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(root.isValid());
        dwtest::writeFile(sentinel, "x");
        watcher.setDelegate({[this](const QString& path) { modified << path; },
                             [this](const QString& path) { deleted << path; }});
        watcher.startWatchingFile(sentinel);
    }
    // A task list dated a minute back, so that a write now moves its date
    // forward however coarse the file system's clock.
    QString makeList(const QString& name) {
        const QString path = root.path() + QStringLiteral("/lists/") + name;
        dwtest::writeFile(path, "- task\n");
        setDateSecondsAgo(path, 60);
        return path;
    }
    static void setDateSecondsAgo(const QString& path, qint64 seconds) {
        ASSERT_TRUE(lw::setContentModificationDate(
            path, {QDateTime::currentSecsSinceEpoch() - seconds, 0}));
    }
    // Registers, then waits out the first report (a fresh registration counts
    // as modified at the first event of its directory).
    void watchSettled(const QStringList& paths) {
        for (const QString& path : paths)
            watcher.startWatchingFile(path);
        dwtest::writeFile(root.path() + QStringLiteral("/lists/.settle"), "x");
        ASSERT_TRUE(waitFor(modified, paths.last()));
        modified.clear();
    }
    static bool waitFor(const QStringList& reports, const QString& path) {
        return dwtest::waitUntil([&] { return reports.contains(path); }, 5000);
    }
    // Once the sentinel's change is reported, all earlier ones were handled.
    bool sentinelReported() {
        modified.removeAll(sentinel);
        dwtest::writeFile(sentinel, QByteArray::number(QDateTime::currentMSecsSinceEpoch()));
        return waitFor(modified, sentinel);
    }

    QTemporaryDir root;
    QString sentinel = root.path() + QStringLiteral("/sentinel/sentinel.txt");
    DWFileWatcher watcher{DWInotifyEventStreamFactory::create(), 0.05};
    QStringList modified;
    QStringList deleted;
};
} // namespace

TEST_F(WatcherOnInotifyTest, EveryWayOfSavingIsAModification) {
    const QString list = makeList(QStringLiteral("list.txt"));
    watchSettled({list});
    const std::function<void()> saves[] = {
        [&] {
            QFile f(list);
            f.open(QIODevice::ReadWrite);
            f.write("- x");
        }, // in place
        [&] {
            QFile f(list);
            f.open(QIODevice::Append);
            f.write("- y\n");
        },                                         // appended
        [&] { dwtest::writeFile(list, "- z\n"); }, // truncated, rewritten
        [&] { QFile::resize(list, 0); },           // truncated only
        [&] {
            dwtest::writeFile(list + u'~', "- n\n");
            QFile::remove(list);
            QFile::rename(list + u'~', list);
        },
        [&] {
            QFile::rename(list, list + QStringLiteral(".bak"));
            dwtest::writeFile(list, "- m\n");
        },
    };
    for (const auto& save : saves) {
        setDateSecondsAgo(list, 60);
        save();
        EXPECT_TRUE(waitFor(modified, list)) << "save #" << (&save - saves);
        modified.clear();
    }
    EXPECT_TRUE(deleted.isEmpty());
}

TEST_F(WatcherOnInotifyTest, TwoFilesInOneDirectoryAreReportedApart) {
    const QString first = makeList(QStringLiteral("one.txt"));
    const QString second = makeList(QStringLiteral("two.txt"));
    watchSettled({first, second});
    dwtest::writeFile(second, "- changed\n");
    ASSERT_TRUE(waitFor(modified, second));
    ASSERT_TRUE(sentinelReported());
    EXPECT_FALSE(modified.contains(first));
}

TEST_F(WatcherOnInotifyTest, ASubdirectoryChangeOrABackwardsDateReportsNothing) {
    const QString deep = root.path() + QStringLiteral("/lists/sub/deep.txt");
    dwtest::writeFile(deep, "- deep\n");
    const QString list = makeList(QStringLiteral("list.txt"));
    const QString fresh = makeList(QStringLiteral("fresh.txt"));
    watchSettled({list});
    // Freshly registered, so any event of its directory would report it.
    watcher.startWatchingFile(fresh);
    dwtest::writeFile(deep, "- changed\n");
    ASSERT_TRUE(sentinelReported());
    EXPECT_FALSE(modified.contains(fresh));

    // New contents, date put back before the one last seen (a copy that
    // keeps dates): no modification, and the stored date stays.
    dwtest::writeFile(list, "- restored\n");
    setDateSecondsAgo(list, 3600);
    ASSERT_TRUE(sentinelReported());
    EXPECT_FALSE(modified.contains(list));
    dwtest::writeFile(list, "- now\n");
    EXPECT_TRUE(waitFor(modified, list));
}

TEST_F(WatcherOnInotifyTest, ADeletedAndRecreatedFile) {
    const QString list = makeList(QStringLiteral("list.txt"));
    const QString neighbour = makeList(QStringLiteral("neighbour.txt"));
    watchSettled({list, neighbour});
    ASSERT_TRUE(QFile::remove(list));
    ASSERT_TRUE(waitFor(deleted, list));
    dwtest::writeFile(list, "- back\n"); // still registered: modified again
    ASSERT_TRUE(waitFor(modified, list));

    // As the app does: unregistered from inside the report, which rebuilds
    // the stream under its own running callback.
    watcher.setDelegate({[this](const QString& path) { modified << path; },
                         [this](const QString& path) {
                             deleted << path;
                             watcher.stopWatchingFile(path);
                         }});
    deleted.clear();
    modified.clear();
    ASSERT_TRUE(QFile::remove(list));
    ASSERT_TRUE(waitFor(deleted, list));
    dwtest::writeFile(neighbour, "- changed\n");
    EXPECT_TRUE(waitFor(modified, neighbour));
    EXPECT_EQ(deleted, QStringList{list});
    EXPECT_FALSE(modified.contains(list));
}

TEST(WatcherAtAppLatency, ReportsASavedFile) {
    QTemporaryDir root;
    const QString list = root.path() + QStringLiteral("/list.txt");
    dwtest::writeFile(list, "- task\n");
    DWFileWatcher watcher(DWInotifyEventStreamFactory::create());
    QStringList modified;
    watcher.setDelegate({[&](const QString& path) { modified << path; }, {}});
    watcher.startWatchingFile(list);
    dwtest::writeFile(list, "- task\n- another\n");
    EXPECT_TRUE(dwtest::waitUntil([&] { return !modified.isEmpty(); }, 8000));
    EXPECT_EQ(modified, QStringList{list});
}
