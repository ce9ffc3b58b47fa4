#include "controller/DWSingleInstance.h"

#include "logging/LWLogger.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QLocalServer>
#include <QLocalSocket>
#include <QPointer>
#include <QStandardPaths>
#include <QThread>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace {
const QByteArray reopenRequest = QByteArrayLiteral("reopen\n");
const QByteArray reopenAnswer = QByteArrayLiteral("ok\n");
} // namespace

DWSingleInstance::DWSingleInstance(const QString& directory, const QString& name, QObject* parent)
    : QObject(parent), _directory(directory), _name(name) {}

DWSingleInstance::~DWSingleInstance() {
    if (_server) {
        _server->close();
        QLocalServer::removeServer(socketPath());
    }
    if (_lockDescriptor >= 0)
        ::close(_lockDescriptor); // releases the lock
}

QString DWSingleInstance::defaultDirectory() {
    return QStandardPaths::writableLocation(QStandardPaths::RuntimeLocation);
}

QString DWSingleInstance::lockPath() const {
    return _directory + QLatin1Char('/') + _name + QStringLiteral(".lock");
}

QString DWSingleInstance::socketPath() const {
    return _directory + QLatin1Char('/') + _name + QStringLiteral(".socket");
}

bool DWSingleInstance::claim() {
    if (_isPrimary)
        return true;
    QDir().mkpath(_directory);
    const QByteArray lockFile = QFile::encodeName(lockPath());
    const int descriptor = ::open(lockFile.constData(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    if (descriptor < 0) {
        LW_LOG(1, "-[DWSingleInstance claim]",
               QStringLiteral("Could not open the instance lock %1 (%2); running without it")
                   .arg(lockPath(), QString::fromLocal8Bit(std::strerror(errno))));
        _isPrimary = true;
        return true;
    }
    if (::flock(descriptor, LOCK_EX | LOCK_NB) != 0) {
        const int error = errno;
        ::close(descriptor);
        if (error == EWOULDBLOCK)
            return false;
        LW_LOG(1, "-[DWSingleInstance claim]",
               QStringLiteral("Could not lock %1 (%2); running without it")
                   .arg(lockPath(), QString::fromLocal8Bit(std::strerror(error))));
        _isPrimary = true;
        return true;
    }
    _lockDescriptor = descriptor;
    _isPrimary = true;

    // A socket left behind by a copy that crashed is in the way; the lock says
    // nobody uses it any more.
    QLocalServer::removeServer(socketPath());
    _server = new QLocalServer(this);
    _server->setSocketOptions(QLocalServer::UserAccessOption);
    if (!_server->listen(socketPath())) {
        LW_LOG(1, "-[DWSingleInstance claim]",
               QStringLiteral("Could not listen on %1 (%2); a second start cannot reach this one")
                   .arg(socketPath(), _server->errorString()));
        return true;
    }
    connect(_server, &QLocalServer::newConnection, this, &DWSingleInstance::acceptConnections);
    return true;
}

void DWSingleInstance::acceptConnections() {
    while (QLocalSocket* socket = _server->nextPendingConnection()) {
        connect(socket, &QLocalSocket::disconnected, socket, &QObject::deleteLater);
        connect(socket, &QLocalSocket::readyRead, this, [this, socket] {
            if (!socket->canReadLine()) {
                if (socket->bytesAvailable() > 64) // not one of ours
                    socket->abort();
                return;
            }
            const QByteArray line = socket->readLine(64);
            if (line == reopenRequest) {
                socket->write(reopenAnswer);
                socket->flush();
                emit reopenRequested();
            }
            socket->disconnectFromServer();
        });
    }
}

bool DWSingleInstance::handOver(int timeoutMs) {
    QDeadlineTimer deadline(timeoutMs);
    // The running copy may be between taking its lock and listening: try again
    // for a moment rather than fail at once.
    while (!deadline.hasExpired()) {
        QLocalSocket socket;
        socket.connectToServer(socketPath());
        if (socket.waitForConnected(qMin<qint64>(250, qMax<qint64>(1, deadline.remainingTime())))) {
            socket.write(reopenRequest);
            if (!socket.waitForBytesWritten(int(qMax<qint64>(1, deadline.remainingTime()))))
                return false;
            while (!socket.canReadLine()) {
                if (deadline.hasExpired() ||
                    !socket.waitForReadyRead(int(qMax<qint64>(1, deadline.remainingTime()))))
                    return false;
            }
            return socket.readLine(64) == reopenAnswer;
        }
        QThread::msleep(50);
    }
    return false;
}
