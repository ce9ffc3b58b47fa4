#pragma once

#include "ui/LWAlertAdditions.h"

#include <QObject>
#include <memory>

// Private to LWAlertAdditions: watches one alert's sheet and turns its end into
// a call of the completion callback. It owns the alert and itself while the
// sheet is up, and goes (with the alert) at the end of the event in which the
// sheet ended, after the callback has returned.
class LWAlertSheetCompletionHandlerRunner : public QObject {
    Q_OBJECT

public:
    LWAlertSheetCompletionHandlerRunner(std::unique_ptr<LWAlert> alert,
                                        LWAlertCompletionHandler completionHandler);
    ~LWAlertSheetCompletionHandlerRunner() override;

    // Begins the sheet; from here on the runner deletes itself.
    void startOnWindow(QWidget* window);
    void alertDidEnd(LWAlert* alert, int returnCode);

private:
    std::unique_ptr<LWAlert> _alert;
    LWAlertCompletionHandler _completionHandler;
};
