#pragma once

#include <QString>

class QWidget;

// Brings a window forward for a launch that the user made elsewhere, with the
// launcher's token: on Wayland the compositor raises a window only for a
// valid activation token; on X11 the launcher shows a busy cursor until the
// launched program says, with the startup notification's "remove" message,
// that the launch is done.
class DWWindowActivator {
public:
    // Before a window is activated: the compositor may raise it.
    static void useActivationToken(const QString& xdgActivationToken);
    // After the window came forward: the launcher stops its busy feedback.
    static void endLaunchFeedback(QWidget* window, const QString& desktopStartupId);
    // The startup notification's message that ends the launch feedback for
    // this id, in the protocol's form.
    static QByteArray startupRemoveMessage(const QString& desktopStartupId);
};
