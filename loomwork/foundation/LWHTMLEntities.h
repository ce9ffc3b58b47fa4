#pragma once

#include <QStringView>
#include <array>
#include <optional>

struct LWHTMLEntity {
    const char16_t* text; // with "&" and ";"
    char16_t codeUnit;
};

// Our own table: Qt decodes entities only inside QTextDocument, a GUI class
// that parses all of HTML.
namespace lw {
extern const std::array<LWHTMLEntity, 253> htmlEntityTable;
// The code unit of a named entity such as "&eacute;" (case-sensitive), or
// nothing when the text is no entity of the table.
std::optional<char16_t> codeUnitForHTMLEntity(QStringView entity);
} // namespace lw
