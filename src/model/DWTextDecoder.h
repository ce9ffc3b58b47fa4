#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QString>
#include <QStringConverter>
#include <optional>

// Turns the bytes of a task file into text, a chunk at a time. Which encoding
// applies: a byte order mark selects UTF-8, UTF-16 or UTF-32 (little or big
// endian); without one, text that is valid UTF-8 throughout is UTF-8, and
// anything else is Latin-1. Bytes that do not decode become U+FFFD; nothing is
// ever refused.
//
// Decoding stays by hand: QStringDecoder (Qt 6.4), fed in pieces, swallows the
// byte after a damaged UTF-8 sequence cut at a piece's end (a line break, say),
// drops a sequence cut at the end of the data and keeps lone UTF-16 surrogates.
class DWTextDecoder {
public:
    using Encoding = QStringConverter::Encoding;
    struct ByteOrderMark {
        Encoding encoding;
        int length;
    };

    // The mark at the start of `head` (give it at least 4 bytes when the data
    // has them: UTF-32 LE begins like UTF-16 LE).
    static std::optional<ByteOrderMark> byteOrderMark(QByteArrayView head);
    // The whole buffer's text, in one piece.
    static QString decodeAll(QByteArrayView bytes);

    // The length of the well-formed UTF-8 sequence at p (1 to 4), Invalid when
    // the bytes there cannot begin one, Incomplete when `end` cuts a sequence
    // that could still be well-formed. Well-formed means RFC 3629: no overlong
    // forms, no surrogates, nothing above U+10FFFF.
    static constexpr int Invalid = 0;
    static constexpr int Incomplete = -1;
    static int utf8SequenceLength(const uchar* p, const uchar* end) noexcept;

    // Checks UTF-8 validity over data given in pieces.
    class Utf8Validator {
    public:
        void feed(QByteArrayView bytes);
        // True when everything fed was well-formed and no sequence is left open.
        bool finish();

    private:
        bool _valid = true;
        uchar _pending[4] = {};
        int _pendingLength = 0;
    };

    explicit DWTextDecoder(Encoding encoding) : _encoding(encoding) {}
    Encoding encoding() const { return _encoding; }
    // Appends the text of `bytes` to `out`. A sequence cut at the end waits for
    // the next call; so does a UTF-16 high surrogate, so that `out` never ends
    // in half a pair.
    void decode(QByteArrayView bytes, QString& out);
    // Appends U+FFFD for whatever is left undecoded at the end of the data.
    void finish(QString& out);

private:
    qsizetype decodePiece(const uchar* p, const uchar* end, bool last, QString& out);

    Encoding _encoding;
    QByteArray _pending;
};

inline int DWTextDecoder::utf8SequenceLength(const uchar* p, const uchar* end) noexcept {
    const uchar lead = p[0];
    if (lead < 0x80)
        return 1;
    int length;
    uchar low = 0x80, high = 0xBF; // allowed range of the second byte
    if (lead >= 0xC2 && lead <= 0xDF) {
        length = 2;
    } else if (lead >= 0xE0 && lead <= 0xEF) {
        length = 3;
        if (lead == 0xE0)
            low = 0xA0; // overlong below
        else if (lead == 0xED)
            high = 0x9F; // surrogates above
    } else if (lead >= 0xF0 && lead <= 0xF4) {
        length = 4;
        if (lead == 0xF0)
            low = 0x90;
        else if (lead == 0xF4)
            high = 0x8F; // above U+10FFFF
    } else {
        return Invalid;
    }
    const qsizetype available = end - p;
    for (int i = 1; i < length; ++i) {
        if (i >= available)
            return Incomplete;
        const uchar byte = p[i];
        if (i == 1 ? (byte < low || byte > high) : (byte < 0x80 || byte > 0xBF))
            return Invalid;
    }
    return length;
}
