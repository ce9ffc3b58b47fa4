#include "model/DWNotEmptyTaskRule.h"

bool DWNotEmptyTaskRule::matchesLine(QStringView, QStringView stripped) const {
    return !stripped.isEmpty();
}

std::optional<DWByteRule> DWNotEmptyTaskRule::byteRule() const {
    return DWByteRule{DWByteRule::Kind::NotEmpty, {}};
}
