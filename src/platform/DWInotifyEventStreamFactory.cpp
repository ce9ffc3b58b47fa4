#include "platform/DWInotifyEventStreamFactory.h"

#include "logging/LWLogger.h"
#include "platform/DWInotifyEventStream.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSocketNotifier>
#include <QThread>
#include <QTimerEvent>
#include <algorithm>
#include <cerrno>
#include <cstring>
#include <dirent.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {
// Content and name changes of a directory's entries, and the fate of the
// directory itself. IN_ATTRIB is left out on purpose: the app's own date and
// icon writes must not come back as changes.
constexpr quint32 watchMask = IN_MODIFY | IN_CLOSE_WRITE | IN_CREATE | IN_DELETE | IN_MOVED_FROM |
                              IN_MOVED_TO | IN_DELETE_SELF | IN_MOVE_SELF | IN_ONLYDIR |
                              IN_EXCL_UNLINK;

QString reasonForWatchError(int error) {
    if (error == ENOSPC)
        return QStringLiteral("the limit on inotify watches is reached "
                              "(sysctl fs.inotify.max_user_watches)");
    return QString::fromLocal8Bit(std::strerror(error));
}
} // namespace

std::shared_ptr<DWInotifyEventStreamFactory> DWInotifyEventStreamFactory::create() {
    return std::shared_ptr<DWInotifyEventStreamFactory>(new DWInotifyEventStreamFactory());
}

DWInotifyEventStreamFactory::DWInotifyEventStreamFactory()
    : _threadId(QThread::currentThreadId()) {}

DWInotifyEventStreamFactory::~DWInotifyEventStreamFactory() {
    delete _notifier;
    if (_fd >= 0)
        ::close(_fd); // takes every watch with it
}

std::unique_ptr<DWDirectoryEventStream>
DWInotifyEventStreamFactory::createStream(const QSet<QString>& directories, double latencySeconds,
                                          quint64 sinceEventId,
                                          DWDirectoryEventStream::Callback callback) {
    if (_fd < 0) {
        // The socket notifier must be made on the thread that will read.
        if (QThread::currentThreadId() != _threadId) {
            LW_LOG(1, "-[DWInotifyEventStreamFactory createStream]",
                   QStringLiteral("Directory event streams must be made on the thread of their "
                                  "factory"));
            return nullptr;
        }
        if (!_openInstance())
            return nullptr;
    }
    // No history is kept, but ids continue after the one asked for.
    if (sinceEventId != DWDirectoryEventStream::SinceNow && sinceEventId > _lastEventId)
        _lastEventId = std::min(sinceEventId, DWDirectoryEventStream::SinceNow / 2);
    return std::make_unique<DWInotifyEventStream>(shared_from_this(), directories, latencySeconds,
                                                  std::move(callback));
}

bool DWInotifyEventStreamFactory::_openInstance() {
    _fd = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    if (_fd < 0) {
        LW_LOG(1, "-[DWInotifyEventStreamFactory _openInstance]",
               QStringLiteral("Could not open an inotify instance: %1")
                   .arg(QString::fromLocal8Bit(std::strerror(errno))));
        return false;
    }
    ++_instancesOpened;
    _notifier = new QSocketNotifier(qintptr(_fd), QSocketNotifier::Read, this);
    connect(_notifier, &QSocketNotifier::activated, this, [this] { _readEvents(); });
    return true;
}

bool DWInotifyEventStreamFactory::_startStream(DWInotifyEventStream* stream) {
    if (QThread::currentThreadId() != _threadId || _fd < 0) {
        LW_LOG(1, "-[DWInotifyEventStreamFactory startStream]",
               QStringLiteral("Directory event streams must be started on the thread of their "
                              "factory"));
        return false;
    }
    // What is queued now happened before this stream started: hand it to the
    // streams already running, not to this one.
    _drainBeforeChange();
    _runningStreams.append(stream);
    _placeWatches();
    return true;
}

void DWInotifyEventStreamFactory::_addToStream(DWInotifyEventStream* stream,
                                               const QString& directory) {
    // What is queued now happened in the directories as they were.
    _drainBeforeChange();
    stream->_directories.insert(directory);
    _placeWatches();
}

void DWInotifyEventStreamFactory::_removeFromStream(DWInotifyEventStream* stream,
                                                    const QString& directory) {
    _drainBeforeChange();
    stream->_directories.remove(directory);
    for (auto it = stream->_pendingEventIds.begin(); it != stream->_pendingEventIds.end();) {
        if (stream->_directories.contains(it.key()) ||
            _hasWantedAncestor(it.key(), stream->_directories))
            ++it;
        else
            it = stream->_pendingEventIds.erase(it);
    }
    // The watch goes when the event loop comes round, as after a stop.
    _scheduleReconcile();
}

void DWInotifyEventStreamFactory::_drainBeforeChange() {
    // Within a burst of changes, one read per millisecond is enough.
    if (!_watchDescriptorsByPath.isEmpty() &&
        (!_startedThisTurn || _sinceLastDrain.hasExpired(1))) {
        _readEvents();
        _sinceLastDrain.start();
    }
}

void DWInotifyEventStreamFactory::_placeWatches() {
    // Placing watches at once means looking up every wanted directory. That
    // is cheap for one stream, but a watcher registering thousands of files
    // in one go rebuilds thousands of streams: past a budget of look-ups per
    // turn, the rest waits for the event loop and is done once.
    qsizetype cost = _watchDescriptorsByPath.size();
    for (const DWInotifyEventStream* running : std::as_const(_runningStreams))
        cost += running->directories().size();
    if (!_startedThisTurn || cost <= _synchronousLookupBudget) {
        _startedThisTurn = true;
        _synchronousLookupBudget -= cost;
        _reconcileWatches();
    }
    _scheduleReconcile();
}

void DWInotifyEventStreamFactory::_stopStream(DWInotifyEventStream* stream) {
    _runningStreams.removeOne(stream);
    if (stream->_timerId) {
        killTimer(stream->_timerId);
        _streamsByTimer.remove(stream->_timerId);
        stream->_timerId = 0;
    }
    // The watches stay until the event loop runs: the next stream (a watcher
    // rebuilds at once) most likely wants the same directories.
    _scheduleReconcile();
}

void DWInotifyEventStreamFactory::_scheduleReconcile() {
    if (_reconcileScheduled)
        return;
    _reconcileScheduled = true;
    QMetaObject::invokeMethod(
        this,
        [this] {
            _reconcileScheduled = false;
            _startedThisTurn = false;
            _synchronousLookupBudget = synchronousLookupsPerTurn;
            _reconcileWatches();
        },
        Qt::QueuedConnection);
}

void DWInotifyEventStreamFactory::_reconcileWatches() {
    QSet<QString> wanted;
    if (_runningStreams.size() == 1)
        wanted = _runningStreams.first()->directories(); // shared, not copied
    else
        for (const DWInotifyEventStream* stream : std::as_const(_runningStreams))
            wanted.unite(stream->directories());

    // Removals first, so that additions find room under the kernel's limit.
    QStringList unwanted;
    for (auto it = _watchDescriptorsByPath.cbegin(); it != _watchDescriptorsByPath.cend(); ++it) {
        if (wanted.contains(it.key()))
            continue;
        if (_subdirectories.contains(it.key()) && _hasWantedAncestor(it.key(), wanted))
            continue;
        unwanted.append(it.key());
    }
    for (const QString& directory : std::as_const(unwanted))
        _removeWatch(directory);
    for (auto it = _lostDirectories.begin(); it != _lostDirectories.end();)
        it = wanted.contains(*it) ? std::next(it) : _lostDirectories.erase(it);
    for (const QString& directory : std::as_const(wanted)) {
        if (!_watchDescriptorsByPath.contains(directory) && _addWatch(directory))
            _watchSubdirectories(directory);
    }
    if (!_lostDirectories.isEmpty())
        _scheduleRetry();
}

bool DWInotifyEventStreamFactory::_isWanted(const QString& directory) const {
    for (const DWInotifyEventStream* stream : std::as_const(_runningStreams))
        if (stream->directories().contains(directory))
            return true;
    return false;
}

bool DWInotifyEventStreamFactory::_hasWantedAncestor(const QString& directory,
                                                     const QSet<QString>& wanted) const {
    for (qsizetype slash = directory.lastIndexOf(QLatin1Char('/')); slash >= 0;
         slash = directory.lastIndexOf(QLatin1Char('/'), slash - 1)) {
        if (wanted.contains(slash ? directory.left(slash) : QStringLiteral("/")))
            return true;
        if (slash == 0)
            break;
    }
    return false;
}

void DWInotifyEventStreamFactory::_watchSubdirectories(const QString& directory) {
    const QByteArray path = QFile::encodeName(directory);
    // Most folders with task lists have no subfolders, and on most file
    // systems a link count of 2 (its name and its ".") says so without
    // reading the folder.
    struct stat status;
    if (::stat(path.constData(), &status) != 0 || status.st_nlink == 2)
        return;
    DIR* folder = ::opendir(path.constData());
    if (!folder)
        return;
    QStringList subdirectories;
    while (const dirent* entry = ::readdir(folder)) {
        // Links are not followed: a link to a folder higher up would loop.
        if (entry->d_type != DT_DIR && entry->d_type != DT_UNKNOWN)
            continue;
        if (!std::strcmp(entry->d_name, ".") || !std::strcmp(entry->d_name, ".."))
            continue;
        const QString subdirectory =
            (directory == QLatin1String("/") ? directory : directory + u'/') +
            QFile::decodeName(entry->d_name);
        if (entry->d_type == DT_UNKNOWN && !QFileInfo(subdirectory).isDir())
            continue;
        subdirectories.append(subdirectory);
    }
    ::closedir(folder);
    for (const QString& subdirectory : std::as_const(subdirectories)) {
        if (_watchDescriptorsByPath.contains(subdirectory))
            continue;
        if (_subdirectories.size() >= maxSubdirectoryWatches) {
            if (!_warnedAboutSubdirectories) {
                _warnedAboutSubdirectories = true;
                LW_LOG(1, "-[DWInotifyEventStreamFactory _watchSubdirectories:]",
                       QStringLiteral("Watching no more than %1 subdirectories; changes in "
                                      "others below %2 are not reported")
                           .arg(maxSubdirectoryWatches)
                           .arg(directory));
            }
            return;
        }
        if (_addWatch(subdirectory, true))
            _watchSubdirectories(subdirectory);
    }
}

void DWInotifyEventStreamFactory::_retryLostDirectories() {
    // Only wanted directories are kept as lost (reconciling forgets the
    // others), so this is all a retry needs to look at.
    const QSet<QString> lost = _lostDirectories;
    for (const QString& directory : lost) {
        if (_addWatch(directory))
            _watchSubdirectories(directory);
    }
    if (!_lostDirectories.isEmpty())
        _scheduleRetry();
}

void DWInotifyEventStreamFactory::_scheduleRetry() {
    if (!_retryTimerId)
        _retryTimerId = startTimer(retryInterval);
}

bool DWInotifyEventStreamFactory::_addWatch(const QString& directory, bool isSubdirectory) {
    ++_watchAdditions;
    const int descriptor =
        inotify_add_watch(_fd, QFile::encodeName(directory).constData(), watchMask);
    if (descriptor < 0) {
        const int error = errno;
        // Subdirectories out of reach are many and not asked for; a lost
        // directory was reported already.
        if (!isSubdirectory && !_lostDirectories.contains(directory) &&
            !_failedDirectories.contains(directory)) {
            _failedDirectories.insert(directory);
            LW_LOG(1, "-[DWInotifyEventStreamFactory _addWatch:]",
                   QStringLiteral("Could not watch directory %1: %2")
                       .arg(directory, reasonForWatchError(error)));
        }
        return false;
    }
    _failedDirectories.remove(directory);
    _watchDescriptorsByPath.insert(directory, descriptor);
    _pathsByWatchDescriptor[descriptor].append(directory);
    if (isSubdirectory)
        _subdirectories.insert(directory);
    // Back after it went: whatever happened meanwhile counts as a change.
    if (_lostDirectories.remove(directory)) {
        _noteChange(directory);
        _armTimers();
    }
    return true;
}

void DWInotifyEventStreamFactory::_removeWatch(const QString& directory) {
    _subdirectories.remove(directory);
    const auto found = _watchDescriptorsByPath.constFind(directory);
    if (found == _watchDescriptorsByPath.cend())
        return;
    const int descriptor = found.value();
    _watchDescriptorsByPath.erase(found);
    const auto paths = _pathsByWatchDescriptor.find(descriptor);
    if (paths == _pathsByWatchDescriptor.end())
        return;
    paths->removeOne(directory);
    if (paths->isEmpty()) {
        _pathsByWatchDescriptor.erase(paths);
        inotify_rm_watch(_fd, descriptor);
        ++_watchRemovals;
    }
}

void DWInotifyEventStreamFactory::_readEvents() {
    if (_fd < 0)
        return;
    alignas(struct inotify_event) char buffer[64 * 1024];
    for (;;) {
        const ssize_t length = ::read(_fd, buffer, sizeof buffer);
        if (length < 0 && errno == EINTR)
            continue;
        if (length <= 0)
            break; // EAGAIN: all read
        for (ssize_t offset = 0; offset + ssize_t(sizeof(inotify_event)) <= length;) {
            inotify_event header;
            std::memcpy(&header, buffer + offset, sizeof header);
            // The name is padded with NULs; only directories need it.
            QString name;
            if ((header.mask & IN_ISDIR) && header.len)
                name = QFile::decodeName(buffer + offset + sizeof header);
            _handleEvent(header.wd, header.mask, name);
            offset += ssize_t(sizeof header) + ssize_t(header.len);
        }
    }
    _armTimers();
}

void DWInotifyEventStreamFactory::_handleEvent(int watchDescriptor, quint32 mask,
                                               const QString& name) {
    if (mask & IN_Q_OVERFLOW) {
        // Events were lost: any directory may have changed.
        for (DWInotifyEventStream* stream : std::as_const(_runningStreams))
            for (const QString& directory : stream->directories())
                stream->_addPendingEvent(directory, ++_lastEventId);
        return;
    }
    const QStringList paths = _pathsByWatchDescriptor.value(watchDescriptor);
    if (paths.isEmpty())
        return; // a watch given up already
    if (mask & IN_IGNORED) {
        // The kernel dropped the watch (directory deleted or unmounted, after
        // its own event). A wanted directory is looked for until it is back.
        _pathsByWatchDescriptor.remove(watchDescriptor);
        for (const QString& path : paths) {
            _watchDescriptorsByPath.remove(path);
            _subdirectories.remove(path);
            if (_isWanted(path))
                _lostDirectories.insert(path);
        }
        if (!_lostDirectories.isEmpty())
            _scheduleRetry();
        return;
    }
    for (const QString& path : paths)
        _noteChange(path);
    if ((mask & IN_ISDIR) && (mask & (IN_CREATE | IN_MOVED_TO)) && !name.isEmpty()) {
        // A new subdirectory: watched with what it holds already.
        for (const QString& path : paths) {
            const QString subdirectory =
                (path == QLatin1String("/") ? path : path + QLatin1Char('/')) + name;
            if (!_watchDescriptorsByPath.contains(subdirectory) &&
                _subdirectories.size() < maxSubdirectoryWatches && _addWatch(subdirectory, true))
                _watchSubdirectories(subdirectory);
        }
    }
    if (mask & IN_MOVE_SELF) {
        // The watch would follow the directory to its new name and report it
        // under the old one; drop it and look for the old name again.
        for (const QString& path : paths) {
            _removeWatch(path);
            if (_isWanted(path))
                _lostDirectories.insert(path);
        }
        if (!_lostDirectories.isEmpty())
            _scheduleRetry();
    }
}

void DWInotifyEventStreamFactory::_noteChange(const QString& directory) {
    quint64 eventId = 0;
    for (DWInotifyEventStream* stream : std::as_const(_runningStreams)) {
        if (!stream->directories().contains(directory) &&
            !(_subdirectories.contains(directory) &&
              _hasWantedAncestor(directory, stream->directories())))
            continue;
        if (!eventId)
            eventId = ++_lastEventId;
        stream->_addPendingEvent(directory, eventId);
    }
}

void DWInotifyEventStreamFactory::_armTimers() {
    for (DWInotifyEventStream* stream : std::as_const(_runningStreams)) {
        if (stream->_timerId || stream->_pendingEventIds.isEmpty())
            continue;
        stream->_timerId = startTimer(stream->latencyMilliseconds(), Qt::PreciseTimer);
        _streamsByTimer.insert(stream->_timerId, stream);
    }
}

void DWInotifyEventStreamFactory::timerEvent(QTimerEvent* event) {
    const int timerId = event->timerId();
    if (timerId == _retryTimerId) {
        killTimer(_retryTimerId);
        _retryTimerId = 0;
        _retryLostDirectories();
        return;
    }
    DWInotifyEventStream* stream = _streamsByTimer.value(timerId);
    if (!stream) {
        killTimer(timerId);
        return;
    }
    // Changes still queued in the kernel belong to this window too. The
    // stream keeps its timer meanwhile, so it isn't armed a second time.
    _readEvents();
    // A directory that went and came back within the window is watched
    // again before its files are looked at.
    _retryLostDirectories();
    killTimer(timerId);
    _streamsByTimer.remove(timerId);
    stream->_timerId = 0;
    const QList<DWDirectoryEvent> events = stream->_takePendingEvents();
    if (events.isEmpty())
        return;
    // The callback may stop and destroy its stream, and with it the last
    // other owner of this factory; keep what the call needs alive.
    const DWDirectoryEventStream::Callback callback = stream->_callback;
    const std::shared_ptr<DWInotifyEventStreamFactory> keepAlive = shared_from_this();
    if (callback)
        callback(events);
}
