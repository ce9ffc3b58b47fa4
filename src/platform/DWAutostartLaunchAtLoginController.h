#pragma once

#include "platform/LaunchAtLoginController.h"

// Launch at login as an XDG autostart entry in $XDG_CONFIG_HOME/autostart. An
// entry counts when its Exec resolves to this executable and it is neither
// Hidden nor disabled with X-GNOME-Autostart-enabled=false; entries of other
// copies of the application are left alone. Nothing is cached: every question
// reads the folder afresh.
class DWAutostartLaunchAtLoginController final : public LaunchAtLoginController {
    Q_OBJECT

public:
    using LaunchAtLoginController::LaunchAtLoginController;
    using LaunchAtLoginController::setLaunchAtLogin;

    bool willLaunchAtLogin(const QUrl& appURL) const override;
    // Adds an entry when there is none, or removes those that count.
    void setLaunchAtLogin(const QUrl& appURL, bool enabled) override;

    // $XDG_CONFIG_HOME/autostart
    static QString autostartDirectory();
};
