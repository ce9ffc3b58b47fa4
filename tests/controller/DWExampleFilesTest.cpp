#include "controller/DWExampleFiles.h"

#include "model/DWTaskList.h"
#include "model/DWTaskRuleSet.h"
#include "support/TestEnvironment.h"

#include <QDir>
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
    EXPECT_EQ(dwtest::readFile(text), dwtest::readFile(DWExampleFiles::resourcePath(kText)));
    // No temporary file is left behind.
    EXPECT_EQ(QDir(folder).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot).size(),
              2);
    EXPECT_EQ(openTasks(text, DWTaskRuleSet::squareBracketStyleRuleSet()), 7);
    EXPECT_EQ(openTasks(taskPaper, DWTaskRuleSet::taskPaperRuleSet()), 6);
    EXPECT_EQ(DWExampleFiles::writeExampleFile(kText, u"~"_s), QDir::homePath() + u'/' + kText);
    EXPECT_EQ(DWExampleFiles::targetPath(kText, u"/srv/~x"_s), u"/srv/~x/"_s + kText);
}

// Never over anything already there, nor where nothing can be written.
TEST(ExampleFiles, NeverReplacesAnythingAndFailsWhereItCannotWrite) {
    const QString taken = freshFolder(u"taken"_s), home = dwtest::homePath();
    dwtest::writeFile(taken + u'/' + kText, "my own list\n");
    ASSERT_TRUE(QFile::link(taken + u"/elsewhere.txt"_s, taken + u'/' + kTaskPaper));
    // A file where the folder should be: unwritable for every user, root included.
    dwtest::writeFile(home + u"/plain-file"_s, "x");
    const QList<std::pair<QString, QString>> cases = {{kText, taken},
                                                      {kTaskPaper, taken},
                                                      {u"Unknown.txt"_s, freshFolder(u"u"_s)},
                                                      {kText, home + u"/no/such"_s},
                                                      {kText, home + u"/plain-file"_s}};
    for (const auto& [name, folder] : cases)
        EXPECT_TRUE(DWExampleFiles::writeExampleFile(name, folder).isEmpty())
            << folder.toStdString() << " " << name.toStdString();
    EXPECT_EQ(dwtest::readFile(taken + u'/' + kText), QByteArray("my own list\n"));
    EXPECT_FALSE(QFile::exists(taken + u"/elsewhere.txt"_s));
}
