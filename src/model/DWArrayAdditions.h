#pragma once

#include "model/DWTaskRuleProtocol.h"

#include <QList>
#include <memory>
#include <optional>

using DWTaskRuleArray = QList<std::shared_ptr<DWTaskRuleProtocol>>;

namespace dw {
// The first rule, in array order, that matches the line; the rules after it
// are not asked. Null when none matches, the array is empty, or there is no
// array at all (a rule set without done rules).
std::shared_ptr<DWTaskRuleProtocol> matchingRuleForLine(const DWTaskRuleArray& rules,
                                                        QStringView line, QStringView stripped);
std::shared_ptr<DWTaskRuleProtocol> matchingRuleForLine(const std::optional<DWTaskRuleArray>& rules,
                                                        QStringView line, QStringView stripped);
} // namespace dw
