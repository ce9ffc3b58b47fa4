#pragma once

#include "appproxy/LWApplicationProxyHandler.h"

#include <QHash>
#include <QMutex>
#include <QString>
#include <QStringList>
#include <QVariantList>
#include <functional>
#include <memory>
#include <optional>

class LWWorkspace;

// Drives a program through URLs of its own scheme, and drives another (or the
// same) program by opening such URLs:
//
//   myscheme://editor/rpcOpenFile/My%20Notes.txt/atLine/12
//
// calls "rpcOpenFile:atLine:" with "My Notes.txt" and "12" on the handler
// registered as "editor". Only commands whose names begin with "rpc" are ever
// called, and always with one text per colon of their name. A rejected URL gets
// a one-line warning in the system log and is otherwise ignored.
//
// Handler names travel as the URL's host, which URL parsers lower-case on the
// way: name handlers in lower case so sent commands find them.
//
// The two properties are guarded, so they can be read from any thread; a URL
// is handled, and its command run, on the calling thread.
class LWApplicationProxy {
public:
    using HandlerMap = QHash<QString, std::shared_ptr<LWApplicationProxyHandler>>;

    // URLs are opened through `workspace`, which must outlive the proxy.
    LWApplicationProxy(const QString& protocol, LWWorkspace* workspace);

    QString appProtocol() const;
    void setAppProtocol(const QString& protocol);
    // Handler name to handler; the proxy shares ownership of the handlers.
    HandlerMap delegatesByName() const;
    void setDelegatesByName(const HandlerMap& delegates);
    // Changes one entry of the map (an empty handler removes it).
    void setDelegateForName(const QString& name,
                            std::shared_ptr<LWApplicationProxyHandler> handler);
    void removeDelegateForName(const QString& name);

    // Performs the command of a URL delivered to the program, given as the
    // text it arrived as (the handler name is looked up exactly as written).
    void handleIncomingURL(const QString& url);

    // Writes the command URL for this proxy's own scheme and opens it, then
    // brings this application to the front. Arguments are written as text
    // (QVariant::toString) and percent-encoded; an invalid QVariant ends them.
    void remoteInvokeSelector(const QString& selector, const QString& handler,
                              const QVariantList& arguments);

    // How the application is brought to the front after opening a URL. The
    // default raises and activates the application's most recent window.
    void setActivateApplication(std::function<void()> activate);

    // Lists as the warnings show them: ("a", "b").
    static QString describeList(const QStringList& list);

private:
    std::optional<QString> _selectorNameFromPath(const QStringList& path,
                                                 std::optional<QStringList>* arguments) const;

    mutable QMutex _lock;
    QString _appProtocol;
    HandlerMap _delegatesByName;
    LWWorkspace* _workspace;
    std::function<void()> _activateApplication;
};
