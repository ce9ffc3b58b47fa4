#pragma once

#include "model/DWArrayAdditions.h"
#include "model/DWTaskRuleProtocol.h"

#include <QtGlobal>
#include <optional>
#include <string>
#include <vector>

// Counts open tasks straight from the bytes of UTF-8 or Latin-1 text, for rule
// sets whose every rule has a byte form. It gives exactly the count of decoding
// the text and asking the rules line by line, without converting a single
// byte: lines are found with a vector scan for the bytes that can end one, and
// rules only ever compare ASCII. Data may arrive in pieces of any size; memory
// use does not grow with the length of a line.
class DWByteTaskCounter {
public:
    struct Rule {
        DWByteRule::Kind kind;
        std::string bytes; // prefix as is; token with ASCII letters in lower case
        int hitIndex;      // Contains: its slot in the state of a cut line
    };
    struct Program {
        std::vector<Rule> openRules;
        std::vector<Rule> doneRules; // empty: no done rules
        size_t headLength = 1;       // non-blank bytes a cut line keeps: longest prefix
        size_t tailLength = 0;       // bytes a cut line keeps for tokens: longest token - 1
        int containsRules = 0;
        // When every rule looks at no more than the first non-blank byte (as
        // todo.txt's do): whether a line beginning with that byte is open.
        bool decidedByFirstByte = false;
        bool openByFirstByte[256] = {};

        // nullopt when a rule needs decoded text.
        static std::optional<Program> compile(const DWTaskRuleArray& openRules,
                                              const std::optional<DWTaskRuleArray>& doneRules);
    };

    enum class Mode {
        Utf8,        // stops at the first ill-formed sequence (see feed())
        Utf8Lenient, // an ill-formed byte is one character of no interest
        Latin1,      // every byte is a character; 0x85 ends a line
    };
    struct FeedResult {
        qsizetype consumed;
        bool invalidUtf8;
    };

    DWByteTaskCounter(const Program& program, Mode mode);

    // Counts the lines in `data`. Unless `last`, a line or UTF-8 sequence cut
    // at the end waits for the next call: the bytes not consumed (at most 3)
    // must begin the next call's data. In Utf8 mode, data that is not UTF-8
    // stops the count at the damaged byte with invalidUtf8 set.
    FeedResult feed(const char* data, qsizetype size, bool last);
    // After invalidUtf8: goes on as Latin-1 from the damaged byte. Refused
    // (false) when a byte already counted would split lines differently in
    // Latin-1; the count must then start over.
    bool continueAsLatin1();

    qint64 count() const { return _count; }
    Mode mode() const { return _mode; }

private:
    enum class Step { Go, Wait, Damaged };
    Step step(const uchar*& lineStart, const uchar*& cursor, const uchar* special, const uchar* end,
              bool last);
    bool lineIsOpen(const uchar* begin, const uchar* end) const;
    bool matches(const Rule& rule, const uchar* begin, const uchar* firstNonBlank,
                 const uchar* end) const;
    void absorb(const uchar* begin, const uchar* end);
    bool cutLineIsOpen() const;
    bool cutLineMatches(const Rule& rule) const;
    void endLine(const uchar* begin, const uchar* end);

    const Program& _program;
    Mode _mode;
    qint64 _count = 0;
    // A byte has been read that Latin-1 would take for a line break (0x85), or
    // a line break that Latin-1 would not see (U+0085, U+2028, U+2029).
    bool _sawLatin1Difference = false;

    // The line cut at the end of the previous piece, in as much as the rules
    // need it.
    bool _cut = false;
    std::string _head;       // its first non-blank bytes
    std::vector<char> _hits; // per Contains rule: found already
    std::string _tail;       // its last bytes, for tokens spanning two pieces
};
