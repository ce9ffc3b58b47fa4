#include "model/DWArrayAdditions.h"

std::shared_ptr<DWTaskRuleProtocol>
dw::matchingRuleForLine(const DWTaskRuleArray& rules, QStringView line, QStringView stripped) {
    for (const std::shared_ptr<DWTaskRuleProtocol>& rule : rules) {
        if (rule && rule->matchesLine(line, stripped))
            return rule;
    }
    return nullptr;
}

std::shared_ptr<DWTaskRuleProtocol>
dw::matchingRuleForLine(const std::optional<DWTaskRuleArray>& rules, QStringView line,
                        QStringView stripped) {
    return rules ? matchingRuleForLine(*rules, line, stripped) : nullptr;
}
