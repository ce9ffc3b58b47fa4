#include "logging/LWLogger.h"

#include "foundation/LWBundle.h"
#include "foundation/LWPreferences.h"
#include "logging/LWSystemLog.h"

#include <QFileInfo>
#include <QRecursiveMutex>

namespace {
QRecursiveMutex creationLock;
std::atomic<LWLogger*> sharedLogger{nullptr};
LWLogger* loggerUnderConstruction = nullptr;
} // namespace

LWLogger* LWLogger::sharedInstance() {
    if (LWLogger* logger = sharedLogger.load(std::memory_order_acquire))
        return logger;
    QMutexLocker locker(&creationLock);
    if (LWLogger* logger = sharedLogger.load(std::memory_order_acquire))
        return logger;
    // The notice logged while configuring comes back here on the same thread
    // and must reach the logger being built, not make a second one.
    if (loggerUnderConstruction)
        return loggerUnderConstruction;
    loggerUnderConstruction = new LWLogger();
    loggerUnderConstruction->configure();
    sharedLogger.store(loggerUnderConstruction, std::memory_order_release);
    return loggerUnderConstruction;
}

LWLogger::LWLogger() = default;

void LWLogger::configure() {
    const LWBundle& bundle = LWBundle::mainBundle();
    const QVariant level = bundle.objectForInfoDictionaryKey(QStringLiteral("LWConfigLogLevel"));
    setMaxLogLevel(level.isValid() ? level.toInt() : 2);
    const QVariant backlog =
        bundle.objectForInfoDictionaryKey(QStringLiteral("LWConfigMessageBacklogSize"));
    setMessageBacklogSize(backlog.isValid() ? backlog.toInt() : 0);
    {
        QMutexLocker locker(&_backlogLock);
        _messageBacklog.reserve(qMax(0, messageBacklogSize()));
    }
    const QString debugKey = QStringLiteral("DebugLoggingEnabled");
    if (LWPreferences::standard().boolForKey(debugKey)) {
        setMaxLogLevel(3);
        LW_LOG(2, "-[LWLogger init]",
               QStringLiteral("Enabling debug logging based on special setting: %1").arg(debugKey));
    }
}

QStringList LWLogger::messageBacklog() const {
    QMutexLocker locker(&_backlogLock);
    return _messageBacklog;
}

void LWLogger::setMessageBacklog(const QStringList& backlog) {
    QMutexLocker locker(&_backlogLock);
    _messageBacklog = backlog;
}

QString LWLogger::levelName(int level) {
    switch (unsigned(level)) {
    case 0:
        return QStringLiteral("ERROR");
    case 1:
        return QStringLiteral(" WARN");
    case 2:
        return QStringLiteral(" INFO");
    case 3:
        return QStringLiteral("DEBUG");
    default:
        return QStringLiteral("?????");
    }
}

QString LWLogger::formatLine(const QString& message, int level, const QString& file,
                             const QString& function, int line) {
    return QStringLiteral("%1| %2 |%3:%4| %5")
        .arg(levelName(level), message, QFileInfo(file).fileName(), QString::number(line),
             function);
}

void LWLogger::log(const QString& message, int level, const QString& file, const QString& function,
                   int line) {
    const QString text = formatLine(message, level, file, function, line);
    const int backlogSize = messageBacklogSize();
    if (backlogSize > 0) {
        QMutexLocker locker(&_backlogLock);
        _messageBacklog.prepend(text);
        while (_messageBacklog.size() > backlogSize)
            _messageBacklog.removeLast();
    }
    if (unsigned(level) <= unsigned(maxLogLevel()))
        lw::systemLog(text);
}

QString lw::sourcePathWithoutExtension(const char* path) {
    const QString full = QString::fromUtf8(path);
    const qsizetype slash = full.lastIndexOf(QLatin1Char('/'));
    const qsizetype dot = full.lastIndexOf(QLatin1Char('.'));
    return dot > slash ? full.left(dot) : full;
}
