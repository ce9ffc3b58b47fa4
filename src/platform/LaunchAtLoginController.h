#pragma once

#include <QCoreApplication>
#include <QFileInfo>
#include <QObject>
#include <QString>
#include <QUrl>

// Whether the application starts when the user logs in. The controller asks
// and sets it through this interface; the two primitives say where the
// setting lives (the session's autostart entries, the preferences, or a
// test's memory), the rest is shared. Main thread only.
class LaunchAtLoginController : public QObject {
    Q_OBJECT
    Q_PROPERTY(
        bool startAtLogin READ launchAtLogin WRITE setLaunchAtLogin NOTIFY launchAtLoginChanged)

public:
    using QObject::QObject;

    // A file URL of this program: the running executable (or the AppImage it
    // was started from).
    QUrl appURL() const {
        // An AppImage runs from a temporary mount; the image itself is what to
        // start.
        const QString appImage = qEnvironmentVariable("APPIMAGE");
        if (!appImage.isEmpty())
            return QUrl::fromLocalFile(appImage);
        QString executable;
        if (QCoreApplication::instance())
            executable = QCoreApplication::applicationFilePath();
        if (executable.isEmpty())
            executable = QFileInfo(QStringLiteral("/proc/self/exe")).canonicalFilePath();
        return QUrl::fromLocalFile(executable);
    }

    bool launchAtLogin() const { return willLaunchAtLogin(appURL()); }
    // Sets it, then emits launchAtLoginChanged with the state read back.
    void setLaunchAtLogin(bool launchAtLogin) {
        setLaunchAtLogin(appURL(), launchAtLogin);
        emit launchAtLoginChanged(this->launchAtLogin());
    }

    // True when the program at `appURL` starts at login.
    virtual bool willLaunchAtLogin(const QUrl& appURL) const = 0;
    // Makes it start at login or not. Failures are not reported; the next
    // read shows what happened.
    virtual void setLaunchAtLogin(const QUrl& appURL, bool enabled) = 0;

signals:
    void launchAtLoginChanged(bool launchAtLogin);
};
