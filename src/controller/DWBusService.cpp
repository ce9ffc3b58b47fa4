#include "controller/DWBusService.h"

#include "controller/DotwiseAppDelegate.h"
#include "logging/LWLogger.h"
#include "model/DWTaskList.h"
#include "platform/DWBadgeMode.h"

#include <QDBusConnectionInterface>

DWBusService::DWBusService(DotwiseAppDelegate& controller, QObject* parent)
    : QObject(parent), _controller(controller) {
    _announcedEnabled = controller.isDotwiseEnabled();
    for (const DotwiseAppDelegate::TaskListPointer& taskList : controller.taskLists())
        _announced.insert(taskList->path(), taskList->openTasks());
    connect(&controller, &DotwiseAppDelegate::statusMenuRebuilt, this,
            &DWBusService::announceChanges);
    connect(&controller, &DotwiseAppDelegate::dotwiseEnabledChanged, this,
            &DWBusService::announceChanges);
}

DWBusService::~DWBusService() {
    if (_connection.isConnected() && !_serviceName.isEmpty()) {
        _connection.unregisterObject(objectPathFor(_serviceName));
        _connection.unregisterService(_serviceName);
    }
}

QString DWBusService::objectPathFor(const QString& serviceName) {
    return QLatin1Char('/') + QString(serviceName).replace(QLatin1Char('.'), QLatin1Char('/'));
}

bool DWBusService::registerOn(QDBusConnection connection, const QString& serviceName) {
    if (!connection.isConnected()) {
        LW_LOG(1, "-[DWBusService registerOn:]",
               QStringLiteral("No D-Bus session: file manager plugins can't see the counts (%1)")
                   .arg(connection.lastError().message()));
        return false;
    }
    if (!connection.registerObject(objectPathFor(serviceName), this,
                                   QDBusConnection::ExportScriptableContents)) {
        LW_LOG(1, "-[DWBusService registerOn:]",
               QStringLiteral("Can't export the D-Bus object %1").arg(objectPathFor(serviceName)));
        return false;
    }
    if (!connection.registerService(serviceName)) {
        LW_LOG(1, "-[DWBusService registerOn:]",
               QStringLiteral("Can't take the D-Bus name %1: %2")
                   .arg(serviceName, connection.lastError().message()));
        connection.unregisterObject(objectPathFor(serviceName));
        return false;
    }
    _connection = connection;
    _serviceName = serviceName;
    return true;
}

QVariantMap DWBusService::TaskLists() const {
    QVariantMap counts;
    for (const DotwiseAppDelegate::TaskListPointer& taskList : _controller.taskLists())
        counts.insert(taskList->path(), taskList->openTasks());
    return counts;
}

bool DWBusService::IsEnabled() const {
    return _controller.isDotwiseEnabled();
}

QString DWBusService::BadgeMode() const {
    return DWBadgeMode::name(_controller.badgeMode());
}

void DWBusService::announceChanges() {
    QHash<QString, int> current;
    current.reserve(_controller.taskLists().size());
    for (const DotwiseAppDelegate::TaskListPointer& taskList : _controller.taskLists())
        current.insert(taskList->path(), taskList->openTasks());
    for (auto it = _announced.cbegin(); it != _announced.cend(); ++it) {
        if (!current.contains(it.key()))
            emit TaskListRemoved(it.key());
    }
    for (auto it = current.cbegin(); it != current.cend(); ++it) {
        const auto old = _announced.constFind(it.key());
        if (old == _announced.cend())
            emit TaskListAdded(it.key(), it.value());
        else if (old.value() != it.value())
            emit TaskListChanged(it.key(), it.value());
    }
    _announced = std::move(current);
    if (_announcedEnabled != _controller.isDotwiseEnabled()) {
        _announcedEnabled = _controller.isDotwiseEnabled();
        emit EnabledChanged(_announcedEnabled);
    }
}
