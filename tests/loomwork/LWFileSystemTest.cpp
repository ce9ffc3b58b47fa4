#include "filesystem/LWFileSystem.h"

#include "support/TestEnvironment.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <gtest/gtest.h>
#include <unistd.h>

namespace {
QString makeFolder(const QString& name) {
    const QString path = dwtest::homePath() + QStringLiteral("/sizes/") + name;
    QDir(path).removeRecursively();
    QDir().mkpath(path);
    return path;
}

// What `find DIR ! -type d -printf '%s\n'` sums to: every non-folder item with
// its own size, links not followed.
quint64 findTotal(const QString& folder) {
    QProcess find;
    find.start(QStringLiteral("find"),
               {folder, QStringLiteral("!"), QStringLiteral("-type"), QStringLiteral("d"),
                QStringLiteral("-printf"), QStringLiteral("%s\\n")});
    EXPECT_TRUE(find.waitForFinished(120000));
    quint64 total = 0;
    for (const QByteArray& line : find.readAllStandardOutput().split('\n'))
        total += line.toULongLong();
    return total;
}
} // namespace

TEST(FileSystemSize, CountsFileDataBelowAFolderOnly) {
    const QString empty = makeFolder(QStringLiteral("empty"));
    EXPECT_EQ(LWFileSystem::fileSizeForPath(empty), 0u);

    const QString tree = makeFolder(QStringLiteral("tree"));
    dwtest::writeFile(tree + QStringLiteral("/a"), QByteArray(10, 'a'));
    dwtest::writeFile(tree + QStringLiteral("/b"), QByteArray(20, 'b'));
    dwtest::writeFile(tree + QStringLiteral("/sub/c"), QByteArray(5, 'c'));
    QDir().mkpath(tree + QStringLiteral("/sub/deeper/empty"));
    EXPECT_EQ(LWFileSystem::fileSizeForPath(tree), 35u);
    // A trailing slash names the same folder.
    EXPECT_EQ(LWFileSystem::fileSizeForPath(tree + QLatin1Char('/')), 35u);

    // Only a folder can be listed.
    EXPECT_EQ(LWFileSystem::fileSizeForPath(tree + QStringLiteral("/a")), 0u);
    EXPECT_EQ(LWFileSystem::fileSizeForPath(tree + QStringLiteral("/missing")), 0u);
    EXPECT_EQ(LWFileSystem::fileSizeForPath(QString()), 0u);
}

TEST(FileSystemSize, LinksCountWithTheirOwnSizeAndAreNeverFollowed) {
    const QString outside = makeFolder(QStringLiteral("outside"));
    dwtest::writeFile(outside + QStringLiteral("/big"), QByteArray(100000, 'x'));
    const QString tree = makeFolder(QStringLiteral("links"));
    dwtest::writeFile(tree + QStringLiteral("/file"), QByteArray(7, 'f'));
    const QString fileTarget = outside + QStringLiteral("/big");
    ASSERT_TRUE(QFile::link(fileTarget, tree + QStringLiteral("/to-file")));
    ASSERT_TRUE(QFile::link(outside, tree + QStringLiteral("/to-folder")));
    ASSERT_TRUE(QFile::link(QStringLiteral("nowhere"), tree + QStringLiteral("/dangling")));
    // A link back up must not loop.
    ASSERT_TRUE(QFile::link(tree, tree + QStringLiteral("/loop")));

    const quint64 expected = 7 + QFile::encodeName(fileTarget).size() +
                             QFile::encodeName(outside).size() + 7 + QFile::encodeName(tree).size();
    EXPECT_EQ(LWFileSystem::fileSizeForPath(tree), expected);
    EXPECT_EQ(LWFileSystem::fileSizeForPath(tree), findTotal(tree));
    // A link given as the folder itself is followed, like any path.
    EXPECT_EQ(LWFileSystem::fileSizeForPath(tree + QStringLiteral("/to-folder")), 100000u);
}

TEST(FileSystemSize, LargeFoldersAreReadInManyBatchesAndCountedOnce) {
    // Long names make the entries fill many getdents64 batches.
    const QString tree = makeFolder(QStringLiteral("large"));
    quint64 expected = 0;
    for (int i = 0; i < 3000; ++i) {
        const QString name = QStringLiteral("%1-%2")
                                 .arg(i, 5, 10, QLatin1Char('0'))
                                 .arg(QString(120, QLatin1Char('n')));
        const int size = i % 17;
        dwtest::writeFile(tree + QLatin1Char('/') + name, QByteArray(size, 'x'));
        expected += size;
    }
    EXPECT_EQ(LWFileSystem::fileSizeForPath(tree), expected);
}

TEST(FileSystemSize, AgreesWithFindOnRealTrees) {
    for (const QString& folder :
         {QStringLiteral(DW_SOURCE_DIR "/loomwork"), QStringLiteral("/usr/include"),
          QStringLiteral("/usr/share/icons")}) {
        if (!QFileInfo(folder).isDir())
            continue;
        SCOPED_TRACE(folder.toStdString());
        EXPECT_EQ(LWFileSystem::fileSizeForPath(folder), findTotal(folder));
    }
}

TEST(FileSystemSize, AnUnreadableFolderCountsNothingAndTheRestGoesOn) {
    if (geteuid() == 0)
        GTEST_SKIP() << "permissions do not apply to root";
    const QString tree = makeFolder(QStringLiteral("unreadable"));
    dwtest::writeFile(tree + QStringLiteral("/visible"), QByteArray(3, 'v'));
    dwtest::writeFile(tree + QStringLiteral("/closed/hidden"), QByteArray(50, 'h'));
    QFile::setPermissions(tree + QStringLiteral("/closed"), QFileDevice::Permissions());
    EXPECT_EQ(LWFileSystem::fileSizeForPath(tree), 3u);
    QFile::setPermissions(tree + QStringLiteral("/closed"),
                          QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
}

TEST(FileSystemReference, NamesTheItemEvenAfterItMoves) {
    const QString folder = makeFolder(QStringLiteral("moving"));
    LWFileSystem::Reference reference;
    EXPECT_FALSE(LWFileSystem::path(folder + QStringLiteral("/missing"), &reference));
    EXPECT_FALSE(reference.isValid());
    ASSERT_TRUE(LWFileSystem::path(folder, &reference));
    ASSERT_TRUE(reference.isValid());

    const QString moved = folder + QStringLiteral("-moved");
    QDir(moved).removeRecursively();
    ASSERT_TRUE(QDir().rename(folder, moved));
    struct stat byReference {};
    struct stat byPath {};
    ASSERT_EQ(fstat(reference.fileDescriptor(), &byReference), 0);
    ASSERT_EQ(stat(QFile::encodeName(moved).constData(), &byPath), 0);
    EXPECT_EQ(byReference.st_ino, byPath.st_ino);

    LWFileSystem::Reference taken = std::move(reference);
    EXPECT_FALSE(reference.isValid());
    EXPECT_TRUE(taken.isValid());
}

TEST(FileSystemNames, DisplayNameIsTheLastComponent) {
    EXPECT_TRUE(LWFileSystem::localizedNameForItemAtPath(QString()).isNull());
    EXPECT_EQ(LWFileSystem::localizedNameForItemAtPath(QStringLiteral("/no/such/Notes.txt")),
              QStringLiteral("Notes.txt"));
    EXPECT_EQ(LWFileSystem::localizedNameForItemAtPath(QStringLiteral("/home/user/Projects/")),
              QStringLiteral("Projects"));
    EXPECT_EQ(LWFileSystem::localizedNameForItemAtPath(QStringLiteral("/")), QStringLiteral("/"));
    EXPECT_EQ(LWFileSystem::localizedNameForItemAtPath(QStringLiteral("relative")),
              QStringLiteral("relative"));
}

TEST(FileSystemDesktop, FollowsTheUserFoldersAndNeedsAnExistingFolder) {
    const QString home = dwtest::homePath();
    QDir(home + QStringLiteral("/Desktop")).removeRecursively();
    QFile::remove(home + QStringLiteral("/.config/user-dirs.dirs"));
    EXPECT_TRUE(LWFileSystem::desktopURL().isEmpty());

    QDir().mkpath(home + QStringLiteral("/Desktop"));
    EXPECT_EQ(LWFileSystem::desktopURL(), QUrl::fromLocalFile(home + QStringLiteral("/Desktop")));

    // A renamed desktop folder, as a localised session sets it up.
    QDir().mkpath(home + QStringLiteral("/Schreibtisch"));
    dwtest::writeFile(home + QStringLiteral("/.config/user-dirs.dirs"),
                      "XDG_DESKTOP_DIR=\"$HOME/Schreibtisch\"\n");
    EXPECT_EQ(LWFileSystem::desktopURL(),
              QUrl::fromLocalFile(home + QStringLiteral("/Schreibtisch")));
}
