#pragma once

#include <QString>
#include <functional>

// Who hears about watched files. Either message may be left empty; the
// watcher then keeps that kind of event to itself.
struct DWFileWatcherDelegate {
    // The file exists and its content modification date moved forward.
    std::function<void(const QString& path)> fileModifiedAtPath;
    // No file exists at the path any more.
    std::function<void(const QString& path)> fileDeletedAtPath;
};
