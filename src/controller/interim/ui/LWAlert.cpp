// INTERIM stand-in until the library's alert lands on main; removed then.
#include "ui/LWAlert.h"

namespace {
QList<LWAlert*>& running() {
    static QList<LWAlert*> alerts;
    return alerts;
}
} // namespace

LWAlert::~LWAlert() {
    running().removeAll(this);
    delete _accessoryView;
}

std::unique_ptr<LWAlert> LWAlert::alertWithMessageText(const QString& messageText,
                                                       const QString& defaultButton,
                                                       const QString& alternateButton,
                                                       const QString& otherButton,
                                                       const QString& informativeText) {
    auto alert = std::unique_ptr<LWAlert>(new LWAlert);
    alert->_messageText = messageText;
    alert->_informativeText = informativeText;
    const QString titles[] = {defaultButton, alternateButton, otherButton};
    const int codes[] = {1, 0, -1};
    for (int i = 0; i < 3; ++i) {
        if (!titles[i].isEmpty()) {
            alert->_titles.append(titles[i]);
            alert->_codes.append(codes[i]);
        }
    }
    return alert;
}

void LWAlert::setAccessoryView(QWidget* view) {
    if (_accessoryView && _accessoryView != view)
        delete _accessoryView;
    _accessoryView = view;
}

QWidget* LWAlert::takeAccessoryView() {
    QWidget* view = _accessoryView;
    _accessoryView = nullptr;
    return view;
}

void LWAlert::beginSheetModalForWindow(QWidget*, std::function<void(int)> done) {
    _done = std::move(done);
    _running = true;
    running().append(this);
}

QList<LWAlert*> LWAlert::activeAlerts() {
    return running();
}

bool LWAlert::clickButtonWithReturnCode(int returnCode) {
    if (!_running || !_codes.contains(returnCode))
        return false;
    _running = false;
    running().removeAll(this);
    auto done = std::move(_done);
    if (done)
        done(returnCode);
    return true;
}
