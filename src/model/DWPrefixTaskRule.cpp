#include "model/DWPrefixTaskRule.h"

std::shared_ptr<DWPrefixTaskRule> DWPrefixTaskRule::ruleWithPrefix(const QString& prefix) {
    auto rule = std::make_shared<DWPrefixTaskRule>();
    rule->setPrefix(prefix);
    return rule;
}

QString DWPrefixTaskRule::prefix() const {
    std::lock_guard locker(_lock);
    return _prefix;
}

void DWPrefixTaskRule::setPrefix(const QString& prefix) {
    std::lock_guard locker(_lock);
    _prefix = prefix;
}

bool DWPrefixTaskRule::matchesLine(QStringView, QStringView stripped) const {
    const QString wanted = prefix();
    return !wanted.isEmpty() && stripped.startsWith(wanted);
}

std::optional<DWByteRule> DWPrefixTaskRule::byteRule() const {
    const QString wanted = prefix();
    if (wanted.isEmpty())
        return DWByteRule{DWByteRule::Kind::Never, {}};
    for (QChar c : wanted) {
        if (c.unicode() >= 0x80)
            return std::nullopt;
        // A stripped line holds neither blanks, tabs nor line breaks.
        if (c == u' ' || c == u'\t' || (c >= u'\n' && c <= u'\r'))
            return DWByteRule{DWByteRule::Kind::Never, {}};
    }
    return DWByteRule{DWByteRule::Kind::Prefix, wanted.toLatin1()};
}
