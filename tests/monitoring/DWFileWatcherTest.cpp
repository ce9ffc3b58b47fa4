// The watcher's logic, driven through a fake stream: every event is handed
// over at once, so these tests need no waiting.
#include "monitoring/DWFileWatcher.h"

#include "fakes/FakeDirectoryEventStreamFactory.h"
#include "logging/LWLogger.h"
#include "support/TestEnvironment.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <gtest/gtest.h>

// Readable failure messages.
void PrintTo(const QString& text, std::ostream* out) {
    *out << '"' << text.toStdString() << '"';
}

namespace {
struct Report {
    QString kind;
    QString path;
    bool operator==(const Report&) const = default;
};

void PrintTo(const Report& report, std::ostream* out) {
    *out << report.kind.toStdString() << ' ' << report.path.toStdString();
}

class FileWatcherTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(folder.isValid());
        dir = folder.path() + QStringLiteral("/lists");
        ASSERT_TRUE(QDir().mkpath(dir));
        factory = std::make_shared<FakeDirectoryEventStreamFactory>();
        watcher = std::make_unique<DWFileWatcher>(factory);
        watcher->setDelegate(recordingDelegate());
        logger = LWLogger::sharedInstance();
        savedBacklogSize = logger->messageBacklogSize();
        logger->setMessageBacklogSize(1000);
        logger->setMessageBacklog({});
    }
    void TearDown() override {
        watcher.reset();
        logger->setMessageBacklogSize(savedBacklogSize);
        logger->setMessageBacklog({});
    }

    DWFileWatcherDelegate recordingDelegate() {
        return {[this](const QString& path) {
                    reports.append({QStringLiteral("modified"), path});
                },
                [this](const QString& path) {
                    reports.append({QStringLiteral("deleted"), path});
                }};
    }

    QString file(const QString& name, const QByteArray& text = "- task\n") {
        const QString path = dir + QLatin1Char('/') + name;
        dwtest::writeFile(path, text);
        return path;
    }
    static void setDate(const QString& path, qint64 seconds, qint64 nanoseconds) {
        ASSERT_TRUE(lw::setContentModificationDate(path, {seconds, nanoseconds}));
    }
    // The watcher's log lines, oldest first, with N for the line number.
    QStringList logLines() const {
        QStringList lines = logger->messageBacklog();
        std::reverse(lines.begin(), lines.end());
        static const QRegularExpression place(QStringLiteral("\\|DWFileWatcher:\\d+\\|"));
        QStringList ours;
        for (QString line : lines) {
            if (line.contains(QStringLiteral("-[DWFileWatcher ")))
                ours.append(line.replace(place, QStringLiteral("|DWFileWatcher:N|")));
        }
        return ours;
    }
    QList<Report> takeReports() { return std::exchange(reports, {}); }

    QTemporaryDir folder;
    QString dir;
    std::shared_ptr<FakeDirectoryEventStreamFactory> factory;
    std::unique_ptr<DWFileWatcher> watcher;
    QList<Report> reports;
    LWLogger* logger = nullptr;
    int savedBacklogSize = 0;
};

QString line(const char* message, const char* function) {
    return QStringLiteral("DEBUG| %1 |DWFileWatcher:N| %2")
        .arg(QString::fromUtf8(message), QString::fromUtf8(function));
}
} // namespace

TEST(FileWatcherPaths, ParentDirectoryDropsTheLastComponent) {
    EXPECT_EQ(DWFileWatcher::parentDirectory(QStringLiteral("/a/b/list.txt")),
              QStringLiteral("/a/b"));
    EXPECT_EQ(DWFileWatcher::parentDirectory(QStringLiteral("/a/b/")), QStringLiteral("/a"));
    EXPECT_EQ(DWFileWatcher::parentDirectory(QStringLiteral("/list.txt")), QStringLiteral("/"));
    EXPECT_EQ(DWFileWatcher::parentDirectory(QStringLiteral("list.txt")), QString());
    EXPECT_EQ(DWFileWatcher::parentDirectory(QStringLiteral("/A b/ü/x")), QStringLiteral("/A b/ü"));
}

TEST_F(FileWatcherTest, RegistrationLogsEachStepAndRebuildsTheStream) {
    const QString first = file(QStringLiteral("one.txt"));
    const QString second = file(QStringLiteral("two.txt"));
    watcher->startWatchingFile(first);
    watcher->startWatchingFile(second);

    const QString rebuilt = QStringLiteral("Started file event stream watching 1 directories.");
    EXPECT_EQ(logLines(),
              (QStringList{
                  line(qPrintable(QStringLiteral("Started to watch directory: ") + dir),
                       "-[DWFileWatcher startWatchingFile:]"),
                  line(qPrintable(rebuilt), "-[DWFileWatcher _startFileEventStream]"),
                  line(qPrintable(QStringLiteral("Started watching file: ") + first),
                       "-[DWFileWatcher startWatchingFile:]"),
                  line("Stopped file event stream", "-[DWFileWatcher _stopFileEventStream]"),
                  line(qPrintable(rebuilt), "-[DWFileWatcher _startFileEventStream]"),
                  line(qPrintable(QStringLiteral("Started watching file: ") + second),
                       "-[DWFileWatcher startWatchingFile:]"),
              }));
    // One stream path per directory; a new stream per registration, each
    // from "since now" at the standard latency.
    EXPECT_EQ(factory->runningDirectories(), QSet<QString>{dir});
    EXPECT_EQ(factory->runningStreamCount(), 1);
    EXPECT_EQ(factory->streamsCreated(), 2);
    EXPECT_EQ(factory->lastLatency(), 2.0);
    EXPECT_EQ(factory->lastSinceEventId(), DWDirectoryEventStream::SinceNow);
}

TEST_F(FileWatcherTest, TwoFilesInOneDirectoryKeepItUntilTheLastLeaves) {
    const QString first = file(QStringLiteral("one.txt"));
    const QString second = file(QStringLiteral("two.txt"));
    const QString other = folder.path() + QStringLiteral("/elsewhere/three.txt");
    watcher->startWatchingFile(first);
    watcher->startWatchingFile(second);
    watcher->startWatchingFile(other);
    EXPECT_EQ(watcher->watchedDirectories(),
              (QSet<QString>{dir, folder.path() + QStringLiteral("/elsewhere")}));

    logger->setMessageBacklog({});
    watcher->stopWatchingFile(first);
    EXPECT_EQ(
        logLines(),
        (QStringList{line("Stopped file event stream", "-[DWFileWatcher _stopFileEventStream]"),
                     line(qPrintable(QStringLiteral("Won't remove directory '%1' from watch "
                                                    "list, because still watching: %2")
                                         .arg(dir, second)),
                          "-[DWFileWatcher stopWatchingFile:]"),
                     line("Started file event stream watching 2 directories.",
                          "-[DWFileWatcher _startFileEventStream]")}));
    EXPECT_TRUE(factory->runningDirectories().contains(dir));

    watcher->stopWatchingFile(other);
    logger->setMessageBacklog({});
    watcher->stopWatchingFile(second);
    EXPECT_EQ(
        logLines(),
        (QStringList{line("Stopped file event stream", "-[DWFileWatcher _stopFileEventStream]"),
                     line(qPrintable(QStringLiteral("Stopped watching directory: ") + dir),
                          "-[DWFileWatcher stopWatchingFile:]"),
                     line("Nothing to watch.", "-[DWFileWatcher _startFileEventStream]")}));
    EXPECT_EQ(factory->runningStreamCount(), 0);
    EXPECT_FALSE(watcher->isStreaming());
    EXPECT_TRUE(watcher->watchedDirectories().isEmpty());
    EXPECT_TRUE(watcher->watchedFiles().isEmpty());
}

TEST_F(FileWatcherTest, MissingPathsAndStrangersAreHarmless) {
    watcher->startWatchingFile(QString());
    watcher->startWatchingFile(QStringLiteral(""));
    watcher->stopWatchingFile(QString());
    EXPECT_TRUE(logLines().isEmpty());
    EXPECT_EQ(factory->streamsCreated(), 0);

    // A file never registered: its directory goes (it had nothing), and the
    // line is logged all the same.
    const QString stranger = folder.path() + QStringLiteral("/x/never.txt");
    watcher->stopWatchingFile(stranger);
    EXPECT_TRUE(logLines().contains(line(qPrintable(QStringLiteral("Stopped watching directory: ") +
                                                    folder.path() + QStringLiteral("/x")),
                                         "-[DWFileWatcher stopWatchingFile:]")));

    // A stranger beside a registered file leaves the directory watched.
    const QString kept = file(QStringLiteral("kept.txt"));
    watcher->startWatchingFile(kept);
    watcher->stopWatchingFile(dir + QStringLiteral("/stranger.txt"));
    EXPECT_EQ(watcher->watchedDirectories(), QSet<QString>{dir});
    EXPECT_EQ(watcher->watchedFiles(), QList<QString>{kept});
    EXPECT_EQ(factory->runningDirectories(), QSet<QString>{dir});
}

TEST_F(FileWatcherTest, PathsAreComparedAsExactStrings) {
    const QString lower = file(QStringLiteral("list.txt"));
    const QString upper = dir + QStringLiteral("/../lists/list.txt"); // same file, other string
    watcher->startWatchingFile(lower);
    watcher->startWatchingFile(upper);
    EXPECT_EQ(watcher->watchedDirectories().size(), 2);
    factory->deliver(dir);
    EXPECT_EQ(takeReports(), (QList<Report>{{QStringLiteral("modified"), lower}}));
    factory->deliver(dir + QStringLiteral("/../lists"));
    EXPECT_EQ(takeReports(), (QList<Report>{{QStringLiteral("modified"), upper}}));
}

TEST_F(FileWatcherTest, ReportsAFileWhoseDateMovedForwardOnce) {
    const QString list = file(QStringLiteral("list.txt"));
    const QString quiet = file(QStringLiteral("quiet.txt"));
    setDate(list, 1'700'000'000, 500);
    watcher->startWatchingFile(list);
    watcher->startWatchingFile(quiet);

    // Just registered: stored date is the distant past, so both count.
    factory->deliver(dir);
    EXPECT_EQ(takeReports().size(), 2);
    factory->deliver(dir);
    EXPECT_TRUE(takeReports().isEmpty()) << "unchanged files are not reported";

    // One nanosecond later is later.
    setDate(list, 1'700'000'000, 501);
    factory->deliver(dir);
    EXPECT_EQ(takeReports(), (QList<Report>{{QStringLiteral("modified"), list}}));

    // Backwards: not reported, and the stored date stays where it was, so a
    // date between the two isn't reported either.
    setDate(list, 1'600'000'000, 0);
    factory->deliver(dir);
    setDate(list, 1'650'000'000, 0);
    factory->deliver(dir);
    EXPECT_TRUE(takeReports().isEmpty());
    setDate(list, 1'700'000'000, 502);
    factory->deliver(dir);
    EXPECT_EQ(takeReports(), (QList<Report>{{QStringLiteral("modified"), list}}));

    // Registering again resets the stored date.
    watcher->startWatchingFile(list);
    factory->deliver(dir);
    EXPECT_EQ(takeReports(), (QList<Report>{{QStringLiteral("modified"), list}}));
}

TEST_F(FileWatcherTest, EventPathsMatchTheDirectoryExactly) {
    const QString list = file(QStringLiteral("list.txt"));
    watcher->startWatchingFile(list);

    factory->deliver(dir + QStringLiteral("/sub")); // a subdirectory
    factory->deliver(folder.path());                // the parent
    factory->deliver(dir + QStringLiteral("x"));    // a sibling sharing the prefix
    EXPECT_TRUE(takeReports().isEmpty());

    factory->deliver(dir + QStringLiteral("/")); // trailing slash as some streams send it
    EXPECT_EQ(takeReports(), (QList<Report>{{QStringLiteral("modified"), list}}));

    // Every event is logged as delivered.
    EXPECT_TRUE(logLines().contains(
        line(qPrintable(QStringLiteral("Modification: ") + dir + QStringLiteral("/sub")),
             "-[DWFileWatcher _handleDirectoryModification:eventId:]")));
}

TEST_F(FileWatcherTest, ADeletedFileIsReportedAtEveryEventUntilUnregistered) {
    // This delegate doesn't unregister, so the file stays registered.
    const QString list = file(QStringLiteral("list.txt"));
    watcher->startWatchingFile(list);
    factory->deliver(dir);
    takeReports();

    QFile::remove(list);
    factory->deliver(dir);
    factory->deliver(dir);
    EXPECT_EQ(takeReports(), (QList<Report>{{QStringLiteral("deleted"), list},
                                            {QStringLiteral("deleted"), list}}));

    // Back with a newer date: modified, no grace period needed.
    dwtest::writeFile(list, "- again\n");
    setDate(list, 2'000'000'000, 0);
    factory->deliver(dir);
    EXPECT_EQ(takeReports(), (QList<Report>{{QStringLiteral("modified"), list}}));

    watcher->stopWatchingFile(list);
    QFile::remove(list);
    factory->deliver(dir);
    EXPECT_TRUE(takeReports().isEmpty());
}

TEST_F(FileWatcherTest, ADelegateHearsOnlyWhatItHandles) {
    const QString changed = file(QStringLiteral("changed.txt"));
    const QString gone = file(QStringLiteral("gone.txt"));
    watcher->startWatchingFile(changed);
    watcher->startWatchingFile(gone);
    QFile::remove(gone);

    QStringList heard;
    watcher->setDelegate({{}, [&](const QString& path) { heard << path; }});
    factory->deliver(dir);
    EXPECT_EQ(heard, QStringList{gone});

    heard.clear();
    watcher->startWatchingFile(changed); // reset, so it counts as modified again
    watcher->setDelegate({[&](const QString& path) { heard << path; }, {}});
    factory->deliver(dir);
    EXPECT_EQ(heard, QStringList{changed});

    watcher->setDelegate({});
    watcher->startWatchingFile(changed);
    factory->deliver(dir); // nobody to tell; nothing breaks
    EXPECT_TRUE(reports.isEmpty());
}

TEST_F(FileWatcherTest, UnregisteringFromInsideANotification) {
    // As the app does: a deleted file is unregistered at once, which
    // tears down the very stream whose callback is running.
    const QString gone = file(QStringLiteral("gone.txt"));
    const QString neighbour = file(QStringLiteral("neighbour.txt"));
    const QString elsewhere = folder.path() + QStringLiteral("/b/elsewhere.txt");
    dwtest::writeFile(elsewhere, "x\n");
    for (const QString& path : {gone, neighbour, elsewhere})
        watcher->startWatchingFile(path);
    factory->deliver(dir);
    factory->deliver(folder.path() + QStringLiteral("/b"));
    takeReports();

    watcher->setDelegate({[this](const QString& path) {
                              reports.append({QStringLiteral("modified"), path});
                          },
                          [this](const QString& path) {
                              reports.append({QStringLiteral("deleted"), path});
                              watcher->stopWatchingFile(path);
                          }});
    QFile::remove(gone);
    setDate(neighbour, 2'000'000'000, 0);
    setDate(elsewhere, 2'000'000'000, 0);
    const int streamsBefore = factory->streamsCreated();
    // One batch: the rest of it is still handled after the rebuild.
    factory->deliver({{dir, 10}, {folder.path() + QStringLiteral("/b"), 11}});

    QList<Report> got = takeReports();
    std::sort(got.begin(), got.end(),
              [](const Report& a, const Report& b) { return a.path < b.path; });
    QList<Report> expected{{QStringLiteral("modified"), elsewhere},
                           {QStringLiteral("deleted"), gone},
                           {QStringLiteral("modified"), neighbour}};
    std::sort(expected.begin(), expected.end(),
              [](const Report& a, const Report& b) { return a.path < b.path; });
    EXPECT_EQ(got, expected);
    EXPECT_EQ(factory->streamsCreated(), streamsBefore + 1);
    EXPECT_EQ(factory->runningStreamCount(), 1);
    EXPECT_FALSE(watcher->watchedFiles().contains(gone));

    // The rebuilt stream carries on.
    setDate(neighbour, 2'000'000'001, 0);
    factory->deliver(dir);
    EXPECT_EQ(takeReports(), (QList<Report>{{QStringLiteral("modified"), neighbour}}));
}

TEST_F(FileWatcherTest, AFileUnregisteredMidBatchIsNotLookedAtAgain) {
    const QString first = file(QStringLiteral("a.txt"));
    const QString second = file(QStringLiteral("b.txt"));
    watcher->startWatchingFile(first);
    watcher->startWatchingFile(second);
    // Whichever is reported first unregisters both and the directory goes.
    watcher->setDelegate({[this](const QString& path) {
                              reports.append({QStringLiteral("modified"), path});
                              watcher->stopWatchingFile(dir + QStringLiteral("/a.txt"));
                              watcher->stopWatchingFile(dir + QStringLiteral("/b.txt"));
                          },
                          {}});
    factory->deliver(dir);
    EXPECT_EQ(takeReports().size(), 1);
    EXPECT_TRUE(watcher->watchedFiles().isEmpty());
    EXPECT_TRUE(watcher->watchedDirectories().isEmpty());
    EXPECT_FALSE(watcher->isStreaming());
}

TEST_F(FileWatcherTest, AStreamThatCannotBeMadeLeavesTheWatcherUsable) {
    const QString list = file(QStringLiteral("list.txt"));
    factory->setFailsToCreateStreams(true);
    watcher->startWatchingFile(list);
    EXPECT_FALSE(watcher->isStreaming());
    EXPECT_EQ(watcher->watchedFiles(), QList<QString>{list});

    factory->setFailsToCreateStreams(false);
    const QString other = file(QStringLiteral("other.txt"));
    watcher->startWatchingFile(other);
    EXPECT_TRUE(watcher->isStreaming());
    factory->deliver(dir);
    EXPECT_EQ(takeReports().size(), 2);
}

TEST_F(FileWatcherTest, ShutdownAndDestructionStopTheStream) {
    const QString list = file(QStringLiteral("list.txt"));
    watcher->startWatchingFile(list);
    logger->setMessageBacklog({});
    watcher->shutdown();
    EXPECT_EQ(logLines(), QStringList{line("Stopped file event stream",
                                           "-[DWFileWatcher _stopFileEventStream]")});
    EXPECT_EQ(factory->runningStreamCount(), 0);
    EXPECT_EQ(watcher->watchedFiles(), QList<QString>{list}); // registrations stay

    watcher->shutdown(); // nothing running: nothing logged
    EXPECT_EQ(logLines().size(), 1);

    watcher->startWatchingFile(list);
    EXPECT_EQ(factory->runningStreamCount(), 1);
    watcher.reset();
    EXPECT_EQ(factory->runningStreamCount(), 0);
}

TEST_F(FileWatcherTest, EventIdsFromSinceNowNeverMoveTheStartingPoint) {
    const QString list = file(QStringLiteral("list.txt"));
    watcher->startWatchingFile(list);
    factory->deliver({{dir, 41}, {dir, 42}});
    EXPECT_EQ(watcher->lastEventId(), DWDirectoryEventStream::SinceNow);
    watcher->startWatchingFile(list);
    EXPECT_EQ(factory->lastSinceEventId(), DWDirectoryEventStream::SinceNow);
}
