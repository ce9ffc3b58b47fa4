// Counts arbitrary bytes under each built-in rule set and under rule sets made
// from the input, three ways (the whole text decoded at once, the general way
// and the byte way, both fed in pieces of a size the input picks), and stops
// at the first disagreement.
#include "model/DWContainsTaskRule.h"
#include "model/DWPrefixTaskRule.h"
#include "model/DWTaskCounter.h"
#include "model/DWTaskRuleSet.h"
#include "model/DWTextDecoder.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

namespace {
void check(bool condition, const char* what, QByteArrayView bytes) {
    if (condition)
        return;
    std::fprintf(stderr, "%s for %s\n", what, bytes.toByteArray().toHex(' ').constData());
    std::abort();
}

QString asciiFrom(QByteArrayView& input, qsizetype length) {
    QString text;
    for (qsizetype i = 0; i < length && !input.isEmpty(); ++i) {
        text += QChar(char16_t(input.front() & 0x7F));
        input = input.sliced(1);
    }
    return text;
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 1)
        return 0;
    QByteArrayView input(reinterpret_cast<const char*>(data), qsizetype(size));
    const uchar control = uchar(input.front());
    input = input.sliced(1);
    const qsizetype chunks[] = {1, 2, 3, 4, 5, 7, 16, 63, 64, 65, 4096};
    const qsizetype chunk = chunks[control % std::size(chunks)];

    std::shared_ptr<DWTaskRuleSet> set;
    switch ((control >> 4) % 4) {
    case 0:
        set = DWTaskRuleSet::todotxtRuleSet();
        break;
    case 1:
        set = DWTaskRuleSet::taskPaperRuleSet();
        break;
    case 2:
        set = DWTaskRuleSet::squareBracketStyleRuleSet();
        break;
    default: {
        // A prefix and a token of up to 7 ASCII characters from the input.
        const qsizetype lengths = input.isEmpty() ? 0 : uchar(input.front());
        input = input.sliced(input.isEmpty() ? 0 : 1);
        const QString prefix = asciiFrom(input, lengths & 7);
        const QString token = asciiFrom(input, (lengths >> 4) & 7);
        set = std::make_shared<DWTaskRuleSet>(
            DWTaskRuleArray{DWPrefixTaskRule::ruleWithPrefix(prefix)},
            DWTaskRuleArray{DWContainsTaskRule::ruleWithToken(token)}, QStringLiteral("fuzz"));
    }
    }

    const DWTaskCounter counter(*set);
    const int whole = counter.countText(DWTextDecoder::decodeAll(input));
    check(counter.countData(input, DWTaskCounter::Method::General, chunk) == whole,
          "general count differs", input);
    check(counter.countData(input, DWTaskCounter::Method::Bytes, chunk) == whole,
          "byte count differs", input);

    // The validator, fed in pieces, agrees with Qt on what is valid UTF-8.
    DWTextDecoder::Utf8Validator validator;
    for (qsizetype at = 0; at < input.size(); at += chunk)
        validator.feed(input.sliced(at, std::min(chunk, input.size() - at)));
    check(validator.finish() == input.isValidUtf8(), "UTF-8 validity differs", input);
    if (!DWTextDecoder::byteOrderMark(input) && input.isValidUtf8())
        check(DWTextDecoder::decodeAll(input) == QString::fromUtf8(input), "UTF-8 text differs",
              input);
    return 0;
}
