#pragma once
// INTERIM stand-in until the watcher layer lands; removed then. It records
// registrations and reports nothing by itself.
#include <QString>
#include <QStringList>
#include <functional>

struct DWFileWatcherDelegate {
    std::function<void(const QString&)> fileModifiedAtPath;
    std::function<void(const QString&)> fileDeletedAtPath;
};

class DWFileWatcher {
public:
    void setDelegate(DWFileWatcherDelegate delegate) { _delegate = std::move(delegate); }
    void startWatchingFile(const QString& path);
    void stopWatchingFile(const QString& path) { _files.removeAll(path); }
    void shutdown() {}

private:
    DWFileWatcherDelegate _delegate;
    QStringList _files;
};
