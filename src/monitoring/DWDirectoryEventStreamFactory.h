#pragma once

#include "monitoring/DWDirectoryEventStream.h"

#include <QSet>
#include <QString>
#include <memory>

// What makes directory event streams. Code that watches folders receives one
// of these, so that tests can hand it a fake.
class DWDirectoryEventStreamFactory {
public:
    virtual ~DWDirectoryEventStreamFactory() = default;

    // A stopped stream over `directories` (full paths without a trailing
    // "/"), or nullptr when none can be made. Event ids handed out afterwards
    // are greater than `sinceEventId` unless it is SinceNow; history is not
    // replayed either way.
    virtual std::unique_ptr<DWDirectoryEventStream>
    createStream(const QSet<QString>& directories, double latencySeconds, quint64 sinceEventId,
                 DWDirectoryEventStream::Callback callback) = 0;
};
