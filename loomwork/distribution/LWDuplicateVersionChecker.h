#pragma once

#include <QString>
#include <functional>

class LWAlert;
class LWWorkspace;
class QEventLoop;
class QWidget;

// For an application sold in two builds that differ in their identifier (the
// store build and the web build): when both are installed, tells the user and
// offers to show the unneeded copy in the file manager, quitting first when the
// unneeded copy is the running one. Runs at start-up; nothing is remembered,
// so the warning comes back at every start while both are installed.
//
// Main thread only.
class LWDuplicateVersionChecker {
public:
    // The workspace finds installed builds and reveals files; it must outlive
    // the check.
    explicit LWDuplicateVersionChecker(LWWorkspace* workspace);

    // Runs the whole check and returns when it is over, after the user has
    // answered the alert if one was shown: as a sheet on `window`, or as a
    // free-standing dialog when there is none. The running build is told by
    // the main bundle's "CFBundleIdentifier".
    void runModalDuplicateVersionCheckInWindow(QWidget* window, const QString& macAppStoreBundleId,
                                               const QString& webVersionBundleId);

    // Where the running build is installed, revealed when it is the unneeded
    // one. Defaults to the running executable.
    void setOwnBundlePath(const QString& path) { _ownBundlePath = path; }
    // How the application is asked to quit. Defaults to a queued
    // QCoreApplication::quit(), which also works before the event loop runs.
    void setTerminateApplication(std::function<void()> terminate) {
        _terminateApplication = std::move(terminate);
    }

private:
    struct AlertContext {
        QString appPath;
        bool quitThisApp = false;
        bool runsModal = false;
        QEventLoop* modalSession = nullptr;
    };

    void _warnAboutWebVersionIfFound(const QString& webVersionBundleId, const QString& appName,
                                     QWidget* modalWindow);
    void _warnAboutMacAppStoreVersionIfFound(const QString& macAppStoreBundleId,
                                             const QString& appName, QWidget* modalWindow);
    void _runAlert(const QString& appName, const QString& defaultButton,
                   const QString& informativeText, AlertContext context, QWidget* modalWindow);
    static void _alertDidEnd(LWAlert& alert, int returnCode, const AlertContext& context,
                             LWWorkspace* workspace, const std::function<void()>& terminate);

    LWWorkspace* _workspace;
    QString _ownBundlePath;
    std::function<void()> _terminateApplication;
};
