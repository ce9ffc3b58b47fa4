#pragma once

#include <QDBusConnection>
#include <QHash>
#include <QObject>
#include <QVariantMap>

class DotwiseAppDelegate;

// The running app on the session bus, under its app id: the watched files
// with their open-task counts, whether badging is on, and a signal for every
// change of those. File managers' overlay plugins and scripts read it.
//
// It follows the controller from the outside: after every status-menu rebuild
// (which ends every burst of badge updates, additions and removals) and every
// switch, it compares the controller's state with the one it last announced
// and signals the difference. Main thread only.
//
// The interface is described in data/org.wrenfield.Dotwise.xml.
class DWBusService : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.wrenfield.Dotwise")
public:
    static constexpr const char* kInterface = "org.wrenfield.Dotwise";

    explicit DWBusService(DotwiseAppDelegate& controller, QObject* parent = nullptr);
    ~DWBusService() override;

    // Exports the object at the path made from `serviceName` and claims that
    // name; false (and a log line) when the bus is missing or the name taken.
    bool registerOn(QDBusConnection connection, const QString& serviceName);
    static QString objectPathFor(const QString& serviceName);

public slots:
    // Path to open-task count of every watched file (-1: not counted, not yet
    // or because badging is off).
    Q_SCRIPTABLE QVariantMap TaskLists() const;
    Q_SCRIPTABLE bool IsEnabled() const;
    // "picture" or "emblem": how badges are shown on files.
    Q_SCRIPTABLE QString BadgeMode() const;

signals:
    Q_SCRIPTABLE void TaskListAdded(const QString& path, int openTasks);
    Q_SCRIPTABLE void TaskListChanged(const QString& path, int openTasks);
    Q_SCRIPTABLE void TaskListRemoved(const QString& path);
    Q_SCRIPTABLE void EnabledChanged(bool enabled);

private:
    void announceChanges();

    DotwiseAppDelegate& _controller;
    QHash<QString, int> _announced;
    bool _announcedEnabled = false;
    QDBusConnection _connection{QString()};
    QString _serviceName;
};
