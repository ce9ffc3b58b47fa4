#include "support/TestEnvironment.h"

#include <QProcess>
#include <gtest/gtest.h>

// Started where there is no display, the application says so and how to run
// it under a virtual X server, instead of aborting inside Qt.
TEST(NoDisplay, StartingWithoutADisplaySaysHowToRunUnderXvfb) {
    QProcess dotwise;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (const char* name : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"})
        environment.remove(QString::fromLatin1(name));
    dotwise.setProcessEnvironment(environment);
    dotwise.start(QStringLiteral(DW_DOTWISE_BINARY), {});
    ASSERT_TRUE(dotwise.waitForFinished(20000));
    EXPECT_EQ(dotwise.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(dotwise.exitCode(), 1);
    const QString message = QString::fromLocal8Bit(dotwise.readAllStandardError());
    EXPECT_TRUE(message.contains(QStringLiteral("no display"))) << message.toStdString();
    EXPECT_TRUE(message.contains(QStringLiteral("xvfb-run"))) << message.toStdString();

    // The command line still works there.
    dotwise.start(QStringLiteral(DW_DOTWISE_BINARY), {QStringLiteral("--version")});
    ASSERT_TRUE(dotwise.waitForFinished(20000));
    EXPECT_EQ(dotwise.exitCode(), 0);
}
