#include "logging/LWLogger.h"

#include <QRegularExpression>
#include <QThread>
#include <gtest/gtest.h>
#include <vector>

namespace {
// Restores the shared logger's settings after each test.
class LoggerTest : public ::testing::Test {
protected:
    void SetUp() override {
        logger = LWLogger::sharedInstance();
        savedLevel = logger->maxLogLevel();
        savedSize = logger->messageBacklogSize();
        logger->setMessageBacklog({});
    }
    void TearDown() override {
        logger->setMaxLogLevel(savedLevel);
        logger->setMessageBacklogSize(savedSize);
        logger->setMessageBacklog({});
    }
    QString printed(int level, const QString& message = QStringLiteral("m")) {
        ::testing::internal::CaptureStderr();
        logger->log(message, level, QStringLiteral("Classes/Model/DWTaskList"),
                    QStringLiteral("-[DWTaskList updateOpenTasks]"), 62);
        return QString::fromStdString(::testing::internal::GetCapturedStderr());
    }
    LWLogger* logger = nullptr;
    int savedLevel = 0;
    int savedSize = 0;
};
} // namespace

TEST_F(LoggerTest, LinesReadAsTheMessageTableShowsThem) {
    EXPECT_EQ(LWLogger::formatLine(QStringLiteral("No rules!"), 1,
                                   QStringLiteral("Classes/Model/DWTaskList"),
                                   QStringLiteral("-[DWTaskList updateOpenTasks]"), 62),
              QStringLiteral(" WARN| No rules! |DWTaskList:62| -[DWTaskList updateOpenTasks]"));
    EXPECT_EQ(LWLogger::levelName(0), QStringLiteral("ERROR"));
    EXPECT_EQ(LWLogger::levelName(2), QStringLiteral(" INFO"));
    EXPECT_EQ(LWLogger::levelName(3), QStringLiteral("DEBUG"));
    EXPECT_EQ(LWLogger::levelName(7), QStringLiteral("?????"));
    EXPECT_EQ(LWLogger::levelName(-1), QStringLiteral("?????"));
}

TEST_F(LoggerTest, MacroNamesTheSourceFileWithoutItsExtension) {
    logger->setMessageBacklogSize(1);
    logger->setMaxLogLevel(-2); // prints levels 0 and up only when taken as unsigned
    ::testing::internal::CaptureStderr();
    const int line = __LINE__ + 1;
    LW_LOG(3, "-[Probe probe]", QStringLiteral("Modification: %1").arg(QStringLiteral("/a")));
    const QString out = QString::fromStdString(::testing::internal::GetCapturedStderr());
    const QString expected =
        QStringLiteral("DEBUG| Modification: /a |LWLoggerTest:%1| -[Probe probe]").arg(line);
    ASSERT_EQ(logger->messageBacklog(), QStringList{expected});
    // Printed with a time stamp (milliseconds), the process name and [pid:tid].
    EXPECT_TRUE(out.endsWith(expected + QLatin1Char('\n'))) << out.toStdString();
    EXPECT_TRUE(QRegularExpression(
                    QStringLiteral(R"(^\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{3} \S+\[\d+:\d+\] )"))
                    .match(out)
                    .hasMatch())
        << out.toStdString();
}

TEST_F(LoggerTest, ThresholdComparesAsUnsignedNumbers) {
    logger->setMaxLogLevel(2);
    EXPECT_FALSE(printed(0).isEmpty());
    EXPECT_FALSE(printed(2).isEmpty());
    EXPECT_TRUE(printed(3).isEmpty());
    EXPECT_TRUE(printed(-1).isEmpty());
    EXPECT_TRUE(printed(7).isEmpty());

    logger->setMaxLogLevel(-1); // the largest unsigned value: everything is printed
    EXPECT_TRUE(printed(-1).contains(QStringLiteral("?????| m |")));
    EXPECT_FALSE(printed(7).isEmpty());
}

TEST_F(LoggerTest, BacklogKeepsNewestLinesWhetherPrintedOrNot) {
    logger->setMaxLogLevel(0);
    logger->setMessageBacklogSize(2);
    for (const char* message : {"A", "B", "C"})
        EXPECT_TRUE(printed(3, QString::fromLatin1(message)).isEmpty());
    const QStringList backlog = logger->messageBacklog();
    ASSERT_EQ(backlog.size(), 2);
    EXPECT_TRUE(backlog[0].startsWith(QStringLiteral("DEBUG| C |")));
    EXPECT_TRUE(backlog[1].startsWith(QStringLiteral("DEBUG| B |")));
}

TEST_F(LoggerTest, ShrinkingTheBacklogTrimsOnlyAtTheNextMessage) {
    logger->setMaxLogLevel(0);
    logger->setMessageBacklogSize(3);
    for (const char* message : {"A", "B", "C"})
        printed(3, QString::fromLatin1(message));
    logger->setMessageBacklogSize(1);
    EXPECT_EQ(logger->messageBacklog().size(), 3);
    printed(3, QStringLiteral("D"));
    ASSERT_EQ(logger->messageBacklog().size(), 1);
    EXPECT_TRUE(logger->messageBacklog()[0].startsWith(QStringLiteral("DEBUG| D |")));

    logger->setMessageBacklogSize(0);
    printed(3, QStringLiteral("E"));
    ASSERT_EQ(logger->messageBacklog().size(), 1);
    EXPECT_TRUE(logger->messageBacklog()[0].startsWith(QStringLiteral("DEBUG| D |")));
}

TEST_F(LoggerTest, BacklogStaysIntactUnderConcurrentCalls) {
    logger->setMaxLogLevel(0);
    constexpr int threads = 4;
    constexpr int perThread = 2000;
    logger->setMessageBacklogSize(100);
    std::vector<std::unique_ptr<QThread>> workers;
    for (int t = 0; t < threads; ++t) {
        workers.emplace_back(QThread::create([this, t] {
            for (int i = 0; i < perThread; ++i)
                logger->log(QStringLiteral("t%1 #%2").arg(t).arg(i), 3, QStringLiteral("f.cpp"),
                            QStringLiteral("-[T t]"), i);
        }));
        workers.back()->start();
    }
    for (auto& worker : workers)
        worker->wait();
    const QStringList backlog = logger->messageBacklog();
    ASSERT_EQ(backlog.size(), 100);
    for (const QString& line : backlog)
        EXPECT_TRUE(line.startsWith(QStringLiteral("DEBUG| t"))) << line.toStdString();
}

TEST(LoggerSingleton, SharedInstanceIsCreatedOnceAcrossThreads) {
    LWLogger* seen[4] = {};
    std::vector<std::unique_ptr<QThread>> workers;
    for (auto& slot : seen) {
        workers.emplace_back(QThread::create([&slot] { slot = LWLogger::sharedInstance(); }));
        workers.back()->start();
    }
    for (auto& worker : workers)
        worker->wait();
    for (LWLogger* logger : seen)
        EXPECT_EQ(logger, LWLogger::sharedInstance());
}
