#pragma once
// INTERIM stand-in until the model layer lands; removed then.
#include <QString>
#include <memory>

class DWTaskRuleSet {
public:
    explicit DWTaskRuleSet(QString name) : _name(std::move(name)) {}
    QString name() const { return _name; }
    bool isOpenTask(const QString& line) const;

    static std::shared_ptr<DWTaskRuleSet> todotxtRuleSet();
    static std::shared_ptr<DWTaskRuleSet> taskPaperRuleSet();
    static std::shared_ptr<DWTaskRuleSet> squareBracketStyleRuleSet();
    static std::shared_ptr<DWTaskRuleSet> ruleSetForName(const QString& name);
    static std::shared_ptr<DWTaskRuleSet> bestMatchFor(const QString& path);

private:
    QString _name;
};
