#include "model/DWTaskRuleSet.h"

#include "model/DWContainsTaskRule.h"
#include "model/DWNotEmptyTaskRule.h"
#include "model/DWPrefixTaskRule.h"
#include "model/DWTaskCounter.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {
bool matches(const DWTaskRuleProtocol& rule, QString line) {
    const QString whole = line;
    return rule.matchesLine(whole, line.remove(u' ').remove(u'\t'));
}
} // namespace

TEST(TaskRules, PrefixIgnoresBlanksAndTabsContainsIgnoresCase) {
    const auto box = DWPrefixTaskRule::ruleWithPrefix(u"-[]"_s);
    EXPECT_TRUE(matches(*box, u"\t- [  ] call"_s));
    EXPECT_FALSE(matches(*box, u"- [x] call"_s));
    EXPECT_FALSE(matches(*DWPrefixTaskRule::ruleWithPrefix(u"x"_s), u"X call"_s));

    const auto done = DWContainsTaskRule::ruleWithToken(u" @done"_s);
    EXPECT_TRUE(matches(*done, u"- a @DONE(2011-05-01)"_s));
    EXPECT_FALSE(matches(*done, u"- a\t@done"_s));
    EXPECT_FALSE(matches(*done, u"@done"_s));

    // Nothing to look for matches nothing.
    EXPECT_FALSE(matches(DWPrefixTaskRule(), u"anything"_s));
    EXPECT_FALSE(matches(*DWPrefixTaskRule::ruleWithPrefix(u""_s), u"a"_s));
    EXPECT_FALSE(matches(*DWContainsTaskRule::ruleWithToken(u""_s), u"a"_s));
}

TEST(TaskRules, MatchingRuleIsTheFirstInArrayOrder) {
    const DWTaskRuleArray both{std::make_shared<DWNotEmptyTaskRule>(),
                               DWPrefixTaskRule::ruleWithPrefix(u"a"_s)};
    EXPECT_EQ(dw::matchingRuleForLine(both, u"a"_s, u"a"_s), both.at(0));
    EXPECT_EQ(dw::matchingRuleForLine(DWTaskRuleArray(), u"a"_s, u"a"_s), nullptr);
    EXPECT_EQ(dw::matchingRuleForLine(std::nullopt, u"a"_s, u"a"_s), nullptr);
}

TEST(TaskRuleSets, LookupByExactNameAndBestMatchByExactExtension) {
    for (const auto& set : {DWTaskRuleSet::todotxtRuleSet(), DWTaskRuleSet::taskPaperRuleSet(),
                            DWTaskRuleSet::squareBracketStyleRuleSet()}) {
        const auto found = DWTaskRuleSet::ruleSetForName(set->name());
        ASSERT_TRUE(found);
        EXPECT_EQ(found->name(), set->name());
        EXPECT_NE(found, set); // each caller gets rules of its own
    }
    for (const QString& name : {u"taskpaper style"_s, u"TaskPaper style "_s, QString()})
        EXPECT_EQ(DWTaskRuleSet::ruleSetForName(name), nullptr) << name.toStdString();

    EXPECT_EQ(DWTaskRuleSet::bestMatchFor(u"/a/b/list.taskpaper"_s)->name(),
              DWTaskRuleSet::taskPaperName);
    for (const QString& path :
         {u"/a/b/list.TaskPaper"_s, u"/a/b/todo.txt"_s, u"/a/b.taskpaper/notes"_s, QString()})
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
    set->setDoneTaskRules(DWTaskRuleArray{DWContainsTaskRule::ruleWithToken(u"ok"_s)});
    EXPECT_FALSE(DWTaskCounter(*set).hasByteForm());
    EXPECT_EQ(DWTaskCounter(*set).countText(QString::fromUtf8("- o\u212A\n- b\n")), 1);
}
