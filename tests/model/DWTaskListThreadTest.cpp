#include "model/DWTaskList.h"
#include "model/DWTaskRuleSet.h"
#include "support/TestEnvironment.h"

#include <QSet>
#include <atomic>
#include <gtest/gtest.h>
#include <thread>

// The badge worker counts while the main thread shows the list: the reader
// sees the count from before or the finished new count, never anything else,
// and reading the path, label and rules meanwhile is safe.
TEST(TaskListThreads, OpenTasksCanBeReadWhileACountRuns) {
    QByteArray bytes; // three lines in four open
    for (int i = 0; i < 60000; ++i)
        bytes += (i % 4 ? "(A) call someone about " : "x paid the bill for ") +
                 QByteArray::number(i) + '\n';
    const QString path = dwtest::homePath() + QStringLiteral("/busy.txt");
    dwtest::writeFile(path, bytes);
    const auto list = std::make_shared<DWTaskList>(path, DWTaskRuleSet::todotxtRuleSet());

    std::atomic<bool> done{false};
    std::thread worker([&] {
        for (int round = 0; round < 20; ++round) {
            list->updateOpenTasks();
            list->setRuleSet(DWTaskRuleSet::todotxtRuleSet());
        }
        done = true;
    });
    QSet<int> seen;
    while (!done) {
        seen.insert(list->openTasks());
        EXPECT_EQ(list->label(), QStringLiteral("busy.txt"));
        if (const auto rules = list->ruleSet()) {
            EXPECT_EQ(rules->name(), DWTaskRuleSet::todotxtName);
        }
    }
    worker.join();
    seen.insert(list->openTasks());
    seen.remove(-1);
    EXPECT_EQ(seen, QSet<int>{45000});
}
