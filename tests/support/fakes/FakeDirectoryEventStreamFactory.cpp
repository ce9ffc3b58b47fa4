#include "fakes/FakeDirectoryEventStreamFactory.h"

#include <algorithm>

struct FakeDirectoryEventStreamFactory::State {
    struct Stream {
        QSet<QString> directories;
        DWDirectoryEventStream::Callback callback;
    };
    QList<std::shared_ptr<Stream>> running;
};

namespace {
class FakeDirectoryEventStream final : public DWDirectoryEventStream {
public:
    using State = FakeDirectoryEventStreamFactory::State;

    FakeDirectoryEventStream(std::shared_ptr<State> state, QSet<QString> directories,
                             Callback callback)
        : _state(std::move(state)), _stream(std::make_shared<State::Stream>(State::Stream{
                                        std::move(directories), std::move(callback)})) {}
    ~FakeDirectoryEventStream() override { stop(); }

    bool start() override {
        if (!isRunning())
            _state->running.append(_stream);
        return true;
    }
    void stop() override { _state->running.removeOne(_stream); }
    void addDirectory(const QString& directory) override { _stream->directories.insert(directory); }
    void removeDirectory(const QString& directory) override {
        _stream->directories.remove(directory);
    }
    bool isRunning() const override { return _state->running.contains(_stream); }

private:
    std::shared_ptr<State> _state;
    std::shared_ptr<State::Stream> _stream;
};
} // namespace

FakeDirectoryEventStreamFactory::FakeDirectoryEventStreamFactory()
    : _state(std::make_shared<State>()) {}

FakeDirectoryEventStreamFactory::~FakeDirectoryEventStreamFactory() = default;

std::unique_ptr<DWDirectoryEventStream>
FakeDirectoryEventStreamFactory::createStream(const QSet<QString>& directories,
                                              double latencySeconds, quint64,
                                              DWDirectoryEventStream::Callback callback) {
    if (_failsToCreate)
        return nullptr;
    ++_created;
    _lastLatency = latencySeconds;
    return std::make_unique<FakeDirectoryEventStream>(_state, directories, std::move(callback));
}

void FakeDirectoryEventStreamFactory::deliver(const QList<DWDirectoryEvent>& events) {
    for (const DWDirectoryEvent& event : events)
        _nextEventId = std::max(_nextEventId, event.eventId + 1);
    const QList<std::shared_ptr<State::Stream>> receivers = _state->running;
    for (const std::shared_ptr<State::Stream>& stream : receivers) {
        if (!_state->running.contains(stream))
            continue;
        // A copy: the callback may destroy the stream that holds it.
        const DWDirectoryEventStream::Callback callback = stream->callback;
        if (callback)
            callback(events);
    }
}

void FakeDirectoryEventStreamFactory::deliver(const QString& path) {
    deliver({DWDirectoryEvent{path, _nextEventId}});
}

int FakeDirectoryEventStreamFactory::runningStreamCount() const {
    return int(_state->running.size());
}

QSet<QString> FakeDirectoryEventStreamFactory::runningDirectories() const {
    QSet<QString> directories;
    for (const auto& stream : _state->running)
        directories.unite(stream->directories);
    return directories;
}
