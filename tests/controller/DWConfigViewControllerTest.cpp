#include "controller/DWConfigViewController.h"

#include "logging/LWLogger.h"
#include "model/DWTaskList.h"
#include "model/DWTaskRuleSet.h"

#include <QComboBox>
#include <QVBoxLayout>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {
std::shared_ptr<DWTaskList> taskList(const QString& path, std::shared_ptr<DWTaskRuleSet> rules) {
    auto list = std::make_shared<DWTaskList>();
    list->setPath(path);
    list->setRuleSet(std::move(rules));
    return list;
}

int ruleChangedLines() {
    return int(LWLogger::sharedInstance()->messageBacklog().filter(u"rule changed"_s).size());
}
} // namespace

TEST(ConfigViewController, OffersTwoStylesAndSelectsTheTaskListsByName) {
    DWConfigViewController controller;
    auto* popUp = controller.view()->findChild<QComboBox*>();
    ASSERT_NE(popUp, nullptr);
    ASSERT_EQ(controller.ruleSets().size(), 2);
    EXPECT_EQ(controller.ruleSets()[0]->name(), u"TaskPaper style"_s);
    EXPECT_EQ(controller.ruleSets()[1]->name(), u"Square Brackets Style"_s);
    EXPECT_EQ(popUp->count(), 2);
    EXPECT_EQ(popUp->itemText(0), u"TaskPaper style"_s);

    // No task list: the superview is left alone.
    QWidget superview;
    controller.addToSuperview(&superview, nullptr);
    EXPECT_TRUE(superview.children().isEmpty());
    EXPECT_EQ(controller.view()->parentWidget(), nullptr);

    // A fresh rule set: another object than the offered one, with the same name.
    auto* layout = new QVBoxLayout(&superview);
    controller.addToSuperview(&superview,
                              taskList(u"/a/c.txt"_s, DWTaskRuleSet::squareBracketStyleRuleSet()));
    ASSERT_NE(controller.selectedRuleSet(), nullptr);
    EXPECT_EQ(controller.selectedRuleSet()->name(), u"Square Brackets Style"_s);
    EXPECT_EQ(layout->indexOf(controller.view()), 0);
    controller.addToSuperview(&superview,
                              taskList(u"/a/b.taskpaper"_s, DWTaskRuleSet::taskPaperRuleSet()));
    EXPECT_EQ(controller.selectedRuleSet()->name(), u"TaskPaper style"_s);
    EXPECT_EQ(layout->count(), 1);

    // A style the chooser doesn't offer, or none at all: nothing selected.
    controller.addToSuperview(&superview,
                              taskList(u"/a/todo.txt"_s, DWTaskRuleSet::todotxtRuleSet()));
    EXPECT_EQ(controller.selectedRuleSet(), nullptr);
    controller.addToSuperview(&superview, taskList(u"/a/none.txt"_s, nullptr));
    EXPECT_EQ(controller.selectedRuleSet(), nullptr);

    controller.removeFromSuperViewAction();
    EXPECT_EQ(controller.view()->parentWidget(), nullptr);
    EXPECT_EQ(layout->count(), 0);
}

TEST(ConfigViewController, EachChangedChoiceIsLoggedAndChangesNothingElse) {
    LWLogger::sharedInstance()->setMaxLogLevel(3);
    LWLogger::sharedInstance()->setMessageBacklogSize(50);
    DWConfigViewController controller;
    QWidget superview;
    const auto list = taskList(u"/a/b.taskpaper"_s, DWTaskRuleSet::taskPaperRuleSet());
    const auto rules = list->ruleSet();
    const int before = ruleChangedLines();
    controller.addToSuperview(&superview, list); // selecting in code is not a choice
    EXPECT_EQ(ruleChangedLines(), before);

    auto* popUp = controller.view()->findChild<QComboBox*>();
    popUp->setCurrentIndex(1);
    popUp->setCurrentIndex(0);
    EXPECT_EQ(ruleChangedLines(), before + 2);
    EXPECT_EQ(list->ruleSet(), rules);
    EXPECT_EQ(list->ruleSet()->name(), u"TaskPaper style"_s);
}
