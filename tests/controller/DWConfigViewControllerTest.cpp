#include "controller/DWConfigViewController.h"

#include "logging/LWLogger.h"
#include "model/DWTaskList.h"
#include "model/DWTaskRuleSet.h"

#include <QComboBox>
#include <QVBoxLayout>
#include <gtest/gtest.h>

namespace {
std::shared_ptr<DWTaskList> taskList(const QString& path, std::shared_ptr<DWTaskRuleSet> rules) {
    auto list = std::make_shared<DWTaskList>();
    list->setPath(path);
    list->setRuleSet(std::move(rules));
    return list;
}

int ruleChangedLines() {
    return int(
        LWLogger::sharedInstance()->messageBacklog().filter(QStringLiteral("rule changed")).size());
}
} // namespace

TEST(ConfigViewController, OffersTaskPaperThenSquareBrackets) {
    DWConfigViewController controller;
    ASSERT_EQ(controller.ruleSets().size(), 2);
    EXPECT_EQ(controller.ruleSets()[0]->name(), QStringLiteral("TaskPaper style"));
    EXPECT_EQ(controller.ruleSets()[1]->name(), QStringLiteral("Square Brackets Style"));
    auto* popUp = controller.view()->findChild<QComboBox*>();
    ASSERT_NE(popUp, nullptr);
    EXPECT_EQ(popUp->count(), 2);
    EXPECT_EQ(popUp->itemText(0), QStringLiteral("TaskPaper style"));
}

TEST(ConfigViewController, SelectsTheTaskListsRuleSetByNameAndShowsTheView) {
    DWConfigViewController controller;
    QWidget superview;
    auto* layout = new QVBoxLayout(&superview);

    // A fresh rule set: another object than the offered one, with the same name.
    controller.addToSuperview(
        &superview, taskList(QStringLiteral("/a/b.taskpaper"), DWTaskRuleSet::taskPaperRuleSet()));
    ASSERT_NE(controller.selectedRuleSet(), nullptr);
    EXPECT_EQ(controller.selectedRuleSet()->name(), QStringLiteral("TaskPaper style"));
    EXPECT_EQ(controller.view()->parentWidget(), &superview);
    EXPECT_EQ(layout->indexOf(controller.view()), 0);

    controller.addToSuperview(&superview, taskList(QStringLiteral("/a/c.txt"),
                                                   DWTaskRuleSet::squareBracketStyleRuleSet()));
    EXPECT_EQ(controller.selectedRuleSet()->name(), QStringLiteral("Square Brackets Style"));
    EXPECT_EQ(layout->count(), 1);

    // A style the chooser doesn't offer, or none at all: nothing selected.
    controller.addToSuperview(
        &superview, taskList(QStringLiteral("/a/todo.txt"), DWTaskRuleSet::todotxtRuleSet()));
    EXPECT_EQ(controller.selectedRuleSet(), nullptr);
    controller.addToSuperview(&superview, taskList(QStringLiteral("/a/none.txt"), nullptr));
    EXPECT_EQ(controller.selectedRuleSet(), nullptr);

    controller.removeFromSuperViewAction();
    EXPECT_EQ(controller.view()->parentWidget(), nullptr);
    EXPECT_EQ(layout->count(), 0);
}

TEST(ConfigViewController, NullTaskListLeavesTheSuperviewAlone) {
    DWConfigViewController controller;
    QWidget superview;
    const auto selected = controller.selectedRuleSet();
    controller.addToSuperview(&superview, nullptr);
    EXPECT_TRUE(superview.children().isEmpty());
    EXPECT_EQ(controller.view()->parentWidget(), nullptr);
    EXPECT_EQ(controller.selectedRuleSet(), selected);
}

TEST(ConfigViewController, EachChangedChoiceIsLoggedAndChangesNothingElse) {
    LWLogger::sharedInstance()->setMaxLogLevel(3);
    LWLogger::sharedInstance()->setMessageBacklogSize(50);
    DWConfigViewController controller;
    QWidget superview;
    const auto list = taskList(QStringLiteral("/a/b.taskpaper"), DWTaskRuleSet::taskPaperRuleSet());
    const auto rules = list->ruleSet();
    const int before = ruleChangedLines();
    controller.addToSuperview(&superview, list); // selecting in code is not a choice
    EXPECT_EQ(ruleChangedLines(), before);

    auto* popUp = controller.view()->findChild<QComboBox*>();
    popUp->setCurrentIndex(1);
    popUp->setCurrentIndex(0);
    EXPECT_EQ(ruleChangedLines(), before + 2);
    EXPECT_EQ(list->ruleSet(), rules);
    EXPECT_EQ(list->ruleSet()->name(), QStringLiteral("TaskPaper style"));
}
