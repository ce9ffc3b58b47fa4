// The inotify stream against the real kernel in temporary folders, with a
// short latency. To show that something is NOT reported, a test changes a
// second, "sentinel" directory afterwards and waits for that: the kernel
// queues events in order, so anything earlier would have come by then.
#include "foundation/LWTimestamp.h"
#include "monitoring/DWFileWatcher.h"
#include "platform/DWInotifyEventStreamFactory.h"
#include "support/LogCapture.h"
#include "support/TestEnvironment.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <functional>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/xattr.h>

using namespace Qt::StringLiterals;

namespace {
struct Recorder {
    QList<QList<DWDirectoryEvent>> batches;
    QSet<QString> seen;
    DWDirectoryEventStream::Callback callback() {
        return [this](const QList<DWDirectoryEvent>& events) {
            batches.append(events);
            for (const DWDirectoryEvent& event : events)
                seen.insert(event.path);
        };
    }
    bool saw(const QString& path) const { return seen.contains(path); }
    bool waitFor(const QStringList& paths) const {
        const QSet<QString> wanted(paths.begin(), paths.end());
        return dwtest::waitUntil([&] { return seen.contains(wanted); }, 5000);
    }
};

class InotifyStreamTest : public ::testing::Test {
protected:
    QString makeDir(const QString& name) {
        const QString path = root.path() + QLatin1Char('/') + name;
        EXPECT_TRUE(QDir().mkpath(path));
        return path;
    }
    std::unique_ptr<DWDirectoryEventStream> start(const QSet<QString>& directories,
                                                  Recorder& recorder, double latency = 0.05) {
        auto stream = factory->createStream(directories, latency, DWDirectoryEventStream::SinceNow,
                                            recorder.callback());
        EXPECT_TRUE(stream && stream->start());
        return stream;
    }
    int warningCount() const { return int(log.loggerLines().filter(u" WARN|"_s).size()); }

    QTemporaryDir root;
    std::shared_ptr<DWInotifyEventStreamFactory> factory = DWInotifyEventStreamFactory::create();
    dwtest::LogCapture log{100};
};
} // namespace

TEST_F(InotifyStreamTest, AttributeChangesAreNotReportedSubdirectoriesComeWithTheirPath) {
    const QString dir = makeDir(u"lists"_s);
    const QString sentinel = makeDir(u"sentinel"_s);
    const QString list = dir + u"/list.txt"_s, deep = dir + u"/sub/deep.txt"_s;
    dwtest::writeFile(list, "- task\n");
    dwtest::writeFile(deep, "- task\n");
    Recorder recorder;
    auto stream = start({dir, sentinel}, recorder);

    // What the app does to a watched file (its date put back, an icon as an
    // extended attribute at most), a permissions change.
    ASSERT_TRUE(lw::setContentModificationDate(list, {1'600'000'000, 123}));
    ASSERT_EQ(::chmod(QFile::encodeName(list).constData(), 0600), 0);
    ::setxattr(QFile::encodeName(list).constData(), "user.dotwise.test", "1", 1, 0);
    dwtest::writeFile(sentinel + u"/x"_s, "x");
    ASSERT_TRUE(recorder.waitFor({sentinel}));
    EXPECT_FALSE(recorder.saw(dir));

    // A write one level down comes with that level's path, also in a
    // subdirectory made after the start; making it is a change of the parent.
    dwtest::writeFile(deep, "- changed\n");
    EXPECT_TRUE(recorder.waitFor({dir + u"/sub"_s}));
    EXPECT_FALSE(recorder.saw(dir));
    ASSERT_TRUE(QDir().mkpath(dir + u"/newsub/deeper"_s));
    EXPECT_TRUE(recorder.waitFor({dir}));
    dwtest::writeFile(dir + u"/newsub/deeper/x"_s, "x");
    EXPECT_TRUE(recorder.waitFor({dir + u"/newsub/deeper"_s}));
}

TEST_F(InotifyStreamTest, ChangingTheDirectoriesKeepsWhatIsPending) {
    const QString kept = makeDir(u"kept"_s), added = makeDir(u"added"_s);
    const QString dropped = makeDir(u"dropped"_s);
    Recorder recorder;
    auto stream = start({kept, dropped}, recorder, 0.3);
    dwtest::writeFile(kept + u"/x"_s, "x");
    dwtest::writeFile(dropped + u"/x"_s, "x");
    stream->removeDirectory(dropped);
    stream->addDirectory(added);
    dwtest::writeFile(added + u"/x"_s, "x");
    ASSERT_TRUE(recorder.waitFor({kept, added}));
    EXPECT_FALSE(recorder.saw(dropped));
    EXPECT_EQ(factory->instancesOpened(), 1);
}

TEST_F(InotifyStreamTest, AWatchedDirectoryThatGoesIsReportedAndWatchedAgainOnceBack) {
    const QString doomed = makeDir(u"doomed"_s), moved = makeDir(u"moved"_s);
    const QString flipped = makeDir(u"flipped"_s);
    Recorder recorder;
    auto stream = start({doomed, moved, flipped}, recorder, 0.3);
    ASSERT_TRUE(QDir(doomed).removeRecursively());
    ASSERT_TRUE(QDir().rename(moved, root.path() + u"/moved-away"_s));
    // Moved away and back within one window, as some tools replace a folder.
    ASSERT_TRUE(QDir().rename(flipped, flipped + u".old"_s));
    ASSERT_TRUE(QDir().rename(flipped + u".old"_s, flipped));
    EXPECT_TRUE(recorder.waitFor({doomed, moved, flipped}));

    // Looked for until back: then the new directories are watched, without a
    // warning for the meantime, as their going was reported.
    makeDir(u"doomed"_s);
    makeDir(u"moved"_s);
    ASSERT_TRUE(dwtest::waitUntil(
        [&] { return factory->isWatching(doomed) && factory->isWatching(moved); }, 5000));
    recorder = {};
    for (const QString& dir : {doomed, moved, flipped})
        dwtest::writeFile(dir + u"/x"_s, "x");
    EXPECT_TRUE(recorder.waitFor({doomed, moved, flipped}));
    EXPECT_EQ(warningCount(), 0);
}

TEST_F(InotifyStreamTest, AWindowIsOneBatchOneEventPerDirectoryInTheOrderOfIds) {
    const QString busy = makeDir(u"busy"_s), calm = makeDir(u"calm"_s);
    Recorder recorder;
    auto stream = factory->createStream({busy, calm}, 0.4, 1'000'000, recorder.callback());
    ASSERT_TRUE(stream->start());
    for (int i = 0; i < 20; ++i)
        dwtest::writeFile(busy + u"/f%1"_s.arg(i % 3), QByteArray::number(i));
    dwtest::writeFile(calm + u"/f"_s, "x");
    ASSERT_TRUE(dwtest::waitUntil([&] { return !recorder.batches.isEmpty(); }, 5000));
    const QList<DWDirectoryEvent>& batch = recorder.batches.at(0);
    ASSERT_EQ(batch.size(), 2);
    EXPECT_EQ(batch.at(0).path, busy);
    EXPECT_EQ(batch.at(1).path, calm);
    // Ids start after the one asked for.
    EXPECT_GT(batch.at(0).eventId, 1'000'000u);
    EXPECT_LT(batch.at(0).eventId, batch.at(1).eventId);
}

TEST_F(InotifyStreamTest, AQueueOverflowReportsEveryDirectory) {
    const QString flooded = makeDir(u"flooded"_s), quiet = makeDir(u"quiet"_s);
    Recorder recorder;
    auto stream = start({flooded, quiet}, recorder);
    QFile limit(u"/proc/sys/fs/inotify/max_queued_events"_s);
    const int queueLength =
        limit.open(QIODevice::ReadOnly) ? limit.readAll().trimmed().toInt() : 16384;
    if (queueLength > 200'000)
        GTEST_SKIP() << "the kernel's queue is too long to fill here";
    // More events than the queue holds while nothing reads; writes alternate
    // between two files so that the kernel can't fold them.
    QFile a(flooded + u"/a"_s), b(flooded + u"/b"_s);
    ASSERT_TRUE(a.open(QIODevice::WriteOnly | QIODevice::Unbuffered) &&
                b.open(QIODevice::WriteOnly | QIODevice::Unbuffered));
    for (int i = 0; i < queueLength / 2 + 100; ++i)
        ASSERT_TRUE(a.write("x", 1) == 1 && b.write("x", 1) == 1);
    EXPECT_TRUE(recorder.waitFor({quiet}));
}

TEST_F(InotifyStreamTest, ADirectoryThatCannotBeWatchedWarnsOnceAndTheOthersWork) {
    const QString good = makeDir(u"good"_s);
    const QString missing = root.path() + u"/missing"_s;
    const QString plainFile = root.path() + u"/plain.txt"_s;
    dwtest::writeFile(plainFile, "x");
    Recorder recorder;
    auto stream = start({good, missing, plainFile}, recorder);
    const QString lines = log.loggerLines().join(u'\n');
    EXPECT_EQ(warningCount(), 2) << lines.toStdString();
    EXPECT_TRUE(
        lines.contains(u"Could not watch directory %1: No such file or directory"_s.arg(missing)));
    EXPECT_TRUE(lines.contains(u"Could not watch directory %1: Not a directory"_s.arg(plainFile)));
    dwtest::writeFile(good + u"/x"_s, "x");
    EXPECT_TRUE(recorder.waitFor({good}));

    // Rebuilds try again without saying it again; once there, it's watched.
    stream.reset();
    stream = start({good, missing, plainFile}, recorder);
    makeDir(u"missing"_s);
    stream.reset();
    QCoreApplication::processEvents();
    stream = start({good, missing, plainFile}, recorder);
    EXPECT_TRUE(factory->isWatching(missing));
    EXPECT_EQ(warningCount(), 2);
}

TEST_F(InotifyStreamTest, RebuildsKeepTheInstanceAndTouchOnlyChangedDirectories) {
    constexpr int count = 300;
    QStringList dirs;
    for (int i = 0; i < count; ++i)
        dirs.append(makeDir(u"d%1"_s.arg(i)));
    // Two names of one directory share one watch, and both are reported.
    const QString alias = root.path() + u"/alias"_s;
    ASSERT_TRUE(QFile::link(dirs.at(1), alias));
    Recorder recorder;
    QSet<QString> set{dirs.at(0), dirs.at(1), alias};
    auto stream = start(set, recorder);
    dwtest::writeFile(dirs.at(1) + u"/x"_s, "x");
    ASSERT_TRUE(recorder.waitFor({dirs.at(1), alias}));
    recorder = {};
    dwtest::writeFile(dirs.at(0) + u"/early"_s, "x"); // queued, not yet read

    // A rebuild with one directory more: one addition, in place at once, and
    // nothing from before it started.
    stream.reset();
    Recorder rebuilt;
    set.insert(dirs.at(2));
    stream = start(set, rebuilt);
    EXPECT_EQ(factory->watchAdditions(), 4u);
    dwtest::writeFile(dirs.at(2) + u"/x"_s, "x");
    ASSERT_TRUE(rebuilt.waitFor({dirs.at(2)}));
    EXPECT_FALSE(rebuilt.saw(dirs.at(0)));
    EXPECT_TRUE(recorder.batches.isEmpty()) << "a stopped stream reports nothing";

    // Two less: removed when the event loop comes round, but the other name's
    // watch stays.
    stream.reset();
    set.remove(dirs.at(0));
    set.remove(alias);
    stream = start(set, rebuilt);
    QCoreApplication::processEvents();
    EXPECT_EQ(factory->watchRemovals(), 1u);

    // A burst as at start-up, long enough that the later additions are left
    // to the event loop: each directory is still added once.
    for (int i = 3; i < count; ++i)
        stream->addDirectory(dirs.at(i));
    QCoreApplication::processEvents();
    EXPECT_EQ(factory->watchAdditions(), quint64(count + 1));
    EXPECT_EQ(factory->instancesOpened(), 1);
    dwtest::writeFile(dirs.last() + u"/x"_s, "x");
    EXPECT_TRUE(rebuilt.waitFor({dirs.last()}));
    stream.reset();
    QCoreApplication::processEvents();
    EXPECT_EQ(factory->watchCount(), 0);
}

// Under its client, the watcher: every way an editor saves is reported, also
// through a link, and a file unregistered from inside its deletion report
// leaves the running stream watching the rest.
TEST_F(InotifyStreamTest, TheWatcherHearsEverySaveAndUnregistersFromItsCallback) {
    const QString list = root.path() + u"/lists/list.txt"_s;
    const QString link = root.path() + u"/lists/link.txt"_s;
    const QString target = root.path() + u"/elsewhere/real.txt"_s;
    const QString lone = root.path() + u"/lone/lone.txt"_s;
    for (const QString& path : {list, target, lone})
        dwtest::writeFile(path, "- task\n");
    ASSERT_TRUE(QFile::link(target, link));
    QStringList modified, deleted;
    DWFileWatcher watcher{factory, 0.05};
    watcher.setDelegate({[&](const QString& path) { modified << path; },
                         [&](const QString& path) {
                             deleted << path;
                             watcher.stopWatchingFile(path);
                         }});
    for (const QString& path : {list, link, lone})
        watcher.startWatchingFile(path);
    const auto arrives = [](const QStringList& reports, const QString& path) {
        return dwtest::waitUntil([&] { return reports.contains(path); }, 5000);
    };

    const std::function<void()> saves[] = {
        [&] { QFile::resize(list, 0); },
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
        modified.clear();
        // A minute back, so that the save moves the date however coarse the
        // file system's clock.
        ASSERT_TRUE(
            lw::setContentModificationDate(list, {QDateTime::currentSecsSinceEpoch() - 60, 0}));
        save();
        EXPECT_TRUE(arrives(modified, list)) << "save #" << (&save - saves);
    }
    // Fresh, the link counts as modified at the first change of its target.
    dwtest::writeFile(target, "- changed\n");
    EXPECT_TRUE(arrives(modified, link));

    modified.clear();
    ASSERT_TRUE(QFile::remove(lone));
    ASSERT_TRUE(arrives(deleted, lone));
    dwtest::writeFile(list, "- again\n");
    EXPECT_TRUE(arrives(modified, list));
    EXPECT_EQ(deleted, QStringList{lone});
    watcher.stopWatchingFile(link);
    EXPECT_EQ(watcher.watchedDirectories(), QSet<QString>{root.path() + u"/lists"_s});
}
