#include "ui/LWAlertAdditions.h"

#include "ui/LWAlertSheetCompletionHandlerRunner.h"

#include <QComboBox>

void lw::beginSheetModalForWindow(std::unique_ptr<LWAlert> alert, QWidget* window,
                                  LWAlertCompletionHandler handler) {
    if (!alert)
        return;
    auto* runner = new LWAlertSheetCompletionHandlerRunner(std::move(alert), std::move(handler));
    runner->startOnWindow(window);
}

void lw::beginSheetModalWithChoices(std::unique_ptr<LWAlert> alert, const QStringList& choices,
                                    QWidget* window, LWAlertCompletionHandler handler) {
    if (!alert)
        return;
    auto* popUp = new QComboBox();
    popUp->setEditable(false);
    popUp->setGeometry(0, 0, 300, 26);
    popUp->setFixedSize(300, 26);
    popUp->addItems(choices);
    alert->setAccessoryView(popUp);
    beginSheetModalForWindow(std::move(alert), window, std::move(handler));
}
