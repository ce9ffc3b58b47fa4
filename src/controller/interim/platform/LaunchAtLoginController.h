#pragma once
// INTERIM stand-in until the platform layer lands; removed then.
#include <QObject>

class LaunchAtLoginController : public QObject {
    Q_OBJECT
public:
    using QObject::QObject;
    virtual bool launchAtLogin() const { return _flag; }
    virtual void setLaunchAtLogin(bool enabled) {
        _flag = enabled;
        emit launchAtLoginChanged(enabled);
    }
signals:
    void launchAtLoginChanged(bool enabled);

private:
    bool _flag = false;
};
