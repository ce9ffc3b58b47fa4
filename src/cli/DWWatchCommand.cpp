#include "cli/DWWatchCommand.h"

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

class WatchSession {
public:
    explicit WatchSession(bool json) : _json(json) {}

    bool outputFailed() const { return _outputFailed; }

    // Counts a file and prints its line; false (with the reason on standard
    // error) when it can't be read.
    bool report(const WatchedFile& file, const QString& path, const char* event) {
        const DWCountResult result = DWTaskCounter(*file.ruleSet).countFile(path);
        if (!result.error.isEmpty()) {
            std::fprintf(stderr, "dotwise watch: cannot read '%s': %s\n",
                         QFile::encodeName(file.shownPath).constData(), qPrintable(result.error));
            std::fflush(stderr);
            return false;
        }
        if (_json) {
            writeLine(QJsonDocument(QJsonObject{{QStringLiteral("event"), QLatin1String(event)},
                                                {QStringLiteral("path"), file.shownPath},
                                                {QStringLiteral("style"), file.ruleSet->name()},
                                                {QStringLiteral("openTasks"), result.openTasks}})
                          .toJson(QJsonDocument::Compact));
        } else {
            writeLine(QByteArray::number(result.openTasks) + '\t' +
                      QFile::encodeName(file.shownPath));
        }
        return true;
    }

    void reportDeleted(const WatchedFile& file) {
        if (_json) {
            writeLine(
                QJsonDocument(QJsonObject{{QStringLiteral("event"), QStringLiteral("deleted")},
                                          {QStringLiteral("path"), file.shownPath}})
                    .toJson(QJsonDocument::Compact));
        } else {
            writeLine("deleted\t" + QFile::encodeName(file.shownPath));
        }
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
            std::fprintf(stderr, "dotwise watch: cannot write the output: %s\n",
                         std::strerror(errno));
            _outputFailed = true;
            QCoreApplication::exit(1);
        }
    }

    bool _json;
    bool _outputFailed = false;
};
} // namespace

const char* DWWatchCommand::synopsis() {
    return "watch [--style auto|todotxt|taskpaper|square-brackets] [--json] FILE...";
}

int DWWatchCommand::run(int argc, char* argv[]) {
    QCoreApplication application(argc, argv);
    QCoreApplication::setOrganizationName(QStringLiteral("Wrenfield"));
    QCoreApplication::setApplicationName(QStringLiteral("Dotwise"));

    const DWFileArguments arguments("watch", synopsis(), argc, argv);
    if (arguments.exitStatus())
        return *arguments.exitStatus();
    const bool json = arguments.json();

    // A reader that goes away shows as a failed write, not as a signal.
    std::signal(SIGPIPE, SIG_IGN);
    SignalCatcher signalCatcher;
    WatchSession session(json);
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
    if (session.outputFailed())
        return 1;
    if (files.isEmpty()) {
        std::fprintf(stderr, "dotwise watch: no file to watch\n");
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
                             session.reportDeleted(*found);
                             files.erase(found);
                             watcher.stopWatchingFile(path);
                             if (files.isEmpty())
                                 QCoreApplication::exit(0);
                         }});
    const int status = QCoreApplication::exec();
    watcher.shutdown();
    return session.outputFailed() ? 1 : status;
}
