#include "support/TestEnvironment.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <gtest/gtest.h>

namespace {
struct Outcome {
    int status = -1;
    QString out;
    QString err;
};

// Runs the built executable as a user would, without a display: a GUI
// application object would fail to start on the bogus platform given here.
Outcome dotwise(const QStringList& arguments, const QString& outputFile = QString()) {
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.remove(QStringLiteral("DISPLAY"));
    environment.remove(QStringLiteral("WAYLAND_DISPLAY"));
    environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("no-such-platform"));
    process.setProcessEnvironment(environment);
    process.setWorkingDirectory(dwtest::homePath());
    if (!outputFile.isEmpty())
        process.setStandardOutputFile(outputFile);
    process.start(QStringLiteral(DOTWISE_EXECUTABLE),
                  QStringList{QStringLiteral("count")} + arguments);
    if (!process.waitForFinished(30000) || process.exitStatus() != QProcess::NormalExit)
        return {};
    return {process.exitCode(), QString::fromUtf8(process.readAllStandardOutput()),
            QString::fromUtf8(process.readAllStandardError())};
}

class CountCommandTest : public ::testing::Test {
protected:
    void SetUp() override {
        dwtest::writeFile(dwtest::homePath() + QStringLiteral("/work.taskpaper"),
                          "Work:\n\t- one\n\t- two @done\n");
        dwtest::writeFile(dwtest::homePath() + QStringLiteral("/home.txt"),
                          "- [ ] a\r\n- [x] b\r\nx c\r\n- [ ] d\r\n");
    }
};
} // namespace

TEST_F(CountCommandTest, CountsEachFileInArgumentOrder) {
    Outcome run = dotwise({QStringLiteral("work.taskpaper"), QStringLiteral("home.txt")});
    EXPECT_EQ(run.status, 0) << run.err.toStdString();
    EXPECT_EQ(run.out, QStringLiteral("1\twork.taskpaper\n2\thome.txt\n"));
    EXPECT_TRUE(run.err.isEmpty()) << run.err.toStdString();

    run = dotwise({QStringLiteral("--style"), QStringLiteral("todotxt"), QStringLiteral("home.txt"),
                   QStringLiteral("work.taskpaper")});
    EXPECT_EQ(run.out, QStringLiteral("3\thome.txt\n3\twork.taskpaper\n"));
    run = dotwise({QStringLiteral("--style=square-brackets"), QStringLiteral("work.taskpaper")});
    EXPECT_EQ(run.out, QStringLiteral("0\twork.taskpaper\n"));
    // After "--" a name that looks like an option is a file.
    dwtest::writeFile(dwtest::homePath() + QStringLiteral("/-odd.taskpaper"), "- a\n");
    run = dotwise({QStringLiteral("--"), QStringLiteral("-odd.taskpaper")});
    EXPECT_EQ(run.out, QStringLiteral("1\t-odd.taskpaper\n"));
}

TEST_F(CountCommandTest, JsonNamesPathStyleAndCount) {
    const Outcome run = dotwise({QStringLiteral("--json"), QStringLiteral("home.txt"),
                                 QStringLiteral("missing.txt"), QStringLiteral("work.taskpaper")});
    EXPECT_EQ(run.status, 1);
    const QJsonArray array = QJsonDocument::fromJson(run.out.toUtf8()).array();
    ASSERT_EQ(array.size(), 3) << run.out.toStdString();
    EXPECT_EQ(array[0].toObject(),
              (QJsonObject{{QStringLiteral("path"), QStringLiteral("home.txt")},
                           {QStringLiteral("style"), QStringLiteral("Square Brackets Style")},
                           {QStringLiteral("openTasks"), 2}}));
    EXPECT_TRUE(array[1].toObject()[QStringLiteral("openTasks")].isNull());
    EXPECT_EQ(array[1].toObject()[QStringLiteral("error")].toString(),
              QStringLiteral("No such file or directory"));
    EXPECT_EQ(array[2].toObject()[QStringLiteral("style")].toString(),
              QStringLiteral("TaskPaper style"));
    EXPECT_EQ(array[2].toObject()[QStringLiteral("openTasks")].toInt(), 1);
}

TEST_F(CountCommandTest, UnreadableFilesAreNamedAndTheRestCounted) {
    const Outcome run =
        dotwise({QStringLiteral("missing.txt"), QStringLiteral("home.txt"), dwtest::homePath()});
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.out, QStringLiteral("2\thome.txt\n"));
    EXPECT_TRUE(
        run.err.contains(QStringLiteral("cannot read 'missing.txt': No such file or directory")))
        << run.err.toStdString();
    EXPECT_TRUE(run.err.contains(
        QStringLiteral("cannot read '%1': Is a directory").arg(dwtest::homePath())))
        << run.err.toStdString();

    // Output that cannot be written is a failure too.
    EXPECT_EQ(dotwise({QStringLiteral("home.txt")}, QStringLiteral("/dev/full")).status, 1);
}

TEST_F(CountCommandTest, UsageErrorsExitWithTwo) {
    const QList<QStringList> mistakes = {
        {},
        {QStringLiteral("--json")},
        {QStringLiteral("--style"), QStringLiteral("markdown"), QStringLiteral("home.txt")},
        {QStringLiteral("home.txt"), QStringLiteral("--style")},
        {QStringLiteral("--colour"), QStringLiteral("home.txt")},
    };
    for (const QStringList& arguments : mistakes) {
        const Outcome run = dotwise(arguments);
        EXPECT_EQ(run.status, 2) << arguments.join(u' ').toStdString();
        EXPECT_TRUE(run.out.isEmpty());
        EXPECT_TRUE(run.err.contains(
            QStringLiteral("Usage: dotwise count [--style auto|todotxt|taskpaper|square-brackets] "
                           "[--json] FILE...")))
            << run.err.toStdString();
    }
    const Outcome help = dotwise({QStringLiteral("--help")});
    EXPECT_EQ(help.status, 0);
    EXPECT_TRUE(help.out.startsWith(QStringLiteral("Usage: dotwise count")));
}
