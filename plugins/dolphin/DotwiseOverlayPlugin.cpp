#include "DotwiseOverlayPlugin.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QUrl>

namespace {
const QString service = QStringLiteral("org.wrenfield.Dotwise");
const QString objectPath = QStringLiteral("/org/wrenfield/Dotwise");
const QString interface = QStringLiteral("org.wrenfield.Dotwise");

// Calls the running Dotwise without waiting; `handle` gets the reply later.
template <typename Reply, typename Handler>
void callLater(QObject* owner, const QString& method, Handler handle) {
    const QDBusPendingCall call = QDBusConnection::sessionBus().asyncCall(
        QDBusMessage::createMethodCall(service, objectPath, interface, method));
    auto* watcher = new QDBusPendingCallWatcher(call, owner);
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, owner,
                     [watcher, handle](QDBusPendingCallWatcher*) {
                         const QDBusPendingReply<Reply> reply = *watcher;
                         if (!reply.isError())
                             handle(reply.value());
                         watcher->deleteLater();
                     });
}
} // namespace

DotwiseOverlayPlugin::DotwiseOverlayPlugin(QObject* parent)
    : KOverlayIconPlugin(parent), _watcher(service, QDBusConnection::sessionBus(),
                                           QDBusServiceWatcher::WatchForRegistration |
                                               QDBusServiceWatcher::WatchForUnregistration) {
    QDBusConnection bus = QDBusConnection::sessionBus();
    bus.connect(service, objectPath, interface, QStringLiteral("TaskListAdded"), this,
                SLOT(taskListChanged(QString, int)));
    bus.connect(service, objectPath, interface, QStringLiteral("TaskListChanged"), this,
                SLOT(taskListChanged(QString, int)));
    bus.connect(service, objectPath, interface, QStringLiteral("TaskListRemoved"), this,
                SLOT(taskListRemoved(QString)));
    bus.connect(service, objectPath, interface, QStringLiteral("EnabledChanged"), this,
                SLOT(enabledChanged(bool)));
    connect(&_watcher, &QDBusServiceWatcher::serviceRegistered, this, &DotwiseOverlayPlugin::fetch);
    connect(&_watcher, &QDBusServiceWatcher::serviceUnregistered, this,
            &DotwiseOverlayPlugin::forget);
    fetch();
}

QStringList DotwiseOverlayPlugin::getOverlays(const QUrl& item) {
    return item.isLocalFile() ? overlaysFor(item.toLocalFile()) : QStringList();
}

QStringList DotwiseOverlayPlugin::overlaysFor(const QString& path) const {
    const auto count = _counts.constFind(path);
    if (!_enabled || count == _counts.cend() || count.value() < 0)
        return {};
    return {QStringLiteral("emblem-dotwise-%1").arg(count.value())};
}

void DotwiseOverlayPlugin::announce(const QString& path) {
    Q_EMIT overlaysChanged(QUrl::fromLocalFile(path), overlaysFor(path));
}

void DotwiseOverlayPlugin::fetch() {
    callLater<bool>(this, QStringLiteral("IsEnabled"),
                    [this](bool enabled) { enabledChanged(enabled); });
    callLater<QVariantMap>(this, QStringLiteral("TaskLists"), [this](const QVariantMap& counts) {
        for (auto it = counts.cbegin(); it != counts.cend(); ++it)
            taskListChanged(it.key(), it.value().toInt());
    });
}

void DotwiseOverlayPlugin::forget() {
    const QList<QString> paths = _counts.keys();
    _counts.clear();
    _enabled = false;
    for (const QString& path : paths)
        announce(path);
}

void DotwiseOverlayPlugin::taskListChanged(const QString& path, int openTasks) {
    _counts.insert(path, openTasks);
    announce(path);
}

void DotwiseOverlayPlugin::taskListRemoved(const QString& path) {
    _counts.remove(path);
    announce(path);
}

void DotwiseOverlayPlugin::enabledChanged(bool enabled) {
    if (_enabled == enabled)
        return;
    _enabled = enabled;
    for (auto it = _counts.cbegin(); it != _counts.cend(); ++it)
        announce(it.key());
}
