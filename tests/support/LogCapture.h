#pragma once

#include "logging/LWLogger.h"

#include <QString>
#include <QStringList>
#include <gtest/gtest.h>

namespace dwtest {
// While alive, keeps the shared logger's lines and captures standard error
// (where the logger and the system log print); restores the logger after.
class LogCapture {
public:
    explicit LogCapture(int backlogSize = 16)
        : _logger(LWLogger::sharedInstance()), _savedSize(_logger->messageBacklogSize()) {
        _logger->setMessageBacklogSize(backlogSize);
        _logger->setMessageBacklog({});
        ::testing::internal::CaptureStderr();
    }
    ~LogCapture() {
        standardError();
        _logger->setMessageBacklogSize(_savedSize);
        _logger->setMessageBacklog({});
    }
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    // The logger's lines, newest first.
    QStringList loggerLines() const { return _logger->messageBacklog(); }
    // What reached standard error; ends that part of the capture.
    QString standardError() {
        if (_capturing) {
            _stderr = QString::fromStdString(::testing::internal::GetCapturedStderr());
            _capturing = false;
        }
        return _stderr;
    }

private:
    LWLogger* _logger;
    int _savedSize;
    bool _capturing = true;
    QString _stderr;
};
} // namespace dwtest
