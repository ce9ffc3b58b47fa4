#pragma once

#include <QList>
#include <QSet>
#include <QString>
#include <functional>

// One reported change: a directory whose contents changed, with the id the
// stream gave the change. Ids only grow, also from one batch to the next.
struct DWDirectoryEvent {
    QString path;
    quint64 eventId = 0;

    bool operator==(const DWDirectoryEvent&) const = default;
};

// A stream of changes in a set of directories and their subdirectories, a
// change reported with the path of the directory it happened in. Changes that
// arrive within one latency window are folded into one batch, one event per
// directory, in the order of their ids.
//
// A stream reports only changes that happen after start(). It reports on the
// thread that started it, from that thread's event loop. It may be stopped
// and destroyed from inside its own callback.
class DWDirectoryEventStream {
public:
    // The starting id that asks for changes from now on.
    static constexpr quint64 SinceNow = ~quint64(0);

    using Callback = std::function<void(const QList<DWDirectoryEvent>& events)>;

    virtual ~DWDirectoryEventStream() = default;

    // Starts reporting; false when the stream cannot run on this thread.
    virtual bool start() = 0;
    // Change the directories, running or not. Changes already seen in
    // directories that stay are still reported; those of a directory that
    // leaves are dropped. One at a time, so that neither side copies the set
    // when thousands of directories are added at start-up.
    virtual void addDirectory(const QString& directory) = 0;
    virtual void removeDirectory(const QString& directory) = 0;
    // No callback comes after this returns, not even for changes already seen.
    virtual void stop() = 0;
    virtual bool isRunning() const = 0;
};
