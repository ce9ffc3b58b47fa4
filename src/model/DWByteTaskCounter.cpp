#include "model/DWByteTaskCounter.h"

#include "model/DWTextDecoder.h"

#include <algorithm>
#include <cstring>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace {
inline bool isBlank(uchar c) {
    return c == ' ' || c == '\t';
}
inline uchar foldAscii(uchar c) {
    return (c >= 'A' && c <= 'Z') ? uchar(c | 0x20) : c;
}

// Bytes that end a line (LF, VT, FF, CR) or may begin one that does (any byte
// above 0x7F: U+0085, U+2028 and U+2029 in UTF-8, 0x85 in Latin-1).
struct SpecialTable {
    bool special[256] = {};
    constexpr SpecialTable() {
        for (int c = 0x0A; c <= 0x0D; ++c)
            special[c] = true;
        for (int c = 0x80; c <= 0xFF; ++c)
            special[c] = true;
    }
};
constexpr SpecialTable specialTable;

inline const uchar* findSpecial(const uchar* p, const uchar* end) {
#ifdef __SSE2__
    const __m128i nine = _mm_set1_epi8(9);
    const __m128i fourteen = _mm_set1_epi8(14);
    while (end - p >= 16) {
        const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
        // Signed compares: bytes above 0x7F are negative and show in the sign
        // bit that movemask collects.
        const __m128i breaks = _mm_and_si128(_mm_cmpgt_epi8(v, nine), _mm_cmplt_epi8(v, fourteen));
        const int mask = _mm_movemask_epi8(_mm_or_si128(breaks, v));
        if (mask)
            return p + __builtin_ctz(unsigned(mask));
        p += 16;
    }
#endif
    while (p < end && !specialTable.special[*p])
        ++p;
    return p;
}

// Bit i set when p[i] is special, for the 64 bytes at p.
inline quint64 specialMask64(const uchar* p) {
#ifdef __SSE2__
    const __m128i nine = _mm_set1_epi8(9);
    const __m128i fourteen = _mm_set1_epi8(14);
    quint64 mask = 0;
    for (int i = 0; i < 4; ++i) {
        const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + 16 * i));
        const __m128i breaks = _mm_and_si128(_mm_cmpgt_epi8(v, nine), _mm_cmplt_epi8(v, fourteen));
        mask |= quint64(unsigned(_mm_movemask_epi8(_mm_or_si128(breaks, v)))) << (16 * i);
    }
    return mask;
#else
    quint64 mask = 0;
    for (int i = 0; i < 64; ++i)
        mask |= quint64(specialTable.special[p[i]]) << i;
    return mask;
#endif
}

// Case-blind search for a token whose letters are already lower case.
bool containsToken(const uchar* begin, const uchar* end, const std::string& token) {
    const size_t length = token.size();
    if (size_t(end - begin) < length)
        return false;
    const auto* t = reinterpret_cast<const uchar*>(token.data());
    const uchar first = t[0];
    const uchar firstUpper = (first >= 'a' && first <= 'z') ? uchar(first - 0x20) : first;
    const uchar* last = end - length;
    for (const uchar* p = begin; p <= last; ++p) {
        if (*p != first && *p != firstUpper)
            continue;
        size_t i = 1;
        while (i < length && foldAscii(p[i]) == t[i])
            ++i;
        if (i == length)
            return true;
    }
    return false;
}
} // namespace

std::optional<DWByteTaskCounter::Program>
DWByteTaskCounter::Program::compile(const DWTaskRuleArray& openRules,
                                    const std::optional<DWTaskRuleArray>& doneRules) {
    Program program;
    auto add = [&program](const DWTaskRuleArray& rules, std::vector<Rule>& into) {
        for (const std::shared_ptr<DWTaskRuleProtocol>& rule : rules) {
            if (!rule)
                continue; // a missing rule matches nothing
            const std::optional<DWByteRule> form = rule->byteRule();
            if (!form)
                return false;
            Rule compiled{form->kind, form->ascii.toStdString(), -1};
            switch (compiled.kind) {
            case DWByteRule::Kind::Never:
            case DWByteRule::Kind::NotEmpty:
                break;
            case DWByteRule::Kind::Prefix:
                program.headLength = std::max(program.headLength, compiled.bytes.size());
                break;
            case DWByteRule::Kind::Contains:
                for (char& c : compiled.bytes)
                    c = char(foldAscii(uchar(c)));
                compiled.hitIndex = program.containsRules++;
                program.tailLength = std::max(program.tailLength, compiled.bytes.size() - 1);
                break;
            }
            if (compiled.kind == DWByteRule::Kind::Prefix ||
                compiled.kind == DWByteRule::Kind::Contains) {
                if (compiled.bytes.empty())
                    compiled.kind = DWByteRule::Kind::Never;
            }
            into.push_back(std::move(compiled));
        }
        return true;
    };
    if (!add(openRules, program.openRules))
        return std::nullopt;
    if (doneRules && !add(*doneRules, program.doneRules))
        return std::nullopt;

    auto looksAtFirstByteOnly = [](const Rule& rule) {
        return rule.kind == DWByteRule::Kind::Never || rule.kind == DWByteRule::Kind::NotEmpty ||
               (rule.kind == DWByteRule::Kind::Prefix && rule.bytes.size() == 1);
    };
    program.decidedByFirstByte =
        std::all_of(program.openRules.begin(), program.openRules.end(), looksAtFirstByteOnly) &&
        std::all_of(program.doneRules.begin(), program.doneRules.end(), looksAtFirstByteOnly);
    if (program.decidedByFirstByte) {
        for (int byte = 0; byte < 256; ++byte) {
            const uchar line[1] = {uchar(byte)};
            program.openByFirstByte[byte] =
                !isBlank(uchar(byte)) &&
                DWByteTaskCounter(program, Mode::Latin1).lineIsOpen(line, line + 1);
        }
    }
    return program;
}

DWByteTaskCounter::DWByteTaskCounter(const Program& program, Mode mode)
    : _program(program), _mode(mode), _hits(size_t(program.containsRules), 0) {
    _head.reserve(program.headLength);
    _tail.reserve(program.tailLength * 2 + 16);
}

bool DWByteTaskCounter::matches(const Rule& rule, const uchar* begin, const uchar* firstNonBlank,
                                const uchar* end) const {
    switch (rule.kind) {
    case DWByteRule::Kind::Never:
        return false;
    case DWByteRule::Kind::NotEmpty:
        return firstNonBlank < end;
    case DWByteRule::Kind::Prefix: {
        const uchar* p = firstNonBlank;
        for (const char c : rule.bytes) {
            while (p < end && isBlank(*p))
                ++p;
            if (p == end || *p != uchar(c))
                return false;
            ++p;
        }
        return true;
    }
    case DWByteRule::Kind::Contains:
        return containsToken(begin, end, rule.bytes);
    }
    return false;
}

bool DWByteTaskCounter::lineIsOpen(const uchar* begin, const uchar* end) const {
    const uchar* first = begin;
    while (first < end && isBlank(*first))
        ++first;
    bool open = false;
    for (const Rule& rule : _program.openRules) {
        if (matches(rule, begin, first, end)) {
            open = true;
            break;
        }
    }
    if (!open)
        return false;
    for (const Rule& rule : _program.doneRules) {
        if (matches(rule, begin, first, end))
            return false;
    }
    return true;
}

void DWByteTaskCounter::absorb(const uchar* begin, const uchar* end) {
    if (begin == end)
        return;
    _cut = true;
    for (const uchar* p = begin; p < end && _head.size() < _program.headLength; ++p) {
        if (!isBlank(*p))
            _head.push_back(char(*p));
    }
    if (_program.containsRules == 0)
        return;
    auto search = [this](const uchar* b, const uchar* e) {
        for (const std::vector<Rule>* rules : {&_program.openRules, &_program.doneRules}) {
            for (const Rule& rule : *rules) {
                if (rule.kind == DWByteRule::Kind::Contains && !_hits[size_t(rule.hitIndex)] &&
                    containsToken(b, e, rule.bytes))
                    _hits[size_t(rule.hitIndex)] = 1;
            }
        }
    };
    // A token may start in the bytes kept from before and end in these.
    if (!_tail.empty()) {
        const size_t keep = _tail.size();
        _tail.append(reinterpret_cast<const char*>(begin),
                     std::min(size_t(end - begin), _program.tailLength));
        const auto* t = reinterpret_cast<const uchar*>(_tail.data());
        search(t, t + _tail.size());
        _tail.resize(keep);
    }
    search(begin, end);
    const size_t length = size_t(end - begin);
    if (length >= _program.tailLength) {
        _tail.assign(reinterpret_cast<const char*>(end - _program.tailLength), _program.tailLength);
    } else {
        _tail.append(reinterpret_cast<const char*>(begin), length);
        if (_tail.size() > _program.tailLength)
            _tail.erase(0, _tail.size() - _program.tailLength);
    }
}

bool DWByteTaskCounter::cutLineMatches(const Rule& rule) const {
    switch (rule.kind) {
    case DWByteRule::Kind::Never:
        return false;
    case DWByteRule::Kind::NotEmpty:
        return !_head.empty();
    case DWByteRule::Kind::Prefix:
        return _head.size() >= rule.bytes.size() &&
               std::memcmp(_head.data(), rule.bytes.data(), rule.bytes.size()) == 0;
    case DWByteRule::Kind::Contains:
        return _hits[size_t(rule.hitIndex)] != 0;
    }
    return false;
}

bool DWByteTaskCounter::cutLineIsOpen() const {
    const bool open = std::any_of(_program.openRules.begin(), _program.openRules.end(),
                                  [this](const Rule& rule) { return cutLineMatches(rule); });
    return open && std::none_of(_program.doneRules.begin(), _program.doneRules.end(),
                                [this](const Rule& rule) { return cutLineMatches(rule); });
}

void DWByteTaskCounter::endLine(const uchar* begin, const uchar* end) {
    if (!_cut) {
        if (_program.decidedByFirstByte) {
            while (begin < end && isBlank(*begin))
                ++begin;
            _count += begin < end && _program.openByFirstByte[*begin];
        } else {
            _count += lineIsOpen(begin, end);
        }
        return;
    }
    absorb(begin, end);
    _count += cutLineIsOpen();
    _cut = false;
    _head.clear();
    _tail.clear();
    std::fill(_hits.begin(), _hits.end(), 0);
}

// Deals with the special byte at `special`: ends a line or steps over a
// character. Wait: a UTF-8 sequence is cut by the end of the data.
DWByteTaskCounter::Step DWByteTaskCounter::step(const uchar*& lineStart, const uchar*& cursor,
                                                const uchar* special, const uchar* end, bool last) {
    const uchar byte = *special;
    if (byte < 0x80) {
        endLine(lineStart, special);
        lineStart = cursor = special + 1;
        return Step::Go;
    }
    if (_mode == Mode::Latin1) {
        if (byte == 0x85) {
            endLine(lineStart, special);
            lineStart = special + 1;
        }
        cursor = special + 1;
        return Step::Go;
    }
    const int length = DWTextDecoder::utf8SequenceLength(special, end);
    if (length == DWTextDecoder::Incomplete && !last)
        return Step::Wait;
    if (length <= 0) {
        if (_mode == Mode::Utf8)
            return Step::Damaged;
        cursor = special + 1; // one replaced character, part of the line
        return Step::Go;
    }
    const bool nextLine = length == 2 && byte == 0xC2 && special[1] == 0x85;
    const bool separator = length == 3 && byte == 0xE2 && special[1] == 0x80 &&
                           (special[2] == 0xA8 || special[2] == 0xA9);
    if (nextLine || separator) {
        _sawLatin1Difference = true;
        endLine(lineStart, special);
        lineStart = special + length;
    } else if (std::memchr(special + 1, 0x85, size_t(length - 1))) {
        _sawLatin1Difference = true;
    }
    cursor = special + length;
    return Step::Go;
}

DWByteTaskCounter::FeedResult DWByteTaskCounter::feed(const char* data, qsizetype size, bool last) {
    const auto* const begin = reinterpret_cast<const uchar*>(data);
    const uchar* const end = begin + size;
    const uchar* lineStart = begin;
    const uchar* cursor = begin;
    auto stop = [&](const uchar* special, Step step) {
        absorb(lineStart, special);
        return FeedResult{special - begin, step == Step::Damaged};
    };
    // 64 bytes at a time: one mask of their special bytes, then a step per
    // set bit. Most blocks hold one line break and nothing else.
    const uchar* block = begin;
    while (end - block >= 64) {
        quint64 mask = specialMask64(block);
        while (mask) {
            const uchar* special = block + __builtin_ctzll(mask);
            const Step result = step(lineStart, cursor, special, end, last);
            if (result != Step::Go)
                return stop(special, result);
            const qsizetype done = cursor - block;
            if (done >= 64)
                break;
            mask &= ~quint64(0) << done;
        }
        block = std::max(block + 64, cursor);
    }
    cursor = std::max(cursor, block);
    for (;;) {
        const uchar* special = findSpecial(cursor, end);
        if (special == end)
            break;
        const Step result = step(lineStart, cursor, special, end, last);
        if (result != Step::Go)
            return stop(special, result);
    }
    if (last)
        endLine(lineStart, end); // the last line, even when empty
    else
        absorb(lineStart, end);
    return {size, false};
}

bool DWByteTaskCounter::continueAsLatin1() {
    if (_mode != Mode::Utf8 || _sawLatin1Difference)
        return false;
    _mode = Mode::Latin1;
    return true;
}
