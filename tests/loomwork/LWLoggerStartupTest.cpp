// The logger reads its configuration once, when it is first used, so each case
// that depends on start-up lives in this binary and sets its sources first.
#include "foundation/LWBundle.h"
#include "foundation/LWPreferences.h"
#include "logging/LWLogger.h"

#include <QJsonObject>
#include <gtest/gtest.h>
#include <thread>
#include <vector>

using namespace Qt::StringLiterals;

TEST(LoggerStartup, InformationListAndDebugPreferenceConfigureTheFirstLogger) {
    LWBundle::setMainBundle(
        LWBundle(QJsonObject{{u"LWConfigLogLevel"_s, 1}, {u"LWConfigMessageBacklogSize"_s, 5}}));
    LWPreferences::standard().setBool(u"DebugLoggingEnabled"_s, true);

    // First used from several threads at once: one logger, configured once.
    ::testing::internal::CaptureStderr();
    LWLogger* seen[4] = {};
    {
        std::vector<std::jthread> workers;
        for (auto& slot : seen)
            workers.emplace_back([&slot] { slot = LWLogger::sharedInstance(); });
    }
    LWLogger* logger = LWLogger::sharedInstance();
    const QString out = QString::fromStdString(::testing::internal::GetCapturedStderr());
    for (LWLogger* other : seen)
        EXPECT_EQ(other, logger);

    // The preference overrides the information list's level 1.
    EXPECT_EQ(logger->maxLogLevel(), 3);
    EXPECT_EQ(logger->messageBacklogSize(), 5);
    EXPECT_TRUE(out.contains(QStringLiteral(
        " INFO| Enabling debug logging based on special setting: DebugLoggingEnabled |LWLogger:")))
        << out.toStdString();
    EXPECT_TRUE(out.trimmed().endsWith(u"| -[LWLogger init]"_s));
    // The notice reached the logger being built: it is the first backlog line.
    ASSERT_EQ(logger->messageBacklog().size(), 1);
    EXPECT_TRUE(logger->messageBacklog()[0].startsWith(u" INFO| Enabling"_s));
}
