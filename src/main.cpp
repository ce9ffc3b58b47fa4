#include "cli/DWCommandLine.h"
#include "controller/DWBusService.h"
#include "controller/DWSingleInstance.h"
#include "controller/DotwiseAppDelegate.h"
#include "foundation/LWBundle.h"
#include "monitoring/DWFileWatcher.h"
#include "platform/DWAutostartLaunchAtLoginController.h"
#include "platform/DWEmblemTheme.h"
#include "platform/DWInotifyEventStreamFactory.h"
#include "platform/DWLinuxWorkspace.h"
#include "platform/DWWindowActivator.h"

#include <QApplication>
#include <QDBusConnection>
#include <QIcon>
#include <QMainWindow>
#include <QTimer>
#include <cstdio>

int main(int argc, char* argv[]) {
    if (DWCommandLine::handles(argc, argv))
        return DWCommandLine::run(argc, argv);

    // Without a display Qt would abort with a message about platform plugins;
    // say what is missing instead, and how to try Dotwise anyway.
    if (qEnvironmentVariableIsEmpty("DISPLAY") && qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY") &&
        qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) {
        std::fprintf(stderr,
                     "dotwise: there is no display to show the window on (neither DISPLAY nor "
                     "WAYLAND_DISPLAY is set).\n"
                     "To try Dotwise without a desktop session, run it under a virtual X server:\n"
                     "  xvfb-run -s '-screen 0 1280x800x24' %s\n"
                     "The subcommands work without a display: %s --help\n",
                     argv[0], argv[0]);
        return 1;
    }

    // Taken before Qt starts: its X11 platform takes DESKTOP_STARTUP_ID for
    // itself. A second start passes them on to the running copy.
    const DWSingleInstance::Launch launch =
        DWSingleInstance::Launch::fromEnvironment(DWCommandLine::fileArguments(argc, argv));

    QApplication app(argc, argv);
    // The user's language where there is a catalogue for it (Qt's own dialogs
    // and buttons, then Dotwise's); the texts as written otherwise.
    DWCommandLine::setUpApplication();
    const LWBundle& bundle = LWBundle::mainBundle();
    QApplication::setApplicationDisplayName(bundle.bundleName());
    QApplication::setApplicationVersion(bundle.shortVersionString());
    QApplication::setDesktopFileName(bundle.bundleIdentifier());
    QApplication::setWindowIcon(
        QIcon::fromTheme(bundle.bundleIdentifier(),
                         QIcon(QStringLiteral(":/icons/%1.svg").arg(bundle.bundleIdentifier()))));
    // The controller decides what closing the window means.
    QApplication::setQuitOnLastWindowClosed(false);

    // One copy per session: a second start hands its files and its launch
    // token to the first one, whose window comes forward, and ends.
    DWSingleInstance instance(DWSingleInstance::defaultDirectory(), bundle.bundleIdentifier());
    if (!instance.claim()) {
        if (instance.handOver(launch))
            return 0;
        if (!instance.claim()) {
            DWCommandLine::print(stderr, QCoreApplication::translate(
                                             "main", "dotwise: another copy is running but does "
                                                     "not answer\n"));
            return 1;
        }
    }

    DWLinuxWorkspace workspace;
    DWEmblemTheme emblemTheme;
    DotwiseAppDelegate::Services services;
    services.workspace = &workspace;
    services.badgeMode = DWBadgeMode::forThisSession();
    services.fileEmblems = &workspace;
    services.emblemTheme = &emblemTheme;
    services.launchAtLoginController = std::make_unique<DWAutostartLaunchAtLoginController>();
    services.fileWatcher = std::make_unique<DWFileWatcher>(DWInotifyEventStreamFactory::create());
    DotwiseAppDelegate delegate(std::move(services));
    DWBusService busService(delegate);
    busService.registerOn(QDBusConnection::sessionBus(), bundle.bundleIdentifier());

    QObject::connect(&instance, &DWSingleInstance::reopenRequested, &delegate,
                     [&delegate](const DWSingleInstance::Launch& later) {
                         DWWindowActivator::useActivationToken(later.xdgActivationToken);
                         delegate.applicationShouldHandleReopen();
                         DWWindowActivator::endLaunchFeedback(delegate.mainWindow(),
                                                              later.desktopStartupId);
                         delegate.openFiles(later.files);
                     });
    QObject::connect(&app, &QCoreApplication::aboutToQuit, &delegate,
                     [&delegate] { delegate.applicationWillTerminate(); });
    QTimer::singleShot(0, &delegate, [&delegate, files = launch.files] {
        delegate.applicationDidFinishLaunching();
        delegate.openFiles(files);
    });
    return QApplication::exec();
}
