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

using namespace Qt::StringLiterals;

void PrintTo(const QString& text, std::ostream* out) {
    *out << '"' << text.toStdString() << '"';
}

namespace {
class Watch : public QProcess {
public:
    Watch(const QStringList& arguments, const QString& workingDirectory) {
        setWorkingDirectory(workingDirectory);
        start(QStringLiteral(DOTWISE_EXECUTABLE), QStringList{u"watch"_s} + arguments);
        EXPECT_TRUE(waitForStarted());
    }
    ~Watch() override {
        kill();
        waitForFinished();
    }
    QString nextLine() {
        dwtest::waitUntil([&] { return canReadLine(); }, 10000);
        return QString::fromUtf8(readLine()).chopped(1);
    }
    QJsonObject nextJson() { return QJsonDocument::fromJson(nextLine().toUtf8()).object(); }
    bool exitedWith(int status) {
        dwtest::waitUntil([&] { return state() == QProcess::NotRunning; }, 10000);
        return state() == QProcess::NotRunning && exitStatus() == QProcess::NormalExit &&
               exitCode() == status;
    }
    void signal(int number) { ::kill(pid_t(processId()), number); }
};
} // namespace

// The JSON watcher reads the plan with todotxt's rules: "x " lines are done.
TEST(WatchCommand, PrintsCountsThenEachSaveAndDeletionUntilNoFileIsLeftOrTerminated) {
    QTemporaryDir root;
    const QString list = root.filePath(u"one/list.txt"_s);
    dwtest::writeFile(list, "- [ ] a\n- [ ] b\n- [x] c\n");
    const QString plan = root.filePath(u"two/plan.taskpaper"_s);
    dwtest::writeFile(plan, "- draft @done\n- send\nx paid\n");
    // Paths are printed as given, here one relative to the working directory.
    Watch watch({u"one/list.txt"_s, u"missing.txt"_s, plan}, root.path());
    Watch json({u"--json"_s, u"--style=todotxt"_s, plan}, root.path());
    EXPECT_EQ(watch.nextLine(), u"2\tone/list.txt"_s);
    EXPECT_EQ(watch.nextLine(), u"1\t"_s + plan);
    EXPECT_EQ(json.nextJson(), (QJsonObject{{u"event"_s, u"start"_s},
                                            {u"path"_s, plan},
                                            {u"style"_s, u"todotxt.org style"_s},
                                            {u"openTasks"_s, 2}}));

    dwtest::writeFile(list, "- [ ] a\n- [ ] b\n- [ ] c\n");
    EXPECT_EQ(watch.nextLine(), u"3\tone/list.txt"_s);
    dwtest::writeFile(plan, "- draft @done\n- send\n- call\nx paid\n");
    EXPECT_EQ(watch.nextLine(), u"2\t"_s + plan);
    const QJsonObject modified = json.nextJson();
    EXPECT_EQ(modified.value(u"event"_s), u"modified"_s);
    EXPECT_EQ(modified.value(u"openTasks"_s), 3);
    json.signal(SIGTERM);
    EXPECT_TRUE(json.exitedWith(0));

    ASSERT_TRUE(QFile::remove(plan));
    EXPECT_EQ(watch.nextLine(), u"deleted\t"_s + plan);
    ASSERT_TRUE(QFile::remove(list));
    EXPECT_EQ(watch.nextLine(), u"deleted\tone/list.txt"_s);
    EXPECT_TRUE(watch.exitedWith(0));
    EXPECT_EQ(watch.readAllStandardOutput(), QByteArray());
}

TEST(WatchCommand, StatusBarFormatsPrintTheTotalAtStartAndAfterEachChangeUntilInterrupted) {
    QTemporaryDir root;
    const QString work = root.filePath(u"work & <home>.txt"_s);
    const QString plan = root.filePath(u"plan.taskpaper"_s);
    dwtest::writeFile(work, "- [ ] a\n- [ ] b\n");
    dwtest::writeFile(plan, "- send\n");
    Watch waybar({u"--format"_s, u"waybar"_s, work, plan}, root.path());
    EXPECT_EQ(waybar.nextJson(),
              (QJsonObject{{u"text"_s, u"3"_s},
                           {u"tooltip"_s,
                            root.filePath(u"work &amp; &lt;home&gt;.txt: 2\n"_s) + plan + u": 1"_s},
                           {u"class"_s, u"open"_s}}));
    dwtest::writeFile(plan, "- send @done\n");
    EXPECT_EQ(waybar.nextJson().value(u"text"_s), u"2"_s);
    ASSERT_TRUE(QFile::remove(work));
    EXPECT_EQ(waybar.nextJson(),
              (QJsonObject{
                  {u"text"_s, u"0"_s}, {u"tooltip"_s, plan + u": 0"_s}, {u"class"_s, u"done"_s}}));

    Watch i3blocks({u"--format=i3blocks"_s, plan}, root.path());
    EXPECT_EQ(i3blocks.nextLine(), u"0"_s);
    dwtest::writeFile(plan, "- send\n- call\n");
    EXPECT_EQ(i3blocks.nextLine(), u"2"_s);
    i3blocks.signal(SIGINT);
    EXPECT_TRUE(i3blocks.exitedWith(0));
}

TEST(WatchCommand, NothingToWatchAndUsageErrors) {
    QTemporaryDir root;
    const std::tuple<QStringList, int, QString> cases[] = {
        {{u"gone.txt"_s, root.path()},
         1,
         u"dotwise watch: cannot read 'gone.txt': No such file or directory"_s},
        {{}, 2, u"dotwise watch: no file given"_s},
        {{u"--format=xml"_s, u"a.txt"_s}, 2, u"dotwise watch: unknown format 'xml'"_s},
        {{u"a.txt"_s, u"--format"_s}, 2, u"dotwise watch: --format needs a value"_s}};
    for (const auto& [arguments, status, message] : cases) {
        SCOPED_TRACE(message.toStdString());
        Watch watch(arguments, root.path());
        EXPECT_TRUE(watch.exitedWith(status));
        EXPECT_TRUE(QString::fromUtf8(watch.readAllStandardError()).contains(message));
        EXPECT_EQ(watch.readAllStandardOutput(), QByteArray());
    }
}
