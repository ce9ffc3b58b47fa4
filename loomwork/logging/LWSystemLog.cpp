#include "logging/LWSystemLog.h"

#include <QByteArray>
#include <QDateTime>
#include <cerrno>
#include <cstdio>
#include <unistd.h>

void lw::systemLog(const QString& text) {
    static const QByteArray processName = QByteArray(program_invocation_short_name);
    const QByteArray line =
        QDateTime::currentDateTime().toString(QStringLiteral("yyyy-MM-dd HH:mm:ss.zzz ")).toUtf8() +
        processName + '[' + QByteArray::number(getpid()) + ':' + QByteArray::number(gettid()) +
        "] " + text.toUtf8() + '\n';
    // One write per line so that lines from two threads never interleave.
    std::fwrite(line.constData(), 1, size_t(line.size()), stderr);
    std::fflush(stderr);
}
