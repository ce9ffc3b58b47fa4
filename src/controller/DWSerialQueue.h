#pragma once

#include <QMutex>
#include <QThread>
#include <QWaitCondition>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>

// One background worker that runs its jobs one at a time, strictly in the order
// they were added. Badge updates run here so that file reading, counting and
// drawing never block the interface and never overlap each other.
class DWSerialQueue {
public:
    using Operation = std::function<void()>;

    explicit DWSerialQueue(const QString& name = QStringLiteral("DWSerialQueue"));
    // Cancels what is still queued and waits for the running job.
    ~DWSerialQueue();

    DWSerialQueue(const DWSerialQueue&) = delete;
    DWSerialQueue& operator=(const DWSerialQueue&) = delete;

    // Any thread.
    void addOperation(Operation operation);
    // Drops every job that has not started; the running one finishes.
    void cancelAllOperations();
    // Blocks until the queue is empty and no job runs. Not from a job itself.
    void waitUntilAllOperationsAreFinished();
    // The same, giving up after the timeout; false when it gave up.
    bool waitUntilAllOperationsAreFinished(std::chrono::milliseconds timeout);

    qsizetype operationCount() const; // queued plus running
    bool isWorkerThread() const { return QThread::currentThread() == _thread; }

private:
    void run();

    // Standard locks rather than Qt's: a wait inside Qt's library would hide
    // the lock's hand-over from ThreadSanitizer.
    mutable std::mutex _lock;
    std::condition_variable _changed;
    std::deque<Operation> _operations;
    bool _running = false;
    bool _stopping = false;
    QThread* _thread = nullptr;
};
