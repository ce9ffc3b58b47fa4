#include "foundation/LWBundle.h"
#include "foundation/LWPreferences.h"
#include "platform/DWAutostartLaunchAtLoginController.h"
#include "platform/DWDesktopEntry.h"
#include "platform/DummyLaunchAtLoginController.h"
#include "support/TestEnvironment.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QJsonObject>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {
// Against the real autostart folder under the test's private XDG_CONFIG_HOME.
class LaunchAtLogin : public ::testing::Test {
protected:
    void SetUp() override {
        LWBundle::setMainBundle(
            LWBundle(QJsonObject{{u"CFBundleIdentifier"_s, u"org.wrenfield.Dotwise"_s},
                                 {u"CFBundleName"_s, u"Dotwise"_s}}));
        QDir(autostart).removeRecursively();
        QDir().mkpath(autostart);
        QObject::connect(&controller, &LaunchAtLoginController::launchAtLoginChanged,
                         [this](bool value) { announced.append(value); });
    }
    QStringList entries() const { return QDir(autostart).entryList(QDir::Files, QDir::Name); }
    // `exec` as the Exec value means it; the file escapes its backslashes, as
    // every string value of an entry does (GLib 2.84 refuses "\$").
    void writeEntry(const QString& name, QString exec, const QByteArray& extra = {}) {
        exec.replace(u'\\', u"\\\\"_s);
        dwtest::writeFile(autostart + u'/' + name, "[Desktop Entry]\nType=Application\nExec=" +
                                                       exec.toUtf8() + "\n" + extra);
    }

    const QString program = QCoreApplication::applicationFilePath();
    const QString autostart = DWAutostartLaunchAtLoginController::autostartDirectory();
    const QString ownName = u"org.wrenfield.Dotwise.desktop"_s;
    DWAutostartLaunchAtLoginController controller;
    QList<bool> announced;
};
} // namespace

TEST_F(LaunchAtLogin, EnablingTwiceLeavesOneEntryForThisProgramAndOffRemovesIt) {
    controller.setLaunchAtLogin(true);
    EXPECT_TRUE(controller.setProperty("startAtLogin", true));
    EXPECT_EQ(entries(), QStringList{ownName});
    EXPECT_EQ(DWDesktopEntry::fromFile(autostart + u'/' + ownName)->execArguments(),
              QStringList{program});

    controller.setLaunchAtLogin(false);
    controller.setLaunchAtLogin(false); // already off: nothing changes, but it is announced
    EXPECT_TRUE(entries().isEmpty());
    EXPECT_EQ(announced, (QList<bool>{true, true, false, false}));
}

TEST_F(LaunchAtLogin, AnotherCopysEntryNeitherCountsNorIsRemoved) {
    const QString other = dwtest::homePath() + u"/other-copy/dotwise"_s;
    QDir().mkpath(QFileInfo(other).path());
    ASSERT_TRUE(QFile::exists(other) || QFile::copy(program, other));
    writeEntry(ownName, other);
    const QByteArray theirs = dwtest::readFile(autostart + u'/' + ownName);
    EXPECT_FALSE(controller.launchAtLogin());

    controller.setLaunchAtLogin(true);
    EXPECT_TRUE(controller.launchAtLogin());
    EXPECT_EQ(entries().size(), 2);
    controller.setLaunchAtLogin(false);
    EXPECT_EQ(entries(), QStringList{ownName});
    EXPECT_EQ(dwtest::readFile(autostart + u'/' + ownName), theirs);

    // Nor is a file under our name that is no entry at all.
    controller.setLaunchAtLogin(false);
    dwtest::writeFile(autostart + u'/' + ownName, "Exec=no group\n");
    controller.setLaunchAtLogin(true);
    EXPECT_TRUE(controller.launchAtLogin());
    EXPECT_EQ(dwtest::readFile(autostart + u'/' + ownName), "Exec=no group\n");
}

TEST_F(LaunchAtLogin, HandMadeEntriesCountWhenTheSessionWouldStartThem) {
    // Through a link whose path needs quoting, with arguments and field codes.
    const QString links = dwtest::homePath() + u"/my apps $1"_s;
    QDir().mkpath(links);
    ASSERT_TRUE(QFile::link(program, links + u"/dotwise"_s));
    writeEntry(u"by-hand.desktop"_s,
               DWDesktopEntry::quoteExecArgument(links + u"/dotwise"_s) + u" --tray %U"_s);
    EXPECT_TRUE(controller.launchAtLogin());
    QFile::remove(autostart + u"/by-hand.desktop"_s);
    // A bare name is looked up in PATH, also behind env.
    const QByteArray path = qgetenv("PATH");
    qputenv("PATH", QFile::encodeName(links) + ":/usr/bin:/bin");
    writeEntry(u"from-path.desktop"_s, u"env LANG=C dotwise"_s);
    EXPECT_TRUE(controller.launchAtLogin());
    qputenv("PATH", path);
    QFile::remove(autostart + u"/from-path.desktop"_s);

    // Switched off in the desktop's own ways, or broken: they don't count.
    writeEntry(u"hidden.desktop"_s, program, "Hidden=true\n");
    writeEntry(u"off.desktop"_s, program, "X-GNOME-Autostart-enabled=false\n");
    writeEntry(u"quotes.desktop"_s, u"\""_s + program);
    dwtest::writeFile(autostart + u"/junk.desktop"_s, QByteArray("\x00\xff\x13", 3));
    EXPECT_FALSE(controller.launchAtLogin());

    // Every entry that counts goes, or the switch could not be turned off.
    writeEntry(u"a.desktop"_s, program);
    writeEntry(u"b.desktop"_s, program, "X-GNOME-Autostart-enabled=true\n");
    controller.setLaunchAtLogin(false);
    EXPECT_FALSE(controller.launchAtLogin());
    EXPECT_EQ(entries(), (QStringList{u"hidden.desktop"_s, u"junk.desktop"_s, u"off.desktop"_s,
                                      u"quotes.desktop"_s}));

    // Our own switched-off entry is switched back on in place.
    writeEntry(ownName, program, "Hidden=true\n");
    controller.setLaunchAtLogin(true);
    EXPECT_TRUE(controller.launchAtLogin());
    EXPECT_EQ(entries().size(), 5);
}

TEST_F(LaunchAtLogin, AnUnwritableAutostartFolderReadsAsOff) {
    QDir(autostart).removeRecursively();
    dwtest::writeFile(autostart, "a file where the folder should be");
    controller.setLaunchAtLogin(true);
    EXPECT_EQ(announced, QList<bool>{false});
    QFile::remove(autostart);
}

TEST(DummyLaunchAtLogin, KeepsItsFlagInThePreferencesAndLeavesAutostartAlone) {
    const QString autostart = DWAutostartLaunchAtLoginController::autostartDirectory();
    QDir(autostart).removeRecursively();
    DummyLaunchAtLoginController().setLaunchAtLogin(true);
    // On disk at once: the next launch sees it.
    EXPECT_TRUE(dwtest::readFile(LWPreferences::standard().fileName()).contains("ptlalFlag=true"));
    EXPECT_TRUE(DummyLaunchAtLoginController().launchAtLogin());
    EXPECT_FALSE(QFileInfo::exists(autostart));
}

TEST(DesktopEntry, ExecValuesSurviveQuotingAndEscaping) {
    // Whatever a path holds, writing and reading it back gives the same path.
    for (const QString& path :
         {u"/with space/\"quotes\"/x"_s, u" /d$llar/`tick`/back\\slash/100%\t"_s}) {
        DWDesktopEntry written;
        written.setValue(u"Exec"_s, DWDesktopEntry::quoteExecArgument(path) + u" %U"_s);
        const auto read = DWDesktopEntry::fromData("[Other]\nExec=wrong\n" + written.toData());
        ASSERT_TRUE(read.has_value());
        EXPECT_EQ(read->execArguments(), QStringList{path});
    }
    EXPECT_FALSE(DWDesktopEntry::fromData("[Other]\nName=x\n").has_value());
}
