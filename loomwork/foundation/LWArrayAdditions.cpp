#include "foundation/LWArrayAdditions.h"

QStringList lw::arrayByTrimmingStringsAndRemovingEmptyOnes(const QStringList& array) {
    QStringList result;
    for (const QString& string : array) {
        const QString trimmed = string.trimmed();
        if (!trimmed.isEmpty())
            result.append(trimmed);
    }
    return result;
}
