#include "foundation/LWDateAdditions.h"

#include <cmath>

bool lw::isMoreRecentThan(const QDateTime& date, const QDateTime& other) {
    if (!other.isValid())
        return true;
    return date > other;
}

QDateTime lw::dateOffsetByMonths(const QDateTime& date, int months, int days) {
    return date.addMonths(months).addDays(days);
}

bool lw::isOnSameDayAs(const QDateTime& date, const QDateTime& other) {
    if (!date.isValid() || !other.isValid())
        return false;
    return date.toLocalTime().date() == other.toLocalTime().date();
}

bool lw::isThisYear(const QDateTime& date) {
    return date.isValid() && date.toLocalTime().date().year() == QDate::currentDate().year();
}

bool lw::isToday(const QDateTime& date) {
    return isOnSameDayAs(date, QDateTime::currentDateTime());
}

namespace {
// 64-bit, so dates millions of years apart still count rather than overflow.
QString countedUnit(double count, const char* singular, const char* plural) {
    const qint64 whole = qint64(count);
    return QStringLiteral("%1 %2").arg(whole).arg(QLatin1String(whole == 1 ? singular : plural));
}
} // namespace

QString lw::durationInDaysHoursOrMinutesSinceDate(const QDateTime& date, const QDateTime& other) {
    const double seconds = std::abs(double(date.msecsTo(other)) / 1000.0);
    const double days = std::floor(seconds / 86400.0);
    if (days >= 1)
        return countedUnit(days, "day", "days");
    const double hours = std::floor(seconds / 3600.0);
    if (hours >= 1)
        return countedUnit(hours, "hour", "hours");
    const double minutes = std::floor(seconds / 60.0);
    if (minutes >= 1)
        return countedUnit(minutes, "minute", "minutes");
    return QStringLiteral("less than 1 minute");
}

QString lw::durationInDaysHoursOrMinutesSinceNow(const QDateTime& date) {
    return durationInDaysHoursOrMinutesSinceDate(date, QDateTime::currentDateTime());
}
