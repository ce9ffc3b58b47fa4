#include "controller/DWConfigViewController.h"

#include "logging/LWLogger.h"
#include "model/DWTaskList.h"
#include "model/DWTaskRuleSet.h"

#include <QComboBox>
#include <QVBoxLayout>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {
std::shared_ptr<DWTaskList> taskList(std::shared_ptr<DWTaskRuleSet> rules) {
    return std::make_shared<DWTaskList>(u"/a/b.txt"_s, std::move(rules));
}
int ruleChangedLines() {
    return int(LWLogger::sharedInstance()->messageBacklog().filter(u"rule changed"_s).size());
}
} // namespace

TEST(ConfigViewController, SelectsTheTaskListsStyleByNameAndLogsEachChoice) {
    LWLogger::sharedInstance()->setMaxLogLevel(3);
    LWLogger::sharedInstance()->setMessageBacklogSize(50);
    DWConfigViewController controller;
    auto* popUp = controller.view()->findChild<QComboBox*>();
    ASSERT_NE(popUp, nullptr);
    QWidget superview;
    auto* layout = new QVBoxLayout(&superview);

    // Matched by name: a fresh rule set is another object than the offered one.
    const auto list = taskList(DWTaskRuleSet::taskPaperRuleSet());
    const auto rules = list->ruleSet();
    const int before = ruleChangedLines();
    controller.addToSuperview(&superview, list); // selecting in code is not a choice
    ASSERT_NE(controller.selectedRuleSet(), nullptr);
    EXPECT_EQ(controller.selectedRuleSet()->name(), u"TaskPaper style"_s);
    EXPECT_EQ(layout->count(), 1);
    EXPECT_EQ(ruleChangedLines(), before);
    popUp->setCurrentIndex(1);
    popUp->setCurrentIndex(0);
    EXPECT_EQ(ruleChangedLines(), before + 2);
    EXPECT_EQ(list->ruleSet(), rules); // the choice changes nothing else

    // A style the chooser doesn't offer, or none at all: nothing selected.
    controller.addToSuperview(&superview, taskList(DWTaskRuleSet::todotxtRuleSet()));
    EXPECT_EQ(controller.selectedRuleSet(), nullptr);
    controller.addToSuperview(&superview, taskList(nullptr));
    EXPECT_EQ(controller.selectedRuleSet(), nullptr);
    controller.removeFromSuperViewAction();
    EXPECT_EQ(layout->count(), 0);
}
