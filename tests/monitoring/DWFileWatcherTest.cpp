// The watcher's logic through a fake stream that hands events over at once.
#include "monitoring/DWFileWatcher.h"

#include "fakes/FakeDirectoryEventStreamFactory.h"
#include "logging/LWLogger.h"
#include "support/TestEnvironment.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <gtest/gtest.h>

void PrintTo(const QString& text, std::ostream* out) {
    *out << '"' << text.toStdString() << '"';
}

namespace {
class FileWatcherTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(folder.isValid());
        dir = folder.path() + QStringLiteral("/lists");
        watcher->setDelegate(
            {[this](const QString& path) { reports << QStringLiteral("modified ") + path; },
             [this](const QString& path) { reports << QStringLiteral("deleted ") + path; }});
        logger->setMessageBacklogSize(1000);
        logger->setMessageBacklog({});
    }
    void TearDown() override { logger->setMessageBacklogSize(0); }

    QString file(const QString& name) {
        const QString path = dir + QLatin1Char('/') + name;
        dwtest::writeFile(path, "- [ ] task\n");
        return path;
    }
    static void setDate(const QString& path, qint64 seconds, qint64 nanoseconds = 0) {
        ASSERT_TRUE(lw::setContentModificationDate(path, {seconds, nanoseconds}));
    }
    // The watcher's lines since the last call, oldest first, as
    // "<message> | <function>"; also checks how each line is formed.
    QStringList takeLines() {
        static const QRegularExpression form(
            QStringLiteral("^DEBUG\\| (.*) \\|DWFileWatcher:\\d+\\| (-\\[DWFileWatcher .*\\])$"));
        QStringList lines;
        for (const QString& line : logger->messageBacklog()) {
            const QRegularExpressionMatch match = form.match(line);
            EXPECT_TRUE(match.hasMatch()) << line.toStdString();
            lines.prepend(match.captured(1) + QStringLiteral(" | ") + match.captured(2));
        }
        logger->setMessageBacklog({});
        return lines;
    }
    QStringList takeReports() { return std::exchange(reports, {}); }

    QTemporaryDir folder;
    QString dir;
    std::shared_ptr<FakeDirectoryEventStreamFactory> factory =
        std::make_shared<FakeDirectoryEventStreamFactory>();
    std::unique_ptr<DWFileWatcher> watcher = std::make_unique<DWFileWatcher>(factory);
    QStringList reports;
    LWLogger* logger = LWLogger::sharedInstance();
};

const QString startWatching = QStringLiteral(" | -[DWFileWatcher startWatchingFile:]");
const QString stopWatching = QStringLiteral(" | -[DWFileWatcher stopWatchingFile:]");
const QString startStream = QStringLiteral(" | -[DWFileWatcher _startFileEventStream]");
const QString stoppedStream =
    QStringLiteral("Stopped file event stream | -[DWFileWatcher _stopFileEventStream]");
} // namespace

TEST(FileWatcherPaths, ParentDirectoryDropsTheLastComponent) {
    EXPECT_EQ(DWFileWatcher::parentDirectory(QStringLiteral("/a/b/list.txt")),
              QStringLiteral("/a/b"));
    EXPECT_EQ(DWFileWatcher::parentDirectory(QStringLiteral("/a/b/")), QStringLiteral("/a"));
    EXPECT_EQ(DWFileWatcher::parentDirectory(QStringLiteral("/list.txt")), QStringLiteral("/"));
    EXPECT_EQ(DWFileWatcher::parentDirectory(QStringLiteral("list.txt")), QStringLiteral(""));
}

TEST_F(FileWatcherTest, EveryRegistrationRebuildsTheStreamAndSaysSo) {
    const QString first = file(QStringLiteral("one.txt"));
    const QString second = file(QStringLiteral("two.txt"));
    const QString other = folder.path() + QStringLiteral("/other/three.txt");
    watcher->startWatchingFile(first);
    watcher->startWatchingFile(second);
    const QString oneDirectory =
        QStringLiteral("Started file event stream watching 1 directories.");
    EXPECT_EQ(takeLines(),
              (QStringList{QStringLiteral("Started to watch directory: ") + dir + startWatching,
                           oneDirectory + startStream,
                           QStringLiteral("Started watching file: ") + first + startWatching,
                           stoppedStream, oneDirectory + startStream,
                           QStringLiteral("Started watching file: ") + second + startWatching}));
    EXPECT_EQ(factory->streamsCreated(), 2);
    EXPECT_EQ(factory->lastLatency(), 2.0);
    EXPECT_EQ(factory->lastSinceEventId(), DWDirectoryEventStream::SinceNow);

    // Two files, one directory: it stays until the last one leaves.
    watcher->startWatchingFile(other);
    EXPECT_EQ(factory->runningDirectories(),
              (QSet<QString>{dir, folder.path() + QStringLiteral("/other")}));
    takeLines();
    watcher->stopWatchingFile(first);
    EXPECT_EQ(takeLines(),
              (QStringList{stoppedStream,
                           QStringLiteral("Won't remove directory '%1' from watch list, because "
                                          "still watching: %2")
                                   .arg(dir, second) +
                               stopWatching,
                           QStringLiteral("Started file event stream watching 2 directories.") +
                               startStream}));
    watcher->stopWatchingFile(other);
    takeLines();
    watcher->stopWatchingFile(second);
    EXPECT_EQ(takeLines(),
              (QStringList{stoppedStream,
                           QStringLiteral("Stopped watching directory: ") + dir + stopWatching,
                           QStringLiteral("Nothing to watch.") + startStream}));
    EXPECT_EQ(factory->runningStreamCount(), 0);
    EXPECT_FALSE(watcher->isStreaming());
    EXPECT_TRUE(watcher->watchedDirectories().isEmpty() && watcher->watchedFiles().isEmpty());
}

TEST_F(FileWatcherTest, MissingPathsAndStrangersAreHarmless) {
    watcher->startWatchingFile(QString());
    watcher->stopWatchingFile(QString());
    EXPECT_TRUE(takeLines().isEmpty());
    EXPECT_EQ(factory->streamsCreated(), 0);

    // Never registered: its directory "goes", and that is said all the same.
    watcher->stopWatchingFile(folder.path() + QStringLiteral("/x/never.txt"));
    EXPECT_TRUE(takeLines().contains(QStringLiteral("Stopped watching directory: ") +
                                     folder.path() + QStringLiteral("/x") + stopWatching));
    // Beside a registered file, it leaves the directory alone.
    const QString kept = file(QStringLiteral("kept.txt"));
    watcher->startWatchingFile(kept);
    watcher->stopWatchingFile(dir + QStringLiteral("/stranger.txt"));
    EXPECT_EQ(watcher->watchedFiles(), QList<QString>{kept});
    EXPECT_EQ(factory->runningDirectories(), QSet<QString>{dir});
}

TEST_F(FileWatcherTest, ReportsEachForwardMoveOfTheDateOnce) {
    const QString list = file(QStringLiteral("list.txt"));
    const QString quiet = file(QStringLiteral("quiet.txt"));
    setDate(list, 1'700'000'000, 500);
    watcher->startWatchingFile(list);
    watcher->startWatchingFile(quiet);
    factory->deliver(dir); // just registered: both count
    EXPECT_EQ(takeReports().size(), 2);
    factory->deliver(dir);
    EXPECT_TRUE(takeReports().isEmpty());

    setDate(list, 1'700'000'000, 501); // a nanosecond is enough
    factory->deliver(dir);
    EXPECT_EQ(takeReports(), QStringList{QStringLiteral("modified ") + list});

    // Backwards is no change, and the stored date stays: a date between the
    // two isn't one either.
    setDate(list, 1'600'000'000);
    factory->deliver(dir);
    setDate(list, 1'650'000'000);
    factory->deliver(dir);
    EXPECT_TRUE(takeReports().isEmpty());

    watcher->startWatchingFile(list);            // registering again resets the date
    factory->deliver(dir + QStringLiteral("/")); // as some streams send it
    EXPECT_EQ(takeReports(), QStringList{QStringLiteral("modified ") + list});
}

TEST_F(FileWatcherTest, OnlyTheDirectoryItselfCountsAndPathsAreExactStrings) {
    const QString list = file(QStringLiteral("list.txt"));
    const QString sameFile = dir + QStringLiteral("/../lists/list.txt");
    watcher->startWatchingFile(list);
    watcher->startWatchingFile(sameFile);
    for (const QString& path :
         {dir + QStringLiteral("/sub"), folder.path(), dir + QStringLiteral("x")})
        factory->deliver(path);
    EXPECT_TRUE(takeReports().isEmpty());
    EXPECT_TRUE(takeLines().contains(
        QStringLiteral("Modification: ") + dir + QStringLiteral("/sub") +
        QStringLiteral(" | -[DWFileWatcher _handleDirectoryModification:eventId:]")));
    factory->deliver(dir);
    EXPECT_EQ(takeReports(), QStringList{QStringLiteral("modified ") + list});
    factory->deliver(dir + QStringLiteral("/../lists"));
    EXPECT_EQ(takeReports(), QStringList{QStringLiteral("modified ") + sameFile});
}

TEST_F(FileWatcherTest, ADeletedFileIsReportedAtEveryEventUntilUnregistered) {
    const QString list = file(QStringLiteral("list.txt"));
    watcher->startWatchingFile(list);
    factory->deliver(dir);
    takeReports();
    QFile::remove(list);
    factory->deliver(dir);
    factory->deliver(dir);
    EXPECT_EQ(takeReports(),
              (QStringList{QStringLiteral("deleted ") + list, QStringLiteral("deleted ") + list}));

    dwtest::writeFile(list, "- [ ] back\n"); // no grace period needed either way
    setDate(list, 2'000'000'000);
    factory->deliver(dir);
    EXPECT_EQ(takeReports(), QStringList{QStringLiteral("modified ") + list});

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
    watcher->startWatchingFile(changed);
    watcher->setDelegate({[&](const QString& path) { heard << path; }, {}});
    factory->deliver(dir);
    EXPECT_EQ(heard, QStringList{changed});
}

TEST_F(FileWatcherTest, UnregisteringFromInsideANotification) {
    const QString gone = file(QStringLiteral("gone.txt"));
    const QString neighbour = file(QStringLiteral("neighbour.txt"));
    const QString elsewhere = folder.path() + QStringLiteral("/b/elsewhere.txt");
    dwtest::writeFile(elsewhere, "x\n");
    for (const QString& path : {gone, neighbour, elsewhere})
        watcher->startWatchingFile(path);
    // As the app does: a deleted file is unregistered at once, which tears
    // down the stream whose callback is running.
    watcher->setDelegate(
        {[this](const QString& path) { reports << QStringLiteral("modified ") + path; },
         [this](const QString& path) {
             reports << QStringLiteral("deleted ") + path;
             watcher->stopWatchingFile(path);
         }});
    QFile::remove(gone);
    const int streams = factory->streamsCreated();
    factory->deliver({{dir, 10}, {folder.path() + QStringLiteral("/b"), 11}});
    QStringList got = takeReports();
    got.sort();
    EXPECT_EQ(got, (QStringList{QStringLiteral("deleted ") + gone,
                                QStringLiteral("modified ") + elsewhere,
                                QStringLiteral("modified ") + neighbour}))
        << "the rest of the batch is still handled";
    EXPECT_EQ(factory->streamsCreated(), streams + 1);
    EXPECT_EQ(watcher->watchedFiles().size(), 2);

    // A file unregistered while another one is reported is not looked at
    // again (nor stored again).
    const QString last = file(QStringLiteral("last.txt"));
    watcher->startWatchingFile(neighbour);
    watcher->startWatchingFile(last);
    watcher->setDelegate({[this](const QString& path) {
                              reports << path;
                              for (const QString& other : watcher->watchedFiles())
                                  if (other != path && other.startsWith(dir))
                                      watcher->stopWatchingFile(other);
                          },
                          {}});
    factory->deliver(dir);
    EXPECT_EQ(takeReports().size(), 1);
    EXPECT_EQ(watcher->watchedFiles().size(), 2);
}

TEST_F(FileWatcherTest, NoStreamOrAStoppedOneLeavesTheRegistrations) {
    const QString list = file(QStringLiteral("list.txt"));
    factory->setFailsToCreateStreams(true);
    watcher->startWatchingFile(list);
    EXPECT_FALSE(watcher->isStreaming());
    factory->setFailsToCreateStreams(false);
    watcher->startWatchingFile(file(QStringLiteral("other.txt")));
    factory->deliver(dir);
    EXPECT_EQ(takeReports().size(), 2);

    takeLines();
    watcher->shutdown();
    watcher->shutdown(); // nothing running: nothing said
    EXPECT_EQ(takeLines(), QStringList{stoppedStream});
    EXPECT_EQ(factory->runningStreamCount(), 0);
    EXPECT_EQ(watcher->watchedFiles().size(), 2);
    watcher->startWatchingFile(list);
    watcher.reset();
    EXPECT_EQ(factory->runningStreamCount(), 0);
}
