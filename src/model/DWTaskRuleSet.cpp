#include "model/DWTaskRuleSet.h"

#include "model/DWContainsTaskRule.h"
#include "model/DWNotEmptyTaskRule.h"
#include "model/DWPrefixTaskRule.h"
#include "model/DWStringAdditions.h"

// Stored in users' preferences with every task list: never change these.
const QString DWTaskRuleSet::todotxtName = QStringLiteral("todotxt.org style");
const QString DWTaskRuleSet::taskPaperName = QStringLiteral("TaskPaper style");
const QString DWTaskRuleSet::squareBracketStyleName = QStringLiteral("Square Brackets Style");

DWTaskRuleSet::DWTaskRuleSet(DWTaskRuleArray openRules, std::optional<DWTaskRuleArray> doneRules,
                             QString name)
    : _name(std::move(name)), _openTaskRules(std::move(openRules)),
      _doneTaskRules(std::move(doneRules)) {}

std::shared_ptr<DWTaskRuleSet> DWTaskRuleSet::todotxtRuleSet() {
    return std::make_shared<DWTaskRuleSet>(
        DWTaskRuleArray{std::make_shared<DWNotEmptyTaskRule>()},
        DWTaskRuleArray{DWPrefixTaskRule::ruleWithPrefix(QStringLiteral("x")),
                        DWPrefixTaskRule::ruleWithPrefix(QStringLiteral("X"))},
        todotxtName);
}

std::shared_ptr<DWTaskRuleSet> DWTaskRuleSet::taskPaperRuleSet() {
    return std::make_shared<DWTaskRuleSet>(
        DWTaskRuleArray{DWPrefixTaskRule::ruleWithPrefix(QStringLiteral("-"))},
        DWTaskRuleArray{DWContainsTaskRule::ruleWithToken(QStringLiteral(" @done"))},
        taskPaperName);
}

std::shared_ptr<DWTaskRuleSet> DWTaskRuleSet::squareBracketStyleRuleSet() {
    return std::make_shared<DWTaskRuleSet>(
        DWTaskRuleArray{DWPrefixTaskRule::ruleWithPrefix(QStringLiteral("-[]"))}, std::nullopt,
        squareBracketStyleName);
}

std::shared_ptr<DWTaskRuleSet> DWTaskRuleSet::ruleSetForName(const QString& name) {
    if (name.isNull())
        return nullptr;
    if (name == taskPaperName)
        return taskPaperRuleSet();
    if (name == squareBracketStyleName)
        return squareBracketStyleRuleSet();
    if (name == todotxtName)
        return todotxtRuleSet();
    return nullptr;
}

std::shared_ptr<DWTaskRuleSet> DWTaskRuleSet::bestMatchFor(const QString& path) {
    const QString lastComponent = dw::lastPathComponent(path);
    const qsizetype dot = lastComponent.lastIndexOf(QLatin1Char('.'));
    const QStringView extension = dot < 0 ? QStringView() : QStringView(lastComponent).mid(dot + 1);
    if (extension == u"taskpaper")
        return taskPaperRuleSet();
    return squareBracketStyleRuleSet();
}

QString DWTaskRuleSet::name() const {
    std::lock_guard locker(_lock);
    return _name;
}

void DWTaskRuleSet::setName(const QString& name) {
    std::lock_guard locker(_lock);
    _name = name;
}

DWTaskRuleArray DWTaskRuleSet::openTaskRules() const {
    std::lock_guard locker(_lock);
    return _openTaskRules;
}

void DWTaskRuleSet::setOpenTaskRules(const DWTaskRuleArray& rules) {
    std::lock_guard locker(_lock);
    _openTaskRules = rules;
}

std::optional<DWTaskRuleArray> DWTaskRuleSet::doneTaskRules() const {
    std::lock_guard locker(_lock);
    return _doneTaskRules;
}

void DWTaskRuleSet::setDoneTaskRules(const std::optional<DWTaskRuleArray>& rules) {
    std::lock_guard locker(_lock);
    _doneTaskRules = rules;
}
