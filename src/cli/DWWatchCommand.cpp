#include "cli/DWWatchCommand.h"

#include "cli/DWCommandLine.h"
#include "cli/DWFileArguments.h"
#include "model/DWTaskCounter.h"
#include "model/DWTaskRuleSet.h"
#include "monitoring/DWFileWatcher.h"
#include "platform/DWInotifyEventStreamFactory.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSocketNotifier>
#include <QStringList>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <memory>
#include <optional>
#include <sys/socket.h>
#include <unistd.h>
#include <vector>

namespace {
// SIGINT and SIGTERM end the event loop through a socket pair, the one
// thing a signal handler may safely touch.
int signalSocket[2] = {-1, -1};

void handleSignal(int) {
    const int saved = errno;
    const char byte = 1;
    [[maybe_unused]] const ssize_t ignored = ::write(signalSocket[0], &byte, 1);
    errno = saved;
}

class SignalCatcher {
public:
    SignalCatcher() {
        if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0, signalSocket))
            return;
        _notifier =
            std::make_unique<QSocketNotifier>(qintptr(signalSocket[1]), QSocketNotifier::Read);
        QObject::connect(_notifier.get(), &QSocketNotifier::activated, [] {
            char bytes[16];
            while (::read(signalSocket[1], bytes, sizeof bytes) > 0) {
            }
            QCoreApplication::exit(0);
        });
        struct sigaction action {};
        action.sa_handler = handleSignal;
        sigemptyset(&action.sa_mask);
        action.sa_flags = SA_RESTART;
        ::sigaction(SIGINT, &action, &_previousInterrupt);
        ::sigaction(SIGTERM, &action, &_previousTerminate);
        _installed = true;
    }
    ~SignalCatcher() {
        if (_installed) {
            ::sigaction(SIGINT, &_previousInterrupt, nullptr);
            ::sigaction(SIGTERM, &_previousTerminate, nullptr);
        }
        _notifier.reset();
        for (int& fd : signalSocket) {
            if (fd >= 0)
                ::close(fd);
            fd = -1;
        }
    }
    SignalCatcher(const SignalCatcher&) = delete;
    SignalCatcher& operator=(const SignalCatcher&) = delete;

private:
    std::unique_ptr<QSocketNotifier> _notifier;
    struct sigaction _previousInterrupt {};
    struct sigaction _previousTerminate {};
    bool _installed = false;
};

// One watched file: the path as the user wrote it, and how it is counted.
struct WatchedFile {
    QString shownPath;
    std::shared_ptr<DWTaskRuleSet> ruleSet;
};

enum class Format { Lines, Json, Waybar, I3blocks };

std::optional<Format> formatNamed(const QString& name) {
    if (name == u"lines")
        return Format::Lines;
    if (name == u"json")
        return Format::Json;
    if (name == u"waybar")
        return Format::Waybar;
    if (name == u"i3blocks")
        return Format::I3blocks;
    return std::nullopt;
}

// The tooltip is Pango markup: a path may hold '&' or '<'.
QString markupEscaped(const QString& text) {
    QString escaped = text;
    escaped.replace(QLatin1Char('&'), QLatin1String("&amp;"))
        .replace(QLatin1Char('<'), QLatin1String("&lt;"))
        .replace(QLatin1Char('>'), QLatin1String("&gt;"));
    return escaped;
}

class WatchSession {
public:
    explicit WatchSession(Format format) : _format(format) {}

    bool outputFailed() const { return _outputFailed; }
    // Status-bar formats print one summary of all files per change instead of
    // a line per file.
    bool summarizes() const { return _format == Format::Waybar || _format == Format::I3blocks; }

    // Counts a file and prints its line; false (with the reason on standard
    // error) when it can't be read. A file that can't be read keeps its last
    // count in the summary.
    bool report(const WatchedFile& file, const QString& path, const char* event) {
        const DWCountResult result = DWTaskCounter(*file.ruleSet).countFile(path);
        if (!result.error.isEmpty()) {
            DWCommandLine::print(stderr,
                                 DWWatchCommand::tr("dotwise watch: cannot read '%1': %2\n"),
                                 {QFile::encodeName(file.shownPath), result.error.toLocal8Bit()});
            std::fflush(stderr);
            return false;
        }
        switch (_format) {
        case Format::Json:
            writeLine(QJsonDocument(QJsonObject{{QStringLiteral("event"), QLatin1String(event)},
                                                {QStringLiteral("path"), file.shownPath},
                                                {QStringLiteral("style"), file.ruleSet->name()},
                                                {QStringLiteral("openTasks"), result.openTasks}})
                          .toJson(QJsonDocument::Compact));
            break;
        case Format::Lines:
            writeLine(QByteArray::number(result.openTasks) + '\t' +
                      QFile::encodeName(file.shownPath));
            break;
        case Format::Waybar:
        case Format::I3blocks:
            if (!_counts.contains(path))
                _order.append(path);
            _counts.insert(path, {file.shownPath, result.openTasks});
            if (std::strcmp(event, "start") != 0)
                writeSummary();
            break;
        }
        return true;
    }

    void reportDeleted(const WatchedFile& file, const QString& path) {
        switch (_format) {
        case Format::Json:
            writeLine(
                QJsonDocument(QJsonObject{{QStringLiteral("event"), QStringLiteral("deleted")},
                                          {QStringLiteral("path"), file.shownPath}})
                    .toJson(QJsonDocument::Compact));
            break;
        case Format::Lines:
            writeLine("deleted\t" + QFile::encodeName(file.shownPath));
            break;
        case Format::Waybar:
        case Format::I3blocks:
            _counts.remove(path);
            _order.removeOne(path);
            writeSummary();
            break;
        }
    }

    // The total of open tasks over the files still watched, as the status bar
    // reads it.
    void writeSummary() {
        qint64 total = 0;
        QStringList lines;
        for (const QString& path : std::as_const(_order)) {
            const Count& count = _counts[path];
            total += count.openTasks;
            lines.append(QStringLiteral("%1: %2").arg(markupEscaped(count.shownPath),
                                                      QString::number(count.openTasks)));
        }
        const QByteArray summary =
            _format == Format::I3blocks
                ? QByteArray::number(total)
                : QJsonDocument(
                      QJsonObject{{QStringLiteral("text"), QString::number(total)},
                                  {QStringLiteral("tooltip"), lines.join(QLatin1Char('\n'))},
                                  {QStringLiteral("class"),
                                   total > 0 ? QStringLiteral("open") : QStringLiteral("done")}})
                      .toJson(QJsonDocument::Compact);
        // A save that changes no count changes nothing on the bar.
        if (summary == _lastSummary)
            return;
        _lastSummary = summary;
        writeLine(summary);
    }

private:
    // Status bars read line by line: every line goes out at once.
    void writeLine(const QByteArray& line) {
        if (_outputFailed)
            return;
        const QByteArray bytes = line + '\n';
        if (std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stdout) !=
                size_t(bytes.size()) ||
            std::fflush(stdout) != 0) {
            DWCommandLine::print(stderr,
                                 DWWatchCommand::tr("dotwise watch: cannot write the output: %1\n"),
                                 {std::strerror(errno)});
            _outputFailed = true;
            QCoreApplication::exit(1);
        }
    }

    struct Count {
        QString shownPath;
        int openTasks = 0;
    };

    Format _format;
    bool _outputFailed = false;
    QHash<QString, Count> _counts; // by full path
    QStringList _order;            // full paths, in the order given
    QByteArray _lastSummary;
};

// Takes "--format NAME" (or "--format=NAME") out of the arguments, before any
// "--"; the rest are the arguments `count` shares. Null after a usage error.
std::optional<Format> takeFormat(std::vector<char*>& arguments) {
    Format format = Format::Lines;
    for (size_t i = 1; i < arguments.size(); ++i) {
        const QString argument = QFile::decodeName(arguments[i]);
        if (argument == u"--")
            break;
        if (argument != u"--format" && !argument.startsWith(u"--format="))
            continue;
        QString name;
        size_t taken = 1;
        if (argument == u"--format") {
            if (i + 1 >= arguments.size()) {
                DWCommandLine::print(
                    stderr,
                    DWWatchCommand::tr(
                        "dotwise watch: --format needs a value\nUsage: dotwise %1\n"),
                    {DWWatchCommand::synopsis()});
                return std::nullopt;
            }
            name = QFile::decodeName(arguments[i + 1]);
            taken = 2;
        } else {
            name = argument.mid(9);
        }
        const std::optional<Format> chosen = formatNamed(name);
        if (!chosen) {
            DWCommandLine::print(
                stderr,
                DWWatchCommand::tr("dotwise watch: unknown format '%1'\nUsage: dotwise %2\n"),
                {name.toLocal8Bit(), DWWatchCommand::synopsis()});
            return std::nullopt;
        }
        format = *chosen;
        arguments.erase(arguments.begin() + ptrdiff_t(i), arguments.begin() + ptrdiff_t(i + taken));
        --i;
    }
    return format;
}
} // namespace

const char* DWWatchCommand::synopsis() {
    return "watch [--style auto|todotxt|taskpaper|square-brackets] [--json] "
           "[--format lines|json|waybar|i3blocks] FILE...";
}

int DWWatchCommand::run(int argc, char* argv[]) {
    QCoreApplication application(argc, argv);
    DWCommandLine::setUpApplication();

    std::vector<char*> rest(argv, argv + argc);
    std::optional<Format> format = takeFormat(rest);
    if (!format)
        return 2;
    const DWFileArguments arguments("watch", synopsis(), int(rest.size()), rest.data());
    if (arguments.exitStatus())
        return *arguments.exitStatus();
    if (arguments.json())
        format = Format::Json;

    // A reader that goes away shows as a failed write, not as a signal.
    std::signal(SIGPIPE, SIG_IGN);
    SignalCatcher signalCatcher;
    WatchSession session(*format);
    DWFileWatcher watcher(DWInotifyEventStreamFactory::create());
    // The watcher knows files by full path; lines show them as given.
    QHash<QString, WatchedFile> files;
    QStringList order;
    for (const QString& path : arguments.paths()) {
        const QString fullPath = QDir::cleanPath(QFileInfo(path).absoluteFilePath());
        if (files.contains(fullPath))
            continue;
        files.insert(fullPath, WatchedFile{path, arguments.ruleSetFor(path)});
        order.append(fullPath);
    }
    // Watched before they are counted, so that no save falls in between.
    for (const QString& fullPath : std::as_const(order))
        watcher.startWatchingFile(fullPath);
    for (const QString& fullPath : std::as_const(order)) {
        if (!session.report(files.value(fullPath), fullPath, "start")) {
            files.remove(fullPath);
            watcher.stopWatchingFile(fullPath);
        }
    }
    if (session.summarizes() && !files.isEmpty())
        session.writeSummary();
    if (session.outputFailed())
        return 1;
    if (files.isEmpty()) {
        DWCommandLine::print(stderr, tr("dotwise watch: no file to watch\n"));
        return 1;
    }

    watcher.setDelegate({[&](const QString& path) {
                             const auto found = files.constFind(path);
                             if (found != files.cend())
                                 session.report(*found, path,
                                                "modified"); // unreadable now: said, still watched
                         },
                         [&](const QString& path) {
                             const auto found = files.constFind(path);
                             if (found == files.cend())
                                 return;
                             session.reportDeleted(*found, path);
                             files.erase(found);
                             watcher.stopWatchingFile(path);
                             if (files.isEmpty())
                                 QCoreApplication::exit(0);
                         }});
    const int status = QCoreApplication::exec();
    watcher.shutdown();
    return session.outputFailed() ? 1 : status;
}
