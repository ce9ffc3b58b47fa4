#pragma once

#include <QDateTime>
#include <QString>

// Additions to dates. An invalid QDateTime stands for "no date".
namespace lw {
// True when `other` is missing or `date` is strictly later.
bool isMoreRecentThan(const QDateTime& date, const QDateTime& other);
// Adds months and days in one Gregorian calendar addition (months first, so
// 31 January plus one month is the last day of February), in the date's own
// time zone.
QDateTime dateOffsetByMonths(const QDateTime& date, int months, int days);
// Same year, month and day in the user's time zone.
bool isOnSameDayAs(const QDateTime& date, const QDateTime& other);
bool isThisYear(const QDateTime& date);
bool isToday(const QDateTime& date);

// How long ago, coarsely: "3 days", "1 hour", "12 minutes" or "less than 1
// minute". A date in the future reads like one in the past. Not localised.
QString durationInDaysHoursOrMinutesSinceDate(const QDateTime& date, const QDateTime& other);
QString durationInDaysHoursOrMinutesSinceNow(const QDateTime& date);
} // namespace lw
