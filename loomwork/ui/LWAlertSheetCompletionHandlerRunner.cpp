#include "ui/LWAlertSheetCompletionHandlerRunner.h"

#include "logging/LWLogger.h"

#include <QComboBox>

LWAlertSheetCompletionHandlerRunner::LWAlertSheetCompletionHandlerRunner(
    std::unique_ptr<LWAlert> alert, LWAlertCompletionHandler completionHandler)
    : _alert(std::move(alert)), _completionHandler(std::move(completionHandler)) {}

LWAlertSheetCompletionHandlerRunner::~LWAlertSheetCompletionHandlerRunner() = default;

void LWAlertSheetCompletionHandlerRunner::startOnWindow(QWidget* window) {
    connect(_alert.get(), &LWAlert::sheetDidEnd, this,
            &LWAlertSheetCompletionHandlerRunner::alertDidEnd);
    // The window went away under the sheet: no answer will come.
    connect(_alert.get(), &LWAlert::sheetAbandoned, this, &QObject::deleteLater);
    _alert->beginSheetModalForWindow(window, nullptr);
}

void LWAlertSheetCompletionHandlerRunner::alertDidEnd(LWAlert* alert, int returnCode) {
    if (alert != _alert.get()) {
        LW_LOG(0, "-[_LWAlertSheetCompletionHandlerRunner alertDidEnd:returnCode:contextInfo:]",
               QStringLiteral("Got a alert different from what I expected -- This should never "
                              "happen"));
        return;
    }
    // Deferred, so the alert is still whole while the callback runs.
    deleteLater();

    int result = returnCode;
    if (auto* popUp = qobject_cast<QComboBox*>(_alert->accessoryView())) {
        result = -1;
        if (returnCode == LWAlert::DefaultReturn)
            result = popUp->currentIndex();
    }
    if (_completionHandler)
        _completionHandler(*_alert, result);
}
