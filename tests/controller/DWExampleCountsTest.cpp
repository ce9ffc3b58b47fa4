#include "controller/DWExampleFiles.h"
#include "model/DWTaskList.h"
#include "model/DWTaskRuleSet.h"
#include "support/TestEnvironment.h"

#include <QDir>
#include <gtest/gtest.h>

// The shipped examples must show what each style counts: open tasks in the
// square-bracket list, open and done ones in the TaskPaper list.
TEST(ExampleFiles, ExamplesHaveOpenTasksUnderTheirRuleSets) {
    const QString folder = dwtest::homePath() + QStringLiteral("/counted");
    QDir().mkpath(folder);
    const QString text =
        DWExampleFiles::writeExampleFile(QStringLiteral("Example Task List.txt"), folder);
    const QString taskPaper =
        DWExampleFiles::writeExampleFile(QStringLiteral("Example Task List.taskpaper"), folder);
    ASSERT_FALSE(text.isEmpty());
    ASSERT_FALSE(taskPaper.isEmpty());

    DWTaskList squareBrackets(text, DWTaskRuleSet::squareBracketStyleRuleSet());
    squareBrackets.updateOpenTasks();
    EXPECT_EQ(squareBrackets.openTasks(), 7);

    DWTaskList tasks(taskPaper, DWTaskRuleSet::taskPaperRuleSet());
    tasks.updateOpenTasks();
    EXPECT_EQ(tasks.openTasks(), 6);
    // Read as a list of dashes only, the done ones count too: the example has some.
    auto withoutDone = std::make_shared<DWTaskRuleSet>(
        DWTaskRuleSet::taskPaperRuleSet()->openTaskRules(), std::nullopt, QStringLiteral("dashes"));
    DWTaskList everything(taskPaper, withoutDone);
    everything.updateOpenTasks();
    EXPECT_GT(everything.openTasks(), tasks.openTasks());
}
