// The watcher over real inotify streams: saves that replace the file arrive as
// the right report. The date comparisons are tested over fake streams, plain
// saves end to end.
#include "foundation/LWTimestamp.h"
#include "monitoring/DWFileWatcher.h"
#include "platform/DWInotifyEventStreamFactory.h"
#include "support/TestEnvironment.h"

#include <QDateTime>
#include <QFile>
#include <QTemporaryDir>
#include <functional>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {
// Dated a minute back, so that a write now moves the date forward however
// coarse the file system's clock.
void dateBack(const QString& path) {
    ASSERT_TRUE(lw::setContentModificationDate(path, {QDateTime::currentSecsSinceEpoch() - 60, 0}));
}
bool waitFor(const QStringList& reports, const QString& path) {
    return dwtest::waitUntil([&] { return reports.contains(path); }, 5000);
}
} // namespace

TEST(WatcherOnInotify, ReplacingSavesAndAnUnregisteringDeletion) {
    QTemporaryDir root;
    const QString list = root.path() + u"/lists/list.txt"_s;
    const QString neighbour = root.path() + u"/lists/neighbour.txt"_s;
    QStringList modified, deleted;
    DWFileWatcher watcher{DWInotifyEventStreamFactory::create(), 0.05};
    // As the app does: unregistered from inside the report, which rebuilds
    // the stream under its own running callback.
    watcher.setDelegate({[&](const QString& path) { modified << path; },
                         [&](const QString& path) {
                             deleted << path;
                             watcher.stopWatchingFile(path);
                         }});
    for (const QString& path : {list, neighbour}) {
        dwtest::writeFile(path, "- task\n");
        dateBack(path);
        watcher.startWatchingFile(path);
    }
    // A fresh registration counts as modified at its directory's first event.
    dwtest::writeFile(root.path() + u"/lists/.settle"_s, "x");
    ASSERT_TRUE(waitFor(modified, neighbour));

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
        dateBack(list);
        save();
        EXPECT_TRUE(waitFor(modified, list)) << "save #" << (&save - saves);
    }
    EXPECT_TRUE(deleted.isEmpty());

    modified.clear();
    ASSERT_TRUE(QFile::remove(list));
    ASSERT_TRUE(waitFor(deleted, list));
    dwtest::writeFile(neighbour, "- changed\n");
    EXPECT_TRUE(waitFor(modified, neighbour));
    EXPECT_EQ(deleted, QStringList{list});
    EXPECT_FALSE(modified.contains(list));
}

// A list reached through a link follows its target.
TEST(WatcherOnInotify, LinksFollowTheirTarget) {
    QTemporaryDir root;
    const QString target = root.path() + u"/elsewhere/real.txt"_s;
    const QString link = root.path() + u"/links/real.txt"_s;
    dwtest::writeFile(target, "- task\n");
    dwtest::writeFile(root.path() + u"/links/.keep"_s, "");
    ASSERT_TRUE(QFile::link(target, link));
    QStringList modified;
    DWFileWatcher watcher{DWInotifyEventStreamFactory::create(), 0.05};
    watcher.setDelegate({[&](const QString& path) { modified << path; }, {}});
    watcher.startWatchingFile(link);
    EXPECT_TRUE(watcher.watchedDirectories().contains(root.path() + u"/elsewhere"_s));

    dateBack(target);
    modified.clear();
    dwtest::writeFile(target, "- changed\n");
    EXPECT_TRUE(waitFor(modified, link));
    watcher.stopWatchingFile(link);
    EXPECT_TRUE(watcher.watchedDirectories().isEmpty());
}
