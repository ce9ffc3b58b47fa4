#include "model/DWTaskCounter.h"

#include "model/DWTaskFileReader.h"
#include "model/DWTaskRuleSet.h"
#include "model/DWTextDecoder.h"

#include <algorithm>
#include <climits>
#include <cstring>
#include <memory>

// Where the bytes come from: a file, or memory for tests and fuzzing.
class DWTaskCounter::Source {
public:
    virtual ~Source() = default;
    // Up to `capacity` bytes; 0 at the end, -1 on error.
    virtual qint64 read(char* buffer, qint64 capacity) = 0;
    virtual bool rewind() = 0;
};

namespace {
class FileSource final : public DWTaskCounter::Source {
public:
    explicit FileSource(DWTaskFileReader& reader) : _reader(reader) {}
    qint64 read(char* buffer, qint64 capacity) override { return _reader.read(buffer, capacity); }
    bool rewind() override { return _reader.rewind(); }

private:
    DWTaskFileReader& _reader;
};

class MemorySource final : public DWTaskCounter::Source {
public:
    MemorySource(QByteArrayView bytes, qsizetype chunkSize)
        : _bytes(bytes), _chunkSize(std::max<qsizetype>(1, chunkSize)) {}
    qint64 read(char* buffer, qint64 capacity) override {
        const qint64 n = std::min({capacity, qint64(_chunkSize), qint64(_bytes.size() - _offset)});
        if (n > 0)
            std::memcpy(buffer, _bytes.data() + _offset, size_t(n));
        _offset += n;
        return n;
    }
    bool rewind() override {
        _offset = 0;
        return true;
    }

private:
    QByteArrayView _bytes;
    qsizetype _chunkSize;
    qsizetype _offset = 0;
};

// A buffer of one chunk (plus room for a cut UTF-8 sequence) that is refilled
// from a source.
class ChunkBuffer {
public:
    ChunkBuffer(DWTaskCounter::Source& source, qsizetype chunkSize)
        : _source(source), _capacity(std::max<qsizetype>(chunkSize, 4) + 4),
          _data(std::make_unique<char[]>(size_t(_capacity))) {}

    // Fills the buffer until it holds at least `minimum` bytes or the source
    // ends: enough to see a byte order mark.
    bool fillAtLeast(qsizetype minimum) {
        while (_size < minimum && !_atEnd) {
            if (!refill())
                return false;
        }
        return true;
    }
    // Keeps the bytes from `from` on, moved to the front, and reads more.
    bool refillKeeping(qsizetype from) {
        std::memmove(_data.get(), _data.get() + from, size_t(_size - from));
        _size -= from;
        return refill();
    }
    bool restart() {
        _size = 0;
        _atEnd = false;
        return _source.rewind();
    }

    const char* data() const { return _data.get(); }
    qsizetype size() const { return _size; }
    bool atEnd() const { return _atEnd; }

private:
    bool refill() {
        const qint64 n = _source.read(_data.get() + _size, _capacity - _size);
        if (n < 0)
            return false;
        if (n == 0)
            _atEnd = true;
        _size += qsizetype(n);
        return true;
    }

    DWTaskCounter::Source& _source;
    qsizetype _capacity;
    std::unique_ptr<char[]> _data;
    qsizetype _size = 0;
    bool _atEnd = false;
};

// Decodes the rest of the source a chunk at a time, from `start` in the
// buffer, and hands each piece of text to `sink(text, isLast)`. False when
// reading fails.
template <typename Sink>
bool decodeChunks(ChunkBuffer& buffer, qsizetype start, DWTextDecoder::Encoding encoding,
                  Sink&& sink) {
    DWTextDecoder decoder(encoding);
    QString text;
    for (;;) {
        decoder.decode(QByteArrayView(buffer.data() + start, buffer.size() - start), text);
        sink(text, false);
        text.clear();
        if (buffer.atEnd())
            break;
        if (!buffer.refillKeeping(buffer.size()))
            return false;
        start = 0;
    }
    decoder.finish(text);
    sink(text, true);
    return true;
}

inline bool isLineBreak(char16_t c) {
    return (c >= 0x0A && c <= 0x0D) || c == 0x85 || c == 0x2028 || c == 0x2029;
}

// The general way: lines of decoded text, each asked of the rules.
class LineMatcher {
public:
    LineMatcher(const DWTaskRuleArray& openRules, const std::optional<DWTaskRuleArray>& doneRules)
        : _openRules(openRules), _doneRules(doneRules) {}

    void feed(QStringView text) {
        qsizetype start = 0;
        for (qsizetype i = 0; i < text.size(); ++i) {
            if (!isLineBreak(text[i].unicode()))
                continue;
            const QStringView piece = text.sliced(start, i - start);
            if (_cutLine.isEmpty()) {
                match(piece);
            } else {
                _cutLine += piece;
                match(_cutLine);
                _cutLine.clear();
            }
            start = i + 1;
        }
        _cutLine += text.sliced(start);
    }
    qint64 finish() {
        match(_cutLine); // the last line, even when empty
        _cutLine.clear();
        return _count;
    }

private:
    void match(QStringView line) {
        _stripped.clear();
        for (QChar c : line) {
            if (c != u' ' && c != u'\t')
                _stripped += c;
        }
        if (dw::matchingRuleForLine(_openRules, line, _stripped) &&
            !dw::matchingRuleForLine(_doneRules, line, _stripped))
            ++_count;
    }

    const DWTaskRuleArray& _openRules;
    const std::optional<DWTaskRuleArray>& _doneRules;
    QString _cutLine;
    QString _stripped;
    qint64 _count = 0;
};

int clampedCount(qint64 count) {
    return int(std::min<qint64>(count, INT_MAX));
}
} // namespace

DWTaskCounter::DWTaskCounter(const DWTaskRuleSet& ruleSet)
    : _openRules(ruleSet.openTaskRules()), _doneRules(ruleSet.doneTaskRules()),
      _program(DWByteTaskCounter::Program::compile(_openRules, _doneRules)) {}

DWCountResult DWTaskCounter::countFile(const QString& path, Method method) const {
    DWTaskFileReader reader(path);
    if (!reader.isOpen())
        return {0, reader.errorString()};
    FileSource source(reader);
    const std::optional<qint64> count = countSource(source, method, defaultChunkSize);
    if (!count)
        return {0, reader.errorString()};
    return {clampedCount(*count), QString()};
}

int DWTaskCounter::countData(QByteArrayView bytes, Method method, qsizetype chunkSize) const {
    MemorySource source(bytes, chunkSize);
    return clampedCount(countSource(source, method, chunkSize).value_or(0));
}

int DWTaskCounter::countText(QStringView text) const {
    LineMatcher matcher(_openRules, _doneRules);
    matcher.feed(text);
    return clampedCount(matcher.finish());
}

std::optional<qint64> DWTaskCounter::countSource(Source& source, Method method,
                                                 qsizetype chunkSize) const {
    if (method != Method::General && _program)
        return countBytes(source, chunkSize);
    return countGeneral(source, chunkSize);
}

std::optional<qint64> DWTaskCounter::countGeneral(Source& source, qsizetype chunkSize) const {
    ChunkBuffer buffer(source, chunkSize);
    if (!buffer.fillAtLeast(4))
        return std::nullopt;
    DWTextDecoder::Encoding encoding;
    qsizetype start = 0;
    if (const auto mark =
            DWTextDecoder::byteOrderMark(QByteArrayView(buffer.data(), buffer.size()))) {
        encoding = mark->encoding;
        start = mark->length;
    } else {
        // Without a mark, one wrong byte anywhere makes the whole file Latin-1.
        DWTextDecoder::Utf8Validator validator;
        for (;;) {
            validator.feed(QByteArrayView(buffer.data(), buffer.size()));
            if (buffer.atEnd())
                break;
            if (!buffer.refillKeeping(buffer.size()))
                return std::nullopt;
        }
        encoding =
            validator.finish() ? DWTextDecoder::Encoding::Utf8 : DWTextDecoder::Encoding::Latin1;
        if (!buffer.restart() || !buffer.fillAtLeast(1))
            return std::nullopt;
    }
    LineMatcher matcher(_openRules, _doneRules);
    if (!decodeChunks(buffer, start, encoding,
                      [&](const QString& text, bool) { matcher.feed(text); }))
        return std::nullopt;
    return matcher.finish();
}

std::optional<qint64> DWTaskCounter::countBytes(Source& source, qsizetype chunkSize) const {
    ChunkBuffer buffer(source, chunkSize);
    if (!buffer.fillAtLeast(4))
        return std::nullopt;
    const auto mark = DWTextDecoder::byteOrderMark(QByteArrayView(buffer.data(), buffer.size()));

    if (mark && mark->encoding != DWTextDecoder::Encoding::Utf8) {
        // UTF-16 and UTF-32 go through UTF-8, a chunk at a time.
        DWByteTaskCounter counter(*_program, DWByteTaskCounter::Mode::Utf8Lenient);
        if (!decodeChunks(buffer, mark->length, mark->encoding,
                          [&](const QString& text, bool isLast) {
                              const QByteArray utf8 = text.toUtf8();
                              counter.feed(utf8.constData(), utf8.size(), isLast);
                          }))
            return std::nullopt;
        return counter.count();
    }

    // UTF-8 with a mark keeps damaged bytes as characters; without a mark the
    // text is UTF-8 until a damaged byte shows it is Latin-1.
    DWByteTaskCounter::Mode mode =
        mark ? DWByteTaskCounter::Mode::Utf8Lenient : DWByteTaskCounter::Mode::Utf8;
    qsizetype position = mark ? mark->length : 0;
    for (;;) {
        DWByteTaskCounter counter(*_program, mode);
        bool startOver = false;
        for (;;) {
            const DWByteTaskCounter::FeedResult result =
                counter.feed(buffer.data() + position, buffer.size() - position, buffer.atEnd());
            position += result.consumed;
            if (result.invalidUtf8) {
                if (counter.continueAsLatin1())
                    continue;
                startOver = true;
                break;
            }
            if (buffer.atEnd())
                return counter.count();
            if (!buffer.refillKeeping(position))
                return std::nullopt;
            position = 0;
        }
        if (startOver) {
            mode = DWByteTaskCounter::Mode::Latin1;
            position = 0;
            if (!buffer.restart() || !buffer.fillAtLeast(1))
                return std::nullopt;
        }
    }
}
