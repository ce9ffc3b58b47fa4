#include "distribution/LWDuplicateVersionChecker.h"

#include "foundation/LWBundle.h"
#include "logging/LWLogger.h"
#include "ui/LWAlert.h"
#include "ui/LWWorkspace.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QFileInfo>

LWDuplicateVersionChecker::LWDuplicateVersionChecker(LWWorkspace* workspace)
    : _workspace(workspace), _terminateApplication([] {
          QMetaObject::invokeMethod(QCoreApplication::instance(), &QCoreApplication::quit,
                                    Qt::QueuedConnection);
      }) {}

void LWDuplicateVersionChecker::runModalDuplicateVersionCheckInWindow(
    QWidget* window, const QString& macAppStoreBundleId, const QString& webVersionBundleId) {
    const LWBundle& bundle = LWBundle::mainBundle();
    QString appName =
        bundle.objectForInfoDictionaryKey(QStringLiteral("CFBundleDisplayName")).toString();
    if (appName.isEmpty())
        appName = bundle.objectForInfoDictionaryKey(QStringLiteral("CFBundleName")).toString();
    const QString ownBundleId = bundle.bundleIdentifier();

    if (ownBundleId.isEmpty() ||
        (ownBundleId != macAppStoreBundleId && ownBundleId != webVersionBundleId)) {
        LW_LOG(1,
               "-[LWDuplicateVersionChecker "
               "runModalDuplicateVersionCheckInWindow:macAppStoreBundleId:webVersionBundleId:]",
               QStringLiteral("Our bundle id (%1) doesn't match '%2' or '%3'.")
                   .arg(ownBundleId.isNull() ? QStringLiteral("(null)") : ownBundleId,
                        macAppStoreBundleId, webVersionBundleId));
        return;
    }
    if (ownBundleId == macAppStoreBundleId)
        _warnAboutWebVersionIfFound(webVersionBundleId, appName, window);
    else
        _warnAboutMacAppStoreVersionIfFound(macAppStoreBundleId, appName, window);
}

void LWDuplicateVersionChecker::_warnAboutWebVersionIfFound(const QString& webVersionBundleId,
                                                            const QString& appName,
                                                            QWidget* modalWindow) {
    const QString webPath =
        _workspace ? _workspace->absolutePathForApplicationWithIdentifier(webVersionBundleId)
                   : QString();
    if (webPath.isEmpty())
        return;
    const QString text =
        QStringLiteral(
            "It looks like you downloaded a version of %1 directly from the website, but the "
            "application you just launched is from the Mac App Store.\n\nNow that you are using "
            "the Mac App Store version you should remove the unneeded web-version.\n\nHint: Use "
            "the \"Move to Trash\" item in the \"File\" menu after the Finder window appears.")
            .arg(appName);
    AlertContext context;
    context.appPath = webPath;
    context.quitThisApp = false;
    _runAlert(appName, QStringLiteral("Show Unneeded Version in Finder"), text, context,
              modalWindow);
}

void LWDuplicateVersionChecker::_warnAboutMacAppStoreVersionIfFound(
    const QString& macAppStoreBundleId, const QString& appName, QWidget* modalWindow) {
    const QString storePath =
        _workspace ? _workspace->absolutePathForApplicationWithIdentifier(macAppStoreBundleId)
                   : QString();
    if (storePath.isEmpty())
        return;
    const QString storeFolder = QFileInfo(storePath).path();
    const QString text =
        QStringLiteral(
            "It looks like you have a copy of %1 from the Mac App Store installed in "
            "\"%2\".\n\nThe application you just launched is the standalone version from the "
            "website and should be removed.\n\nWould you like to quit now so you can move this "
            "unneeded version to the Trash?\n\nHint: Use the \"Move to Trash\" item in the "
            "\"File\" menu after the Finder window appears.")
            .arg(appName, storeFolder);
    AlertContext context;
    context.appPath =
        _ownBundlePath.isEmpty() ? QCoreApplication::applicationFilePath() : _ownBundlePath;
    context.quitThisApp = true;
    _runAlert(appName, QStringLiteral("Quit and Show in Finder"), text, context, modalWindow);
}

void LWDuplicateVersionChecker::_runAlert(const QString& appName, const QString& defaultButton,
                                          const QString& informativeText, AlertContext context,
                                          QWidget* modalWindow) {
    std::unique_ptr<LWAlert> alert = LWAlert::alertWithMessageText(
        QStringLiteral("Multiple %1 Versions Installed").arg(appName), defaultButton,
        QStringLiteral("Continue"), QString(), informativeText);
    // What the end handler needs is copied here, so the check finishes
    // cleanly even if the checker itself goes away during the modal session.
    LWWorkspace* workspace = _workspace;
    const std::function<void()> terminate = _terminateApplication;
    context.runsModal = modalWindow != nullptr;
    if (modalWindow) {
        QEventLoop modalSession;
        context.modalSession = &modalSession;
        LWAlert* raw = alert.get();
        // The window going away under the sheet ends the session too.
        QObject::connect(raw, &LWAlert::sheetAbandoned, &modalSession, &QEventLoop::quit);
        raw->beginSheetModalForWindow(modalWindow, [raw, context, workspace, terminate](int code) {
            _alertDidEnd(*raw, code, context, workspace, terminate);
        });
        if (raw->isRunning())
            modalSession.exec();
    } else {
        const int code = alert->runModal();
        _alertDidEnd(*alert, code, context, workspace, terminate);
    }
}

void LWDuplicateVersionChecker::_alertDidEnd(LWAlert&, int returnCode, const AlertContext& context,
                                             LWWorkspace* workspace,
                                             const std::function<void()>& terminate) {
    if (returnCode == LWAlert::DefaultReturn) {
        if (workspace)
            workspace->selectFile(context.appPath, QString());
        if (context.quitThisApp && terminate)
            terminate();
    }
    if (context.runsModal && context.modalSession)
        context.modalSession->quit();
}
