// Switching badging off with a large watch list, on the real desktop
// workspace: 10,000 badged task lists (DW_BENCH_FILES=n for another count) in
// folders of ten, custom icons written through the gvfs metadata daemon of a
// private D-Bus session (the program starts one for itself with
// dbus-run-session, its daemons confined to a scratch HOME). Prints how long
// the switch keeps the window busy and how long until every badge is off,
// next to the peer: the same count of `gio set -t unset` calls, one process
// each, as a script would take the badges off.
#include "controller/DotwiseAppDelegate.h"
#include "foundation/LWPreferences.h"
#include "logging/LWLogger.h"
#include "model/DWTaskList.h"
#include "model/DWTaskRuleSet.h"
#include "monitoring/DWFileWatcher.h"
#include "platform/DWInotifyEventStreamFactory.h"
#include "platform/DWLinuxWorkspace.h"
#include "platform/LaunchAtLoginController.h"

#include <QApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <cstdio>
#include <cstdlib>
#include <unistd.h>

namespace {
constexpr int filesPerFolder = 10;
const char* const insideSession = "DW_BENCH_INSIDE_PRIVATE_SESSION";

class AlwaysAtLogin : public LaunchAtLoginController {
public:
    bool willLaunchAtLogin(const QUrl&) const override { return true; }
    void setLaunchAtLogin(const QUrl&, bool) override {}
};

// The daemons the private bus starts must use the scratch folders too.
bool confineSessionDaemons(const QString& home) {
    const char* names[] = {"HOME", "XDG_CONFIG_HOME", "XDG_CACHE_HOME", "XDG_DATA_HOME",
                           "XDG_STATE_HOME"};
    QMap<QString, QString> environment;
    for (const char* name : names) {
        const QString path = std::strcmp(name, "HOME") == 0
                                 ? home
                                 : home + QLatin1Char('/') + QString::fromLatin1(name);
        QDir().mkpath(path);
        setenv(name, QFile::encodeName(path).constData(), 1);
        environment.insert(QString::fromLatin1(name), path);
    }
    qDBusRegisterMetaType<QMap<QString, QString>>();
    QDBusMessage call = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.DBus"), QStringLiteral("/org/freedesktop/DBus"),
        QStringLiteral("org.freedesktop.DBus"), QStringLiteral("UpdateActivationEnvironment"));
    call << QVariant::fromValue(environment);
    return QDBusConnection::sessionBus().call(call).type() != QDBusMessage::ErrorMessage;
}

int customIconsSet(const QStringList& paths) {
    QProcess gio;
    gio.start(QStringLiteral("gio"), QStringList{QStringLiteral("info"), QStringLiteral("-a"),
                                                 QStringLiteral("metadata::custom-icon")} +
                                         paths);
    gio.waitForFinished(-1);
    return int(gio.readAllStandardOutput().count("metadata::custom-icon:"));
}
} // namespace

int main(int argc, char* argv[]) {
    if (qEnvironmentVariableIsEmpty(insideSession)) {
        // Never the user's own session: its metadata daemon would keep
        // entries for thousands of scratch files.
        setenv(insideSession, "1", 1);
        std::vector<char*> arguments = {const_cast<char*>("dbus-run-session"),
                                        const_cast<char*>("--")};
        arguments.insert(arguments.end(), argv, argv + argc);
        arguments.push_back(nullptr);
        execvp("dbus-run-session", arguments.data());
        std::perror("dbus-run-session");
        return 1;
    }
    QTemporaryDir scratch(QDir::tempPath() + QStringLiteral("/dotwise-bench-XXXXXX"));
    setenv("QT_QPA_PLATFORM", "offscreen", 0);
    QApplication app(argc, argv);
    if (!confineSessionDaemons(scratch.path())) {
        std::fprintf(stderr, "cannot set up the private session\n");
        return 1;
    }
    QApplication::setOrganizationName(QStringLiteral("Wrenfield"));
    QApplication::setApplicationName(QStringLiteral("Dotwise"));
    LWLogger::sharedInstance()->setMaxLogLevel(1);
    LWPreferences::standard().setBool(QStringLiteral("DidCreateExampleData"), true);

    const int total = qEnvironmentVariableIsSet("DW_BENCH_FILES")
                          ? qMax(1, qEnvironmentVariableIntValue("DW_BENCH_FILES"))
                          : 10000;
    QStringList paths;
    QList<std::shared_ptr<DWTaskList>> saved;
    for (int i = 0; i < total; ++i) {
        const QString directory =
            scratch.path() +
            QStringLiteral("/lists/%1").arg(i / filesPerFolder, 4, 10, QLatin1Char('0'));
        if (i % filesPerFolder == 0)
            QDir().mkpath(directory);
        const QString path = directory + QStringLiteral("/list-%1.md").arg(i % filesPerFolder);
        QFile out(path);
        if (!out.open(QIODevice::WriteOnly) || out.write("- [ ] one\n- [ ] two\n") < 0)
            return 1;
        paths.append(path);
        saved.append(
            std::make_shared<DWTaskList>(path, DWTaskRuleSet::squareBracketStyleRuleSet()));
    }
    // Saved as an earlier run would have left it: the start badges every file.
    LWPreferences::standard().setObject(QStringLiteral("TaskLists"),
                                        DWTaskList::archiveTaskLists(saved));

    DWLinuxWorkspace workspace({QStringLiteral("hicolor"), {}, QString()});
    DotwiseAppDelegate::Services services;
    services.workspace = &workspace;
    services.launchAtLoginController = std::make_unique<AlwaysAtLogin>();
    services.fileWatcher = std::make_unique<DWFileWatcher>(DWInotifyEventStreamFactory::create());
    DotwiseAppDelegate delegate(std::move(services));
    QElapsedTimer timer;
    timer.start();
    delegate.applicationDidFinishLaunching();
    delegate.waitUntilBadgeUpdatesFinish();
    const double badgeMs = double(timer.nsecsElapsed()) / 1e6;
    const QStringList sample = paths.mid(0, 50);
    const int badgedSample = customIconsSet(sample);

    timer.restart();
    delegate.setIsDotwiseEnabled(false);
    const double switchMs = double(timer.nsecsElapsed()) / 1e6;
    delegate.waitUntilBadgeUpdatesFinish();
    const double offMs = double(timer.nsecsElapsed()) / 1e6;
    const int leftInSample = customIconsSet(sample);
    const int picturesLeft = int(workspace.filesWithPictures().size());

    // Peer: the same count of single `gio set` calls.
    timer.restart();
    int peerFailures = 0;
    for (const QString& path : std::as_const(paths)) {
        peerFailures +=
            QProcess::execute(QStringLiteral("gio"),
                              {QStringLiteral("set"), QStringLiteral("-t"), QStringLiteral("unset"),
                               path, QStringLiteral("metadata::custom-icon")}) != 0;
    }
    const double peerMs = double(timer.nsecsElapsed()) / 1e6;

    std::printf("switching off %d badged task lists, real gvfs metadata daemon\n", total);
    std::printf("  badging them first (not compared):        %9.1f ms\n", badgeMs);
    std::printf("  peer, %d `gio set -t unset` calls:       %9.1f ms  (%d failed)\n", total, peerMs,
                peerFailures);
    std::printf("  switch, main thread busy:                  %9.1f ms  %8.4fx peer\n", switchMs,
                switchMs / peerMs);
    std::printf("  every badge off:                           %9.1f ms  %8.4fx peer\n", offMs,
                offMs / peerMs);
    std::printf("  sample of %d: badged before %d, after %d; pictures left %d\n",
                int(sample.size()), badgedSample, leftInSample, picturesLeft);
    return badgedSample == sample.size() && leftInSample == 0 && picturesLeft == 0 ? 0 : 1;
}
