#include "platform/DWWindowActivator.h"

#include "logging/LWLogger.h"

#include <QGuiApplication>
#include <QWidget>
#include <cstdlib>
#include <cstring>

#if DOTWISE_HAVE_XCB
#include <xcb/xcb.h>

namespace {
xcb_atom_t internAtom(xcb_connection_t* connection, const char* name) {
    xcb_intern_atom_reply_t* reply = xcb_intern_atom_reply(
        connection, xcb_intern_atom(connection, 0, quint16(std::strlen(name)), name), nullptr);
    const xcb_atom_t atom = reply ? reply->atom : xcb_atom_t(XCB_ATOM_NONE);
    std::free(reply);
    return atom;
}

// The message goes to the root window in pieces of 20 bytes: the first as
// _NET_STARTUP_INFO_BEGIN, the rest as _NET_STARTUP_INFO.
void sendStartupMessage(QWidget* window, const QByteArray& message) {
    auto* x11 = qApp->nativeInterface<QNativeInterface::QX11Application>();
    if (!x11 || !x11->connection())
        return;
    xcb_connection_t* connection = x11->connection();
    const xcb_screen_t* screen = xcb_setup_roots_iterator(xcb_get_setup(connection)).data;
    if (!screen)
        return;
    const xcb_atom_t begin = internAtom(connection, "_NET_STARTUP_INFO_BEGIN");
    const xcb_atom_t more = internAtom(connection, "_NET_STARTUP_INFO");
    const QByteArray bytes = message + '\0';
    for (qsizetype offset = 0; offset < bytes.size(); offset += 20) {
        xcb_client_message_event_t event;
        std::memset(&event, 0, sizeof event);
        event.response_type = XCB_CLIENT_MESSAGE;
        event.format = 8;
        event.window = xcb_window_t(window->winId());
        event.type = offset == 0 ? begin : more;
        std::memcpy(event.data.data8, bytes.constData() + offset,
                    size_t(qMin<qsizetype>(20, bytes.size() - offset)));
        xcb_send_event(connection, 0, screen->root, XCB_EVENT_MASK_PROPERTY_CHANGE,
                       reinterpret_cast<const char*>(&event));
    }
    xcb_flush(connection);
}
} // namespace
#endif

QByteArray DWWindowActivator::startupRemoveMessage(const QString& desktopStartupId) {
    // Values with spaces, quotes or backslashes are quoted, and the last two
    // escaped.
    QByteArray id = desktopStartupId.toUtf8();
    if (id.contains(' ') || id.contains('"') || id.contains('\\')) {
        id.replace('\\', "\\\\").replace('"', "\\\"");
        id = '"' + id + '"';
    }
    return "remove: ID=" + id;
}

void DWWindowActivator::useActivationToken(const QString& xdgActivationToken) {
    // Qt's Wayland platform hands this token to the compositor at the next
    // activation request, and then forgets it.
    if (!xdgActivationToken.isEmpty())
        qputenv("XDG_ACTIVATION_TOKEN", xdgActivationToken.toUtf8());
}

void DWWindowActivator::endLaunchFeedback(QWidget* window, const QString& desktopStartupId) {
    if (desktopStartupId.isEmpty() || QGuiApplication::platformName() != QLatin1String("xcb"))
        return;
#if DOTWISE_HAVE_XCB
    sendStartupMessage(window, startupRemoveMessage(desktopStartupId));
#else
    Q_UNUSED(window);
    LW_LOG(3, "-[DWWindowActivator endLaunchFeedback:]",
           QStringLiteral("Built without XCB: launch feedback %1 ends when it times out")
               .arg(desktopStartupId));
#endif
}
