// The inotify stream against the real kernel, in temporary folders, with a
// short latency. Where a test must show that something is NOT reported, it
// makes a change in a second watched "sentinel" directory afterwards and
// waits for that: the kernel queues events in order, so once the sentinel is
// reported anything earlier would have been too.
#include "platform/DWInotifyEventStream.h"

#include "foundation/LWTimestamp.h"
#include "logging/LWLogger.h"
#include "platform/DWInotifyEventStreamFactory.h"
#include "support/TestEnvironment.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QThread>
#include <fcntl.h>
#include <functional>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

void PrintTo(const QString& text, std::ostream* out) {
    *out << '"' << text.toStdString() << '"';
}

namespace {
constexpr double shortLatency = 0.05;
constexpr int deadlineMs = 5000;

struct Recorder {
    QList<QList<DWDirectoryEvent>> batches;

    DWDirectoryEventStream::Callback callback() {
        return [this](const QList<DWDirectoryEvent>& events) { batches.append(events); };
    }
    QStringList paths() const {
        QStringList all;
        for (const auto& batch : batches)
            for (const DWDirectoryEvent& event : batch)
                all.append(event.path);
        return all;
    }
    bool saw(const QString& path) const { return paths().contains(path); }
    bool waitFor(const QString& path) {
        return dwtest::waitUntil([&] { return saw(path); }, deadlineMs);
    }
};

class InotifyStreamTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(root.isValid());
        factory = DWInotifyEventStreamFactory::create();
        logger = LWLogger::sharedInstance();
        savedBacklogSize = logger->messageBacklogSize();
        logger->setMessageBacklogSize(200);
        logger->setMessageBacklog({});
    }
    void TearDown() override {
        logger->setMessageBacklogSize(savedBacklogSize);
        logger->setMessageBacklog({});
    }

    QString makeDir(const QString& name) {
        const QString path = root.path() + QLatin1Char('/') + name;
        EXPECT_TRUE(QDir().mkpath(path));
        return path;
    }
    std::unique_ptr<DWDirectoryEventStream> startStream(const QSet<QString>& directories,
                                                        Recorder& recorder,
                                                        double latency = shortLatency) {
        auto stream = factory->createStream(directories, latency, DWDirectoryEventStream::SinceNow,
                                            recorder.callback());
        EXPECT_TRUE(stream && stream->start());
        return stream;
    }
    // Ends this turn of the event loop, so that streams started next place
    // their watches at once.
    static void endTurn() { QCoreApplication::processEvents(); }
    QStringList warnings() const {
        QStringList lines;
        for (const QString& line : logger->messageBacklog())
            if (line.startsWith(QStringLiteral(" WARN|")))
                lines.append(line);
        return lines;
    }

    QTemporaryDir root;
    std::shared_ptr<DWInotifyEventStreamFactory> factory;
    LWLogger* logger = nullptr;
    int savedBacklogSize = 0;
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

struct SavePattern {
    const char* name;
    std::function<void(const QString& dir, const QString& outside)> save;
};

// How editors and tools change a file: every one must be seen. Each starts
// from dir/list.txt existing and outside/ being an unwatched folder.
const SavePattern savePatterns[] = {
    {"InPlace", [](const QString& dir,
                   const QString&) { writeRaw(dir + "/list.txt", "- changed\n", O_WRONLY); }},
    {"Append",
     [](const QString& dir, const QString&) {
         writeRaw(dir + "/list.txt", "- more\n", O_WRONLY | O_APPEND);
     }},
    {"TruncateAndRewrite",
     [](const QString& dir, const QString&) {
         writeRaw(dir + "/list.txt", "- new\n", O_WRONLY | O_TRUNC);
     }},
    {"TruncateOnly",
     [](const QString& dir, const QString&) {
         ASSERT_EQ(::truncate(QFile::encodeName(dir + "/list.txt").constData(), 0), 0);
     }},
    {"TemporaryFileRenamedOver",
     [](const QString& dir, const QString&) {
         writeRaw(dir + "/.list.txt.swp", "- new\n", O_WRONLY | O_CREAT | O_TRUNC);
         renameFile(dir + "/.list.txt.swp", dir + "/list.txt");
     }},
    {"OldRenamedAwayThenNewWritten",
     [](const QString& dir, const QString&) {
         renameFile(dir + "/list.txt", dir + "/list.txt~");
         writeRaw(dir + "/list.txt", "- new\n", O_WRONLY | O_CREAT | O_TRUNC);
     }},
    {"Created", [](const QString& dir,
                   const QString&) { writeRaw(dir + "/another.txt", "", O_WRONLY | O_CREAT); }},
    {"Deleted",
     [](const QString& dir, const QString&) { ASSERT_TRUE(QFile::remove(dir + "/list.txt")); }},
    {"RenamedOut",
     [](const QString& dir, const QString& outside) {
         renameFile(dir + "/list.txt", outside + "/list.txt");
     }},
    {"RenamedIn",
     [](const QString& dir, const QString& outside) {
         writeRaw(outside + "/in.txt", "- in\n", O_WRONLY | O_CREAT);
         renameFile(outside + "/in.txt", dir + "/in.txt");
     }},
};

class SavePatternTest : public InotifyStreamTest,
                        public ::testing::WithParamInterface<SavePattern> {};
} // namespace

TEST_P(SavePatternTest, IsReportedWithTheDirectoryPath) {
    const QString dir = makeDir(QStringLiteral("lists"));
    const QString outside = makeDir(QStringLiteral("outside"));
    dwtest::writeFile(dir + QStringLiteral("/list.txt"), "- task\n");
    Recorder recorder;
    auto stream = startStream({dir}, recorder);
    GetParam().save(dir, outside);
    ASSERT_TRUE(recorder.waitFor(dir)) << GetParam().name;
    EXPECT_EQ(recorder.paths().count(dir), 1) << "one window, one event per directory";
}

INSTANTIATE_TEST_SUITE_P(EverySave, SavePatternTest, ::testing::ValuesIn(savePatterns),
                         [](const auto& test) { return std::string(test.param.name); });

TEST_F(InotifyStreamTest, AttributeChangesAndSubdirectoryContentsAreNotReported) {
    const QString dir = makeDir(QStringLiteral("lists"));
    const QString sub = makeDir(QStringLiteral("lists/sub"));
    const QString sentinel = makeDir(QStringLiteral("sentinel"));
    const QString list = dir + QStringLiteral("/list.txt");
    dwtest::writeFile(list, "- task\n");
    dwtest::writeFile(sub + QStringLiteral("/deep.txt"), "- task\n");
    Recorder recorder;
    auto stream = startStream({dir, sentinel}, recorder);

    // What the app itself does to a watched file: put its date back and set
    // an icon (an extended attribute at most). And a permissions change.
    struct stat before {};
    ASSERT_EQ(::stat(QFile::encodeName(list).constData(), &before), 0);
    ASSERT_TRUE(lw::setContentModificationDate(list, {1'600'000'000, 123}));
    ASSERT_EQ(::chmod(QFile::encodeName(list).constData(), 0600), 0);
    ::setxattr(QFile::encodeName(list).constData(), "user.dotwise.test", "1", 1, 0);
    // Contents of a subdirectory change.
    writeRaw(sub + QStringLiteral("/deep.txt"), "- changed\n", O_WRONLY | O_TRUNC);

    dwtest::writeFile(sentinel + QStringLiteral("/x"), "x");
    ASSERT_TRUE(recorder.waitFor(sentinel));
    EXPECT_FALSE(recorder.saw(dir));
    EXPECT_FALSE(recorder.saw(sub));
    struct stat after {};
    ASSERT_EQ(::stat(QFile::encodeName(list).constData(), &after), 0);
    EXPECT_EQ(after.st_atim.tv_sec, before.st_atim.tv_sec);
    EXPECT_EQ(after.st_atim.tv_nsec, before.st_atim.tv_nsec);
    EXPECT_EQ(after.st_mtim.tv_nsec, 123);

    // A subdirectory coming or going is a name change in the directory.
    ASSERT_TRUE(QDir().mkdir(dir + QStringLiteral("/newsub")));
    EXPECT_TRUE(recorder.waitFor(dir));
}

TEST_F(InotifyStreamTest, AWatchedDirectoryThatGoesIsReportedWithItsOwnPath) {
    const QString doomed = makeDir(QStringLiteral("doomed"));
    const QString moved = makeDir(QStringLiteral("moved"));
    Recorder recorder;
    auto stream = startStream({doomed, moved}, recorder);
    ASSERT_TRUE(QDir(doomed).removeRecursively());
    renameFile(moved, root.path() + QStringLiteral("/moved-away"));
    EXPECT_TRUE(
        dwtest::waitUntil([&] { return recorder.saw(doomed) && recorder.saw(moved); }, deadlineMs));

    // Back again: a new stream over the same names watches them again.
    makeDir(QStringLiteral("doomed"));
    makeDir(QStringLiteral("moved"));
    stream.reset();
    endTurn();
    Recorder again;
    stream = startStream({doomed, moved}, again);
    EXPECT_TRUE(factory->isWatching(doomed) && factory->isWatching(moved));
    dwtest::writeFile(moved + QStringLiteral("/x"), "x");
    EXPECT_TRUE(again.waitFor(moved));
    EXPECT_FALSE(again.saw(doomed));
}

TEST_F(InotifyStreamTest, BatchesFoldAWindowAndIdsOnlyGrow) {
    const QString busy = makeDir(QStringLiteral("busy"));
    const QString calm = makeDir(QStringLiteral("calm"));
    Recorder recorder;
    auto stream = startStream({busy, calm}, recorder, 0.4);
    for (int i = 0; i < 20; ++i)
        dwtest::writeFile(busy + QStringLiteral("/f%1").arg(i % 3), QByteArray::number(i));
    dwtest::writeFile(calm + QStringLiteral("/f"), "x");
    ASSERT_TRUE(dwtest::waitUntil([&] { return !recorder.batches.isEmpty(); }, deadlineMs));
    // Give a second batch, if the window were broken, the chance to show.
    dwtest::writeFile(calm + QStringLiteral("/g"), "y");
    ASSERT_TRUE(dwtest::waitUntil([&] { return recorder.batches.size() >= 2; }, deadlineMs));

    const QList<DWDirectoryEvent> first = recorder.batches.at(0);
    ASSERT_EQ(first.size(), 2) << "each directory once per window";
    QStringList firstPaths{first.at(0).path, first.at(1).path};
    firstPaths.sort();
    EXPECT_EQ(firstPaths, (QStringList{busy, calm}));
    quint64 previous = 0;
    for (const auto& batch : recorder.batches)
        for (const DWDirectoryEvent& event : batch) {
            EXPECT_GT(event.eventId, previous);
            previous = event.eventId;
        }
    EXPECT_EQ(recorder.batches.at(1), (QList<DWDirectoryEvent>{{calm, previous}}));
}

TEST_F(InotifyStreamTest, IdsContinueAfterTheStartingId) {
    const QString dir = makeDir(QStringLiteral("lists"));
    Recorder recorder;
    auto stream = factory->createStream({dir}, shortLatency, 1'000'000, recorder.callback());
    ASSERT_TRUE(stream && stream->start());
    dwtest::writeFile(dir + QStringLiteral("/x"), "x");
    ASSERT_TRUE(recorder.waitFor(dir));
    EXPECT_GT(recorder.batches.at(0).at(0).eventId, 1'000'000u);
}

TEST_F(InotifyStreamTest, AQueueOverflowReportsEveryDirectory) {
    const QString flooded = makeDir(QStringLiteral("flooded"));
    const QString quiet = makeDir(QStringLiteral("quiet"));
    Recorder recorder;
    auto stream = startStream({flooded, quiet}, recorder);
    endTurn();
    // More events than the kernel queues (16384 by default) while nothing
    // reads. Writes alternate between two files, so that the kernel can't
    // fold one into the last.
    int queueLimit = 16384;
    QFile limits(QStringLiteral("/proc/sys/fs/inotify/max_queued_events"));
    if (limits.open(QIODevice::ReadOnly))
        queueLimit = limits.readAll().trimmed().toInt();
    if (queueLimit > 200'000)
        GTEST_SKIP() << "the kernel's queue is too long to overflow here: " << queueLimit;
    const int first = ::open(QFile::encodeName(flooded + QStringLiteral("/a")).constData(),
                             O_WRONLY | O_CREAT, 0644);
    const int second = ::open(QFile::encodeName(flooded + QStringLiteral("/b")).constData(),
                              O_WRONLY | O_CREAT, 0644);
    ASSERT_GE(first, 0);
    ASSERT_GE(second, 0);
    for (int i = 0; i < queueLimit / 2 + 100; ++i) {
        ASSERT_EQ(::write(first, "x", 1), 1);
        ASSERT_EQ(::write(second, "x", 1), 1);
    }
    ::close(first);
    ::close(second);
    EXPECT_TRUE(recorder.waitFor(quiet));
    EXPECT_TRUE(recorder.saw(flooded));
}

TEST_F(InotifyStreamTest, ADirectoryThatCannotBeWatchedWarnsOnceAndTheOthersWork) {
    const QString good = makeDir(QStringLiteral("good"));
    const QString missing = root.path() + QStringLiteral("/missing");
    const QString notADirectory = root.path() + QStringLiteral("/plain.txt");
    dwtest::writeFile(notADirectory, "x");
    Recorder recorder;
    auto stream = startStream({good, missing, notADirectory}, recorder);
    QStringList lines = warnings();
    lines.sort();
    ASSERT_EQ(lines.size(), 2) << lines.join(QLatin1Char('\n')).toStdString();
    EXPECT_TRUE(
        lines.at(0).contains(QStringLiteral("Could not watch directory %1: ").arg(missing)));
    EXPECT_TRUE(
        lines.at(1).contains(QStringLiteral("Could not watch directory %1: ").arg(notADirectory)));

    dwtest::writeFile(good + QStringLiteral("/x"), "x");
    EXPECT_TRUE(recorder.waitFor(good));

    // Rebuilding tries again without repeating the warnings; once the folder
    // exists it is watched.
    stream.reset();
    endTurn();
    stream = startStream({good, missing, notADirectory}, recorder);
    EXPECT_EQ(warnings().size(), 2);
    makeDir(QStringLiteral("missing"));
    stream.reset();
    endTurn();
    stream = startStream({good, missing, notADirectory}, recorder);
    EXPECT_TRUE(factory->isWatching(missing));
    EXPECT_EQ(warnings().size(), 2);
}

TEST_F(InotifyStreamTest, RebuildsReuseTheInstanceAndTouchOnlyChangedDirectories) {
    QStringList dirs;
    constexpr int count = 300;
    for (int i = 0; i < count; ++i)
        dirs.append(makeDir(QStringLiteral("d%1").arg(i)));
    Recorder recorder;
    QSet<QString> set{dirs.at(0), dirs.at(1), dirs.at(2)};
    auto stream = startStream(set, recorder);
    EXPECT_EQ(factory->watchAdditions(), 3u);
    endTurn();

    // One directory more: one addition, at once.
    stream.reset();
    set.insert(dirs.at(3));
    stream = startStream(set, recorder);
    EXPECT_EQ(factory->watchAdditions(), 4u);
    EXPECT_EQ(factory->watchRemovals(), 0u);
    endTurn();

    // One directory less: one removal, when the event loop comes round.
    stream.reset();
    set.remove(dirs.at(0));
    stream = startStream(set, recorder);
    endTurn();
    EXPECT_EQ(factory->watchRemovals(), 1u);
    EXPECT_FALSE(factory->isWatching(dirs.at(0)));

    // A burst of rebuilds in one turn, as at start-up (long enough that the
    // later ones wait for the event loop): each directory is added once,
    // whatever the number of streams.
    for (int i = 4; i < count; ++i) {
        stream.reset();
        set.insert(dirs.at(i));
        stream = startStream(set, recorder);
        stream.reset();
        stream = startStream(set, recorder); // the same set again
    }
    endTurn();
    EXPECT_EQ(factory->watchAdditions(), quint64(count));
    EXPECT_EQ(factory->watchCount(), count - 1);
    EXPECT_EQ(factory->instancesOpened(), 1);

    dwtest::writeFile(dirs.last() + QStringLiteral("/x"), "x");
    EXPECT_TRUE(recorder.waitFor(dirs.last()));

    // No stream left: the watches go when the event loop comes round.
    stream.reset();
    endTurn();
    EXPECT_EQ(factory->watchCount(), 0);
}

TEST_F(InotifyStreamTest, ARebuiltStreamReportsOnlyChangesAfterItStarts) {
    const QString dir = makeDir(QStringLiteral("lists"));
    const QString sentinel = makeDir(QStringLiteral("sentinel"));
    Recorder before;
    auto stream = startStream({dir, sentinel}, before);
    endTurn();
    dwtest::writeFile(dir + QStringLiteral("/early.txt"), "x"); // queued, not yet read

    stream.reset();
    Recorder after;
    stream = startStream({dir, sentinel}, after);
    dwtest::writeFile(sentinel + QStringLiteral("/x"), "x");
    ASSERT_TRUE(after.waitFor(sentinel));
    EXPECT_FALSE(after.saw(dir));
    EXPECT_TRUE(before.batches.isEmpty()) << "a stopped stream reports nothing";
}

TEST_F(InotifyStreamTest, TwoNamesOfOneDirectoryAreBothReported) {
    const QString real = makeDir(QStringLiteral("real"));
    const QString alias = root.path() + QStringLiteral("/alias");
    ASSERT_TRUE(QFile::link(real, alias));
    Recorder recorder;
    auto stream = startStream({real, alias}, recorder);
    dwtest::writeFile(real + QStringLiteral("/x"), "x");
    EXPECT_TRUE(
        dwtest::waitUntil([&] { return recorder.saw(real) && recorder.saw(alias); }, deadlineMs));

    // Dropping one name keeps the shared watch for the other.
    stream.reset();
    Recorder second;
    stream = startStream({real}, second);
    endTurn();
    EXPECT_EQ(factory->watchRemovals(), 0u);
    dwtest::writeFile(real + QStringLiteral("/y"), "y");
    EXPECT_TRUE(second.waitFor(real));
    EXPECT_FALSE(second.saw(alias));
}

TEST_F(InotifyStreamTest, AStreamMayStopAndDestroyItselfFromItsCallback) {
    const QString dir = makeDir(QStringLiteral("lists"));
    std::unique_ptr<DWDirectoryEventStream> stream;
    int calls = 0;
    stream = factory->createStream({dir}, shortLatency, DWDirectoryEventStream::SinceNow,
                                   [&](const QList<DWDirectoryEvent>&) {
                                       ++calls;
                                       stream.reset();
                                   });
    ASSERT_TRUE(stream->start());
    dwtest::writeFile(dir + QStringLiteral("/x"), "x");
    ASSERT_TRUE(dwtest::waitUntil([&] { return calls == 1; }, deadlineMs));
    EXPECT_EQ(stream, nullptr);

    // Later changes reach nobody, and nothing breaks.
    Recorder sentinel;
    const QString other = makeDir(QStringLiteral("other"));
    auto watching = startStream({other}, sentinel);
    dwtest::writeFile(dir + QStringLiteral("/y"), "y");
    dwtest::writeFile(other + QStringLiteral("/y"), "y");
    ASSERT_TRUE(sentinel.waitFor(other));
    EXPECT_EQ(calls, 1);
}

TEST_F(InotifyStreamTest, StreamsBelongToTheFactorysThread) {
    const QString dir = makeDir(QStringLiteral("lists"));
    std::unique_ptr<DWDirectoryEventStream> made;
    std::unique_ptr<QThread> thread(QThread::create([&] {
        made = factory->createStream({dir}, shortLatency, DWDirectoryEventStream::SinceNow, {});
    }));
    thread->start();
    ASSERT_TRUE(thread->wait(deadlineMs));
    EXPECT_EQ(made, nullptr);
    EXPECT_EQ(warnings().size(), 1);

    // Once the factory reads on its own thread, a stream made elsewhere
    // won't start there.
    Recorder recorder;
    auto here = startStream({dir}, recorder);
    bool started = true;
    thread.reset(QThread::create([&] {
        auto there =
            factory->createStream({dir}, shortLatency, DWDirectoryEventStream::SinceNow, {});
        started = there && there->start();
    }));
    thread->start();
    ASSERT_TRUE(thread->wait(deadlineMs));
    EXPECT_FALSE(started);
    EXPECT_EQ(warnings().size(), 2);
    dwtest::writeFile(dir + QStringLiteral("/x"), "x");
    EXPECT_TRUE(recorder.waitFor(dir));
}
