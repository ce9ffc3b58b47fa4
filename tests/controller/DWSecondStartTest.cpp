#include "ControllerTestSupport.h"
#include "controller/DWSingleInstance.h"
#include "foundation/LWBundle.h"

#include <QMainWindow>
#include <QProcess>
#include <QTemporaryDir>

// Starting the application while it runs hands over to the running copy: its
// window comes forward and the second process ends with status 0.
TEST_F(ControllerTest, ASecondStartBringsTheRunningWindowForward) {
    QTemporaryDir runtime;
    QFile::setPermissions(runtime.path(), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    DWSingleInstance instance(runtime.path(), LWBundle::mainBundle().bundleIdentifier());
    ASSERT_TRUE(instance.claim());
    DotwiseAppDelegate& app = start(true);
    QObject::connect(&instance, &DWSingleInstance::reopenRequested, &app,
                     [&app] { app.applicationShouldHandleReopen(); });
    app.mainWindow()->hide();

    QProcess second;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(u"XDG_RUNTIME_DIR"_s, runtime.path());
    environment.insert(u"QT_QPA_PLATFORM"_s, u"offscreen"_s);
    second.setProcessEnvironment(environment);
    second.start(QStringLiteral(DW_DOTWISE_BINARY), {});
    ASSERT_TRUE(second.waitForStarted(5000));
    ASSERT_TRUE(dwtest::waitUntil([&] { return second.state() == QProcess::NotRunning; }, 20000))
        << second.readAllStandardError().toStdString();
    EXPECT_EQ(second.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(second.exitCode(), 0) << second.readAllStandardError().toStdString();
    EXPECT_TRUE(app.mainWindow()->isVisible());
}
