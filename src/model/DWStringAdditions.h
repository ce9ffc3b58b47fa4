#pragma once

#include <QString>

namespace dw {
// The last component of a slash-separated path, trailing slashes ignored:
// "/a/b.txt" -> "b.txt", "/a/b/" -> "b", "/" -> "/", "" -> "".
QString lastPathComponent(const QString& path);
} // namespace dw
