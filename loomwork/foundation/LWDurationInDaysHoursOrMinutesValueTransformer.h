#pragma once

#include <QVariant>

// One-way value transformer for views that show how long ago a date was.
class LWDurationInDaysHoursOrMinutesValueTransformer {
public:
    // The duration wording of a date (QDateTime) up to now; an invalid
    // QVariant for anything else.
    QVariant transformedValue(const QVariant& value) const;
    static bool allowsReverseTransformation() { return false; }
};
