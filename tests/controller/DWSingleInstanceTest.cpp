#include "controller/DWSingleInstance.h"

#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

// The hand-over itself is tested with a real second process (DWSecondStartTest).
TEST(SingleInstance, TheSessionIsHeldUntilTheRunningCopyEnds) {
    QTemporaryDir runtime;
    const QString name = u"org.example.Probe"_s;
    DWSingleInstance later(runtime.path(), name);
    EXPECT_FALSE(later.handOver({}, 300)); // nobody runs yet
    {
        DWSingleInstance first(runtime.path(), name);
        ASSERT_TRUE(first.claim());
        EXPECT_FALSE(later.claim());
        EXPECT_TRUE(DWSingleInstance(runtime.path(), u"org.example.Other"_s).claim());
    }
    // Free again, even with the socket of a crashed copy left behind.
    QFile stale(later.socketPath());
    ASSERT_TRUE(stale.open(QIODevice::WriteOnly));
    stale.close();
    EXPECT_TRUE(later.claim());
    // Without a runtime folder the application still runs.
    EXPECT_TRUE(DWSingleInstance(u"/proc/none"_s, name).claim());
}
