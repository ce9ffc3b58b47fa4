#include "foundation/LWObjectAdditions.h"

#include <QStringList>
#include <QVariantList>

QVariant lw::useValueIfNotEmpty(const QVariant& value, const QVariant& defaultValue) {
    if (!value.isValid())
        return defaultValue;
    const QMetaType type = value.metaType();
    if (type == QMetaType::fromType<QString>())
        return value.toString().trimmed().isEmpty() ? defaultValue : value;
    if (type == QMetaType::fromType<QVariantList>())
        return value.toList().isEmpty() ? defaultValue : value;
    if (type == QMetaType::fromType<QStringList>())
        return value.toStringList().isEmpty() ? defaultValue : value;
    return value;
}
