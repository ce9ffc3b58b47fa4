// `dotwise watch` as a status bar runs it: the real binary, reading its
// output line by line while it runs. Saves are reported after the watcher's
// 2.0 s latency, so these tests take some seconds.
#include "support/TestEnvironment.h"

#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>
#include <csignal>
#include <gtest/gtest.h>

void PrintTo(const QString& text, std::ostream* out) {
    *out << '"' << text.toStdString() << '"';
}

namespace {
// Room for the 2.0 s latency and a loaded machine.
constexpr int reportDeadlineMs = 10000;

class WatchProcess {
public:
    WatchProcess(const QStringList& arguments, const QString& workingDirectory) {
        _process.setWorkingDirectory(workingDirectory);
        QObject::connect(&_process, &QProcess::readyReadStandardOutput, [this] {
            _pending += _process.readAllStandardOutput();
            qsizetype end;
            while ((end = _pending.indexOf('\n')) >= 0) {
                _lines.append(QString::fromUtf8(_pending.left(end)));
                _pending.remove(0, end + 1);
            }
        });
        _process.start(QStringLiteral(DOTWISE_EXECUTABLE),
                       QStringList{QStringLiteral("watch")} + arguments);
        EXPECT_TRUE(_process.waitForStarted());
    }
    ~WatchProcess() {
        if (_process.state() != QProcess::NotRunning) {
            _process.kill();
            _process.waitForFinished();
        }
    }

    // Waits for a line equal to `line` after the ones already taken.
    bool waitForLine(const QString& line) {
        const bool found =
            dwtest::waitUntil([&] { return _lines.indexOf(line, _taken) >= 0; }, reportDeadlineMs);
        if (found)
            _taken = _lines.indexOf(line, _taken) + 1;
        return found;
    }
    bool waitForLineCount(qsizetype count) {
        return dwtest::waitUntil([&] { return _lines.size() >= count; }, reportDeadlineMs);
    }
    bool waitForExit() {
        return dwtest::waitUntil([&] { return _process.state() == QProcess::NotRunning; },
                                 reportDeadlineMs);
    }
    void signal(int number) { ::kill(pid_t(_process.processId()), number); }

    const QStringList& lines() const { return _lines; }
    QString errors() { return QString::fromUtf8(_process.readAllStandardError()); }
    int exitCode() const { return _process.exitCode(); }
    QProcess::ExitStatus exitStatus() const { return _process.exitStatus(); }

private:
    QProcess _process;
    QByteArray _pending;
    QStringList _lines;
    qsizetype _taken = 0;
};

class WatchCommandTest : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(root.isValid()); }
    QString path(const QString& relative) const {
        return root.path() + QLatin1Char('/') + relative;
    }
    void write(const QString& relative, const QByteArray& text) {
        dwtest::writeFile(path(relative), text);
    }
    QTemporaryDir root;
};

QJsonObject parse(const QString& line) {
    return QJsonDocument::fromJson(line.toUtf8()).object();
}
} // namespace

TEST_F(WatchCommandTest, PrintsCountsThenEachSaveAndDeletionUntilNoFileIsLeft) {
    write(QStringLiteral("one/list.txt"), "- [ ] a\n- [ ] b\n- [x] c\n");
    write(QStringLiteral("two/plan.taskpaper"), "- draft @done\n- send\n");
    // Paths are printed as given, here relative to the working directory.
    WatchProcess watch({QStringLiteral("one/list.txt"), QStringLiteral("missing.txt"),
                        path(QStringLiteral("two/plan.taskpaper"))},
                       root.path());
    ASSERT_TRUE(watch.waitForLineCount(2));
    EXPECT_EQ(watch.lines().mid(0, 2),
              (QStringList{QStringLiteral("2\tone/list.txt"),
                           QStringLiteral("1\t") + path(QStringLiteral("two/plan.taskpaper"))}));
    EXPECT_TRUE(watch.errors().contains(
        QStringLiteral("dotwise watch: cannot read 'missing.txt': No such file or directory")));

    // Saved in place, then by writing a new file and renaming it over.
    write(QStringLiteral("one/list.txt"), "- [ ] a\n- [ ] b\n- [ ] c\n");
    EXPECT_TRUE(watch.waitForLine(QStringLiteral("3\tone/list.txt")));
    write(QStringLiteral("one/.list.txt.new"), "- [ ] only\n");
    ASSERT_TRUE(
        QFile::rename(path(QStringLiteral("one/list.txt")), path(QStringLiteral("one/old"))));
    ASSERT_TRUE(QFile::rename(path(QStringLiteral("one/.list.txt.new")),
                              path(QStringLiteral("one/list.txt"))));
    EXPECT_TRUE(watch.waitForLine(QStringLiteral("1\tone/list.txt")));

    ASSERT_TRUE(QFile::remove(path(QStringLiteral("two/plan.taskpaper"))));
    EXPECT_TRUE(watch.waitForLine(QStringLiteral("deleted\t") +
                                  path(QStringLiteral("two/plan.taskpaper"))));
    ASSERT_TRUE(QFile::remove(path(QStringLiteral("one/list.txt"))));
    EXPECT_TRUE(watch.waitForLine(QStringLiteral("deleted\tone/list.txt")));
    ASSERT_TRUE(watch.waitForExit());
    EXPECT_EQ(watch.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(watch.exitCode(), 0);
}

TEST_F(WatchCommandTest, JsonLinesAndAQuietEndOnSignals) {
    write(QStringLiteral("todo.txt"), "call mum\nx pay rent\n");
    WatchProcess watch({QStringLiteral("--json"), QStringLiteral("--style"),
                        QStringLiteral("todotxt"), path(QStringLiteral("todo.txt"))},
                       root.path());
    ASSERT_TRUE(watch.waitForLineCount(1));
    EXPECT_EQ(parse(watch.lines().at(0)),
              (QJsonObject{{QStringLiteral("event"), QStringLiteral("start")},
                           {QStringLiteral("path"), path(QStringLiteral("todo.txt"))},
                           {QStringLiteral("style"), QStringLiteral("todotxt.org style")},
                           {QStringLiteral("openTasks"), 1}}));

    write(QStringLiteral("todo.txt"), "call mum\nbuy milk\nx pay rent\n");
    ASSERT_TRUE(watch.waitForLineCount(2));
    const QJsonObject modified = parse(watch.lines().at(1));
    EXPECT_EQ(modified.value(QStringLiteral("event")).toString(), QStringLiteral("modified"));
    EXPECT_EQ(modified.value(QStringLiteral("openTasks")).toInt(), 2);

    watch.signal(SIGTERM);
    ASSERT_TRUE(watch.waitForExit());
    EXPECT_EQ(watch.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(watch.exitCode(), 0);

    WatchProcess interrupted({path(QStringLiteral("todo.txt"))}, root.path());
    ASSERT_TRUE(interrupted.waitForLineCount(1));
    interrupted.signal(SIGINT);
    ASSERT_TRUE(interrupted.waitForExit());
    EXPECT_EQ(interrupted.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(interrupted.exitCode(), 0);
}

TEST_F(WatchCommandTest, NothingToWatchAndUsageErrors) {
    QDir().mkpath(path(QStringLiteral("folder")));
    const struct {
        QStringList arguments;
        int status;
        const char* message;
    } cases[] = {
        {{QStringLiteral("gone.txt"), path(QStringLiteral("folder"))},
         1,
         "dotwise watch: cannot read 'gone.txt': No such file or directory"},
        {{}, 2, "dotwise watch: no file given"},
        {{QStringLiteral("--style"), QStringLiteral("fancy"), QStringLiteral("x.txt")},
         2,
         "dotwise watch: unknown style 'fancy'"},
        {{QStringLiteral("--follow"), QStringLiteral("x.txt")},
         2,
         "dotwise watch: unknown option '--follow'"},
    };
    for (const auto& test : cases) {
        SCOPED_TRACE(test.message);
        WatchProcess watch(test.arguments, root.path());
        ASSERT_TRUE(watch.waitForExit());
        EXPECT_EQ(watch.exitCode(), test.status);
        EXPECT_TRUE(watch.errors().contains(QString::fromUtf8(test.message)));
        EXPECT_TRUE(watch.lines().isEmpty());
    }
}
