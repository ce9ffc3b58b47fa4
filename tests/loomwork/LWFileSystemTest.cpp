#include "filesystem/LWFileSystem.h"

#include "support/TestEnvironment.h"

#include <QDir>
#include <QFile>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {
QString freshFolder(const QString& name) {
    const QString path = dwtest::homePath() + u"/sizes/"_s + name;
    QDir(path).removeRecursively();
    QDir().mkpath(path);
    return path;
}

} // namespace

TEST(FileSystemSize, CountsFileDataBelowAFolderWithoutFollowingLinks) {
    const QString tree = freshFolder(u"tree"_s);
    dwtest::writeFile(tree + u"/a"_s, QByteArray(10, 'a'));
    dwtest::writeFile(tree + u"/b"_s, QByteArray(20, 'b'));
    dwtest::writeFile(tree + u"/sub/c"_s, QByteArray(5, 'c'));
    QDir().mkpath(tree + u"/sub/deeper/empty"_s);
    EXPECT_EQ(LWFileSystem::fileSizeForPath(tree), 35u);
    EXPECT_EQ(LWFileSystem::fileSizeForPath(tree + QLatin1Char('/')), 35u);
    // Only a folder can be listed.
    EXPECT_EQ(LWFileSystem::fileSizeForPath(tree + u"/a"_s), 0u);
    EXPECT_EQ(LWFileSystem::fileSizeForPath(tree + u"/missing"_s), 0u);

    // Links count with their own size (the target's path), never their target's.
    const QString outside = freshFolder(u"outside"_s);
    dwtest::writeFile(outside + u"/big"_s, QByteArray(100000, 'x'));
    ASSERT_TRUE(QFile::link(outside + u"/big"_s, tree + u"/to-file"_s));
    ASSERT_TRUE(QFile::link(outside, tree + u"/to-folder"_s));
    ASSERT_TRUE(QFile::link(tree, tree + u"/sub/loop"_s));
    ASSERT_TRUE(QFile::link(u"nowhere"_s, tree + u"/dangling"_s));
    const quint64 links =
        QFile::encodeName(outside).size() * 2 + 4 + QFile::encodeName(tree).size() + 7;
    EXPECT_EQ(LWFileSystem::fileSizeForPath(tree), 35u + links);
    // A link named as the folder itself is followed, like any path.
    EXPECT_EQ(LWFileSystem::fileSizeForPath(tree + u"/to-folder"_s), 100000u);
}

TEST(FileSystemSize, LargeFoldersAreReadInManyBatchesAndCountedOnce) {
    // Long names make the entries fill many getdents64 batches.
    const QString tree = freshFolder(u"large"_s);
    quint64 expected = 0;
    for (int i = 0; i < 3000; ++i) {
        dwtest::writeFile(tree + u"/%1-"_s.arg(i) + QString(120, QLatin1Char('n')),
                          QByteArray(i % 17, 'x'));
        expected += i % 17;
    }
    EXPECT_EQ(LWFileSystem::fileSizeForPath(tree), expected);
}

TEST(FileSystemNames, DisplayNamesAndTheDesktopFolder) {
    EXPECT_TRUE(LWFileSystem::localizedNameForItemAtPath(QString()).isNull());
    EXPECT_EQ(LWFileSystem::localizedNameForItemAtPath(u"/home/u/Projects/"_s), u"Projects"_s);
    EXPECT_EQ(LWFileSystem::localizedNameForItemAtPath(u"/"_s), u"/"_s);

    // Whether or not it exists; a localised session may have renamed it.
    const QString home = dwtest::homePath();
    QDir(home + u"/Desktop"_s).removeRecursively();
    EXPECT_EQ(LWFileSystem::desktopURL(), QUrl::fromLocalFile(home + u"/Desktop"_s));
    dwtest::writeFile(home + u"/.config/user-dirs.dirs"_s,
                      "XDG_DESKTOP_DIR=\"$HOME/Schreibtisch\"\n");
    EXPECT_EQ(LWFileSystem::desktopURL(), QUrl::fromLocalFile(home + u"/Schreibtisch"_s));
}
