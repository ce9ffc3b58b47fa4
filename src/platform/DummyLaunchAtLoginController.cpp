#include "platform/DummyLaunchAtLoginController.h"

#include "foundation/LWPreferences.h"

namespace {
const QString flagKey = QStringLiteral("ptlalFlag");
}

bool DummyLaunchAtLoginController::willLaunchAtLogin(const QUrl&) const {
    return LWPreferences::standard().boolForKey(flagKey);
}

void DummyLaunchAtLoginController::setLaunchAtLogin(const QUrl&, bool enabled) {
    LWPreferences preferences = LWPreferences::standard();
    preferences.setBool(flagKey, enabled);
    preferences.synchronize();
}
