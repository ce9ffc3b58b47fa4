#include "controller/DWSerialQueue.h"

DWSerialQueue::DWSerialQueue(const QString& name) {
    _thread = QThread::create([this] { run(); });
    _thread->setObjectName(name);
    _thread->start();
}

DWSerialQueue::~DWSerialQueue() {
    std::deque<Operation> cancelled;
    {
        std::unique_lock locker(_lock);
        cancelled.swap(_operations);
        _stopping = true;
        _changed.notify_all();
    }
    _thread->wait();
    delete _thread;
}

void DWSerialQueue::addOperation(Operation operation) {
    if (!operation)
        return;
    std::unique_lock locker(_lock);
    if (_stopping)
        return;
    _operations.push_back(std::move(operation));
    _changed.notify_all();
}

void DWSerialQueue::cancelAllOperations() {
    std::deque<Operation> cancelled;
    {
        std::unique_lock locker(_lock);
        cancelled.swap(_operations);
        _changed.notify_all();
    }
    // The jobs' captures (shared task lists and the like) are released here,
    // outside the lock, in case a destructor wants to queue something.
}

void DWSerialQueue::waitUntilAllOperationsAreFinished() {
    std::unique_lock locker(_lock);
    while (!_operations.empty() || _running)
        _changed.wait(locker);
}

bool DWSerialQueue::waitUntilAllOperationsAreFinished(std::chrono::milliseconds timeout) {
    std::unique_lock locker(_lock);
    return _changed.wait_for(locker, timeout, [this] { return _operations.empty() && !_running; });
}

qsizetype DWSerialQueue::operationCount() const {
    std::unique_lock locker(_lock);
    return qsizetype(_operations.size()) + (_running ? 1 : 0);
}

void DWSerialQueue::run() {
    std::unique_lock locker(_lock);
    for (;;) {
        while (_operations.empty() && !_stopping)
            _changed.wait(locker);
        if (_stopping)
            return;
        Operation operation = std::move(_operations.front());
        _operations.pop_front();
        _running = true;
        locker.unlock();
        operation();
        operation = nullptr; // release captures before reporting the job finished
        locker.lock();
        _running = false;
        _changed.notify_all();
    }
}
