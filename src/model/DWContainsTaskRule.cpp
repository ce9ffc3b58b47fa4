#include "model/DWContainsTaskRule.h"

std::shared_ptr<DWContainsTaskRule> DWContainsTaskRule::ruleWithToken(const QString& token) {
    auto rule = std::make_shared<DWContainsTaskRule>();
    rule->setToken(token);
    return rule;
}

QString DWContainsTaskRule::token() const {
    std::lock_guard locker(_lock);
    return _token;
}

void DWContainsTaskRule::setToken(const QString& token) {
    std::lock_guard locker(_lock);
    _token = token;
}

bool DWContainsTaskRule::matchesLine(QStringView line, QStringView) const {
    const QString wanted = token();
    return !wanted.isEmpty() && line.contains(wanted, Qt::CaseInsensitive);
}

bool DWContainsTaskRule::hasNonAsciiCaseVariant(char letter) {
    // U+212A KELVIN SIGN folds to 'k', U+017F LATIN SMALL LETTER LONG S to 's';
    // the tests check this list against Qt's folding tables.
    switch (letter) {
    case 'k':
    case 'K':
    case 's':
    case 'S':
        return true;
    default:
        return false;
    }
}

std::optional<DWByteRule> DWContainsTaskRule::byteRule() const {
    const QString wanted = token();
    if (wanted.isEmpty())
        return DWByteRule{DWByteRule::Kind::Never, {}};
    bool possible = true;
    for (QChar c : wanted) {
        if (c.unicode() >= 0x80 || hasNonAsciiCaseVariant(char(c.unicode())))
            return std::nullopt;
        if (c >= u'\n' && c <= u'\r')
            possible = false; // a line holds no line breaks
    }
    if (!possible)
        return DWByteRule{DWByteRule::Kind::Never, {}};
    return DWByteRule{DWByteRule::Kind::Contains, wanted.toLatin1()};
}
