#pragma once

#include "platform/LaunchAtLoginController.h"

// Keeps the launch-at-login flag in the preferences ("ptlalFlag") and never
// touches the autostart entries.
class DummyLaunchAtLoginController : public LaunchAtLoginController {
    Q_OBJECT

public:
    using LaunchAtLoginController::LaunchAtLoginController;
    using LaunchAtLoginController::setLaunchAtLogin;

    bool willLaunchAtLogin(const QUrl& appURL) const override;
    void setLaunchAtLogin(const QUrl& appURL, bool enabled) override;
};
