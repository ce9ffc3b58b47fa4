#pragma once

#include <QMutex>
#include <QString>
#include <QStringList>
#include <atomic>

// The one logger of the process. Every message is formatted by the caller,
// kept in the backlog (when one is configured) and printed to standard error
// when its level is within the threshold.
class LWLogger {
public:
    // Created on first use from the main bundle's information and the user's
    // preferences; the same object ever after. Never destroyed.
    static LWLogger* sharedInstance();

    void log(const QString& message, int level, const QString& file, const QString& function,
             int line);

    int maxLogLevel() const { return _maxLogLevel.load(std::memory_order_relaxed); }
    void setMaxLogLevel(int level) { _maxLogLevel.store(level, std::memory_order_relaxed); }
    int messageBacklogSize() const { return _messageBacklogSize.load(std::memory_order_relaxed); }
    void setMessageBacklogSize(int size) {
        _messageBacklogSize.store(size, std::memory_order_relaxed);
    }
    // Newest line first.
    QStringList messageBacklog() const;
    void setMessageBacklog(const QStringList& backlog);

    // The five-character name a level is shown with.
    static QString levelName(int level);
    // The line as it is printed and kept, before the time stamp is added.
    static QString formatLine(const QString& message, int level, const QString& file,
                              const QString& function, int line);

    LWLogger(const LWLogger&) = delete;
    LWLogger& operator=(const LWLogger&) = delete;

private:
    LWLogger();
    ~LWLogger() = default;
    void configure();

    std::atomic<int> _maxLogLevel{2};
    std::atomic<int> _messageBacklogSize{0};
    mutable QMutex _backlogLock;
    QStringList _messageBacklog;
};

namespace lw {
// "src/model/DWTaskList.cpp" -> "src/model/DWTaskList": the logger shows the last
// component, so lines read "DWTaskList:62".
QString sourcePathWithoutExtension(const char* path);
} // namespace lw

// Logs a finished message with the caller's place. `function` is the name the
// message table gives, e.g. "-[DWTaskList updateOpenTasks]".
#define LW_LOG(level, function, message)                                                           \
    LWLogger::sharedInstance()->log((message), (level), lw::sourcePathWithoutExtension(__FILE__),  \
                                    QStringLiteral(function), __LINE__)
