// `dotwise watch` as a status bar runs it: the real binary, its output read
// line by line while it runs. Saves arrive after the 2.0 s latency.
#include "support/TestEnvironment.h"

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
class WatchProcess {
public:
    WatchProcess(const QStringList& arguments, const QString& workingDirectory) {
        _process.setWorkingDirectory(workingDirectory);
        _process.start(QStringLiteral(DOTWISE_EXECUTABLE),
                       QStringList{QStringLiteral("watch")} + arguments);
        EXPECT_TRUE(_process.waitForStarted());
    }
    ~WatchProcess() {
        _process.kill();
        _process.waitForFinished();
    }
    // The next line, once it is there (a line only comes when it is flushed).
    QString nextLine() {
        dwtest::waitUntil([&] { return _process.canReadLine(); }, 10000);
        return QString::fromUtf8(_process.readLine()).chopped(1);
    }
    bool exitedWith(int status) {
        dwtest::waitUntil([&] { return _process.state() == QProcess::NotRunning; }, 10000);
        return _process.state() == QProcess::NotRunning &&
               _process.exitStatus() == QProcess::NormalExit && _process.exitCode() == status;
    }
    void signal(int number) { ::kill(pid_t(_process.processId()), number); }
    QString errors() { return QString::fromUtf8(_process.readAllStandardError()); }
    QString rest() { return QString::fromUtf8(_process.readAllStandardOutput()); }

private:
    QProcess _process;
};

class WatchCommandTest : public ::testing::Test {
protected:
    QString path(const QString& relative) const { return root.path() + u'/' + relative; }
    void write(const QString& relative, const QByteArray& text) {
        dwtest::writeFile(path(relative), text);
    }
    QTemporaryDir root;
};
} // namespace

TEST_F(WatchCommandTest, PrintsCountsThenEachSaveAndDeletionUntilNoFileIsLeft) {
    write(QStringLiteral("one/list.txt"), "- [ ] a\n- [ ] b\n- [x] c\n");
    write(QStringLiteral("two/plan.taskpaper"), "- draft @done\n- send\n");
    const QString plan = path(QStringLiteral("two/plan.taskpaper"));
    // Paths are printed as given, here one relative to the working directory.
    WatchProcess watch({QStringLiteral("one/list.txt"), QStringLiteral("missing.txt"), plan},
                       root.path());
    EXPECT_EQ(watch.nextLine(), QStringLiteral("2\tone/list.txt"));
    EXPECT_EQ(watch.nextLine(), QStringLiteral("1\t") + plan);
    EXPECT_TRUE(watch.errors().contains(
        QStringLiteral("dotwise watch: cannot read 'missing.txt': No such file or directory")));

    write(QStringLiteral("one/list.txt"), "- [ ] a\n- [ ] b\n- [ ] c\n");
    EXPECT_EQ(watch.nextLine(), QStringLiteral("3\tone/list.txt"));
    ASSERT_TRUE(QFile::remove(plan));
    EXPECT_EQ(watch.nextLine(), QStringLiteral("deleted\t") + plan);
    ASSERT_TRUE(QFile::remove(path(QStringLiteral("one/list.txt"))));
    EXPECT_EQ(watch.nextLine(), QStringLiteral("deleted\tone/list.txt"));
    EXPECT_TRUE(watch.exitedWith(0));
    EXPECT_EQ(watch.rest(), QString());
}

TEST_F(WatchCommandTest, JsonLinesAndAQuietEndOnSignals) {
    write(QStringLiteral("todo.txt"), "call mum\nx pay rent\n");
    const QString todo = path(QStringLiteral("todo.txt"));
    WatchProcess watch({QStringLiteral("--json"), QStringLiteral("--style=todotxt"), todo},
                       root.path());
    EXPECT_EQ(QJsonDocument::fromJson(watch.nextLine().toUtf8()).object(),
              (QJsonObject{{QStringLiteral("event"), QStringLiteral("start")},
                           {QStringLiteral("path"), todo},
                           {QStringLiteral("style"), QStringLiteral("todotxt.org style")},
                           {QStringLiteral("openTasks"), 1}}));
    write(QStringLiteral("todo.txt"), "call mum\nbuy milk\nx pay rent\n");
    const QJsonObject modified = QJsonDocument::fromJson(watch.nextLine().toUtf8()).object();
    EXPECT_EQ(modified.value(QStringLiteral("event")), QStringLiteral("modified"));
    EXPECT_EQ(modified.value(QStringLiteral("openTasks")), 2);
    watch.signal(SIGTERM);
    EXPECT_TRUE(watch.exitedWith(0));

    WatchProcess interrupted({todo}, root.path());
    EXPECT_EQ(interrupted.nextLine(), QStringLiteral("0\t") + todo); // square brackets by default
    interrupted.signal(SIGINT);
    EXPECT_TRUE(interrupted.exitedWith(0));
}

TEST_F(WatchCommandTest, NothingToWatchAndUsageErrors) {
    const struct {
        QStringList arguments;
        int status;
        const char* message;
    } cases[] = {
        {{QStringLiteral("gone.txt"), root.path()},
         1,
         "dotwise watch: cannot read 'gone.txt': No such file or directory"},
        {{}, 2, "dotwise watch: no file given"},
        {{QStringLiteral("--style"), QStringLiteral("fancy"), QStringLiteral("x.txt")},
         2,
         "unknown style 'fancy'"},
        {{QStringLiteral("--follow"), QStringLiteral("x.txt")}, 2, "unknown option '--follow'"},
    };
    for (const auto& test : cases) {
        WatchProcess watch(test.arguments, root.path());
        EXPECT_TRUE(watch.exitedWith(test.status)) << test.message;
        EXPECT_TRUE(watch.errors().contains(QString::fromUtf8(test.message))) << test.message;
        EXPECT_EQ(watch.rest(), QString()) << test.message;
    }
}
