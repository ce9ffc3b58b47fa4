#pragma once

#include "ui/LWAlert.h"

#include <QStringList>
#include <functional>
#include <memory>

class QWidget;

// Sheets that end in a completion callback, for alerts that the caller hands
// over: the alert lives until the callback has returned and is destroyed
// after it, at the end of the current event.
using LWAlertCompletionHandler = std::function<void(LWAlert& alert, int result)>;

namespace lw {
// Shows `alert` as a sheet on `window` and returns at once. When the sheet
// ends, `handler` (may be empty) gets the alert and the result: the button's
// return code; or, when the alert's accessory view is a pop-up (QComboBox),
// the selected entry's index for the default button (code 1) and -1 for any
// other button.
void beginSheetModalForWindow(std::unique_ptr<LWAlert> alert, QWidget* window,
                              LWAlertCompletionHandler handler);
// The same with a pop-up of `choices` (300 x 26, items in the given order) as
// the alert's accessory view, replacing any it had.
void beginSheetModalWithChoices(std::unique_ptr<LWAlert> alert, const QStringList& choices,
                                QWidget* window, LWAlertCompletionHandler handler);
} // namespace lw
