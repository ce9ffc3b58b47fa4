#pragma once

#include "model/DWTaskRuleProtocol.h"

#include <QString>
#include <memory>
#include <mutex>

// Matches when the token occurs anywhere in the unstripped line, ignoring
// letter case (Unicode simple case folding). A null or empty token matches
// nothing.
class DWContainsTaskRule : public DWTaskRuleProtocol {
public:
    DWContainsTaskRule() = default;
    static std::shared_ptr<DWContainsTaskRule> ruleWithToken(const QString& token);

    QString token() const;
    void setToken(const QString& token);

    bool matchesLine(QStringView line, QStringView stripped) const override;
    std::optional<DWByteRule> byteRule() const override;

    // ASCII letters that a character outside ASCII folds to ('k' for the Kelvin
    // sign, 's' for the long s): a token holding one can match non-ASCII text,
    // so it has no byte form.
    static bool hasNonAsciiCaseVariant(char letter);

private:
    mutable std::mutex _lock;
    QString _token;
};
