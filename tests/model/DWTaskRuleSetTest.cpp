#include "model/DWTaskRuleSet.h"

#include "model/DWContainsTaskRule.h"
#include "model/DWNotEmptyTaskRule.h"
#include "model/DWPrefixTaskRule.h"
#include "model/DWTaskCounter.h"

#include <gtest/gtest.h>

namespace {
QString stripped(QStringView line) {
    QString result;
    for (QChar c : line) {
        if (c != u' ' && c != u'\t')
            result += c;
    }
    return result;
}

bool matches(const DWTaskRuleProtocol& rule, const QString& line) {
    return rule.matchesLine(line, stripped(line));
}

std::shared_ptr<DWTaskRuleProtocol> match(const std::optional<DWTaskRuleArray>& rules,
                                          const QString& line) {
    return dw::matchingRuleForLine(rules, line, stripped(line));
}

QList<std::shared_ptr<DWTaskRuleSet>> builtInSets() {
    return {DWTaskRuleSet::todotxtRuleSet(), DWTaskRuleSet::taskPaperRuleSet(),
            DWTaskRuleSet::squareBracketStyleRuleSet()};
}
} // namespace

TEST(TaskRules, BlankLinesMatchNoBuiltInRule) {
    for (const auto& set : builtInSets()) {
        for (const QString& line : {QString(), QStringLiteral("  \t "), QStringLiteral("\t")}) {
            EXPECT_FALSE(match(set->openTaskRules(), line)) << set->name().toStdString();
            EXPECT_FALSE(match(set->doneTaskRules(), line)) << set->name().toStdString();
        }
    }
}

TEST(TaskRules, PrefixLooksAtTheLineWithoutBlanksAndTabs) {
    const auto dash = DWPrefixTaskRule::ruleWithPrefix(QStringLiteral("-"));
    EXPECT_TRUE(matches(*dash, QStringLiteral("   -  item")));
    EXPECT_TRUE(matches(*dash, QStringLiteral("\t\t-item")));
    EXPECT_FALSE(matches(*dash, QStringLiteral("item -")));

    const auto box = DWPrefixTaskRule::ruleWithPrefix(QStringLiteral("-[]"));
    EXPECT_TRUE(matches(*box, QStringLiteral("\t- [  ] call")));
    EXPECT_FALSE(matches(*box, QStringLiteral("- [x] call")));
    EXPECT_FALSE(matches(*box, QStringLiteral("* [ ] call")));

    // Case-sensitive, and nothing to look for matches nothing.
    EXPECT_FALSE(
        matches(*DWPrefixTaskRule::ruleWithPrefix(QStringLiteral("x")), QStringLiteral("X call")));
    EXPECT_FALSE(matches(DWPrefixTaskRule(), QStringLiteral("anything")));
    EXPECT_FALSE(matches(*DWPrefixTaskRule::ruleWithPrefix(QString("")), QStringLiteral("a")));
}

TEST(TaskRules, ContainsLooksAtTheWholeLineIgnoringCase) {
    const auto done = DWContainsTaskRule::ruleWithToken(QStringLiteral(" @done"));
    EXPECT_TRUE(matches(*done, QStringLiteral("- a @DONE")));
    EXPECT_TRUE(matches(*done, QStringLiteral("- a @done(2011-05-01)")));
    EXPECT_FALSE(matches(*done, QStringLiteral("- a\t@done")));
    EXPECT_FALSE(matches(*done, QStringLiteral("@done")));
    EXPECT_FALSE(matches(DWContainsTaskRule(), QStringLiteral("- a @done")));
    EXPECT_FALSE(matches(*DWContainsTaskRule::ruleWithToken(QString("")), QStringLiteral("a")));
}

TEST(TaskRules, MatchingRuleIsTheFirstInArrayOrder) {
    const std::optional<DWTaskRuleArray> done = DWTaskRuleSet::todotxtRuleSet()->doneTaskRules();
    ASSERT_TRUE(done && done->size() == 2);
    EXPECT_EQ(match(done, QStringLiteral("x 2011-03-02 call")), done->at(0));
    EXPECT_EQ(match(done, QStringLiteral("X call")), done->at(1));
    EXPECT_EQ(match(done, QStringLiteral("call")), nullptr);

    const DWTaskRuleArray both{std::make_shared<DWNotEmptyTaskRule>(),
                               DWPrefixTaskRule::ruleWithPrefix(QStringLiteral("a"))};
    EXPECT_EQ(match(both, QStringLiteral("a")), both.at(0));
    EXPECT_EQ(match(DWTaskRuleArray(), QStringLiteral("a")), nullptr);
    EXPECT_EQ(match(std::nullopt, QStringLiteral("a")), nullptr);
}

TEST(TaskRuleSets, EveryFactoryCallBuildsNewObjects) {
    const auto todo = DWTaskRuleSet::todotxtRuleSet();
    const auto again = DWTaskRuleSet::todotxtRuleSet();
    EXPECT_NE(todo, again);
    // Stored in users' preferences: the name must never change.
    EXPECT_EQ(again->name(), QStringLiteral("todotxt.org style"));
    EXPECT_NE(todo->openTaskRules().at(0), again->openTaskRules().at(0));
}

TEST(TaskRuleSets, LookupByNameIsExact) {
    for (const auto& set : builtInSets()) {
        const auto found = DWTaskRuleSet::ruleSetForName(set->name());
        ASSERT_TRUE(found);
        EXPECT_EQ(found->name(), set->name());
        EXPECT_NE(found, set);
    }
    for (const QString& name : {QStringLiteral("taskpaper style"),
                                QStringLiteral("TaskPaper style "), QString(), QString("")})
        EXPECT_EQ(DWTaskRuleSet::ruleSetForName(name), nullptr) << name.toStdString();
}

TEST(TaskRuleSets, BestMatchGoesByTheExactExtension) {
    EXPECT_EQ(DWTaskRuleSet::bestMatchFor(QStringLiteral("/a/b/list.taskpaper"))->name(),
              DWTaskRuleSet::taskPaperName);
    for (const QString& path :
         {QStringLiteral("/a/b/list.TaskPaper"), QStringLiteral("/a/b/todo.txt"),
          QStringLiteral("/a/b/notes"), QStringLiteral("/a/b.taskpaper/notes"), QString()})
        EXPECT_EQ(DWTaskRuleSet::bestMatchFor(path)->name(), DWTaskRuleSet::squareBracketStyleName)
            << path.toStdString();
}

// The byte counter compares ASCII letters without case; that equals Qt's
// case-insensitive search only for letters that no other character folds to.
TEST(TaskRules, NonAsciiCaseVariantsAreExactlyTheOnesQtKnows) {
    bool expected[128] = {};
    for (char32_t c = 0x80; c <= 0x10FFFF; ++c) {
        const char32_t folded = QChar::toCaseFolded(c);
        if (folded < 0x80) {
            expected[folded] = true;
            expected[QChar::toUpper(folded)] = true;
        }
    }
    for (int c = 0; c < 128; ++c)
        EXPECT_EQ(DWContainsTaskRule::hasNonAsciiCaseVariant(char(c)), expected[c]) << c;

    // Such a token makes the whole set count the general way.
    const auto set = DWTaskRuleSet::taskPaperRuleSet();
    EXPECT_TRUE(DWTaskCounter(*set).hasByteForm());
    set->setDoneTaskRules(DWTaskRuleArray{DWContainsTaskRule::ruleWithToken(QStringLiteral("ok"))});
    EXPECT_FALSE(DWTaskCounter(*set).hasByteForm());
    EXPECT_EQ(DWTaskCounter(*set).countText(QString::fromUtf8("- o\u212A\n- b\n")), 1);
}
