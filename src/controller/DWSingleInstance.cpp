#include "controller/DWSingleInstance.h"

#include "logging/LWLogger.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLocalServer>
#include <QLocalSocket>
#include <QPointer>
#include <QStandardPaths>
#include <QThread>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <optional>
#include <sys/file.h>
#include <unistd.h>

namespace {
// "reopen", then the launch as one line of JSON, then a line feed.
const QByteArray reopenRequest = QByteArrayLiteral("reopen");
const QByteArray reopenAnswer = QByteArrayLiteral("ok\n");
// Enough for thousands of file names; anything longer isn't one of ours.
constexpr qint64 maxRequestLength = 4 * 1024 * 1024;

QByteArray encode(const DWSingleInstance::Launch& launch) {
    const QJsonObject object{{QStringLiteral("files"), QJsonArray::fromStringList(launch.files)},
                             {QStringLiteral("xdgActivationToken"), launch.xdgActivationToken},
                             {QStringLiteral("desktopStartupId"), launch.desktopStartupId}};
    // Compact JSON escapes line feeds inside strings: the request stays one line.
    return reopenRequest + ' ' + QJsonDocument(object).toJson(QJsonDocument::Compact) + '\n';
}

std::optional<DWSingleInstance::Launch> decode(QByteArray line) {
    if (!line.endsWith('\n'))
        return std::nullopt;
    line.chop(1);
    if (line == reopenRequest)
        return DWSingleInstance::Launch{};
    if (!line.startsWith(reopenRequest + ' '))
        return std::nullopt;
    const QJsonDocument document = QJsonDocument::fromJson(line.mid(reopenRequest.size() + 1));
    if (!document.isObject())
        return std::nullopt;
    const QJsonObject object = document.object();
    DWSingleInstance::Launch launch;
    for (const QJsonValue& file : object.value(QStringLiteral("files")).toArray())
        if (file.isString())
            launch.files.append(file.toString());
    launch.xdgActivationToken = object.value(QStringLiteral("xdgActivationToken")).toString();
    launch.desktopStartupId = object.value(QStringLiteral("desktopStartupId")).toString();
    return launch;
}
} // namespace

DWSingleInstance::Launch DWSingleInstance::Launch::fromEnvironment(const QStringList& files) {
    return Launch{files, qEnvironmentVariable("XDG_ACTIVATION_TOKEN"),
                  qEnvironmentVariable("DESKTOP_STARTUP_ID")};
}

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
                if (socket->bytesAvailable() > maxRequestLength) // not one of ours
                    socket->abort();
                return;
            }
            const std::optional<Launch> launch = decode(socket->readLine(maxRequestLength));
            if (launch) {
                socket->write(reopenAnswer);
                socket->flush();
            } else {
                LW_LOG(1, "-[DWSingleInstance acceptConnections]",
                       QStringLiteral("Ignoring a request on %1 that is not a start of Dotwise")
                           .arg(socketPath()));
            }
            socket->disconnectFromServer();
            if (launch)
                emit reopenRequested(*launch);
        });
    }
}

bool DWSingleInstance::handOver(const Launch& launch, int timeoutMs) {
    const QByteArray request = encode(launch);
    QDeadlineTimer deadline(timeoutMs);
    // The running copy may be between taking its lock and listening: try again
    // for a moment rather than fail at once.
    while (!deadline.hasExpired()) {
        QLocalSocket socket;
        socket.connectToServer(socketPath());
        if (socket.waitForConnected(qMin<qint64>(250, qMax<qint64>(1, deadline.remainingTime())))) {
            socket.write(request);
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
