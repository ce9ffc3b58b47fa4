#pragma once

#include <QByteArray>
#include <QStringView>
#include <optional>

// What a rule looks for when it can be decided on the bytes of ASCII-compatible
// text (UTF-8 or Latin-1) without decoding it: the counter's fast path.
struct DWByteRule {
    enum class Kind {
        Never,    // matches no line
        NotEmpty, // the line holds a byte other than blank and tab
        Prefix,   // the line's bytes, blanks and tabs left out, begin with `ascii`
        Contains, // the line contains `ascii`, ASCII letters compared without case
    };
    Kind kind = Kind::Never;
    QByteArray ascii;
};

// Decides whether one line of a task file is a task of some kind.
class DWTaskRuleProtocol {
public:
    virtual ~DWTaskRuleProtocol();

    // `line` is the line as read, without its terminator; `stripped` is the same
    // line with every blank and tab removed. Rules keep no state between calls,
    // so one rule may serve several counts at once.
    virtual bool matchesLine(QStringView line, QStringView stripped) const = 0;

    // The same decision in byte form, or nullopt when this rule needs decoded
    // text. It must agree with matchesLine() on every line of UTF-8 or Latin-1
    // text: the counter's differential tests and fuzzer hold it to that.
    virtual std::optional<DWByteRule> byteRule() const { return std::nullopt; }
};
