#pragma once

#include "foundation/LWTimestamp.h"
#include "monitoring/DWDirectoryEventStream.h"
#include "monitoring/DWDirectoryEventStreamFactory.h"
#include "monitoring/DWFileWatcherDelegate.h"

#include <QHash>
#include <QRecursiveMutex>
#include <QSet>
#include <QString>
#include <QStringList>
#include <memory>

// Watches single files through one event stream over their parent
// directories. When a directory is reported, each watched file in it is
// looked at: a missing file is reported deleted, a file whose content
// modification date moved forward is reported modified.
//
// A file that is a symbolic link changes where its target is: the target's
// directory is watched too, and the file is reported by its listed path.
// Registering and unregistering change the running stream's directories
// rather than replacing the stream, so changes it has seen and not yet
// reported are not lost.
//
// Registrations and reports live on the thread that registers files (the
// main thread in the app); the delegate is told synchronously from inside
// the stream's callback and may register or unregister files right there.
class DWFileWatcher {
public:
    // Streams get this latency in seconds: long enough for the events of one
    // save to arrive as one batch.
    static constexpr double StreamLatency = 2.0;

    explicit DWFileWatcher(std::shared_ptr<DWDirectoryEventStreamFactory> streamFactory,
                           double latencySeconds = StreamLatency);
    ~DWFileWatcher();

    DWFileWatcher(const DWFileWatcher&) = delete;
    DWFileWatcher& operator=(const DWFileWatcher&) = delete;

    const DWFileWatcherDelegate& delegate() const { return _delegate; }
    void setDelegate(DWFileWatcherDelegate delegate);

    // Registers a file; a file registered again has its stored date reset, so
    // it is reported as modified at the next event of its directory.
    void startWatchingFile(const QString& path);
    void stopWatchingFile(const QString& path);
    // Stops the stream; the registrations stay.
    void shutdown();

    // What is registered, for callers that list it and for tests.
    QSet<QString> watchedDirectories() const { return _watchedDirectories; }
    QList<QString> watchedFiles() const { return _modificationDatesByFile.keys(); }
    bool isStreaming() const;
    quint64 lastEventId() const { return _lastEventId; }

    // "/a/b/list.txt" gives "/a/b", "/list.txt" gives "/", "list.txt" gives "".
    static QString parentDirectory(const QString& path);

private:
    void _handleDirectoryModification(const QString& path, quint64 eventId);
    bool _updateModificationDateIfNeeded(const QString& path);
    void _startFileEventStream();
    void _stopFileEventStream();
    // Starts a stream when none runs, stops it when nothing is left to watch.
    void _updateFileEventStream();
    // Files this directory holds; the directory joins the set, and the
    // running stream, with the first and leaves with the last.
    void _addFileToDirectory(const QString& path, const QString& directory);
    void _removeFileFromDirectory(const QString& path, const QString& directory);
    // Follows a link to where its target is now; true when that changed.
    bool _followTarget(const QString& path);
    static bool _wantsDebugLines();

    DWFileWatcherDelegate _delegate;
    std::shared_ptr<DWDirectoryEventStreamFactory> _streamFactory;
    double _latency;
    std::unique_ptr<DWDirectoryEventStream> _eventStream;
    quint64 _lastEventId = DWDirectoryEventStream::SinceNow;
    QSet<QString> _watchedDirectories;
    QHash<QString, LWTimestamp> _modificationDatesByFile;
    // The registered files of each watched directory, in the order they were
    // registered, so that an event and an unregistration look only at the
    // files of one directory. A link is listed under its own directory and
    // under its target's.
    QHash<QString, QStringList> _filesByDirectory;
    // The target's directory of each registered link that points elsewhere.
    QHash<QString, QString> _targetDirectoryByFile;
    // Held while a stream is built or torn down, so that _eventStream is
    // never seen half made. Recursive: starting stops the old stream first.
    mutable QRecursiveMutex _streamLock;
};
