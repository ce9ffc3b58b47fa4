#include "controller/DWSerialQueue.h"

#include <QSemaphore>
#include <QThread>
#include <atomic>
#include <gtest/gtest.h>
#include <memory>
#include <vector>

TEST(SerialQueue, RunsJobsOneAtATimeInOrderAndCancelsOnlyWaitingOnes) {
    DWSerialQueue queue;
    std::vector<int> order;
    std::atomic<int> running{0};
    std::atomic<bool> overlapped{false}, onCaller{false};
    // The worker waits until all 100 are queued.
    QSemaphore queued;
    queue.addOperation([&] { queued.acquire(); });
    for (int i = 0; i < 100; ++i) {
        queue.addOperation([&, i] {
            overlapped = overlapped || running.fetch_add(1) != 0;
            onCaller = onCaller || queue.isWorkerThread() == false;
            order.push_back(i);
            if (i == 0) // queued from a job: runs after everything queued before it
                queue.addOperation([&] { order.push_back(100); });
            QThread::yieldCurrentThread();
            running.fetch_sub(1);
        });
    }
    queued.release();
    queue.waitUntilAllOperationsAreFinished();
    ASSERT_EQ(order.size(), 101u);
    for (int i = 0; i <= 100; ++i)
        EXPECT_EQ(order[size_t(i)], i);
    EXPECT_FALSE(overlapped);
    EXPECT_FALSE(onCaller);

    // Cancelling lets the running job finish and drops the waiting ones, with
    // what they hold.
    QSemaphore started, release;
    auto held = std::make_shared<int>(7);
    queue.addOperation([&] {
        started.release();
        release.acquire();
        order.push_back(-1);
    });
    for (int i = 0; i < 5; ++i)
        queue.addOperation([&, held] { order.push_back(-2); });
    started.acquire();
    queue.cancelAllOperations();
    EXPECT_EQ(held.use_count(), 1);
    // A stuck job: the bounded wait gives up instead of hanging.
    EXPECT_FALSE(queue.waitUntilAllOperationsAreFinished(std::chrono::milliseconds(50)));
    release.release();
    EXPECT_TRUE(queue.waitUntilAllOperationsAreFinished(std::chrono::seconds(10)));
    EXPECT_EQ(order.back(), -1);
    EXPECT_EQ(order.size(), 102u);
}
