#include "support/TestEnvironment.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {
struct Outcome {
    int status = -1;
    QString out, err;
};

// The built executable on a platform that does not exist: a GUI application
// object would fail to start.
Outcome count(const QStringList& arguments, const QString& outputFile = {}) {
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.remove(u"DISPLAY"_s);
    environment.remove(u"WAYLAND_DISPLAY"_s);
    environment.insert(u"QT_QPA_PLATFORM"_s, u"no-such-platform"_s);
    process.setProcessEnvironment(environment);
    process.setWorkingDirectory(dwtest::homePath());
    if (!outputFile.isEmpty())
        process.setStandardOutputFile(outputFile);
    process.start(QStringLiteral(DOTWISE_EXECUTABLE), QStringList{u"count"_s} + arguments);
    if (!process.waitForFinished(30000) || process.exitStatus() != QProcess::NormalExit)
        return {};
    return {process.exitCode(), QString::fromUtf8(process.readAllStandardOutput()),
            QString::fromUtf8(process.readAllStandardError())};
}

class CountCommandTest : public ::testing::Test {
protected:
    void SetUp() override {
        dwtest::writeFile(dwtest::homePath() + u"/work.taskpaper"_s,
                          "Work:\n\t- one\n\t- two @done\n");
        dwtest::writeFile(dwtest::homePath() + u"/home.txt"_s,
                          "- [ ] a\r\n- [x] b\r\nx c\r\n- [ ] d\r\n");
    }
};
} // namespace

TEST_F(CountCommandTest, CountsEachFileInArgumentOrderUnderTheChosenStyle) {
    Outcome run = count({u"work.taskpaper"_s, u"home.txt"_s});
    EXPECT_EQ(run.status, 0) << run.err.toStdString();
    EXPECT_EQ(run.out, u"1\twork.taskpaper\n2\thome.txt\n"_s);
    EXPECT_TRUE(run.err.isEmpty()) << run.err.toStdString();
    run = count({u"--style"_s, u"todotxt"_s, u"home.txt"_s, u"work.taskpaper"_s});
    EXPECT_EQ(run.out, u"3\thome.txt\n3\twork.taskpaper\n"_s);
    // After "--" a name that looks like an option is a file.
    dwtest::writeFile(dwtest::homePath() + u"/-odd.taskpaper"_s, "- a\n");
    EXPECT_EQ(count({u"--"_s, u"-odd.taskpaper"_s}).out, u"1\t-odd.taskpaper\n"_s);
}

TEST_F(CountCommandTest, UnreadableFilesAreNamedAndTheRestCounted) {
    // A name that looks like a placeholder is printed as it is.
    const Outcome run = count({u"missing %2.txt"_s, u"home.txt"_s});
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.out, u"2\thome.txt\n"_s);
    EXPECT_TRUE(run.err.contains(u"cannot read 'missing %2.txt': No such file or directory"_s))
        << run.err.toStdString();
    // Output that cannot be written is a failure too.
    EXPECT_EQ(count({u"home.txt"_s}, u"/dev/full"_s).status, 1);

    const QJsonArray array =
        QJsonDocument::fromJson(count({u"--json"_s, u"home.txt"_s, u"missing.txt"_s}).out.toUtf8())
            .array();
    ASSERT_EQ(array.size(), 2);
    EXPECT_EQ(array[0].toObject(), (QJsonObject{{u"path"_s, u"home.txt"_s},
                                                {u"style"_s, u"Square Brackets Style"_s},
                                                {u"openTasks"_s, 2}}));
    EXPECT_TRUE(array[1].toObject()[u"openTasks"_s].isNull());
    EXPECT_EQ(array[1].toObject()[u"error"_s].toString(), u"No such file or directory"_s);
}

TEST_F(CountCommandTest, UsageErrorsExitWithTwo) {
    const QList<QStringList> mistakes = {
        {u"--json"_s}, {u"--style"_s, u"markdown"_s, u"home.txt"_s}, {u"home.txt"_s, u"--style"_s}};
    for (const QStringList& arguments : mistakes) {
        const Outcome run = count(arguments);
        EXPECT_EQ(run.status, 2) << arguments.join(u' ').toStdString();
        EXPECT_TRUE(run.out.isEmpty());
        EXPECT_TRUE(run.err.contains(u"Usage: dotwise count [--style "
                                     "auto|todotxt|taskpaper|square-brackets] [--json] FILE..."_s))
            << run.err.toStdString();
    }
    const Outcome help = count({u"--help"_s});
    EXPECT_EQ(help.status, 0);
    EXPECT_TRUE(help.out.startsWith(u"Usage: dotwise count"_s));
}
