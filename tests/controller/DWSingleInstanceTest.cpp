#include "controller/DWSingleInstance.h"

#include "support/TestEnvironment.h"

#include <QDir>
#include <QFile>
#include <QLocalSocket>
#include <QTemporaryDir>
#include <QThread>
#include <atomic>
#include <gtest/gtest.h>

namespace {
// Hands over from another thread, as a second process would, while this
// thread's event loop lets the running copy answer.
bool handOverFromAnotherThread(DWSingleInstance& later, int timeoutMs = 3000) {
    std::atomic<int> result{-1};
    QThread* thread = QThread::create([&] { result = later.handOver(timeoutMs) ? 1 : 0; });
    thread->start();
    dwtest::waitUntil([&] { return result.load() != -1; }, timeoutMs + 2000);
    thread->wait();
    delete thread;
    return result.load() == 1;
}
} // namespace

TEST(SingleInstance, OnlyTheFirstStartClaimsTheSessionAndALaterOneReachesIt) {
    QTemporaryDir runtime;
    DWSingleInstance first(runtime.path(), QStringLiteral("org.example.Probe"));
    ASSERT_TRUE(first.claim());
    int reopens = 0;
    QObject::connect(&first, &DWSingleInstance::reopenRequested, [&] { ++reopens; });

    DWSingleInstance second(runtime.path(), QStringLiteral("org.example.Probe"));
    EXPECT_FALSE(second.claim());
    EXPECT_FALSE(second.isPrimary());
    EXPECT_TRUE(handOverFromAnotherThread(second));
    EXPECT_TRUE(dwtest::waitUntil([&] { return reopens == 1; }, 2000));

    // Another application's name is another session slot.
    DWSingleInstance other(runtime.path(), QStringLiteral("org.example.Other"));
    EXPECT_TRUE(other.claim());
}

TEST(SingleInstance, TheSessionIsFreeAgainOnceTheRunningCopyEnds) {
    QTemporaryDir runtime;
    {
        DWSingleInstance first(runtime.path(), QStringLiteral("org.example.Probe"));
        ASSERT_TRUE(first.claim());
    }
    // A socket left behind by a copy that crashed does not stand in the way.
    QFile stale(runtime.path() + QStringLiteral("/org.example.Probe.socket"));
    ASSERT_TRUE(stale.open(QIODevice::WriteOnly));
    stale.close();
    DWSingleInstance next(runtime.path(), QStringLiteral("org.example.Probe"));
    EXPECT_TRUE(next.claim());
    int reopens = 0;
    QObject::connect(&next, &DWSingleInstance::reopenRequested, [&] { ++reopens; });
    DWSingleInstance later(runtime.path(), QStringLiteral("org.example.Probe"));
    EXPECT_FALSE(later.claim());
    EXPECT_TRUE(handOverFromAnotherThread(later));
    EXPECT_TRUE(dwtest::waitUntil([&] { return reopens == 1; }, 2000));
}

TEST(SingleInstance, HandingOverToNobodyFailsWithinItsTime) {
    QTemporaryDir runtime;
    DWSingleInstance lonely(runtime.path(), QStringLiteral("org.example.Probe"));
    EXPECT_FALSE(lonely.handOver(300));
}

TEST(SingleInstance, AStrangerOnTheSocketIsIgnored) {
    QTemporaryDir runtime;
    DWSingleInstance first(runtime.path(), QStringLiteral("org.example.Probe"));
    ASSERT_TRUE(first.claim());
    int reopens = 0;
    QObject::connect(&first, &DWSingleInstance::reopenRequested, [&] { ++reopens; });
    QLocalSocket stranger;
    stranger.connectToServer(first.socketPath());
    ASSERT_TRUE(
        dwtest::waitUntil([&] { return stranger.state() == QLocalSocket::ConnectedState; }, 2000));
    stranger.write(QByteArray(200, 'x'));
    stranger.flush();
    EXPECT_TRUE(dwtest::waitUntil(
        [&] { return stranger.state() == QLocalSocket::UnconnectedState; }, 2000));
    EXPECT_EQ(reopens, 0);
}

TEST(SingleInstance, NoRuntimeFolderStillLetsTheAppRun) {
    DWSingleInstance first(QStringLiteral("/proc/no-such-folder"),
                           QStringLiteral("org.example.Probe"));
    EXPECT_TRUE(first.claim());
}
