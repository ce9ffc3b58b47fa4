#include "controller/DWExampleFiles.h"

#include "model/DWTaskList.h"
#include "model/DWTaskRuleSet.h"
#include "support/TestEnvironment.h"

#include <QDir>
#include <QFile>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {
const QString kText = u"Example Task List.txt"_s;
const QString kTaskPaper = u"Example Task List.taskpaper"_s;

QString freshFolder(const QString& name) {
    const QString path = dwtest::homePath() + u'/' + name;
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

// Copied as shipped, and showing what each style counts.
TEST(ExampleFiles, CopiesTheExamplesVerbatimAndTheyCountUnderTheirRules) {
    const QString folder = freshFolder(u"copies"_s);
    const QString text = DWExampleFiles::writeExampleFile(kText, folder);
    const QString taskPaper = DWExampleFiles::writeExampleFile(kTaskPaper, folder);
    ASSERT_EQ(text, folder + u'/' + kText);
    QFile resource(DWExampleFiles::resourcePath(kText));
    ASSERT_TRUE(resource.open(QIODevice::ReadOnly));
    EXPECT_EQ(dwtest::readFile(text), resource.readAll());
    // No temporary file is left behind.
    EXPECT_EQ(QDir(folder).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot).size(),
              2);
    EXPECT_EQ(openTasks(text, DWTaskRuleSet::squareBracketStyleRuleSet()), 7);
    EXPECT_EQ(openTasks(taskPaper, DWTaskRuleSet::taskPaperRuleSet()), 6);
    EXPECT_EQ(DWExampleFiles::writeExampleFile(kText, u"~"_s), QDir::homePath() + u'/' + kText);
}

// Never over anything already there, nor where nothing can be written.
TEST(ExampleFiles, NeverReplacesAnythingAndFailsWhereItCannotWrite) {
    const QString folder = freshFolder(u"taken"_s);
    dwtest::writeFile(folder + u'/' + kText, "my own list\n");
    EXPECT_TRUE(DWExampleFiles::writeExampleFile(kText, folder).isEmpty());
    EXPECT_EQ(dwtest::readFile(folder + u'/' + kText), QByteArray("my own list\n"));
    const QString pointee = folder + u"/elsewhere.txt"_s;
    ASSERT_TRUE(QFile::link(pointee, folder + u'/' + kTaskPaper));
    EXPECT_TRUE(DWExampleFiles::writeExampleFile(kTaskPaper, folder).isEmpty());
    EXPECT_FALSE(QFile::exists(pointee));

    EXPECT_EQ(DWExampleFiles::targetPath(kText, u"/srv/~x"_s), u"/srv/~x/"_s + kText);
    EXPECT_TRUE(DWExampleFiles::writeExampleFile(u"Unknown.txt"_s, freshFolder(u"u"_s)).isEmpty());
    EXPECT_TRUE(
        DWExampleFiles::writeExampleFile(kText, dwtest::homePath() + u"/no/such"_s).isEmpty());
    // A file where the folder should be: unwritable for every user, root included.
    dwtest::writeFile(dwtest::homePath() + u"/plain-file"_s, "x");
    EXPECT_TRUE(
        DWExampleFiles::writeExampleFile(kText, dwtest::homePath() + u"/plain-file"_s).isEmpty());
}
