#include "foundation/LWTimestamp.h"

#include <QFile>
#include <fcntl.h>
#include <sys/stat.h>

QDateTime LWTimestamp::toDateTime() const {
    return QDateTime::fromMSecsSinceEpoch(seconds * 1000 + nanoseconds / 1000000, Qt::UTC);
}

QString LWTimestamp::toString() const {
    return QDateTime::fromSecsSinceEpoch(seconds, Qt::UTC)
               .toString(QStringLiteral("yyyy-MM-ddTHH:mm:ss")) +
           QStringLiteral(".%1Z").arg(nanoseconds, 9, 10, QLatin1Char('0'));
}

std::optional<LWTimestamp> lw::contentModificationDate(const QString& path) {
    struct statx info {};
    if (path.isEmpty() ||
        statx(AT_FDCWD, QFile::encodeName(path).constData(), 0, STATX_MTIME, &info) != 0)
        return std::nullopt;
    return LWTimestamp{info.stx_mtime.tv_sec, info.stx_mtime.tv_nsec};
}

bool lw::setContentModificationDate(const QString& path, const LWTimestamp& date) {
    const struct timespec times[2] = {{0, UTIME_OMIT}, {date.seconds, long(date.nanoseconds)}};
    return !path.isEmpty() &&
           utimensat(AT_FDCWD, QFile::encodeName(path).constData(), times, 0) == 0;
}
