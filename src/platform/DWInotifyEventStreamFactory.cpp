#include "platform/DWInotifyEventStreamFactory.h"

#include "logging/LWLogger.h"
#include "platform/DWInotifyEventStream.h"

#include <QFile>
#include <QSocketNotifier>
#include <QThread>
#include <QTimerEvent>
#include <algorithm>
#include <cerrno>
#include <cstring>
#include <sys/inotify.h>
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
    // streams already running, not to this one. Within a burst of rebuilds,
    // one read per millisecond is enough.
    if (!_watchDescriptorsByPath.isEmpty() &&
        (!_startedThisTurn || _sinceLastDrain.hasExpired(1))) {
        _readEvents();
        _sinceLastDrain.start();
    }
    _runningStreams.append(stream);
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
    return true;
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
    for (auto it = _watchDescriptorsByPath.cbegin(); it != _watchDescriptorsByPath.cend(); ++it)
        if (!wanted.contains(it.key()))
            unwanted.append(it.key());
    for (const QString& directory : std::as_const(unwanted))
        _removeWatch(directory);
    for (const QString& directory : std::as_const(wanted))
        if (!_watchDescriptorsByPath.contains(directory))
            _addWatch(directory);
}

void DWInotifyEventStreamFactory::_addWatch(const QString& directory) {
    ++_watchAdditions;
    const int descriptor =
        inotify_add_watch(_fd, QFile::encodeName(directory).constData(), watchMask);
    if (descriptor < 0) {
        const int error = errno;
        if (!_failedDirectories.contains(directory)) {
            _failedDirectories.insert(directory);
            LW_LOG(1, "-[DWInotifyEventStreamFactory _addWatch:]",
                   QStringLiteral("Could not watch directory %1: %2")
                       .arg(directory, reasonForWatchError(error)));
        }
        return;
    }
    _failedDirectories.remove(directory);
    _watchDescriptorsByPath.insert(directory, descriptor);
    _pathsByWatchDescriptor[descriptor].append(directory);
}

void DWInotifyEventStreamFactory::_removeWatch(const QString& directory) {
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
            _handleEvent(header.wd, header.mask);
            offset += ssize_t(sizeof header) + ssize_t(header.len);
        }
    }
    _armTimers();
}

void DWInotifyEventStreamFactory::_handleEvent(int watchDescriptor, quint32 mask) {
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
        // its own event). Still wanted directories are tried again at the
        // next reconcile.
        for (const QString& path : paths)
            _watchDescriptorsByPath.remove(path);
        _pathsByWatchDescriptor.remove(watchDescriptor);
        return;
    }
    for (const QString& path : paths)
        _noteChange(path);
    if (mask & IN_MOVE_SELF) {
        // The watch would follow the directory to its new name and report it
        // under the old one; drop it and look at the old name again later.
        for (const QString& path : paths)
            _removeWatch(path);
    }
}

void DWInotifyEventStreamFactory::_noteChange(const QString& directory) {
    quint64 eventId = 0;
    for (DWInotifyEventStream* stream : std::as_const(_runningStreams)) {
        if (!stream->directories().contains(directory))
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
    DWInotifyEventStream* stream = _streamsByTimer.value(timerId);
    if (!stream) {
        killTimer(timerId);
        return;
    }
    // Changes still queued in the kernel belong to this window too. The
    // stream keeps its timer meanwhile, so it isn't armed a second time.
    _readEvents();
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
