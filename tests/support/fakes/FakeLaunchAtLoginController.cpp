#include "fakes/FakeLaunchAtLoginController.h"

bool FakeLaunchAtLoginController::willLaunchAtLogin(const QUrl&) const {
    return _registered;
}

void FakeLaunchAtLoginController::setLaunchAtLogin(const QUrl&, bool enabled) {
    ++_writeCount;
    _registered = enabled;
}
