#include "foundation/LWTimestamp.h"

#include <QFile>
#include <QTimeZone>
#include <fcntl.h>
#include <sys/stat.h>

QDateTime LWTimestamp::toDateTime() const {
    return QDateTime::fromMSecsSinceEpoch(seconds * 1000 + nanoseconds / 1000000, QTimeZone::utc());
}

QString LWTimestamp::toString() const {
    return QDateTime::fromSecsSinceEpoch(seconds, QTimeZone::utc())
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
    if (path.isEmpty())
        return false;
    const QByteArray name = QFile::encodeName(path);
    // The access date is written back as it is rather than left out: the
    // kernel reports a change of the modification date alone as a content
    // change (IN_MODIFY), and of both dates as an attribute change, which
    // file watchers ignore.
    struct timespec times[2] = {{0, UTIME_OMIT}, {date.seconds, long(date.nanoseconds)}};
    struct statx info {};
    if (statx(AT_FDCWD, name.constData(), 0, STATX_ATIME, &info) == 0 &&
        (info.stx_mask & STATX_ATIME))
        times[0] = {info.stx_atime.tv_sec, long(info.stx_atime.tv_nsec)};
    return utimensat(AT_FDCWD, name.constData(), times, 0) == 0;
}
