// The watcher's logic through a fake stream that hands events over at once.
#include "monitoring/DWFileWatcher.h"

#include "fakes/FakeDirectoryEventStreamFactory.h"
#include "support/LogCapture.h"
#include "support/TestEnvironment.h"

#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

void PrintTo(const QString& text, std::ostream* out) {
    *out << '"' << text.toStdString() << '"';
}

namespace {
class FileWatcherTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(folder.isValid());
        watcher->setDelegate(recording);
    }

    QString file(const QString& name) {
        dwtest::writeFile(dir + u'/' + name, "- [ ] task\n");
        return dir + u'/' + name;
    }
    static void setDate(const QString& path, qint64 seconds, qint64 nanoseconds = 0) {
        ASSERT_TRUE(lw::setContentModificationDate(path, {seconds, nanoseconds}));
    }
    // The messages of the watcher's debug lines since the last call, oldest first.
    QStringList takeLines() {
        QStringList lines;
        for (const QString& line : logger->messageBacklog()) {
            EXPECT_TRUE(line.startsWith(u"DEBUG| "_s)) << line.toStdString();
            lines.prepend(line.mid(7).section(u" |DWFileWatcher:"_s, 0, 0));
        }
        logger->setMessageBacklog({});
        return lines;
    }
    QStringList takeReports() { return std::exchange(reports, {}); }

    QTemporaryDir folder;
    QString dir = folder.path() + u"/lists"_s;
    std::shared_ptr<FakeDirectoryEventStreamFactory> factory =
        std::make_shared<FakeDirectoryEventStreamFactory>();
    std::unique_ptr<DWFileWatcher> watcher = std::make_unique<DWFileWatcher>(factory);
    QStringList reports;
    const DWFileWatcherDelegate recording{
        [this](const QString& path) { reports << u"modified "_s + path; },
        [this](const QString& path) { reports << u"deleted "_s + path; }};
    dwtest::LogCapture log{1000};
    LWLogger* logger = LWLogger::sharedInstance();
};
} // namespace

// One stream for the watcher's life: registrations change its directories,
// so that changes it has seen and not yet reported survive them.
TEST_F(FileWatcherTest, RegistrationsChangeTheRunningStreamAndSaySo) {
    const QString first = file(u"one.txt"_s);
    const QString second = file(u"two.txt"_s);
    const QString other = folder.path() + u"/other/three.txt"_s;
    // Empty paths are ignored without a word.
    watcher->startWatchingFile(QString());
    watcher->stopWatchingFile(QString());
    watcher->startWatchingFile(first);
    watcher->startWatchingFile(second);
    EXPECT_EQ(takeLines(), (QStringList{u"Started to watch directory: "_s + dir,
                                        u"Started file event stream watching 1 directories."_s,
                                        u"Started watching file: "_s + first,
                                        u"Started watching file: "_s + second}));
    EXPECT_EQ(factory->lastLatency(), 2.0);

    // Two files, one directory: it stays until the last one leaves.
    watcher->startWatchingFile(other);
    EXPECT_EQ(factory->runningDirectories(), (QSet<QString>{dir, folder.path() + u"/other"_s}));
    takeLines();
    watcher->stopWatchingFile(first);
    EXPECT_EQ(takeLines(),
              QStringList{
                  u"Won't remove directory '%1' from watch list, because still watching: %2"_s.arg(
                      dir, second)});
    watcher->stopWatchingFile(other);
    watcher->stopWatchingFile(dir + u"/stranger.txt"_s); // beside a registered file: harmless
    EXPECT_EQ(factory->runningDirectories(), QSet<QString>{dir});
    EXPECT_EQ(watcher->watchedFiles(), QList<QString>{second});
    takeLines();
    watcher->stopWatchingFile(second);
    EXPECT_EQ(takeLines(), (QStringList{u"Stopped watching directory: "_s + dir,
                                        u"Stopped file event stream"_s, u"Nothing to watch."_s}));
    EXPECT_EQ(factory->streamsCreated(), 1);
    EXPECT_EQ(factory->runningStreamCount(), 0);
}

TEST_F(FileWatcherTest, ReportsEachForwardMoveOfTheDateOnce) {
    const QString list = file(u"list.txt"_s);
    file(u"quiet.txt"_s);
    setDate(list, 1'700'000'000, 500);
    watcher->startWatchingFile(list);
    watcher->startWatchingFile(dir + u"/quiet.txt"_s);
    factory->deliver(dir); // just registered: both count
    EXPECT_EQ(takeReports().size(), 2);
    factory->deliver(dir);
    EXPECT_TRUE(takeReports().isEmpty());

    setDate(list, 1'700'000'000, 501); // a nanosecond is enough
    factory->deliver(dir);
    EXPECT_EQ(takeReports(), QStringList{u"modified "_s + list});

    // Backwards is no change, and the stored date stays: a date between the
    // two isn't one either.
    setDate(list, 1'600'000'000);
    factory->deliver(dir);
    setDate(list, 1'650'000'000);
    factory->deliver(dir);
    EXPECT_TRUE(takeReports().isEmpty());

    watcher->startWatchingFile(list); // registering again resets the date
    factory->deliver(dir + u"/"_s);   // as some streams send it
    EXPECT_EQ(takeReports(), QStringList{u"modified "_s + list});
}

TEST_F(FileWatcherTest, OnlyTheDirectoryItselfCountsAndPathsAreExactStrings) {
    const QString list = file(u"list.txt"_s);
    const QString sameFile = dir + u"/../lists/list.txt"_s;
    watcher->startWatchingFile(list);
    watcher->startWatchingFile(sameFile);
    for (const QString& path : {dir + u"/sub"_s, folder.path(), dir + u"x"_s})
        factory->deliver(path);
    EXPECT_TRUE(takeReports().isEmpty());
    EXPECT_TRUE(takeLines().contains(u"Modification: "_s + dir + u"/sub"_s));
    factory->deliver(dir);
    EXPECT_EQ(takeReports(), QStringList{u"modified "_s + list});
    factory->deliver(dir + u"/../lists"_s);
    EXPECT_EQ(takeReports(), QStringList{u"modified "_s + sameFile});
}

TEST_F(FileWatcherTest, ADeletedFileIsReportedAtEveryEventUntilUnregistered) {
    const QString list = file(u"list.txt"_s);
    watcher->startWatchingFile(list);
    QFile::remove(list);
    factory->deliver(dir);
    factory->deliver(dir);
    dwtest::writeFile(list, "- [ ] back\n"); // no grace period needed either way
    factory->deliver(dir);
    // A delegate may leave out either kind of report.
    watcher->setDelegate({});
    setDate(list, 2'000'000'000);
    factory->deliver(dir);
    QFile::remove(list);
    factory->deliver(dir);
    watcher->setDelegate(recording);
    watcher->stopWatchingFile(list);
    factory->deliver(dir);
    EXPECT_EQ(takeReports(),
              (QStringList{u"deleted "_s + list, u"deleted "_s + list, u"modified "_s + list}));
}

TEST_F(FileWatcherTest, UnregisteringFromInsideANotification) {
    const QString gone = file(u"gone.txt"_s);
    const QString neighbour = file(u"neighbour.txt"_s);
    const QString elsewhere = folder.path() + u"/b/elsewhere.txt"_s;
    dwtest::writeFile(elsewhere, "x\n");
    for (const QString& path : {gone, neighbour, elsewhere})
        watcher->startWatchingFile(path);
    // As the app does, a deleted file is unregistered at once; here its
    // neighbour goes too, which empties a directory of the running stream.
    watcher->setDelegate({recording.fileModifiedAtPath, [&](const QString& path) {
                              reports << u"deleted "_s + path;
                              watcher->stopWatchingFile(path);
                              watcher->stopWatchingFile(neighbour);
                          }});
    QFile::remove(gone);
    factory->deliver({{dir, 10}, {folder.path() + u"/b"_s, 11}});
    EXPECT_EQ(takeReports(), (QStringList{u"deleted "_s + gone, u"modified "_s + elsewhere}))
        << "the rest of the batch is handled; the neighbour is not looked at again";
    EXPECT_EQ(watcher->watchedFiles(), QList<QString>{elsewhere});
    EXPECT_EQ(factory->runningDirectories(), QSet<QString>{folder.path() + u"/b"_s});
    EXPECT_EQ(factory->streamsCreated(), 1);
}

TEST_F(FileWatcherTest, NoStreamOrAStoppedOneLeavesTheRegistrations) {
    const QString list = file(u"list.txt"_s);
    factory->setFailsToCreateStreams(true);
    watcher->startWatchingFile(list);
    EXPECT_FALSE(watcher->isStreaming());
    factory->setFailsToCreateStreams(false);
    watcher->startWatchingFile(file(u"other.txt"_s));
    factory->deliver(dir);
    EXPECT_EQ(takeReports().size(), 2);

    takeLines();
    watcher->shutdown();
    watcher->shutdown(); // nothing running: nothing said
    EXPECT_EQ(takeLines(), QStringList{u"Stopped file event stream"_s});
    EXPECT_EQ(watcher->watchedFiles().size(), 2);
    watcher->startWatchingFile(list);
    watcher.reset();
    EXPECT_EQ(factory->runningStreamCount(), 0);
}
