#include "support/TestEnvironment.h"

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

const QString usage =
    u"Usage: dotwise count [--style auto|todotxt|taskpaper|square-brackets] [--json] FILE..."_s;
} // namespace

TEST(CountCommand, CountsEachFileNamesTheUnreadableAndExplainsUsage) {
    dwtest::writeFile(dwtest::homePath() + u"/work.taskpaper"_s, "Work:\n\t- one\n\t- two @done\n");
    dwtest::writeFile(dwtest::homePath() + u"/home.txt"_s,
                      "- [ ] a\r\n- [x] b\r\nx c\r\n- [ ] d\r\n");
    dwtest::writeFile(dwtest::homePath() + u"/-odd.taskpaper"_s, "- a\n");
    // Standard error must contain `err`, or be empty when `err` is.
    const std::tuple<QStringList, int, QString, QString> cases[] = {
        {{u"work.taskpaper"_s, u"home.txt"_s}, 0, u"1\twork.taskpaper\n2\thome.txt\n"_s, {}},
        {{u"--style"_s, u"todotxt"_s, u"home.txt"_s, u"work.taskpaper"_s},
         0,
         u"3\thome.txt\n3\twork.taskpaper\n"_s,
         {}},
        // After "--" a name that looks like an option is a file.
        {{u"--"_s, u"-odd.taskpaper"_s}, 0, u"1\t-odd.taskpaper\n"_s, {}},
        // A name that looks like a placeholder is printed as it is.
        {{u"missing %2.txt"_s, u"home.txt"_s},
         1,
         u"2\thome.txt\n"_s,
         u"cannot read 'missing %2.txt': No such file or directory"_s},
        {{u"--json"_s, u"home.txt"_s, u"missing.txt"_s},
         1,
         u"[{\"openTasks\":2,\"path\":\"home.txt\",\"style\":\"Square Brackets Style\"},"
         u"{\"error\":\"No such file or directory\",\"openTasks\":null,\"path\":"
         u"\"missing.txt\",\"style\":\"Square Brackets Style\"}]\n"_s,
         u"cannot read 'missing.txt'"_s},
        {{u"--json"_s}, 2, {}, usage},
        {{u"--style"_s, u"markdown"_s, u"home.txt"_s}, 2, {}, usage},
        {{u"home.txt"_s, u"--style"_s}, 2, {}, usage}};
    for (const auto& [arguments, status, out, err] : cases) {
        const Outcome run = count(arguments);
        SCOPED_TRACE(arguments.join(u' ').toStdString() + " -> " + run.err.toStdString());
        EXPECT_EQ(run.status, status);
        EXPECT_EQ(run.out.toStdString(), out.toStdString());
        EXPECT_TRUE(err.isEmpty() ? run.err.isEmpty() : run.err.contains(err));
    }
    const Outcome help = count({u"--help"_s});
    EXPECT_EQ(help.status, 0);
    EXPECT_TRUE(help.out.startsWith(usage));
    // Output that cannot be written is a failure too.
    EXPECT_EQ(count({u"home.txt"_s}, u"/dev/full"_s).status, 1);
}
