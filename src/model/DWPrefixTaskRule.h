#pragma once

#include "model/DWTaskRuleProtocol.h"

#include <QString>
#include <memory>
#include <mutex>

// Matches when the stripped line begins with the prefix (exact, case-sensitive).
// A null or empty prefix matches nothing.
class DWPrefixTaskRule : public DWTaskRuleProtocol {
public:
    DWPrefixTaskRule() = default;
    static std::shared_ptr<DWPrefixTaskRule> ruleWithPrefix(const QString& prefix);

    QString prefix() const;
    void setPrefix(const QString& prefix);

    bool matchesLine(QStringView line, QStringView stripped) const override;
    std::optional<DWByteRule> byteRule() const override;

private:
    mutable std::mutex _lock;
    QString _prefix;
};
