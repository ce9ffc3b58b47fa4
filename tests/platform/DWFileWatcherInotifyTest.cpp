// The watcher over real inotify streams: what an editor does to a watched
// file arrives as the right report. A short latency keeps these quick (the
// app's own 2.0 s is exercised end to end by the controller's tests). The
// date comparisons themselves are tested over fake streams.
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

using namespace Qt::StringLiterals;

namespace {
class WatcherOnInotifyTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(root.isValid());
        watcher.setDelegate({[this](const QString& path) { modified << path; },
                             [this](const QString& path) { deleted << path; }});
    }
    // A task list dated a minute back, so that a write now moves its date
    // forward however coarse the file system's clock.
    QString makeList(const QString& name) {
        const QString path = root.path() + u"/lists/"_s + name;
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
        dwtest::writeFile(root.path() + u"/lists/.settle"_s, "x");
        ASSERT_TRUE(waitFor(modified, paths.last()));
        modified.clear();
    }
    static bool waitFor(const QStringList& reports, const QString& path) {
        return dwtest::waitUntil([&] { return reports.contains(path); }, 5000);
    }

    QTemporaryDir root;
    DWFileWatcher watcher{DWInotifyEventStreamFactory::create(), 0.05};
    QStringList modified;
    QStringList deleted;
};
} // namespace

TEST_F(WatcherOnInotifyTest, EveryWayOfSavingIsAModification) {
    const QString list = makeList(u"list.txt"_s);
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
            QFile::rename(list, list + u".bak"_s);
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

TEST_F(WatcherOnInotifyTest, ADeletedAndRecreatedFile) {
    const QString list = makeList(u"list.txt"_s);
    const QString neighbour = makeList(u"neighbour.txt"_s);
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
