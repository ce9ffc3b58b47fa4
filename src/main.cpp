#include "cli/DWCommandLine.h"
#include "controller/DWSingleInstance.h"
#include "controller/DotwiseAppDelegate.h"
#include "foundation/LWBundle.h"
#include "monitoring/DWFileWatcher.h"
#include "platform/DWInotifyEventStreamFactory.h"
#include "platform/DWLinuxWorkspace.h"
#include "platform/LaunchAtLoginController.h"

#include <QApplication>
#include <QTimer>
#include <cstdio>

int main(int argc, char* argv[]) {
    if (DWCommandLine::handles(argc, argv))
        return DWCommandLine::run(argc, argv);

    QApplication app(argc, argv);
    const LWBundle& bundle = LWBundle::mainBundle();
    QApplication::setApplicationName(bundle.bundleName());
    QApplication::setApplicationDisplayName(bundle.bundleName());
    QApplication::setApplicationVersion(bundle.shortVersionString());
    QApplication::setOrganizationName(
        bundle.objectForInfoDictionaryKey(QStringLiteral("LWOrganizationName")).toString());
    QApplication::setDesktopFileName(bundle.bundleIdentifier());
    // The controller decides what closing the window means.
    QApplication::setQuitOnLastWindowClosed(false);

    // One copy per session: a second start brings the first one's window
    // forward and ends.
    DWSingleInstance instance(DWSingleInstance::defaultDirectory(), bundle.bundleIdentifier());
    if (!instance.claim()) {
        if (instance.handOver())
            return 0;
        if (!instance.claim()) {
            std::fprintf(stderr, "dotwise: another copy is running but does not answer\n");
            return 1;
        }
    }

    DWLinuxWorkspace workspace;
    DotwiseAppDelegate::Services services;
    services.workspace = &workspace;
    services.launchAtLoginController = std::make_unique<LaunchAtLoginController>();
    services.fileWatcher = std::make_unique<DWFileWatcher>(DWInotifyEventStreamFactory::create());
    DotwiseAppDelegate delegate(std::move(services));

    QObject::connect(&instance, &DWSingleInstance::reopenRequested, &delegate,
                     [&delegate] { delegate.applicationShouldHandleReopen(); });
    QObject::connect(&app, &QCoreApplication::aboutToQuit, &delegate,
                     [&delegate] { delegate.applicationWillTerminate(); });
    QTimer::singleShot(0, &delegate, [&delegate] { delegate.applicationDidFinishLaunching(); });
    return QApplication::exec();
}
