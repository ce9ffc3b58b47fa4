#include "monitoring/DWFileWatcher.h"

#include "logging/LWLogger.h"

#include <QFile>
#include <QFileInfo>
#include <QMutexLocker>
#include <limits>
#include <sys/stat.h>

namespace {
// Earlier than any date a file can have.
constexpr LWTimestamp distantPast{std::numeric_limits<qint64>::min(), 0};
} // namespace

// Every line of the watcher is a debug line, and start-up registers every
// task list: don't format lines that would be neither printed nor kept.
#define DW_WATCHER_LOG(function, message)                                                          \
    do {                                                                                           \
        if (_wantsDebugLines())                                                                    \
            LW_LOG(3, function, message);                                                          \
    } while (0)

DWFileWatcher::DWFileWatcher(std::shared_ptr<DWDirectoryEventStreamFactory> streamFactory,
                             double latencySeconds)
    : _streamFactory(std::move(streamFactory)), _latency(latencySeconds) {}

DWFileWatcher::~DWFileWatcher() {
    _stopFileEventStream();
}

void DWFileWatcher::setDelegate(DWFileWatcherDelegate delegate) {
    _delegate = std::move(delegate);
}

bool DWFileWatcher::isStreaming() const {
    QMutexLocker locker(&_streamLock);
    return _eventStream != nullptr;
}

QString DWFileWatcher::parentDirectory(const QString& path) {
    qsizetype end = path.size();
    while (end > 1 && path.at(end - 1) == QLatin1Char('/'))
        --end;
    const qsizetype slash = path.lastIndexOf(QLatin1Char('/'), end - 1);
    if (slash < 0)
        return QString(QLatin1String(""));
    if (slash == 0)
        return QStringLiteral("/");
    return path.left(slash);
}

bool DWFileWatcher::_wantsDebugLines() {
    const LWLogger* logger = LWLogger::sharedInstance();
    return logger->messageBacklogSize() > 0 || 3u <= unsigned(logger->maxLogLevel());
}

void DWFileWatcher::startWatchingFile(const QString& path) {
    if (path.isEmpty())
        return;
    const QString directory = parentDirectory(path);
    if (!_filesByDirectory.contains(directory))
        DW_WATCHER_LOG("-[DWFileWatcher startWatchingFile:]",
                       QStringLiteral("Started to watch directory: %1").arg(directory));
    // Sets the date of a new file and resets that of a known one.
    if (!_modificationDatesByFile.contains(path))
        _addFileToDirectory(path, directory);
    _modificationDatesByFile.insert(path, distantPast);
    _followTarget(path);
    _updateFileEventStream();
    DW_WATCHER_LOG("-[DWFileWatcher startWatchingFile:]",
                   QStringLiteral("Started watching file: %1").arg(path));
}

void DWFileWatcher::stopWatchingFile(const QString& path) {
    if (path.isEmpty())
        return;
    _modificationDatesByFile.remove(path);
    if (const QString target = _targetDirectoryByFile.take(path); !target.isEmpty())
        _removeFileFromDirectory(path, target);
    const QString directory = parentDirectory(path);
    _removeFileFromDirectory(path, directory);
    if (const auto files = _filesByDirectory.constFind(directory);
        files != _filesByDirectory.cend()) {
        DW_WATCHER_LOG("-[DWFileWatcher stopWatchingFile:]",
                       QStringLiteral("Won't remove directory '%1' from watch list, because still "
                                      "watching: %2")
                           .arg(directory, files->first()));
    } else {
        DW_WATCHER_LOG("-[DWFileWatcher stopWatchingFile:]",
                       QStringLiteral("Stopped watching directory: %1").arg(directory));
    }
    _updateFileEventStream();
}

void DWFileWatcher::_addFileToDirectory(const QString& path, const QString& directory) {
    // Callers add a file once per directory: as its parent when it is first
    // registered, as its target's directory when that changes.
    QStringList& files = _filesByDirectory[directory];
    if (files.isEmpty()) {
        _watchedDirectories.insert(directory);
        QMutexLocker locker(&_streamLock);
        if (_eventStream)
            _eventStream->addDirectory(directory);
    }
    files.append(path);
}

void DWFileWatcher::_removeFileFromDirectory(const QString& path, const QString& directory) {
    const auto files = _filesByDirectory.find(directory);
    if (files == _filesByDirectory.end())
        return;
    files->removeOne(path);
    if (files->isEmpty()) {
        _filesByDirectory.erase(files);
        _watchedDirectories.remove(directory);
        QMutexLocker locker(&_streamLock);
        if (_eventStream)
            _eventStream->removeDirectory(directory);
    }
}

bool DWFileWatcher::_followTarget(const QString& path) {
    // Only a link in the last component: a linked folder is watched through
    // its name, which the kernel follows. A plain lstat, as this runs for
    // every registration and most files are no links.
    struct stat status;
    QString target;
    if (::lstat(QFile::encodeName(path).constData(), &status) == 0 && S_ISLNK(status.st_mode)) {
        const QString resolved = QFileInfo(path).canonicalFilePath();
        if (!resolved.isEmpty() && parentDirectory(resolved) != parentDirectory(path))
            target = parentDirectory(resolved);
    }
    const QString before = _targetDirectoryByFile.value(path);
    if (target == before)
        return false;
    if (!before.isEmpty())
        _removeFileFromDirectory(path, before);
    if (target.isEmpty()) {
        _targetDirectoryByFile.remove(path);
    } else {
        _targetDirectoryByFile.insert(path, target);
        _addFileToDirectory(path, target);
    }
    return true;
}

void DWFileWatcher::_updateFileEventStream() {
    // A running stream has followed every change of the set already.
    if (isStreaming() && !_watchedDirectories.isEmpty())
        return;
    _stopFileEventStream();
    _startFileEventStream();
}

void DWFileWatcher::shutdown() {
    _stopFileEventStream();
}

void DWFileWatcher::_startFileEventStream() {
    if (_watchedDirectories.isEmpty()) {
        DW_WATCHER_LOG("-[DWFileWatcher _startFileEventStream]",
                       QStringLiteral("Nothing to watch."));
        return;
    }
    _stopFileEventStream();
    QMutexLocker locker(&_streamLock);
    if (!_streamFactory)
        return;
    // The stream starts with the set's data shared; the first directory
    // added or removed afterwards gives each side its own copy, once.
    const QSet<QString> directories = _watchedDirectories;
    _eventStream = _streamFactory->createStream(
        directories, _latency, _lastEventId, [this](const QList<DWDirectoryEvent>& events) {
            // Handled one by one against the registrations of the moment: a
            // delegate may unregister files, and rebuild the stream, midway.
            for (const DWDirectoryEvent& event : events)
                _handleDirectoryModification(event.path, event.eventId);
        });
    if (!_eventStream)
        return;
    _eventStream->start();
    DW_WATCHER_LOG("-[DWFileWatcher _startFileEventStream]",
                   QStringLiteral("Started file event stream watching %1 directories.")
                       .arg(directories.size()));
}

void DWFileWatcher::_stopFileEventStream() {
    QMutexLocker locker(&_streamLock);
    if (!_eventStream)
        return;
    // Stopped and released before anything else, also when this runs inside
    // the stream's own callback: the stream allows that.
    _eventStream->stop();
    _eventStream.reset();
    DW_WATCHER_LOG("-[DWFileWatcher _stopFileEventStream]",
                   QStringLiteral("Stopped file event stream"));
}

void DWFileWatcher::_handleDirectoryModification(const QString& path, quint64 eventId) {
    // Unsigned comparison: the "since now" start has every bit set, so only
    // a stream started from an earlier id ever moves this.
    if (eventId > _lastEventId)
        _lastEventId = eventId;
    DW_WATCHER_LOG("-[DWFileWatcher _handleDirectoryModification:eventId:]",
                   QStringLiteral("Modification: %1").arg(path));
    QString directory = path;
    // "/" stays "/": that is how the root directory is registered.
    if (directory.size() > 1 && directory.endsWith(QLatin1Char('/')))
        directory.chop(1);
    if (!_watchedDirectories.contains(directory))
        return; // e.g. a subdirectory of a watched directory
    const QStringList files = _filesByDirectory.value(directory);
    bool targetsMoved = false;
    for (const QString& file : files) {
        // A delegate may have unregistered this file while an earlier one was
        // reported; its date must not be stored again.
        if (!_modificationDatesByFile.contains(file))
            continue;
        // A link may point somewhere else now.
        targetsMoved |= _followTarget(file);
        if (!QFileInfo::exists(file)) {
            if (const auto deleted = _delegate.fileDeletedAtPath)
                deleted(file);
        } else if (_updateModificationDateIfNeeded(file)) {
            if (const auto modified = _delegate.fileModifiedAtPath)
                modified(file);
        }
    }
    if (targetsMoved)
        _updateFileEventStream();
}

bool DWFileWatcher::_updateModificationDateIfNeeded(const QString& path) {
    const LWTimestamp stored = _modificationDatesByFile.value(path, distantPast);
    const std::optional<LWTimestamp> current = lw::contentModificationDate(path);
    if (!current || !(*current > stored))
        return false;
    _modificationDatesByFile.insert(path, *current);
    return true;
}
