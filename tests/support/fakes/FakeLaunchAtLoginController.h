#pragma once

#include "platform/LaunchAtLoginController.h"

// Keeps the login item in memory: what the shared part of the controller
// (announcing changes, the startAtLogin property) does is real, only the two
// primitives are stand-ins.
class FakeLaunchAtLoginController : public LaunchAtLoginController {
    Q_OBJECT

public:
    using LaunchAtLoginController::LaunchAtLoginController;
    using LaunchAtLoginController::setLaunchAtLogin;

    bool willLaunchAtLogin(const QUrl& appURL) const override;
    void setLaunchAtLogin(const QUrl& appURL, bool enabled) override;

    // What the test arranges: as if the user had added the login item by hand.
    void setRegistered(bool registered) { _registered = registered; }
    // What the code under test did: calls of the writing primitive.
    int writeCount() const { return _writeCount; }

private:
    bool _registered = false;
    int _writeCount = 0;
};
