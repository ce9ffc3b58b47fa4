// The watcher over real inotify streams: what a user's editor does to a
// watched file arrives as the right report. A short latency keeps these
// quick; one test runs at the app's own 2.0 s.
#include "foundation/LWTimestamp.h"
#include "monitoring/DWFileWatcher.h"
#include "platform/DWInotifyEventStreamFactory.h"
#include "support/TestEnvironment.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <fcntl.h>
#include <functional>
#include <gtest/gtest.h>
#include <unistd.h>

void PrintTo(const QString& text, std::ostream* out) {
    *out << '"' << text.toStdString() << '"';
}

namespace {
constexpr int deadlineMs = 5000;

class WatcherOnInotifyTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(root.isValid());
        dir = root.path() + QStringLiteral("/lists");
        sentinelDir = root.path() + QStringLiteral("/sentinel");
        ASSERT_TRUE(QDir().mkpath(dir) && QDir().mkpath(sentinelDir));
        sentinel = sentinelDir + QStringLiteral("/sentinel.txt");
        dwtest::writeFile(sentinel, "x");
        watcher = std::make_unique<DWFileWatcher>(DWInotifyEventStreamFactory::create(), 0.05);
        watcher->setDelegate({[this](const QString& path) { modified.append(path); },
                              [this](const QString& path) { deleted.append(path); }});
        watcher->startWatchingFile(sentinel);
    }

    // A task list whose date lies a minute back, so that any write now moves
    // it forward however coarse the file system's clock.
    QString makeList(const QString& name) {
        const QString path = dir + QLatin1Char('/') + name;
        dwtest::writeFile(path, "- task\n");
        setDateSecondsAgo(path, 60);
        return path;
    }
    static void setDateSecondsAgo(const QString& path, qint64 seconds) {
        ASSERT_TRUE(lw::setContentModificationDate(
            path, {QDateTime::currentSecsSinceEpoch() - seconds, 0}));
    }
    // Registers and waits for the first report (a fresh registration counts
    // as modified at the first event of its directory), then forgets it.
    void watchAndSettle(const QStringList& paths) {
        for (const QString& path : paths)
            watcher->startWatchingFile(path);
        touch(dir + QStringLiteral("/.settle"));
        ASSERT_TRUE(dwtest::waitUntil(
            [&] {
                return std::all_of(paths.begin(), paths.end(),
                                   [&](const QString& path) { return modified.contains(path); });
            },
            deadlineMs));
        modified.clear();
    }
    static void touch(const QString& path) { dwtest::writeFile(path, QByteArray::number(rand())); }
    // Waits until the sentinel is reported: whatever happened before it has
    // been handled by then.
    bool sentinelReported() {
        modified.removeAll(sentinel);
        touch(sentinel);
        return dwtest::waitUntil([&] { return modified.contains(sentinel); }, deadlineMs);
    }
    void waitForModified(const QString& path) {
        EXPECT_TRUE(dwtest::waitUntil([&] { return modified.contains(path); }, deadlineMs))
            << path.toStdString();
    }

    QTemporaryDir root;
    QString dir;
    QString sentinelDir;
    QString sentinel;
    std::unique_ptr<DWFileWatcher> watcher;
    QStringList modified;
    QStringList deleted;
};

void writeRaw(const QString& path, const QByteArray& bytes, int flags) {
    const int fd = ::open(QFile::encodeName(path).constData(), flags, 0644);
    ASSERT_GE(fd, 0) << path.toStdString();
    ASSERT_EQ(::write(fd, bytes.constData(), size_t(bytes.size())), bytes.size());
    ::close(fd);
}

void renameFile(const QString& from, const QString& to) {
    ASSERT_EQ(::rename(QFile::encodeName(from).constData(), QFile::encodeName(to).constData()), 0);
}
} // namespace

TEST_F(WatcherOnInotifyTest, EveryWayOfSavingIsReportedAsAModification) {
    const QString list = makeList(QStringLiteral("list.txt"));
    watchAndSettle({list});
    const std::pair<const char*, std::function<void()>> saves[] = {
        {"in place", [&] { writeRaw(list, "- x\n", O_WRONLY); }},
        {"truncate and rewrite", [&] { writeRaw(list, "- y\n", O_WRONLY | O_TRUNC); }},
        {"temporary file renamed over",
         [&] {
             writeRaw(dir + QStringLiteral("/list.txt.tmp"), "- z\n", O_WRONLY | O_CREAT);
             renameFile(dir + QStringLiteral("/list.txt.tmp"), list);
         }},
        {"old renamed away, new written",
         [&] {
             renameFile(list, list + QStringLiteral("~"));
             writeRaw(list, "- w\n", O_WRONLY | O_CREAT);
         }},
    };
    for (const auto& [name, save] : saves) {
        SCOPED_TRACE(name);
        setDateSecondsAgo(list, 60); // an attribute change: no event of its own
        save();
        waitForModified(list);
        modified.clear();
    }
    EXPECT_TRUE(deleted.isEmpty());
}

TEST_F(WatcherOnInotifyTest, TwoFilesInOneDirectoryAreReportedApart) {
    const QString first = makeList(QStringLiteral("one.txt"));
    const QString second = makeList(QStringLiteral("two.txt"));
    watchAndSettle({first, second});

    touch(first);
    waitForModified(first);
    ASSERT_TRUE(sentinelReported());
    EXPECT_FALSE(modified.contains(second));

    modified.clear();
    touch(second);
    waitForModified(second);
    ASSERT_TRUE(sentinelReported());
    EXPECT_FALSE(modified.contains(first));
}

TEST_F(WatcherOnInotifyTest, ChangesInASubdirectoryReportNothing) {
    const QString deep = dir + QStringLiteral("/sub/deep.txt");
    dwtest::writeFile(deep, "- task\n");
    // Freshly registered: any event of its directory would report it.
    const QString list = makeList(QStringLiteral("list.txt"));
    watcher->startWatchingFile(list);
    writeRaw(deep, "- changed\n", O_WRONLY | O_TRUNC);
    ASSERT_TRUE(sentinelReported());
    EXPECT_FALSE(modified.contains(list));
    EXPECT_TRUE(deleted.isEmpty());
}

TEST_F(WatcherOnInotifyTest, ADateMovedBackwardsIsNotAModification) {
    const QString list = makeList(QStringLiteral("list.txt"));
    watchAndSettle({list});
    // New contents, then the date put back before the one last seen, as a
    // copy that keeps dates would.
    writeRaw(list, "- restored\n", O_WRONLY | O_TRUNC);
    setDateSecondsAgo(list, 3600);
    ASSERT_TRUE(sentinelReported());
    EXPECT_FALSE(modified.contains(list));

    // The stored date stayed where it was: a later date still counts.
    touch(list);
    waitForModified(list);
}

TEST_F(WatcherOnInotifyTest, ADeletedAndRecreatedFile) {
    const QString list = makeList(QStringLiteral("list.txt"));
    const QString neighbour = makeList(QStringLiteral("neighbour.txt"));
    watchAndSettle({list, neighbour});

    ASSERT_TRUE(QFile::remove(list));
    ASSERT_TRUE(dwtest::waitUntil([&] { return deleted.contains(list); }, deadlineMs));
    EXPECT_FALSE(modified.contains(list));

    // Still registered: back with a new date, it is modified again.
    dwtest::writeFile(list, "- back\n");
    waitForModified(list);

    // As the app does: a deleted file is unregistered from inside the report,
    // which rebuilds the stream under the running callback.
    watcher->setDelegate({[this](const QString& path) { modified.append(path); },
                          [this](const QString& path) {
                              deleted.append(path);
                              watcher->stopWatchingFile(path);
                          }});
    deleted.clear();
    ASSERT_TRUE(QFile::remove(list));
    ASSERT_TRUE(dwtest::waitUntil([&] { return deleted.contains(list); }, deadlineMs));
    EXPECT_FALSE(watcher->watchedFiles().contains(list));
    modified.clear();
    touch(neighbour);
    waitForModified(neighbour);
    EXPECT_EQ(deleted, QStringList{list});
}

TEST(WatcherAtAppLatency, ReportsASavedFileAfterTheStreamLatency) {
    QTemporaryDir root;
    ASSERT_TRUE(root.isValid());
    const QString list = root.path() + QStringLiteral("/list.txt");
    dwtest::writeFile(list, "- task\n");
    DWFileWatcher watcher(DWInotifyEventStreamFactory::create());
    QStringList modified;
    watcher.setDelegate({[&](const QString& path) { modified.append(path); }, {}});
    watcher.startWatchingFile(list);
    QCoreApplication::processEvents();

    dwtest::writeFile(list, "- task\n- another\n");
    EXPECT_TRUE(dwtest::waitUntil([&] { return !modified.isEmpty(); },
                                  int(DWFileWatcher::StreamLatency * 1000) + 5000));
    EXPECT_EQ(modified, QStringList{list});
}
