#pragma once

#include <QString>

namespace dwtest {
// Points HOME and the XDG folders at a fresh temporary folder for this process.
// Must run before anything reads them (QSettings caches its path).
void isolateUserFolders();
// The temporary home made by isolateUserFolders().
QString homePath();

// Creates a file with the given bytes; parent folders are made as needed.
void writeFile(const QString& path, const QByteArray& bytes);
QByteArray readFile(const QString& path);

// Runs the event loop until `done` answers true or `timeoutMs` passes; returns
// what `done` answered last. Waiting with a deadline instead of a fixed sleep.
template <typename Predicate> bool waitUntil(Predicate done, int timeoutMs);
bool processEventsFor(int ms);
} // namespace dwtest

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QThread>

template <typename Predicate> bool dwtest::waitUntil(Predicate done, int timeoutMs) {
    QDeadlineTimer deadline(timeoutMs);
    while (!done()) {
        if (deadline.hasExpired())
            return done();
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
        QThread::msleep(1);
    }
    return true;
}
