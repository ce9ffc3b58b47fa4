#include "filesystem/LWFileSystem.h"

#include "support/TestEnvironment.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <gtest/gtest.h>

namespace {
QString freshFolder(const QString& name) {
    const QString path = dwtest::homePath() + QStringLiteral("/sizes/") + name;
    QDir(path).removeRecursively();
    QDir().mkpath(path);
    return path;
}

// What `find DIR ! -type d -printf '%s\n'` sums to: every item that is not a
// folder, with its own size, links not followed.
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

TEST(FileSystemSize, CountsFileDataBelowAFolderWithoutFollowingLinks) {
    const QString tree = freshFolder(QStringLiteral("tree"));
    EXPECT_EQ(LWFileSystem::fileSizeForPath(tree), 0u);
    dwtest::writeFile(tree + QStringLiteral("/a"), QByteArray(10, 'a'));
    dwtest::writeFile(tree + QStringLiteral("/b"), QByteArray(20, 'b'));
    dwtest::writeFile(tree + QStringLiteral("/sub/c"), QByteArray(5, 'c'));
    QDir().mkpath(tree + QStringLiteral("/sub/deeper/empty"));
    EXPECT_EQ(LWFileSystem::fileSizeForPath(tree), 35u);
    EXPECT_EQ(LWFileSystem::fileSizeForPath(tree + QLatin1Char('/')), 35u);
    // Only a folder can be listed.
    EXPECT_EQ(LWFileSystem::fileSizeForPath(tree + QStringLiteral("/a")), 0u);
    EXPECT_EQ(LWFileSystem::fileSizeForPath(tree + QStringLiteral("/missing")), 0u);
    EXPECT_EQ(LWFileSystem::fileSizeForPath(QString()), 0u);

    // Links count with their own size (the target's path), never their target's.
    const QString outside = freshFolder(QStringLiteral("outside"));
    dwtest::writeFile(outside + QStringLiteral("/big"), QByteArray(100000, 'x'));
    ASSERT_TRUE(QFile::link(outside + QStringLiteral("/big"), tree + QStringLiteral("/to-file")));
    ASSERT_TRUE(QFile::link(outside, tree + QStringLiteral("/to-folder")));
    ASSERT_TRUE(QFile::link(tree, tree + QStringLiteral("/sub/loop")));
    ASSERT_TRUE(QFile::link(QStringLiteral("nowhere"), tree + QStringLiteral("/dangling")));
    const quint64 links =
        QFile::encodeName(outside).size() * 2 + 4 + QFile::encodeName(tree).size() + 7;
    EXPECT_EQ(LWFileSystem::fileSizeForPath(tree), 35u + links);
    EXPECT_EQ(LWFileSystem::fileSizeForPath(tree), findTotal(tree));
    // A link named as the folder itself is followed, like any path.
    EXPECT_EQ(LWFileSystem::fileSizeForPath(tree + QStringLiteral("/to-folder")), 100000u);
}

TEST(FileSystemSize, LargeFoldersAreReadInManyBatchesAndCountedOnce) {
    // Long names make the entries fill many getdents64 batches.
    const QString tree = freshFolder(QStringLiteral("large"));
    quint64 expected = 0;
    for (int i = 0; i < 3000; ++i) {
        dwtest::writeFile(tree + QStringLiteral("/%1-").arg(i) + QString(120, QLatin1Char('n')),
                          QByteArray(i % 17, 'x'));
        expected += i % 17;
    }
    EXPECT_EQ(LWFileSystem::fileSizeForPath(tree), expected);
}

TEST(FileSystemSize, AgreesWithFindOnRealTrees) {
    for (const char* name : {DW_SOURCE_DIR "/loomwork", "/usr/include", "/usr/share/icons"}) {
        const QString folder = QString::fromUtf8(name);
        if (QFileInfo(folder).isDir()) {
            EXPECT_EQ(LWFileSystem::fileSizeForPath(folder), findTotal(folder)) << name;
        }
    }
}

TEST(FileSystemNames, DisplayNamesAndTheDesktopFolder) {
    EXPECT_TRUE(LWFileSystem::localizedNameForItemAtPath(QString()).isNull());
    EXPECT_EQ(LWFileSystem::localizedNameForItemAtPath(QStringLiteral("/no/such/Notes.txt")),
              QStringLiteral("Notes.txt"));
    EXPECT_EQ(LWFileSystem::localizedNameForItemAtPath(QStringLiteral("/home/u/Projects/")),
              QStringLiteral("Projects"));
    EXPECT_EQ(LWFileSystem::localizedNameForItemAtPath(QStringLiteral("/")), QStringLiteral("/"));

    // The desktop folder must exist; a localised session may have renamed it.
    const QString home = dwtest::homePath();
    QDir(home + QStringLiteral("/Desktop")).removeRecursively();
    EXPECT_TRUE(LWFileSystem::desktopURL().isEmpty());
    QDir().mkpath(home + QStringLiteral("/Desktop"));
    EXPECT_EQ(LWFileSystem::desktopURL(), QUrl::fromLocalFile(home + QStringLiteral("/Desktop")));
    QDir().mkpath(home + QStringLiteral("/Schreibtisch"));
    dwtest::writeFile(home + QStringLiteral("/.config/user-dirs.dirs"),
                      "XDG_DESKTOP_DIR=\"$HOME/Schreibtisch\"\n");
    EXPECT_EQ(LWFileSystem::desktopURL(),
              QUrl::fromLocalFile(home + QStringLiteral("/Schreibtisch")));
}
