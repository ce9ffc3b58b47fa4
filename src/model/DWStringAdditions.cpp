#include "model/DWStringAdditions.h"

QString dw::lastPathComponent(const QString& path) {
    qsizetype end = path.size();
    while (end > 1 && path.at(end - 1) == QLatin1Char('/'))
        --end;
    if (end == 1 && path.at(0) == QLatin1Char('/'))
        return QStringLiteral("/");
    qsizetype start = end;
    while (start > 0 && path.at(start - 1) != QLatin1Char('/'))
        --start;
    return path.mid(start, end - start);
}
