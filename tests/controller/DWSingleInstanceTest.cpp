#include "controller/DWSingleInstance.h"

#include "ControllerTestSupport.h"
#include "foundation/LWBundle.h"

#include <QMainWindow>
#include <QProcess>
#include <QTemporaryDir>

// Starting the application while it runs hands over to the running copy: its
// window comes forward and the second process ends. "dotwise FILE..." from a
// launcher hands over the files, added as a drop adds them, and the
// launcher's tokens to come forward with.
TEST_F(ControllerTest, ASecondStartHandsOverItsFilesAndLaunchTokens) {
    QTemporaryDir runtime;
    QFile::setPermissions(runtime.path(), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    DWSingleInstance instance(runtime.path(), LWBundle::mainBundle().bundleIdentifier());
    ASSERT_TRUE(instance.claim());
    DotwiseAppDelegate& app = start(true);
    QList<DWSingleInstance::Launch> launches;
    QObject::connect(&instance, &DWSingleInstance::reopenRequested, &app,
                     [&](const DWSingleInstance::Launch& launch) {
                         launches.append(launch);
                         app.applicationShouldHandleReopen();
                         app.openFiles(launch.files);
                     });
    const QString notes = makeFile(u"notes.md"_s, "- [ ] a\n");
    const QString line = makeFile(u"odd\nname.md"_s, "- [ ] b\n");
    const QString image = makeFile(u"photo.png"_s, "\x89PNG\r\n");

    // Runs a second copy with a launcher's tokens; returns what it wrote on stderr.
    const auto run = [&](const QStringList& arguments, int expectedStatus = 0) {
        QProcess second;
        second.setEnvironment(QProcess::systemEnvironment()
                              << u"XDG_RUNTIME_DIR="_s + runtime.path()
                              << u"QT_QPA_PLATFORM=offscreen"_s
                              << u"XDG_ACTIVATION_TOKEN=wayland-token"_s
                              << u"DESKTOP_STARTUP_ID=launcher-1_TIME42"_s);
        second.setWorkingDirectory(folder);
        second.start(QStringLiteral(DW_DOTWISE_BINARY), arguments);
        EXPECT_TRUE(
            dwtest::waitUntil([&] { return second.state() == QProcess::NotRunning; }, 20000));
        const QString errors = QString::fromLocal8Bit(second.readAllStandardError());
        EXPECT_EQ(second.exitStatus(), QProcess::NormalExit);
        EXPECT_EQ(second.exitCode(), expectedStatus) << errors.toStdString();
        return errors;
    };

    app.mainWindow()->hide();
    run({});
    EXPECT_TRUE(app.mainWindow()->isVisible());
    EXPECT_TRUE(
        run({u"notes.md"_s, u"missing.md"_s, line, image}).contains(u"missing.md: no such file"_s));
    EXPECT_TRUE(run({u"--bogus"_s, u"notes.md"_s}, 2)
                    .startsWith(u"dotwise: unknown option '--bogus'\nUsage: dotwise"_s));
    const QString wayland = u"wayland-token"_s, x11 = u"launcher-1_TIME42"_s;
    EXPECT_EQ(launches, (QList<DWSingleInstance::Launch>{{{}, wayland, x11},
                                                         {{notes, line, image}, wayland, x11}}));
    EXPECT_EQ(savedPaths(), (QStringList{notes, line}));
}

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
