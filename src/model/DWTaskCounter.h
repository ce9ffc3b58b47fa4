#pragma once

#include "model/DWArrayAdditions.h"
#include "model/DWByteTaskCounter.h"

#include <QByteArrayView>
#include <QString>
#include <optional>

class DWTaskRuleSet;

struct DWCountResult {
    int openTasks = 0;
    // Why the file could not be read; empty when it was. An unreadable file
    // counts as an empty one.
    QString error;
};

// Counts the open tasks of a text: the lines that match an open-task rule and
// no done-task rule. Lines end at every line feed, vertical tab, form feed,
// carriage return, U+0085, U+2028 and U+2029, each by itself (so CR LF ends a
// line and an empty one). Text is decoded as DWTextDecoder says.
//
// Two ways lead to the same count. The general one decodes to UTF-16 and asks
// each rule about each line. The byte one (DWByteTaskCounter) reads UTF-8 and
// Latin-1 as they are and is used whenever every rule has a byte form, which
// all built-in rules do. Files are read in pieces of fixed size either way.
class DWTaskCounter {
public:
    enum class Method {
        Automatic, // bytes when possible
        General,
        Bytes, // falls back to General when a rule has no byte form
    };
    static constexpr qsizetype defaultChunkSize = 256 * 1024;

    // Takes the rule set's rules as they are now; the counter does not change
    // when the set does.
    explicit DWTaskCounter(const DWTaskRuleSet& ruleSet);

    bool hasByteForm() const { return _program.has_value(); }

    DWCountResult countFile(const QString& path, Method method = Method::Automatic) const;
    // Counts bytes held in memory, handed over `chunkSize` bytes at a time
    // (as a file would be read).
    int countData(QByteArrayView bytes, Method method = Method::Automatic,
                  qsizetype chunkSize = defaultChunkSize) const;
    // Counts text that is already decoded, in one piece.
    int countText(QStringView text) const;

    class Source;

private:
    std::optional<qint64> countSource(Source& source, Method method, qsizetype chunkSize) const;
    std::optional<qint64> countGeneral(Source& source, qsizetype chunkSize) const;
    std::optional<qint64> countBytes(Source& source, qsizetype chunkSize) const;

    DWTaskRuleArray _openRules;
    std::optional<DWTaskRuleArray> _doneRules;
    std::optional<DWByteTaskCounter::Program> _program;
};
