#pragma once

#include <QString>

namespace lw {
// Puts the string on the clipboard as plain text, replacing what it held.
// Needs a QGuiApplication.
void writeToClipboard(const QString& string);
} // namespace lw
