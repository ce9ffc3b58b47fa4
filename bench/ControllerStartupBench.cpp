// Start-up of the controller with a large saved watch list: 10,000 task lists
// spread over 1,000 folders, badging on, an in-memory workspace. Prints the time
// until the window is shown and until every file is registered and badged, each
// next to a peer measured in the same run: for the window, decoding the same
// archive and looking up the same files (the least any start-up has to do); for
// the badges, reading the same files' contents directly.
#include "controller/DotwiseAppDelegate.h"
#include "foundation/LWPreferences.h"
#include "logging/LWLogger.h"
#include "model/DWTaskList.h"
#include "model/DWTaskRuleSet.h"
#include "monitoring/DWFileWatcher.h"
#include "platform/DWInotifyEventStreamFactory.h"
#include "platform/LaunchAtLoginController.h"
#include "ui/LWWorkspace.h"

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QFileInfo>
#include <QMainWindow>
#include <QTemporaryDir>
#include <QTimer>
#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <utility>

namespace {
constexpr int folderCount = 1000;
constexpr int filesPerFolder = 10;

// Icons are one shared five-size picture; written icons are counted and
// dropped, so the benchmark measures the controller, not a cache.
class BenchWorkspace : public LWWorkspace {
public:
    BenchWorkspace() {
        for (int side : {16, 32, 128, 256, 512}) {
            QImage image(side, side, QImage::Format_ARGB32_Premultiplied);
            image.fill(QColor(40, 90, 200));
            _icon.addRepresentation(image);
        }
    }
    LWIconImage iconForFile(const QString&) const override { return _icon; }
    bool setIcon(const LWIconImage& icon, const QString&) override {
        if (!icon.isEmpty())
            badges.fetch_add(1);
        return true;
    }
    std::optional<LWTimestamp> contentModificationDate(const QString& path) const override {
        return lw::contentModificationDate(path);
    }
    bool setContentModificationDate(const QString& path, const LWTimestamp& date) override {
        return lw::setContentModificationDate(path, date);
    }
    bool isTextFile(const QString&) const override { return true; }
    bool openFile(const QString&) override { return true; }
    bool openUrl(const QUrl&) override { return true; }
    bool openUrlText(const QString&) override { return true; }
    bool selectFile(const QString&, const QString&) override { return true; }
    QString absolutePathForApplicationWithIdentifier(const QString&) const override {
        return QString();
    }

    std::atomic<int> badges{0};

private:
    LWIconImage _icon;
};

class AlwaysAtLogin : public LaunchAtLoginController {
public:
    bool willLaunchAtLogin(const QUrl&) const override { return true; }
    void setLaunchAtLogin(const QUrl&, bool) override {}
};

void isolate(const QString& home) {
    for (const char* name : {"XDG_CONFIG_HOME", "XDG_CACHE_HOME", "XDG_DATA_HOME"}) {
        const QString path = home + QLatin1Char('/') + QString::fromLatin1(name);
        QDir().mkpath(path);
        setenv(name, QFile::encodeName(path).constData(), 1);
    }
    setenv("HOME", QFile::encodeName(home).constData(), 1);
}
} // namespace

int main(int argc, char* argv[]) {
    QTemporaryDir scratch(QDir::tempPath() + QStringLiteral("/dotwise-bench-XXXXXX"));
    isolate(scratch.path());
    setenv("QT_QPA_PLATFORM", "offscreen", 0);
    QApplication app(argc, argv);
    QApplication::setOrganizationName(QStringLiteral("Wrenfield"));
    QApplication::setApplicationName(QStringLiteral("Dotwise"));
    LWLogger::sharedInstance()->setMaxLogLevel(1);

    // The saved watch list, as an earlier run would have left it.
    QList<std::shared_ptr<DWTaskList>> saved;
    const QByteArray contents = "- [ ] write the report\n- [x] call back\n- [ ] book a room\n";
    for (int folder = 0; folder < folderCount; ++folder) {
        const QString directory =
            scratch.path() + QStringLiteral("/lists/%1").arg(folder, 4, 10, QLatin1Char('0'));
        QDir().mkpath(directory);
        for (int file = 0; file < filesPerFolder; ++file) {
            const QString path = directory + QStringLiteral("/list-%1.md").arg(file);
            QFile out(path);
            if (!out.open(QIODevice::WriteOnly) || out.write(contents) != contents.size()) {
                std::fprintf(stderr, "cannot write %s\n", qPrintable(path));
                return 1;
            }
            auto taskList = std::make_shared<DWTaskList>();
            taskList->setPath(path);
            taskList->setRuleSet(DWTaskRuleSet::squareBracketStyleRuleSet());
            saved.append(taskList);
        }
    }
    const QByteArray archive = DWTaskList::archiveTaskLists(saved);
    LWPreferences::standard().setObject(QStringLiteral("TaskLists"), archive);
    // A returning user: the first-run offer was made long ago.
    LWPreferences::standard().setBool(QStringLiteral("DidCreateExampleData"), true);
    // DW_BENCH_MISSING=n deletes n of the saved files first, spread over the
    // folders, as when lists were deleted while Dotwise wasn't running.
    const int missing =
        std::clamp(qEnvironmentVariableIntValue("DW_BENCH_MISSING"), 0, int(saved.size()) - 1);
    for (int i = 0; i < missing; ++i)
        QFile::remove(saved.at(qsizetype(i) * 97 % saved.size())->path());
    const int total = int(saved.size()) - missing;
    saved.clear();

    // Peer: decode the archive and look every file up.
    QElapsedTimer timer;
    timer.start();
    int existing = 0;
    if (auto decoded = DWTaskList::unarchiveTaskLists(
            LWPreferences::standard().dataForKey(QStringLiteral("TaskLists")))) {
        for (const auto& taskList : *decoded)
            existing += QFileInfo::exists(taskList->path());
    }
    const double peerMs = double(timer.nsecsElapsed()) / 1e6;

    // Peer of the badging: read the same files' contents directly, as the
    // counting must, with nothing drawn or written.
    timer.restart();
    qint64 bytesRead = 0;
    if (auto decoded = DWTaskList::unarchiveTaskLists(archive)) {
        for (const auto& taskList : *decoded) {
            QFile in(taskList->path());
            if (in.open(QIODevice::ReadOnly))
                bytesRead += in.readAll().size();
        }
    }
    const double readPeerMs = double(timer.nsecsElapsed()) / 1e6;

    BenchWorkspace workspace;
    // The window counts as shown when it first paints.
    double paintedMs = -1;
    struct PaintProbe : QObject {
        std::function<void()> painted;
        bool eventFilter(QObject*, QEvent* event) override {
            if (event->type() == QEvent::Paint && painted)
                std::exchange(painted, nullptr)();
            return false;
        }
    } probe;
    probe.painted = [&] { paintedMs = double(timer.nsecsElapsed()) / 1e6; };
    timer.restart();
    DotwiseAppDelegate::Services services;
    services.workspace = &workspace;
    services.launchAtLoginController = std::make_unique<AlwaysAtLogin>();
    services.fileWatcher = std::make_unique<DWFileWatcher>(DWInotifyEventStreamFactory::create());
    DotwiseAppDelegate delegate(std::move(services));
    delegate.mainWindow()->installEventFilter(&probe);
    delegate.applicationDidFinishLaunching();
    while (paintedMs < 0)
        QApplication::processEvents(QEventLoop::WaitForMoreEvents);
    const double shownMs = paintedMs;
    const bool shown = delegate.mainWindow()->isVisible();
    const int registered = int(delegate.taskLists().size());

    // The event loop runs as in the application (follow-ups, refreshes);
    // a timer looks now and then whether the worker is done.
    QEventLoop loop;
    QTimer poll;
    QObject::connect(&poll, &QTimer::timeout, &loop, [&] {
        if (workspace.badges.load() >= total && delegate.queuedBadgeUpdates() == 0)
            loop.quit();
    });
    poll.start(20);
    loop.exec();
    delegate.waitUntilBadgeUpdatesFinish();
    const double badgedMs = double(timer.nsecsElapsed()) / 1e6;

    std::printf("controller start-up: %d task lists in %d folders (%d saved ones gone), badging "
                "on\n",
                total, folderCount, missing);
    std::printf("  peer A, decode the archive and stat %d files: %9.1f ms\n", existing, peerMs);
    std::printf("  peer B, read the same files (%lld bytes):   %9.1f ms\n",
                static_cast<long long>(bytesRead), readPeerMs);
    std::printf("  window painted (%s, %d registered):  %9.1f ms  %6.1fx peer A  (goal 1000 ms)\n",
                shown ? "visible" : "NOT visible", registered, shownMs, shownMs / peerMs);
    std::printf(
        "  every badge written (%d):                %9.1f ms  %6.1fx peer B  (goal 20000 ms)\n",
        workspace.badges.load(), badgedMs, badgedMs / readPeerMs);
    return shown && registered == total && workspace.badges.load() >= total ? 0 : 1;
}
