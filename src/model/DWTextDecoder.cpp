#include "model/DWTextDecoder.h"

#include <cstring>

namespace {
constexpr char16_t replacement = 0xFFFD;

bool isSurrogate(char32_t c) {
    return c >= 0xD800 && c <= 0xDFFF;
}

void appendCodePoint(char16_t*& out, char32_t c) {
    if (c < 0x10000) {
        *out++ = char16_t(c);
    } else {
        *out++ = QChar::highSurrogate(c);
        *out++ = QChar::lowSurrogate(c);
    }
}
} // namespace

std::optional<DWTextDecoder::ByteOrderMark> DWTextDecoder::byteOrderMark(QByteArrayView head) {
    const std::optional<Encoding> encoding = QStringConverter::encodingForData(head);
    if (!encoding)
        return std::nullopt;
    switch (*encoding) {
    case Encoding::Utf8:
        return ByteOrderMark{*encoding, 3};
    case Encoding::Utf32LE:
    case Encoding::Utf32BE:
        return ByteOrderMark{*encoding, 4};
    default:
        return ByteOrderMark{*encoding, 2};
    }
}

QString DWTextDecoder::decodeAll(QByteArrayView bytes) {
    const std::optional<ByteOrderMark> mark = byteOrderMark(bytes);
    const int markLength = mark ? mark->length : 0;
    DWTextDecoder decoder(mark                  ? mark->encoding
                          : bytes.isValidUtf8() ? Encoding::Utf8
                                                : Encoding::Latin1);
    QString text;
    decoder.decode(bytes.sliced(markLength), text);
    decoder.finish(text);
    return text;
}

void DWTextDecoder::Utf8Validator::feed(QByteArrayView bytes) {
    if (!_valid)
        return;
    const auto* p = reinterpret_cast<const uchar*>(bytes.data());
    const uchar* end = p + bytes.size();
    // Complete a sequence cut at the end of the previous piece.
    while (_pendingLength > 0 && p < end) {
        _pending[_pendingLength++] = *p++;
        const int length = utf8SequenceLength(_pending, _pending + _pendingLength);
        if (length == Invalid) {
            _valid = false;
            return;
        }
        if (length != Incomplete)
            _pendingLength = 0;
    }
    while (p < end) {
        // Eight ASCII bytes at a time: the common case by far.
        while (end - p >= 8) {
            quint64 word;
            std::memcpy(&word, p, 8);
            if (word & 0x8080808080808080ull)
                break;
            p += 8;
        }
        if (p == end)
            break;
        const int length = utf8SequenceLength(p, end);
        if (length == Invalid) {
            _valid = false;
            return;
        }
        if (length == Incomplete) {
            _pendingLength = int(end - p);
            std::memcpy(_pending, p, size_t(_pendingLength));
            return;
        }
        p += length;
    }
}

bool DWTextDecoder::Utf8Validator::finish() {
    return _valid && _pendingLength == 0;
}

void DWTextDecoder::decode(QByteArrayView bytes, QString& out) {
    if (_pending.isEmpty()) {
        const auto* p = reinterpret_cast<const uchar*>(bytes.data());
        const qsizetype used = decodePiece(p, p + bytes.size(), false, out);
        _pending = bytes.sliced(used).toByteArray();
        return;
    }
    // Few bytes wait; joining them with the new piece keeps one decoding loop.
    _pending.append(bytes.data(), bytes.size());
    const auto* p = reinterpret_cast<const uchar*>(_pending.constData());
    const qsizetype used = decodePiece(p, p + _pending.size(), false, out);
    _pending.remove(0, used);
}

void DWTextDecoder::finish(QString& out) {
    const auto* p = reinterpret_cast<const uchar*>(_pending.constData());
    decodePiece(p, p + _pending.size(), true, out);
    _pending.clear();
}

// Decodes what it can of [p, end) and returns how many bytes it used; unless
// `last`, a cut sequence at the end is left for later.
qsizetype DWTextDecoder::decodePiece(const uchar* p, const uchar* end, bool last, QString& out) {
    const uchar* const begin = p;
    const qsizetype oldSize = out.size();
    // No encoding yields more UTF-16 units than bytes, plus one for a
    // replaced trailing piece.
    out.resize(oldSize + (end - p) + 1);
    char16_t* o = reinterpret_cast<char16_t*>(out.data()) + oldSize;
    switch (_encoding) {
    default: // Latin-1; the detection gives no other encoding
        while (p < end)
            *o++ = *p++;
        break;
    case Encoding::Utf8:
        while (p < end) {
            if (*p < 0x80) {
                *o++ = *p++;
                continue;
            }
            const int length = utf8SequenceLength(p, end);
            if (length == Incomplete && !last)
                break;
            if (length <= 0) {
                // One replacement per byte that starts no sequence; the next
                // byte is tried afresh, so a line break after a damaged
                // sequence is never swallowed.
                *o++ = replacement;
                ++p;
                continue;
            }
            char32_t c = *p & (0x7F >> length);
            for (int i = 1; i < length; ++i)
                c = (c << 6) | (p[i] & 0x3F);
            appendCodePoint(o, c);
            p += length;
        }
        break;
    case Encoding::Utf16LE:
    case Encoding::Utf16BE: {
        const bool little = _encoding == Encoding::Utf16LE;
        auto unitAt = [little](const uchar* q) {
            return char16_t(little ? q[0] | (q[1] << 8) : (q[0] << 8) | q[1]);
        };
        while (end - p >= 2) {
            const char16_t unit = unitAt(p);
            if (QChar::isHighSurrogate(unit)) {
                if (end - p < 4) {
                    if (!last)
                        break;
                    *o++ = replacement;
                    p += 2;
                    continue;
                }
                const char16_t next = unitAt(p + 2);
                if (QChar::isLowSurrogate(next)) {
                    *o++ = unit;
                    *o++ = next;
                    p += 4;
                } else {
                    *o++ = replacement;
                    p += 2;
                }
                continue;
            }
            *o++ = QChar::isLowSurrogate(unit) ? replacement : unit;
            p += 2;
        }
        if (last && p < end) {
            *o++ = replacement; // an odd byte at the end
            p = end;
        }
        break;
    }
    case Encoding::Utf32LE:
    case Encoding::Utf32BE: {
        const bool little = _encoding == Encoding::Utf32LE;
        while (end - p >= 4) {
            const char32_t c =
                little ? char32_t(p[0] | (p[1] << 8) | (p[2] << 16)) | (char32_t(p[3]) << 24)
                       : (char32_t(p[0]) << 24) | char32_t((p[1] << 16) | (p[2] << 8) | p[3]);
            if (c > 0x10FFFF || isSurrogate(c))
                *o++ = replacement;
            else
                appendCodePoint(o, c);
            p += 4;
        }
        if (last && p < end) {
            *o++ = replacement;
            p = end;
        }
        break;
    }
    }
    out.resize(o - reinterpret_cast<char16_t*>(out.data()));
    return p - begin;
}
