#include "logging/LWLogger.h"

#include <QRegularExpression>
#include <gtest/gtest.h>
#include <thread>
#include <vector>

using namespace Qt::StringLiterals;

namespace {
class LoggerTest : public ::testing::Test {
protected:
    void SetUp() override { logger->setMessageBacklog({}); }
    void TearDown() override {
        logger->setMaxLogLevel(savedLevel);
        logger->setMessageBacklogSize(savedSize);
        logger->setMessageBacklog({});
    }
    QString printed(int level, const QString& message = u"m"_s) {
        ::testing::internal::CaptureStderr();
        logger->log(message, level, u"Classes/Model/DWTaskList"_s,
                    u"-[DWTaskList updateOpenTasks]"_s, 62);
        return QString::fromStdString(::testing::internal::GetCapturedStderr());
    }
    QStringList backlogMessages() const {
        QStringList messages;
        for (const QString& line : logger->messageBacklog())
            messages.append(line.section(u'|', 1, 1).trimmed());
        return messages;
    }
    LWLogger* logger = LWLogger::sharedInstance();
    const int savedLevel = logger->maxLogLevel();
    const int savedSize = logger->messageBacklogSize();
};
} // namespace

TEST_F(LoggerTest, MacroPrintsTheTableFormatWithTheSourceFileWithoutItsExtension) {
    logger->setMessageBacklogSize(1);
    logger->setMaxLogLevel(-2); // prints levels 0 and up only when taken as unsigned
    ::testing::internal::CaptureStderr();
    const int line = __LINE__ + 1;
    LW_LOG(3, "-[Probe probe]", u"Modification: %1"_s.arg(u"/a"_s));
    const QString out = QString::fromStdString(::testing::internal::GetCapturedStderr());
    const QString expected =
        u"DEBUG| Modification: /a |LWLoggerTest:%1| -[Probe probe]"_s.arg(line);
    ASSERT_EQ(logger->messageBacklog(), QStringList{expected});
    // Printed with a time stamp (milliseconds), the process name and [pid:tid].
    EXPECT_TRUE(out.endsWith(expected + QLatin1Char('\n'))) << out.toStdString();
    EXPECT_TRUE(QRegularExpression(uR"(^\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{3} \S+\[\d+:\d+\] )"_s)
                    .match(out)
                    .hasMatch())
        << out.toStdString();
}

TEST_F(LoggerTest, ThresholdComparesAsUnsignedNumbers) {
    logger->setMaxLogLevel(2);
    EXPECT_TRUE(printed(0).contains(u"ERROR| m |"_s));
    EXPECT_TRUE(printed(2).contains(u" INFO| m |"_s));
    for (int hidden : {3, -1})
        EXPECT_TRUE(printed(hidden).isEmpty()) << hidden;

    logger->setMaxLogLevel(-1); // the largest unsigned value: everything is printed
    EXPECT_TRUE(printed(7).contains(u"?????| m |"_s));
}

TEST_F(LoggerTest, BacklogKeepsTheNewestLinesPrintedOrNotAndShrinksAtTheNextMessage) {
    logger->setMaxLogLevel(0);
    logger->setMessageBacklogSize(2);
    for (const char* message : {"A", "B", "C"})
        EXPECT_TRUE(printed(3, QString::fromLatin1(message)).isEmpty());
    EXPECT_EQ(backlogMessages(), (QStringList{"C", "B"}));

    logger->setMessageBacklogSize(1);
    EXPECT_EQ(backlogMessages().size(), 2);
    printed(3, u"D"_s);
    EXPECT_EQ(backlogMessages(), QStringList{"D"});
    // Size 0 keeps nothing new and leaves what is there.
    logger->setMessageBacklogSize(0);
    printed(3, u"E"_s);
    EXPECT_EQ(backlogMessages(), QStringList{"D"});
}

TEST_F(LoggerTest, BacklogStaysIntactUnderConcurrentCalls) {
    logger->setMaxLogLevel(0);
    logger->setMessageBacklogSize(100);
    {
        std::vector<std::jthread> workers;
        for (int t = 0; t < 4; ++t)
            workers.emplace_back([this, t] {
                for (int i = 0; i < 2000; ++i)
                    logger->log(u"t%1 #%2"_s.arg(t).arg(i), 3, u"f.cpp"_s, u"-[T t]"_s, i);
            });
    }
    const QStringList backlog = logger->messageBacklog();
    ASSERT_EQ(backlog.size(), 100);
    for (const QString& line : backlog)
        EXPECT_TRUE(line.startsWith(u"DEBUG| t"_s)) << line.toStdString();
}
