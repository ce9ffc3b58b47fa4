#pragma once

#include <QDateTime>
#include <QString>
#include <compare>
#include <optional>

// A point in time with the nanoseconds a file system keeps. QDateTime stops at
// milliseconds, and a date written back must equal the date read exactly.
struct LWTimestamp {
    qint64 seconds = 0;     // since the Unix epoch
    qint64 nanoseconds = 0; // 0 to 999,999,999

    auto operator<=>(const LWTimestamp&) const = default;

    QDateTime toDateTime() const;
    QString toString() const; // ISO 8601 with nine fractional digits, UTC
};

namespace lw {
// The file's content modification date (statx, following links); nothing when
// the file cannot be looked at.
std::optional<LWTimestamp> contentModificationDate(const QString& path);
// Sets the content modification date and leaves the access date as it is.
bool setContentModificationDate(const QString& path, const LWTimestamp& date);
} // namespace lw
