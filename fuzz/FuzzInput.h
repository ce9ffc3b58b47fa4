#pragma once

#include <QString>
#include <cstddef>
#include <cstdint>

// Fuzz bytes as text. Odd first byte: the rest as raw UTF-16 (lone surrogates
// and all); otherwise as UTF-8.
inline QString fuzzText(const uint8_t* data, size_t size) {
    if (size == 0)
        return QString();
    if (data[0] & 1) {
        const qsizetype units = qsizetype((size - 1) / 2);
        QString text(units, Qt::Uninitialized);
        for (qsizetype i = 0; i < units; ++i)
            text[i] = QChar(char16_t(data[1 + 2 * i] | (data[2 + 2 * i] << 8)));
        return text;
    }
    return QString::fromUtf8(reinterpret_cast<const char*>(data + 1), qsizetype(size - 1));
}
