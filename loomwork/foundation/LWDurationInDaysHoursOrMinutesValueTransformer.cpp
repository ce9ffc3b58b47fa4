#include "foundation/LWDurationInDaysHoursOrMinutesValueTransformer.h"

#include "foundation/LWDateAdditions.h"

#include <QDateTime>

QVariant
LWDurationInDaysHoursOrMinutesValueTransformer::transformedValue(const QVariant& value) const {
    if (value.metaType() != QMetaType::fromType<QDateTime>())
        return QVariant();
    const QDateTime date = value.toDateTime();
    if (!date.isValid())
        return QVariant();
    return lw::durationInDaysHoursOrMinutesSinceNow(date);
}
