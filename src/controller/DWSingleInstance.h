#pragma once

#include <QObject>
#include <QString>
#include <QStringList>

class QLocalServer;

// Keeps Dotwise to one running copy per user session, so that two processes
// never badge the same files. The first start holds an exclusive lock on a file
// in the user's runtime folder (released by the kernel when the process ends,
// however it ends) and listens on a local socket beside it; a later start finds
// the lock taken and hands its launch, over the socket, to the running copy.
class DWSingleInstance : public QObject {
    Q_OBJECT
public:
    // What a start brings: files to watch, and the launcher's tokens that let
    // the running copy's window come forward and end the launch feedback.
    struct Launch {
        QStringList files;
        QString xdgActivationToken; // Wayland: XDG_ACTIVATION_TOKEN
        QString desktopStartupId;   // X11: DESKTOP_STARTUP_ID

        // This process's tokens, from its environment.
        static Launch fromEnvironment(const QStringList& files);
        bool operator==(const Launch&) const = default;
    };

    // `directory` holds the lock and the socket; `name` tells applications
    // apart (the bundle identifier).
    DWSingleInstance(const QString& directory, const QString& name, QObject* parent = nullptr);
    ~DWSingleInstance() override;

    // $XDG_RUNTIME_DIR (private to the user and the session).
    static QString defaultDirectory();

    // True when this process is now the running copy; it then answers later
    // starts with reopenRequested(). False when another copy holds the session.
    // A lock that cannot be taken for another reason (no runtime folder) lets
    // this process run, with a warning.
    bool claim();
    bool isPrimary() const { return _isPrimary; }

    // From a later start: hands the launch to the running copy, which brings
    // its window forward and takes the files. True once it has answered.
    // False when no copy answered in time.
    bool handOver(const Launch& launch = {}, int timeoutMs = 5000);

    QString lockPath() const;
    QString socketPath() const;

signals:
    // A later start asked this copy to come forward. Main thread.
    void reopenRequested(const DWSingleInstance::Launch& launch);

private:
    void acceptConnections();

    QString _directory;
    QString _name;
    int _lockDescriptor = -1;
    bool _isPrimary = false;
    QLocalServer* _server = nullptr;
};
