#pragma once

#include <QString>

namespace lw {
// Writes one line to the system log: standard error, prefixed with the date
// and time (milliseconds), the process name and [pid:tid]. For warnings that
// bypass the shared logger's levels and backlog.
void systemLog(const QString& text);
} // namespace lw
