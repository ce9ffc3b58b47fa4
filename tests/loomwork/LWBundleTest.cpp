#include "foundation/LWBundle.h"

#include "foundation/LWPreferences.h"
#include "support/TestEnvironment.h"

#include <QDir>
#include <gtest/gtest.h>

TEST(Bundle, ReadsKeysAndTreatsDamagedFilesAsEmpty) {
    const QString dir = dwtest::homePath() + QStringLiteral("/bundle");
    dwtest::writeFile(dir + QStringLiteral("/Info.json"),
                      R"({"CFBundleIdentifier": "org.example.app", "LWConfigLogLevel": 3})");
    const LWBundle bundle = LWBundle::fromJsonFile(dir + QStringLiteral("/Info.json"));
    EXPECT_EQ(bundle.bundleIdentifier(), QStringLiteral("org.example.app"));
    EXPECT_EQ(bundle.objectForInfoDictionaryKey(QStringLiteral("LWConfigLogLevel")).toInt(), 3);
    EXPECT_FALSE(bundle.objectForInfoDictionaryKey(QStringLiteral("Missing")).isValid());

    dwtest::writeFile(dir + QStringLiteral("/Broken.json"), "{\"CFBundleName\": ");
    EXPECT_TRUE(
        LWBundle::fromJsonFile(dir + QStringLiteral("/Broken.json")).infoDictionary().isEmpty());
    EXPECT_TRUE(
        LWBundle::fromJsonFile(dir + QStringLiteral("/none.json")).infoDictionary().isEmpty());
}

TEST(Preferences, LiveUnderTheTestsPrivateConfigFolder) {
    LWPreferences prefs(QStringLiteral("Wrenfield"), QStringLiteral("Dotwise"));
    prefs.setObject(QStringLiteral("TaskLists"), QByteArray("\x00\xff\x01", 3));
    EXPECT_TRUE(prefs.fileName().startsWith(dwtest::homePath())) << prefs.fileName().toStdString();
    EXPECT_TRUE(prefs.fileName().endsWith(QStringLiteral("/Wrenfield/Dotwise.conf")));
    // A second wrapper over the same store sees the write at once.
    LWPreferences again(QStringLiteral("Wrenfield"), QStringLiteral("Dotwise"));
    EXPECT_EQ(again.dataForKey(QStringLiteral("TaskLists")), QByteArray("\x00\xff\x01", 3));
    again.removeObject(QStringLiteral("TaskLists"));
    EXPECT_FALSE(prefs.contains(QStringLiteral("TaskLists")));
    EXPECT_FALSE(prefs.boolForKey(QStringLiteral("DebugLoggingEnabled")));
}
