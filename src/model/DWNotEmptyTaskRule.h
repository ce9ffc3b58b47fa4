#pragma once

#include "model/DWTaskRuleProtocol.h"

// Matches when the line holds any character other than blanks and tabs.
class DWNotEmptyTaskRule : public DWTaskRuleProtocol {
public:
    bool matchesLine(QStringView line, QStringView stripped) const override;
    std::optional<DWByteRule> byteRule() const override;
};
