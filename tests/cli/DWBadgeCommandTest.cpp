#include "cli/DWBadgeCommand.h"

#include "foundation/LWTimestamp.h"
#include "support/TestEnvironment.h"

#include <QDir>
#include <QFileInfo>
#include <QImage>
#include <QProcess>
#include <QTextStream>
#include <gtest/gtest.h>

namespace {
int badge(const QStringList& arguments, QString* err = nullptr) {
    QString out, errors;
    QTextStream outStream(&out), errStream(&errors);
    const int status =
        DWBadgeCommand::execute(QStringList{"badge"} + arguments, outStream, errStream);
    errStream.flush();
    if (err)
        *err = errors;
    return status;
}
QString scratch(const QString& name) {
    QDir().mkpath(dwtest::homePath() + "/cli");
    return dwtest::homePath() + "/cli/" + name;
}
QString greenPng(const QString& name, int pixels) {
    QImage image(pixels, pixels, QImage::Format_RGB32);
    image.fill(QColor(40, 170, 70));
    image.save(scratch(name), "PNG");
    return scratch(name);
}
} // namespace

TEST(BadgeCommand, RendersABadgeAndComposesIconsNamedByPointWidth) {
    ASSERT_EQ(badge({"--count", "-1", "--size", "102", "--shadow", "-o", scratch("one.png")}), 0);
    const QImage one(scratch("one.png"));
    EXPECT_EQ(one.size(), QSize(102, 102));
    EXPECT_LT(one.pixelColor(51, 0).alpha(), 128); // shadow room

    const QString dir = scratch("new/folder");
    ASSERT_EQ(badge({"--count", "12", "--compose", greenPng("a.png", 512), greenPng("b.png", 32),
                     greenPng("c@2x.png", 512), greenPng("d.png", 32), "-o", dir}),
              0);
    EXPECT_EQ(QDir(dir).entryList(QDir::Files, QDir::Name),
              (QStringList{"icon-256@2x.png", "icon-32-2.png", "icon-32.png", "icon-512.png"}));
    EXPECT_NE(QImage(dir + "/icon-512.png").pixelColor(350, 130), QColor(40, 170, 70));
}

TEST(BadgeCommand, BadInputIsAClearErrorAndWritesNothing) {
    const QString text = scratch("notes.png");
    dwtest::writeFile(text, "- [ ] a task, not pixels\n");
    const QString good = greenPng("good.png", 128), dir = scratch("out");
    QString err;
    EXPECT_EQ(badge({"--count", "1", "--compose", good, text, "-o", dir}, &err), 1);
    EXPECT_TRUE(err.contains(text)) << err.toStdString();
    EXPECT_EQ(dwtest::readFile(text), QByteArray("- [ ] a task, not pixels\n"));
    EXPECT_EQ(badge({"--count", "2", "--file", scratch("gone.txt"), "-o", dir}, &err), 1);
    EXPECT_TRUE(err.contains("gone.txt"));
    const QList<QStringList> usageErrors = {
        {"-o", dir},
        {"--count", "99999999999", "-o", dir},
        {"--count", "1", "--size", "100000", "-o", dir},
        {"--count", "1", "--shadow", "--compose", good, "-o", dir},
        {"--count=1", "--file", text, "--size", "64", "-o", dir}};
    for (const QStringList& arguments : usageErrors) {
        EXPECT_EQ(badge(arguments, &err), 2) << arguments.join(' ').toStdString();
        EXPECT_TRUE(err.startsWith("dotwise badge: ") && err.contains("Usage:"));
    }
    EXPECT_FALSE(QFileInfo::exists(dir));
}

// Without a display (or any desktop session) the window app says how to run it
// under a virtual X server instead of aborting inside Qt; the badge command
// runs there, silent on stderr, and composes onto a file's own icon without
// touching the file.
TEST(BadgeCommand, RunsWithoutADisplayWhereTheAppExplainsItself) {
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (const char* name : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM", "XDG_RUNTIME_DIR"})
        environment.remove(name);
    QProcess process;
    process.setProcessEnvironment(environment);
    process.start(DOTWISE_EXECUTABLE, {});
    ASSERT_TRUE(process.waitForFinished(20000));
    EXPECT_EQ(process.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(process.exitCode(), 1);
    const QString message = QString::fromLocal8Bit(process.readAllStandardError());
    EXPECT_TRUE(message.contains("no display") && message.contains("xvfb-run"))
        << message.toStdString();

    const QString list = scratch("own/Groceries.txt");
    dwtest::writeFile(list, "- [ ] milk\n");
    const LWTimestamp date{1600000000, 123456789};
    ASSERT_TRUE(lw::setContentModificationDate(list, date));
    const QString dir = scratch("own/icons");
    process.start(DOTWISE_EXECUTABLE, {"badge", "--count", "3", "--file", list, "-o", dir});
    ASSERT_TRUE(process.waitForFinished(30000));
    EXPECT_EQ(process.exitCode(), 0);
    EXPECT_EQ(process.readAllStandardError(), QByteArray());
    EXPECT_TRUE(QFileInfo::exists(dir + "/icon-16.png"));
    const QImage icon(dir + "/icon-128.png");
    EXPECT_EQ(icon.width(), 128);
    EXPECT_GT(icon.pixelColor(64, 100).alpha(), 0); // the file's own icon, below the badge
    EXPECT_EQ(dwtest::readFile(list), QByteArray("- [ ] milk\n"));
    EXPECT_EQ(lw::contentModificationDate(list), date);
}
