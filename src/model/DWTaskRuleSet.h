#pragma once

#include "model/DWArrayAdditions.h"

#include <QString>
#include <memory>
#include <mutex>
#include <optional>

// A named pair of rule lists: the open-task rules say which lines are tasks,
// the done-task rules which of those are finished. The name is the rule set's
// identity in stored task lists. Every factory builds new rules and a new set.
class DWTaskRuleSet {
public:
    DWTaskRuleSet(DWTaskRuleArray openRules, std::optional<DWTaskRuleArray> doneRules,
                  QString name);
    DWTaskRuleSet(const DWTaskRuleSet&) = delete;
    DWTaskRuleSet& operator=(const DWTaskRuleSet&) = delete;

    static const QString todotxtName;
    static const QString taskPaperName;
    static const QString squareBracketStyleName;

    static std::shared_ptr<DWTaskRuleSet> todotxtRuleSet();
    static std::shared_ptr<DWTaskRuleSet> taskPaperRuleSet();
    static std::shared_ptr<DWTaskRuleSet> squareBracketStyleRuleSet();
    // A new set whose name equals `name` exactly, or null.
    static std::shared_ptr<DWTaskRuleSet> ruleSetForName(const QString& name);
    // TaskPaper rules for a ".taskpaper" file, square brackets for anything else.
    static std::shared_ptr<DWTaskRuleSet> bestMatchFor(const QString& path);

    QString name() const;
    void setName(const QString& name);
    DWTaskRuleArray openTaskRules() const;
    void setOpenTaskRules(const DWTaskRuleArray& rules);
    // nullopt: no done rules.
    std::optional<DWTaskRuleArray> doneTaskRules() const;
    void setDoneTaskRules(const std::optional<DWTaskRuleArray>& rules);

private:
    mutable std::mutex _lock;
    QString _name;
    DWTaskRuleArray _openTaskRules;
    std::optional<DWTaskRuleArray> _doneTaskRules;
};
