#include "platform/LaunchAtLoginController.h"

#include "fakes/FakeLaunchAtLoginController.h"
#include "foundation/LWBundle.h"
#include "foundation/LWPreferences.h"
#include "platform/DWDesktopEntry.h"
#include "platform/DummyLaunchAtLoginController.h"
#include "support/TestEnvironment.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QJsonObject>
#include <gtest/gtest.h>

namespace {
class LaunchAtLogin : public ::testing::Test {
protected:
    void SetUp() override {
        LWBundle::setMainBundle(LWBundle(QJsonObject{
            {QStringLiteral("CFBundleIdentifier"), QStringLiteral("org.wrenfield.Dotwise")},
            {QStringLiteral("CFBundleName"), QStringLiteral("Dotwise")}}));
        autostart = LaunchAtLoginController::autostartDirectory();
        QDir(autostart).removeRecursively();
        QFile::remove(autostart);
        QDir().mkpath(autostart);
        connect();
    }

    void connect() {
        QObject::connect(&controller, &LaunchAtLoginController::launchAtLoginChanged,
                         [this](bool value) { announced.append(value); });
    }

    QStringList entryNames() const {
        return QDir(autostart).entryList({QStringLiteral("*.desktop")}, QDir::Files, QDir::Name);
    }

    void writeEntry(const QString& name, const QString& exec, const QByteArray& extra = {}) {
        dwtest::writeFile(autostart + QLatin1Char('/') + name,
                          "[Desktop Entry]\nType=Application\nName=Dotwise\nExec=" + exec.toUtf8() +
                              "\n" + extra);
    }

    // A second copy of the program somewhere else.
    QString otherCopy() const {
        const QString path = dwtest::homePath() + QStringLiteral("/other-copy/dotwise");
        if (!QFileInfo::exists(path)) {
            QDir().mkpath(QFileInfo(path).absolutePath());
            QFile::copy(QCoreApplication::applicationFilePath(), path);
        }
        return path;
    }

    const QString program = QCoreApplication::applicationFilePath();
    QString autostart;
    LaunchAtLoginController controller;
    QList<bool> announced;
};
} // namespace

TEST_F(LaunchAtLogin, EnablingTwiceLeavesOneEntryThatStartsThisProgram) {
    EXPECT_FALSE(controller.launchAtLogin());
    controller.setLaunchAtLogin(true);
    controller.setLaunchAtLogin(true);
    EXPECT_TRUE(controller.launchAtLogin());
    EXPECT_EQ(entryNames(), QStringList{QStringLiteral("org.wrenfield.Dotwise.desktop")});
    EXPECT_EQ(announced, (QList<bool>{true, true}));

    const auto entry =
        DWDesktopEntry::fromFile(autostart + QStringLiteral("/org.wrenfield.Dotwise.desktop"));
    ASSERT_TRUE(entry.has_value());
    EXPECT_EQ(entry->value(QStringLiteral("Type")), QStringLiteral("Application"));
    EXPECT_EQ(entry->value(QStringLiteral("Name")), QStringLiteral("Dotwise"));
    EXPECT_EQ(entry->execArguments(), QStringList{program});

    controller.setLaunchAtLogin(false);
    EXPECT_FALSE(controller.launchAtLogin());
    EXPECT_TRUE(entryNames().isEmpty());
    // Turning off what is off changes nothing, and says so.
    controller.setLaunchAtLogin(false);
    EXPECT_EQ(announced, (QList<bool>{true, true, false, false}));
}

TEST_F(LaunchAtLogin, AnotherCopysEntryNeitherCountsNorIsRemoved) {
    writeEntry(QStringLiteral("org.wrenfield.Dotwise.desktop"), otherCopy());
    const QByteArray theirs =
        dwtest::readFile(autostart + QStringLiteral("/org.wrenfield.Dotwise.desktop"));
    EXPECT_FALSE(controller.launchAtLogin());
    EXPECT_TRUE(controller.willLaunchAtLogin(QUrl::fromLocalFile(otherCopy())));

    controller.setLaunchAtLogin(true);
    EXPECT_TRUE(controller.launchAtLogin());
    const QStringList names = entryNames();
    ASSERT_EQ(names.size(), 2);
    EXPECT_EQ(dwtest::readFile(autostart + QStringLiteral("/org.wrenfield.Dotwise.desktop")),
              theirs);

    controller.setLaunchAtLogin(false);
    EXPECT_FALSE(controller.launchAtLogin());
    EXPECT_EQ(entryNames(), QStringList{QStringLiteral("org.wrenfield.Dotwise.desktop")});
    EXPECT_EQ(dwtest::readFile(autostart + QStringLiteral("/org.wrenfield.Dotwise.desktop")),
              theirs);
    EXPECT_TRUE(controller.willLaunchAtLogin(QUrl::fromLocalFile(otherCopy())));
}

TEST_F(LaunchAtLogin, HandMadeEntriesCountWhenTheSessionWouldStartThem) {
    // Through a link whose path needs quoting, with arguments and field codes.
    const QString linkFolder = dwtest::homePath() + QStringLiteral("/my apps $1");
    QDir().mkpath(linkFolder);
    const QString link = linkFolder + QStringLiteral("/dotwise");
    ASSERT_TRUE(QFile::link(program, link));
    writeEntry(QStringLiteral("by-hand.desktop"),
               DWDesktopEntry::quoteExecArgument(link) + QStringLiteral(" --tray %U"));
    EXPECT_TRUE(controller.launchAtLogin());

    QFile::remove(autostart + QStringLiteral("/by-hand.desktop"));
    // A bare name is looked up in PATH.
    const QByteArray path = qgetenv("PATH");
    qputenv("PATH", QFile::encodeName(linkFolder) + ":/usr/bin:/bin");
    writeEntry(QStringLiteral("from-path.desktop"), QStringLiteral("env LANG=C dotwise"));
    EXPECT_TRUE(controller.launchAtLogin());
    qputenv("PATH", path);
    QFile::remove(autostart + QStringLiteral("/from-path.desktop"));

    // Switched off by the desktop's own settings, or broken: they don't count.
    writeEntry(QStringLiteral("hidden.desktop"), program, "Hidden=true\n");
    writeEntry(QStringLiteral("disabled.desktop"), program, "X-GNOME-Autostart-enabled=false\n");
    writeEntry(QStringLiteral("broken-quotes.desktop"), QStringLiteral("\"") + program);
    writeEntry(QStringLiteral("missing.desktop"), dwtest::homePath() + QStringLiteral("/nothing"));
    dwtest::writeFile(autostart + QStringLiteral("/junk.desktop"), QByteArray("\x00\xff\x13", 3));
    EXPECT_FALSE(controller.launchAtLogin());

    // Two entries that count are both removed, or the switch could not go off;
    // those that don't count stay as they are.
    writeEntry(QStringLiteral("a.desktop"), program);
    writeEntry(QStringLiteral("b.desktop"), program, "X-GNOME-Autostart-enabled=true\n");
    EXPECT_TRUE(controller.launchAtLogin());
    controller.setLaunchAtLogin(false);
    EXPECT_FALSE(controller.launchAtLogin());
    EXPECT_EQ(entryNames(),
              (QStringList{QStringLiteral("broken-quotes.desktop"),
                           QStringLiteral("disabled.desktop"), QStringLiteral("hidden.desktop"),
                           QStringLiteral("junk.desktop"), QStringLiteral("missing.desktop")}));
}

TEST_F(LaunchAtLogin, OwnSwitchedOffEntryIsSwitchedBackOnInPlace) {
    writeEntry(QStringLiteral("org.wrenfield.Dotwise.desktop"), program, "Hidden=true\n");
    EXPECT_FALSE(controller.launchAtLogin());
    controller.setLaunchAtLogin(true);
    EXPECT_TRUE(controller.launchAtLogin());
    EXPECT_EQ(entryNames(), QStringList{QStringLiteral("org.wrenfield.Dotwise.desktop")});
}

TEST_F(LaunchAtLogin, AnUnwritableAutostartFolderReadsAsOff) {
    QDir(autostart).removeRecursively();
    dwtest::writeFile(autostart, "a file where the folder should be");
    controller.setLaunchAtLogin(true);
    EXPECT_FALSE(controller.launchAtLogin());
    EXPECT_EQ(announced, QList<bool>{false});
    QFile::remove(autostart);
}

TEST_F(LaunchAtLogin, ThePropertyIsCalledStartAtLogin) {
    EXPECT_TRUE(controller.setProperty("startAtLogin", true));
    EXPECT_TRUE(controller.property("startAtLogin").toBool());
    EXPECT_EQ(announced, QList<bool>{true});
    controller.setLaunchAtLogin(false);
}

TEST(DummyLaunchAtLogin, KeepsItsFlagInThePreferencesAndLeavesAutostartAlone) {
    const QString autostart = LaunchAtLoginController::autostartDirectory();
    QDir(autostart).removeRecursively();
    LWPreferences::standard().removeObject(QStringLiteral("ptlalFlag"));
    {
        DummyLaunchAtLoginController dummy;
        EXPECT_FALSE(dummy.launchAtLogin());
        dummy.setLaunchAtLogin(true);
        EXPECT_TRUE(dummy.launchAtLogin());
    }
    EXPECT_FALSE(QFileInfo::exists(autostart));
    // Written to disk at once: a fresh reader, as at the next launch, sees it.
    const QString settingsFile = LWPreferences::standard().fileName();
    EXPECT_TRUE(dwtest::readFile(settingsFile).contains("ptlalFlag=true"));
    EXPECT_TRUE(DummyLaunchAtLoginController().launchAtLogin());
    DummyLaunchAtLoginController().setLaunchAtLogin(false);
    EXPECT_FALSE(DummyLaunchAtLoginController().launchAtLogin());
}

TEST(FakeLaunchAtLogin, SharesTheAnnouncingWithTheRealController) {
    FakeLaunchAtLoginController fake;
    QList<bool> announced;
    QObject::connect(&fake, &LaunchAtLoginController::launchAtLoginChanged,
                     [&announced](bool value) { announced.append(value); });
    fake.setRegistered(true);
    EXPECT_TRUE(fake.launchAtLogin());
    fake.setProperty("startAtLogin", false);
    EXPECT_FALSE(fake.launchAtLogin());
    EXPECT_EQ(fake.writeCount(), 1);
    EXPECT_EQ(announced, QList<bool>{false});
}

TEST(DesktopEntry, ExecIsSplitByTheQuotingRules) {
    const auto entry = DWDesktopEntry::fromData(
        "[Desktop Entry]\nExec=\"/opt/My App/bin/dotwise\" --open %F \"a \\\\\"quoted\\\\\" "
        "\\\\$HOME\" 100%%\n");
    ASSERT_TRUE(entry.has_value());
    EXPECT_EQ(entry->execArguments(),
              (QStringList{QStringLiteral("/opt/My App/bin/dotwise"), QStringLiteral("--open"),
                           QStringLiteral("a \"quoted\" $HOME"), QStringLiteral("100%")}));
    EXPECT_TRUE(DWDesktopEntry::fromData("[Desktop Entry]\nExec=\"/unterminated\n")
                    ->execArguments()
                    .isEmpty());

    // Whatever a path holds, writing and reading it back gives the same path.
    for (const QString& path :
         {QStringLiteral("/plain/dotwise"), QStringLiteral("/with space/and \"quotes\"/x"),
          QStringLiteral("/d$llar/`tick`/back\\slash/100%/x"), QStringLiteral(" /leading blank")}) {
        DWDesktopEntry written;
        written.setValue(QStringLiteral("Exec"), DWDesktopEntry::quoteExecArgument(path));
        const auto read = DWDesktopEntry::fromData(written.toData());
        ASSERT_TRUE(read.has_value());
        EXPECT_EQ(read->execArguments(), QStringList{path}) << path.toStdString();
    }
}

TEST(DesktopEntry, OnlyTheDesktopEntryGroupIsRead) {
    const auto entry = DWDesktopEntry::fromData(
        "# comment\n[Other]\nName=Wrong\n[Desktop Entry]\nName=Right\nName[de]=Richtig\n"
        "Comment=two\\nlines\\sand\\ttab \\\\ \nName=Second\nHidden=yes\n[Desktop Action x]\n"
        "Exec=wrong\n");
    ASSERT_TRUE(entry.has_value());
    EXPECT_EQ(entry->value(QStringLiteral("Name")), QStringLiteral("Right"));
    EXPECT_EQ(entry->value(QStringLiteral("Name[de]")), QStringLiteral("Richtig"));
    EXPECT_EQ(entry->value(QStringLiteral("Comment")), QStringLiteral("two\nlines and\ttab \\"));
    EXPECT_FALSE(entry->contains(QStringLiteral("Exec")));
    // Neither true nor false: the default.
    EXPECT_TRUE(entry->boolValue(QStringLiteral("Hidden"), true));
    EXPECT_FALSE(entry->boolValue(QStringLiteral("Hidden"), false));
    EXPECT_FALSE(DWDesktopEntry::fromData("[Other]\nName=x\n").has_value());
    EXPECT_FALSE(
        DWDesktopEntry::fromFile(dwtest::homePath() + QStringLiteral("/nope")).has_value());
}
