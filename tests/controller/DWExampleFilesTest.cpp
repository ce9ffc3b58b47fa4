#include "controller/DWExampleFiles.h"

#include "model/DWTaskList.h"
#include "model/DWTaskRuleSet.h"
#include "support/TestEnvironment.h"

#include <QDir>
#include <QFile>
#include <gtest/gtest.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {
const QString kText = u"Example Task List.txt"_s;
const QString kTaskPaper = u"Example Task List.taskpaper"_s;

QString freshFolder(const QString& name) {
    const QString path = dwtest::homePath() + QLatin1Char('/') + name;
    QDir(path).removeRecursively();
    QDir().mkpath(path);
    return path;
}

int openTasks(const QString& path, std::shared_ptr<DWTaskRuleSet> rules) {
    DWTaskList list(path, std::move(rules));
    list.updateOpenTasks();
    return list.openTasks();
}
} // namespace

// The shipped examples are copied as they are, and show what each style
// counts: open tasks in the square-bracket list, open and done ones in the
// TaskPaper list.
TEST(ExampleFiles, CopiesTheExamplesVerbatimAndTheyCountUnderTheirRules) {
    const QString folder = freshFolder(u"copies"_s);
    const QString text = DWExampleFiles::writeExampleFile(kText, folder);
    const QString taskPaper = DWExampleFiles::writeExampleFile(kTaskPaper, folder);
    ASSERT_EQ(text, folder + QLatin1Char('/') + kText);
    ASSERT_EQ(taskPaper, folder + QLatin1Char('/') + kTaskPaper);
    QFile resource(DWExampleFiles::resourcePath(kText));
    ASSERT_TRUE(resource.open(QIODevice::ReadOnly));
    EXPECT_EQ(dwtest::readFile(text), resource.readAll());
    // No temporary file is left behind.
    EXPECT_EQ(QDir(folder).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot).size(),
              2);

    EXPECT_EQ(openTasks(text, DWTaskRuleSet::squareBracketStyleRuleSet()), 7);
    EXPECT_EQ(openTasks(taskPaper, DWTaskRuleSet::taskPaperRuleSet()), 6);
    // Counted as dashes alone, the done tasks count too: the example has some.
    const auto dashes = std::make_shared<DWTaskRuleSet>(
        DWTaskRuleSet::taskPaperRuleSet()->openTaskRules(), std::nullopt, u"-"_s);
    EXPECT_GT(openTasks(taskPaper, dashes), 6);

    // Never over an existing file: a second copy makes nothing.
    dwtest::writeFile(text, "my own list\n");
    EXPECT_TRUE(DWExampleFiles::writeExampleFile(kText, folder).isEmpty());
    EXPECT_EQ(dwtest::readFile(text), QByteArray("my own list\n"));
}

TEST(ExampleFiles, NeverReplacesADanglingLinkOrAFolder) {
    // A dangling link is an item too: neither it nor what it points at changes;
    // nor does a folder of that name.
    const QString other = freshFolder(u"dangling"_s);
    const QString pointee = other + u"/elsewhere.txt"_s;
    ASSERT_TRUE(QFile::link(pointee, other + QLatin1Char('/') + kText));
    EXPECT_TRUE(DWExampleFiles::writeExampleFile(kText, other).isEmpty());
    EXPECT_FALSE(QFile::exists(pointee));
    QDir().mkpath(other + QLatin1Char('/') + kTaskPaper);
    EXPECT_TRUE(DWExampleFiles::writeExampleFile(kTaskPaper, other).isEmpty());
}

TEST(ExampleFiles, HomeTildeAndFoldersThatCannotBeWritten) {
    EXPECT_EQ(DWExampleFiles::targetPath(kText, u"~"_s),
              QDir::homePath() + QLatin1Char('/') + kText);
    EXPECT_EQ(DWExampleFiles::targetPath(kText, u"/srv/~x"_s), u"/srv/~x/"_s + kText);
    freshFolder(u"Lists"_s);
    EXPECT_EQ(DWExampleFiles::writeExampleFile(kText, u"~/Lists"_s),
              QDir::homePath() + u"/Lists/"_s + kText);

    EXPECT_TRUE(
        DWExampleFiles::writeExampleFile(u"Unknown.txt"_s, freshFolder(u"unknown"_s)).isEmpty());
    EXPECT_TRUE(
        DWExampleFiles::writeExampleFile(kText, dwtest::homePath() + u"/no/such"_s).isEmpty());
    // A file where the folder should be fails for every user, root included.
    const QString notAFolder = dwtest::homePath() + u"/plain-file"_s;
    dwtest::writeFile(notAFolder, "x");
    EXPECT_TRUE(DWExampleFiles::writeExampleFile(kText, notAFolder).isEmpty());
    if (::geteuid() != 0) {
        const QString readOnly = freshFolder(u"readonly"_s);
        QFile::setPermissions(readOnly, QFileDevice::ReadOwner | QFileDevice::ExeOwner);
        EXPECT_TRUE(DWExampleFiles::writeExampleFile(kText, readOnly).isEmpty());
        QFile::setPermissions(readOnly, QFileDevice::ReadOwner | QFileDevice::WriteOwner |
                                            QFileDevice::ExeOwner);
        EXPECT_TRUE(QDir(readOnly).isEmpty());
    }
}
