#include "controller/DWSerialQueue.h"

#include <QSemaphore>
#include <QThread>
#include <atomic>
#include <gtest/gtest.h>
#include <memory>
#include <vector>

TEST(SerialQueue, RunsJobsOneAtATimeInQueueOrderOffTheCallingThread) {
    DWSerialQueue queue;
    std::vector<int> order;
    std::atomic<int> running{0};
    std::atomic<bool> overlapped{false};
    std::atomic<bool> onCaller{false};
    QThread* caller = QThread::currentThread();
    for (int i = 0; i < 200; ++i) {
        queue.addOperation([&, i] {
            if (running.fetch_add(1) != 0)
                overlapped = true;
            if (QThread::currentThread() == caller)
                onCaller = true;
            order.push_back(i); // only the worker writes, one job at a time
            QThread::yieldCurrentThread();
            running.fetch_sub(1);
        });
    }
    queue.waitUntilAllOperationsAreFinished();
    ASSERT_EQ(order.size(), 200u);
    for (int i = 0; i < 200; ++i)
        EXPECT_EQ(order[size_t(i)], i);
    EXPECT_FALSE(overlapped);
    EXPECT_FALSE(onCaller);
    EXPECT_EQ(queue.operationCount(), 0);
}

TEST(SerialQueue, CancellingDropsWaitingJobsAndLetsTheRunningOneFinish) {
    DWSerialQueue queue;
    QSemaphore started, release;
    std::atomic<int> ran{0};
    auto shared = std::make_shared<int>(7);
    queue.addOperation([&] {
        started.release();
        release.acquire();
        ++ran;
    });
    for (int i = 0; i < 5; ++i)
        queue.addOperation([&, shared] { ++ran; });
    started.acquire();
    EXPECT_EQ(queue.operationCount(), 6);
    queue.cancelAllOperations();
    // The cancelled jobs gave up what they held.
    EXPECT_EQ(shared.use_count(), 1);
    release.release();
    queue.waitUntilAllOperationsAreFinished();
    EXPECT_EQ(ran.load(), 1);

    // The queue goes on working after a cancel.
    queue.addOperation([&] { ran += 10; });
    queue.waitUntilAllOperationsAreFinished();
    EXPECT_EQ(ran.load(), 11);
}

TEST(SerialQueue, DestructionWaitsForTheRunningJobAndSkipsTheRest) {
    QSemaphore started;
    std::atomic<bool> finished{false};
    std::atomic<int> laterJobs{0};
    {
        DWSerialQueue queue;
        queue.addOperation([&] {
            started.release();
            QThread::msleep(50);
            finished = true;
        });
        queue.addOperation([&] { ++laterJobs; });
        started.acquire();
    }
    EXPECT_TRUE(finished.load());
    EXPECT_EQ(laterJobs.load(), 0);
}

TEST(SerialQueue, JobsMayQueueFurtherJobs) {
    DWSerialQueue queue;
    std::vector<int> order;
    queue.addOperation([&] {
        order.push_back(1);
        queue.addOperation([&] { order.push_back(3); });
    });
    queue.addOperation([&] { order.push_back(2); });
    // The job added from inside runs after everything queued before it.
    queue.waitUntilAllOperationsAreFinished();
    EXPECT_EQ(order, (std::vector<int>{1, 2, 3}));
}
