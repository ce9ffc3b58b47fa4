#include "foundation/LWBundle.h"

#include "foundation/LWPreferences.h"
#include "support/TestEnvironment.h"

#include <QDir>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

TEST(Bundle, ReadsKeysAndTreatsDamagedFilesAsEmpty) {
    const QString dir = dwtest::homePath() + u"/bundle"_s;
    dwtest::writeFile(dir + u"/Info.json"_s,
                      R"({"CFBundleIdentifier": "org.example.app", "LWConfigLogLevel": 3})");
    const LWBundle bundle = LWBundle::fromJsonFile(dir + u"/Info.json"_s);
    EXPECT_EQ(bundle.bundleIdentifier(), u"org.example.app"_s);
    EXPECT_EQ(bundle.objectForInfoDictionaryKey(u"LWConfigLogLevel"_s).toInt(), 3);
    EXPECT_FALSE(bundle.objectForInfoDictionaryKey(u"Missing"_s).isValid());

    dwtest::writeFile(dir + u"/Broken.json"_s, "{\"CFBundleName\": ");
    EXPECT_TRUE(LWBundle::fromJsonFile(dir + u"/Broken.json"_s).infoDictionary().isEmpty());
    EXPECT_TRUE(LWBundle::fromJsonFile(dir + u"/none.json"_s).infoDictionary().isEmpty());
}

TEST(Preferences, LiveUnderTheTestsPrivateConfigFolder) {
    LWPreferences prefs(u"Wrenfield"_s, u"Dotwise"_s);
    prefs.setObject(u"TaskLists"_s, QByteArray("\x00\xff\x01", 3));
    EXPECT_TRUE(prefs.fileName().startsWith(dwtest::homePath())) << prefs.fileName().toStdString();
    EXPECT_TRUE(prefs.fileName().endsWith(u"/Wrenfield/Dotwise.conf"_s));
    // A second wrapper over the same store sees the write at once.
    LWPreferences again(u"Wrenfield"_s, u"Dotwise"_s);
    EXPECT_EQ(again.dataForKey(u"TaskLists"_s), QByteArray("\x00\xff\x01", 3));
    again.removeObject(u"TaskLists"_s);
    EXPECT_FALSE(prefs.contains(u"TaskLists"_s));
    EXPECT_FALSE(prefs.boolForKey(u"DebugLoggingEnabled"_s));

    // Hand-edited booleans.
    dwtest::writeFile(prefs.fileName(), "[General]\na=NO\nb=no\nc=false\nd=0\ne=maybe\nf=\n"
                                        "g=YES\nh=yes\ni=true\nj=T\nk=1\nl= -007\n");
    LWPreferences edited(u"Wrenfield"_s, u"Dotwise"_s);
    QString read;
    for (const char* key : {"a", "b", "c", "d", "e", "f", "g", "h", "i", "j", "k", "l"})
        read += edited.boolForKey(QString::fromLatin1(key)) ? u'1' : u'0';
    EXPECT_EQ(read, u"000000111111"_s);
}
