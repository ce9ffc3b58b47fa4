#include "platform/DWInotifyEventStream.h"

#include "platform/DWInotifyEventStreamFactory.h"

#include <algorithm>
#include <cmath>

DWInotifyEventStream::DWInotifyEventStream(std::shared_ptr<DWInotifyEventStreamFactory> factory,
                                           QSet<QString> directories, double latencySeconds,
                                           Callback callback)
    : _factory(std::move(factory)), _directories(std::move(directories)),
      _latencyMilliseconds(
          int(std::clamp(std::lround(latencySeconds * 1000.0), 0L, long(24 * 3600 * 1000)))),
      _callback(std::move(callback)) {}

DWInotifyEventStream::~DWInotifyEventStream() {
    stop();
}

bool DWInotifyEventStream::start() {
    if (_running)
        return true;
    _running = _factory->_startStream(this);
    return _running;
}

void DWInotifyEventStream::addDirectory(const QString& directory) {
    if (_running)
        _factory->_addToStream(this, directory);
    else
        _directories.insert(directory);
}

void DWInotifyEventStream::removeDirectory(const QString& directory) {
    if (_running)
        _factory->_removeFromStream(this, directory);
    else
        _directories.remove(directory);
}

void DWInotifyEventStream::stop() {
    if (!_running)
        return;
    _running = false;
    _factory->_stopStream(this);
    _pendingEventIds.clear();
}

QList<DWDirectoryEvent> DWInotifyEventStream::_takePendingEvents() {
    QList<DWDirectoryEvent> events;
    events.reserve(_pendingEventIds.size());
    for (auto it = _pendingEventIds.cbegin(); it != _pendingEventIds.cend(); ++it)
        events.append(DWDirectoryEvent{it.key(), it.value()});
    _pendingEventIds.clear();
    std::sort(
        events.begin(), events.end(),
        [](const DWDirectoryEvent& a, const DWDirectoryEvent& b) { return a.eventId < b.eventId; });
    return events;
}
