// INTERIM stand-in until the watcher layer lands; removed then.
#include "monitoring/DWFileWatcher.h"

#include "logging/LWLogger.h"

void DWFileWatcher::startWatchingFile(const QString& path) {
    _files.append(path);
    LW_LOG(3, "-[DWFileWatcher startWatchingFile:]",
           QStringLiteral("Started watching file: %1").arg(path));
}
