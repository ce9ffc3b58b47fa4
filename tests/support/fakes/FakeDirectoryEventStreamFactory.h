#pragma once

#include "monitoring/DWDirectoryEventStream.h"
#include "monitoring/DWDirectoryEventStreamFactory.h"

#include <QList>
#include <QSet>
#include <QString>
#include <memory>

// Directory event streams that report only what a test hands them, at once
// and on the calling thread. The factory keeps count of what its clients do
// with streams.
class FakeDirectoryEventStreamFactory final : public DWDirectoryEventStreamFactory {
public:
    FakeDirectoryEventStreamFactory();
    ~FakeDirectoryEventStreamFactory() override;

    std::unique_ptr<DWDirectoryEventStream>
    createStream(const QSet<QString>& directories, double latencySeconds, quint64 sinceEventId,
                 DWDirectoryEventStream::Callback callback) override;

    // Makes createStream answer nullptr, as a stream service that fails would.
    void setFailsToCreateStreams(bool fails) { _failsToCreate = fails; }

    // Hands the batch to every running stream, paths as given (a real stream
    // also reports subdirectories and trailing slashes). A stream stopped by
    // an earlier callback of the same delivery gets nothing.
    void deliver(const QList<DWDirectoryEvent>& events);
    // One event with the next id.
    void deliver(const QString& path);

    int runningStreamCount() const;
    // The directories of the running streams, together.
    QSet<QString> runningDirectories() const;
    int streamsCreated() const { return _created; }
    double lastLatency() const { return _lastLatency; }

    struct State;

private:
    std::shared_ptr<State> _state;
    bool _failsToCreate = false;
    int _created = 0;
    double _lastLatency = 0;
    quint64 _nextEventId = 1;
};
