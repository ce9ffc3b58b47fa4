#pragma once

#include "foundation/LWTimestamp.h"

#include <QString>
#include <QStringList>
#include <optional>

// Additions to strings. Lengths and positions are UTF-16 code units.
namespace lw {
// The string taken as a file path: that file's content modification date.
std::optional<LWTimestamp> lastModifiedDate(const QString& path);

// The shortest prefix of `string` that the same-length prefix of `other`
// differs from, or `string` itself when there is none. An empty string gives
// itself; no other string gives the first code unit.
QString uniquePrefixComparedTo(const QString& string, const std::optional<QString>& other);

// Decodes HTML entities: the named ones of HTML 4.01 plus "&apos;", and
// decimal or hexadecimal references from 1 to 65534. Decoded text is never
// decoded again ("&amp;lt;" gives "&lt;"); anything else stays as it is.
QString stringByUnescapingHTML(const QString& string);

// Percent-encodes as UTF-8 for a URL path segment or query value: only ASCII
// letters, digits and "-._~" stay. Nothing when the text holds a lone
// surrogate, which has no UTF-8 form.
std::optional<QString> stringByEncodingAsUrlParameterValue(const QString& string);

// True for exactly one code unit that is U+0003 (keypad Enter), U+000A or
// U+000D.
bool isAnyEnterCharacter(const QString& string);

// "scheme://a/b/c" gives scheme, a, b, c (empty pieces kept); text without
// exactly one "://" gives an empty list.
QStringList splitIntoURLComponents(const QString& string);
} // namespace lw
