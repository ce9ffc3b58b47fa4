#pragma once

#include "monitoring/DWDirectoryEventStream.h"

#include <QHash>
#include <QSet>
#include <QString>
#include <memory>

class DWInotifyEventStreamFactory;

// A directory event stream served by its factory's inotify instance. The
// stream holds what it watches and what it has yet to report; the factory
// does the reading, the kernel watches and the timing.
class DWInotifyEventStream final : public DWDirectoryEventStream {
public:
    DWInotifyEventStream(std::shared_ptr<DWInotifyEventStreamFactory> factory,
                         QSet<QString> directories, double latencySeconds, Callback callback);
    ~DWInotifyEventStream() override;

    DWInotifyEventStream(const DWInotifyEventStream&) = delete;
    DWInotifyEventStream& operator=(const DWInotifyEventStream&) = delete;

    bool start() override;
    void addDirectory(const QString& directory) override;
    void removeDirectory(const QString& directory) override;
    void stop() override;
    bool isRunning() const override { return _running; }

    const QSet<QString>& directories() const { return _directories; }
    int latencyMilliseconds() const { return _latencyMilliseconds; }

private:
    friend class DWInotifyEventStreamFactory;

    // Notes a change in one of this stream's directories; a later change of
    // the same directory in the same window replaces the id.
    void _addPendingEvent(const QString& directory, quint64 eventId) {
        _pendingEventIds.insert(directory, eventId);
    }
    // The window's changes in the order of their ids; nothing stays pending.
    QList<DWDirectoryEvent> _takePendingEvents();

    std::shared_ptr<DWInotifyEventStreamFactory> _factory;
    QSet<QString> _directories;
    int _latencyMilliseconds;
    Callback _callback;
    bool _running = false;
    int _timerId = 0;
    QHash<QString, quint64> _pendingEventIds;
};
