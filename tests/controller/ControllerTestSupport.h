#pragma once

#include "controller/DotwiseAppDelegate.h"
#include "fakes/FakeDirectoryEventStreamFactory.h"
#include "fakes/FakeLaunchAtLoginController.h"
#include "fakes/FakeWorkspace.h"
#include "foundation/LWPreferences.h"
#include "logging/LWLogger.h"
#include "model/DWTaskList.h"
#include "model/DWTaskRuleSet.h"
#include "monitoring/DWFileWatcher.h"
#include "support/TestEnvironment.h"

#include <QAction>
#include <QDeadlineTimer>
#include <QMenu>
#include <QMutex>
#include <QWaitCondition>
#include <gtest/gtest.h>

// The fake workspace, plus one list of every icon and date write in the order
// they happened ("remove a.txt", "set a.txt", "date a.txt"), and a gate that
// holds badge updates inside iconForFile until the test lets them through.
class RecordingWorkspace : public FakeWorkspace {
public:
    LWIconImage iconForFile(const QString& path) const override {
        QMutexLocker locker(&_gateLock);
        ++_waiting;
        _gateChanged.wakeAll();
        while (_gated && _permits == 0)
            _gateChanged.wait(&_gateLock);
        if (_gated)
            --_permits;
        --_waiting;
        locker.unlock();
        return FakeWorkspace::iconForFile(path);
    }
    bool setIcon(const LWIconImage& icon, const QString& path) override {
        record((icon.isEmpty() ? QStringLiteral("remove ") : QStringLiteral("set ")) + name(path));
        return FakeWorkspace::setIcon(icon, path);
    }
    bool setContentModificationDate(const QString& path, const LWTimestamp& date) override {
        record(QStringLiteral("date ") + name(path));
        return FakeWorkspace::setContentModificationDate(path, date);
    }

    QStringList events() const {
        QMutexLocker locker(&_eventLock);
        return _events;
    }
    QStringList eventsFor(const QString& fileName) const {
        QStringList matching;
        for (const QString& event : events()) {
            if (event.endsWith(QLatin1Char(' ') + fileName))
                matching.append(event.section(QLatin1Char(' '), 0, 0));
        }
        return matching;
    }
    void clearEvents() {
        QMutexLocker locker(&_eventLock);
        _events.clear();
    }

    // While closed, each update waits in iconForFile for a permit.
    void closeGate() {
        QMutexLocker locker(&_gateLock);
        _gated = true;
    }
    void openGate() {
        QMutexLocker locker(&_gateLock);
        _gated = false;
        _gateChanged.wakeAll();
    }
    void permit(int count = 1) {
        QMutexLocker locker(&_gateLock);
        _permits += count;
        _gateChanged.wakeAll();
    }
    bool waitUntilAnUpdateWaits(int timeoutMs = 5000) {
        QMutexLocker locker(&_gateLock);
        QDeadlineTimer deadline(timeoutMs);
        while (_waiting == 0) {
            if (!_gateChanged.wait(&_gateLock, deadline))
                return false;
        }
        return true;
    }

private:
    static QString name(const QString& path) { return path.section(QLatin1Char('/'), -1); }
    void record(const QString& event) {
        QMutexLocker locker(&_eventLock);
        _events.append(event);
    }

    mutable QMutex _eventLock;
    QStringList _events;
    mutable QMutex _gateLock;
    mutable QWaitCondition _gateChanged;
    bool _gated = false;
    mutable int _permits = 0;
    mutable int _waiting = 0;
};

// A controller over the fakes, with the preferences and the logger's backlog
// cleared for each test.
class ControllerTest : public ::testing::Test {
protected:
    void SetUp() override {
        LWPreferences::standard().removeObject(QStringLiteral("TaskLists"));
        // A returning user: the first-run offer has been made (tests of the
        // offer itself remove this).
        LWPreferences::standard().setBool(QStringLiteral("DidCreateExampleData"), true);
        LWLogger::sharedInstance()->setMessageBacklogSize(2000);
        LWLogger::sharedInstance()->setMessageBacklog({});
        const auto* info = ::testing::UnitTest::GetInstance()->current_test_info();
        folder = dwtest::homePath() +
                 QStringLiteral("/%1.%2").arg(QString::fromLatin1(info->test_suite_name()),
                                              QString::fromLatin1(info->name()));
    }
    void TearDown() override {
        workspace.openGate();
        if (delegate)
            delegate->waitUntilBadgeUpdatesFinish();
        delegate.reset();
    }

    // Creates the controller (init and awakeFromNib) and, unless told not to,
    // runs applicationDidFinishLaunching.
    // The watcher uses the fake streams unless the test hands it a factory.
    DotwiseAppDelegate& start(bool launchAtLogin, bool finishLaunching = true,
                              std::shared_ptr<DWDirectoryEventStreamFactory> factory = nullptr) {
        DotwiseAppDelegate::Services services;
        services.workspace = &workspace;
        auto loginItemController = std::make_unique<FakeLaunchAtLoginController>();
        loginItemController->setRegistered(launchAtLogin);
        loginItem = loginItemController.get();
        services.launchAtLoginController = std::move(loginItemController);
        services.fileWatcher = std::make_unique<DWFileWatcher>(factory ? factory : streams);
        services.terminate = [this] { ++terminations; };
        delegate = std::make_unique<DotwiseAppDelegate>(std::move(services));
        if (finishLaunching)
            delegate->applicationDidFinishLaunching();
        return *delegate;
    }

    QString makeFile(const QString& name, const QByteArray& contents) {
        const QString path = folder + QLatin1Char('/') + name;
        dwtest::writeFile(path, contents);
        return path;
    }

    // Saves task lists the way an earlier run would have.
    static void saveTaskLists(const QStringList& paths) {
        QList<std::shared_ptr<DWTaskList>> lists;
        for (const QString& path : paths) {
            auto taskList = std::make_shared<DWTaskList>();
            taskList->setPath(path);
            taskList->setRuleSet(DWTaskRuleSet::squareBracketStyleRuleSet());
            lists.append(taskList);
        }
        LWPreferences::standard().setObject(QStringLiteral("TaskLists"),
                                            DWTaskList::archiveTaskLists(lists));
    }
    static QStringList savedPaths() {
        const QByteArray bytes = LWPreferences::standard().dataForKey(QStringLiteral("TaskLists"));
        QStringList paths;
        if (auto lists = DWTaskList::unarchiveTaskLists(bytes)) {
            for (const auto& taskList : *lists)
                paths.append(taskList->path());
        }
        return paths;
    }
    QStringList listedPaths() const {
        QStringList paths;
        for (const auto& taskList : delegate->taskLists())
            paths.append(taskList->path());
        return paths;
    }
    // The menu's titles top to bottom, separators as "---".
    QStringList menuTitles() const {
        QStringList titles;
        for (QAction* action : delegate->statusMenu()->actions())
            titles.append(action->isSeparator() ? QStringLiteral("---") : action->text());
        return titles;
    }
    // How many logged lines carry this message from this function.
    static int logged(const QString& message, const QString& function) {
        int count = 0;
        for (const QString& line : LWLogger::sharedInstance()->messageBacklog()) {
            if (line.contains(QStringLiteral("| %1 |").arg(message)) &&
                line.endsWith(QStringLiteral("| ") + function))
                ++count;
        }
        return count;
    }

    RecordingWorkspace workspace;
    // The watcher's streams: a test delivers directory events by hand.
    std::shared_ptr<FakeDirectoryEventStreamFactory> streams =
        std::make_shared<FakeDirectoryEventStreamFactory>();
    FakeLaunchAtLoginController* loginItem = nullptr; // owned by the controller
    std::unique_ptr<DotwiseAppDelegate> delegate;
    QString folder;
    int terminations = 0;
};
