#pragma once

#include <QObject>
#include <QString>
#include <QUrl>

// Whether the application starts when the user logs in, kept as an XDG
// autostart entry in $XDG_CONFIG_HOME/autostart. An entry counts when its Exec
// resolves to this executable and it is neither Hidden nor disabled with
// X-GNOME-Autostart-enabled=false; entries of other copies of the application
// are left alone. Nothing is cached: every question reads the folder afresh.
//
// The two primitives are virtual, so a variant (or a test's fake) can keep the
// flag elsewhere. Main thread only.
class LaunchAtLoginController : public QObject {
    Q_OBJECT
    Q_PROPERTY(
        bool startAtLogin READ launchAtLogin WRITE setLaunchAtLogin NOTIFY launchAtLoginChanged)

public:
    explicit LaunchAtLoginController(QObject* parent = nullptr);
    ~LaunchAtLoginController() override;

    // A file URL of this program: the running executable (or the AppImage it
    // was started from).
    QUrl appURL() const;

    bool launchAtLogin() const;
    // Adds or removes the entry, then emits launchAtLoginChanged with the state
    // read back.
    void setLaunchAtLogin(bool launchAtLogin);

    // True when an entry counts for the program at `appURL`.
    virtual bool willLaunchAtLogin(const QUrl& appURL) const;
    // Adds an entry when there is none, or removes those that count. Failures
    // are not reported; the next read shows what happened.
    virtual void setLaunchAtLogin(const QUrl& appURL, bool enabled);

    // $XDG_CONFIG_HOME/autostart
    static QString autostartDirectory();

signals:
    void launchAtLoginChanged(bool launchAtLogin);
};
