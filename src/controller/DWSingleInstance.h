#pragma once

#include <QObject>
#include <QString>

class QLocalServer;

// Keeps Dotwise to one running copy per user session, so that two processes
// never badge the same files. The first start holds an exclusive lock on a file
// in the user's runtime folder (released by the kernel when the process ends,
// however it ends) and listens on a local socket beside it; a later start finds
// the lock taken and asks the running copy, over the socket, to come forward.
class DWSingleInstance : public QObject {
    Q_OBJECT
public:
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

    // From a later start: asks the running copy to bring its window forward.
    // True once it has answered. False when no copy answered in time.
    bool handOver(int timeoutMs = 5000);

    QString lockPath() const;
    QString socketPath() const;

signals:
    // A later start asked this copy to come forward. Main thread.
    void reopenRequested();

private:
    void acceptConnections();

    QString _directory;
    QString _name;
    int _lockDescriptor = -1;
    bool _isPrimary = false;
    QLocalServer* _server = nullptr;
};
