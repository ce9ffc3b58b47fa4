#pragma once

#include "monitoring/DWDirectoryEventStreamFactory.h"

#include <QElapsedTimer>
#include <QHash>
#include <QList>
#include <QObject>
#include <QSet>
#include <QString>
#include <memory>

class DWInotifyEventStream;
class QSocketNotifier;

// Directory event streams over one inotify instance, read through one socket
// notifier on the factory's thread.
//
// Streams come and go cheaply. The kernel watches belong to the factory, not
// to a stream: a new stream reuses the watches of the directories it shares
// with the old ones, and only directories that are new get a watch added.
// Watches nobody wants any more are removed when control returns to the
// event loop. A started stream, or a directory added to a running one, has
// its watch in place when the call returns, with one exception: within a
// burst in one turn of the event loop (a watcher adding a directory per file
// while thousands of files are registered at start-up), once a budget of
// lookups is spent the rest get their watches when control returns to the
// event loop, all in one pass. So registering N files costs about one kernel
// call per directory, not one per directory and file.
//
// What is reported: writes, truncation, creation, deletion and renames in a
// watched directory (every way an editor saves), and the deletion, move or
// unmounting of a watched directory itself, reported with its own path.
// Changes inside subdirectories are reported with the subdirectory's path:
// each subdirectory gets a watch of its own, up to a limit, so that the
// kernel's watches are not used up by one large tree. Not reported:
// attribute-only changes (permissions, dates, extended attributes), so
// setting a file's date or icon makes no event. A queue overflow reports
// every directory of every running stream. A directory that can't be watched
// (missing, not a directory, no permission, the kernel's watch limit) is
// logged once as a warning; the others keep working. A watched directory
// that goes away is looked for again every second, and once it is back it
// is watched and reported as changed.
class DWInotifyEventStreamFactory final
    : public QObject,
      public DWDirectoryEventStreamFactory,
      public std::enable_shared_from_this<DWInotifyEventStreamFactory> {
    Q_OBJECT
public:
    // Streams must be made and started on the thread this is called on.
    static std::shared_ptr<DWInotifyEventStreamFactory> create();
    ~DWInotifyEventStreamFactory() override;

    // nullptr when no inotify instance can be had (logged).
    std::unique_ptr<DWDirectoryEventStream>
    createStream(const QSet<QString>& directories, double latencySeconds, quint64 sinceEventId,
                 DWDirectoryEventStream::Callback callback) override;

    // What the kernel is asked to do, for tests and the benchmark.
    int watchCount() const { return int(_watchDescriptorsByPath.size()); }
    bool isWatching(const QString& directory) const {
        return _watchDescriptorsByPath.contains(directory);
    }
    quint64 watchAdditions() const { return _watchAdditions; }
    quint64 watchRemovals() const { return _watchRemovals; }
    // How many inotify instances were opened over the factory's life.
    int instancesOpened() const { return _instancesOpened; }
    quint64 lastEventId() const { return _lastEventId; }

protected:
    void timerEvent(QTimerEvent* event) override;

private:
    friend class DWInotifyEventStream;
    DWInotifyEventStreamFactory();

    bool _startStream(DWInotifyEventStream* stream);
    void _addToStream(DWInotifyEventStream* stream, const QString& directory);
    void _removeFromStream(DWInotifyEventStream* stream, const QString& directory);
    void _drainBeforeChange();
    void _placeWatches();
    bool _isWanted(const QString& directory) const;
    bool _hasWantedAncestor(const QString& directory, const QSet<QString>& wanted) const;
    void _watchSubdirectories(const QString& directory);
    void _retryLostDirectories();
    void _scheduleRetry();
    void _stopStream(DWInotifyEventStream* stream);
    bool _openInstance();
    void _scheduleReconcile();
    void _reconcileWatches();
    bool _addWatch(const QString& directory, bool isSubdirectory = false);
    void _removeWatch(const QString& directory);
    void _readEvents();
    void _handleEvent(int watchDescriptor, quint32 mask, const QString& name);
    void _noteChange(const QString& directory);
    void _armTimers();

    // The thread that made the factory; it reads, times and reports.
    Qt::HANDLE _threadId;
    int _fd = -1;
    int _instancesOpened = 0;
    QSocketNotifier* _notifier = nullptr;
    QList<DWInotifyEventStream*> _runningStreams;
    QHash<int, DWInotifyEventStream*> _streamsByTimer;
    QHash<QString, int> _watchDescriptorsByPath;
    // A watch descriptor names an inode: two paths to one directory share it.
    QHash<int, QStringList> _pathsByWatchDescriptor;
    // Directories whose watch failed, so that a directory that stays out of
    // reach is logged once, not at every rebuild. Forgotten when it works.
    QSet<QString> _failedDirectories;
    // Watched because they lie inside a wanted directory.
    QSet<QString> _subdirectories;
    static constexpr qsizetype maxSubdirectoryWatches = 4096;
    bool _warnedAboutSubdirectories = false;
    // Wanted directories whose watch went with them (deleted, moved,
    // unmounted), looked for again until they are back or unwanted.
    QSet<QString> _lostDirectories;
    int _retryTimerId = 0;
    static constexpr int retryInterval = 1000;
    bool _reconcileScheduled = false;
    bool _startedThisTurn = false;
    static constexpr qsizetype synchronousLookupsPerTurn = 4096;
    qsizetype _synchronousLookupBudget = synchronousLookupsPerTurn;
    QElapsedTimer _sinceLastDrain;
    quint64 _lastEventId = 0;
    quint64 _watchAdditions = 0;
    quint64 _watchRemovals = 0;
};
