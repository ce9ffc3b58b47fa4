#pragma once

#include "controller/DWTaskListTableModel.h"
#include "controller/DotwiseAppDelegate.h"
#include "fakes/FakeDirectoryEventStreamFactory.h"
#include "fakes/FakeFileEmblems.h"
#include "fakes/FakeLaunchAtLoginController.h"
#include "fakes/FakeWorkspace.h"
#include "foundation/LWPreferences.h"
#include "logging/LWLogger.h"
#include "model/DWTaskList.h"
#include "model/DWTaskRuleSet.h"
#include "monitoring/DWFileWatcher.h"
#include "platform/DWEmblemTheme.h"
#include "support/TestEnvironment.h"
#include "ui/LWAlert.h"

#include <QAction>
#include <QMenu>
#include <QRegularExpression>
#include <chrono>
#include <condition_variable>
#include <gtest/gtest.h>
#include <mutex>
#include <utility>

using namespace Qt::StringLiterals;

inline void PrintTo(const QString& text, std::ostream* out) {
    *out << text.toStdString();
}

// The fake workspace, recording icon and date writes in order ("remove a.md",
// "set a.md", "date a.md"), with a gate that holds badge updates in
// iconForFile, or in the middle of writing a badge, until the test opens it.
class RecordingWorkspace : public FakeWorkspace {
public:
    enum class Gate { Open, IconRead, BadgeWrite };

    LWIconImage iconForFile(const QString& path) const override {
        waitAt(Gate::IconRead);
        return FakeWorkspace::iconForFile(path);
    }
    bool setIcon(const LWIconImage& icon, const QString& path) override {
        record(icon.isEmpty() ? "remove" : "set", path);
        if (!icon.isEmpty())
            waitAt(Gate::BadgeWrite);
        return FakeWorkspace::setIcon(icon, path);
    }
    bool setContentModificationDate(const QString& path, const LWTimestamp& date) override {
        record("date", path);
        return FakeWorkspace::setContentModificationDate(path, date);
    }

    // The writes recorded since the last call.
    QStringList takeEvents() {
        std::lock_guard locker(_lock);
        return std::exchange(_events, {});
    }
    void closeGate(Gate gate = Gate::IconRead) {
        std::lock_guard locker(_lock);
        _gate = gate;
        _changed.notify_all();
    }
    void openGate() { closeGate(Gate::Open); }
    bool waitUntilAnUpdateWaits() {
        std::unique_lock locker(_lock);
        return _changed.wait_for(locker, std::chrono::seconds(5), [this] { return _waiting > 0; });
    }

private:
    void record(const char* kind, const QString& path) {
        std::lock_guard locker(_lock);
        _events.append(QLatin1String(kind) + u' ' + path.section('/', -1));
    }
    void waitAt(Gate gate) const {
        std::unique_lock locker(_lock);
        ++_waiting;
        _changed.notify_all();
        _changed.wait(locker, [&] { return _gate != gate; });
        --_waiting;
    }

    // Standard locks: ThreadSanitizer sees through them.
    mutable std::mutex _lock;
    mutable std::condition_variable _changed;
    QStringList _events;
    Gate _gate = Gate::Open;
    mutable int _waiting = 0;
};

// A controller over the fakes, with preferences and log backlog cleared.
class ControllerTest : public ::testing::Test {
protected:
    void SetUp() override {
        LWPreferences::standard().removeObject(u"TaskLists"_s);
        // A returning user: the first-run offer has been made.
        LWPreferences::standard().setBool(u"DidCreateExampleData"_s, true);
        LWLogger::sharedInstance()->setMessageBacklogSize(2000);
        LWLogger::sharedInstance()->setMessageBacklog({});
        const auto* info = ::testing::UnitTest::GetInstance()->current_test_info();
        folder = dwtest::homePath() + QLatin1Char('/') + QString::fromLatin1(info->name());
    }
    void TearDown() override {
        // Left up by a failed check: the next test would find them.
        for (LWAlert* alert : LWAlert::activeAlerts())
            alert->clickButtonWithReturnCode(1);
        workspace.openGate();
        if (delegate)
            delegate->waitUntilBadgeUpdatesFinish();
        delegate.reset();
    }

    DotwiseAppDelegate& start(bool launchAtLogin) {
        auto login = std::make_unique<FakeLaunchAtLoginController>();
        login->setRegistered(launchAtLogin);
        loginItem = login.get();
        delegate = std::make_unique<DotwiseAppDelegate>(DotwiseAppDelegate::Services{
            .workspace = &workspace,
            .launchAtLoginController = std::move(login),
            .fileWatcher = std::make_unique<DWFileWatcher>(streams),
            .badgeMode = badgeMode,
            .fileEmblems = &emblems,
            .emblemTheme = &emblemTheme,
            .terminate = [this] { ++terminations; },
            .isSystemTrayAvailable = [this] { return trayAvailable; }});
        delegate->applicationDidFinishLaunching();
        return *delegate;
    }

    QString makeFile(const QString& name, const QByteArray& contents) {
        const QString path = folder + QLatin1Char('/') + name;
        dwtest::writeFile(path, contents);
        return path;
    }
    static void saveTaskLists(const QStringList& paths) {
        QList<std::shared_ptr<DWTaskList>> lists;
        for (const QString& path : paths)
            lists.append(
                std::make_shared<DWTaskList>(path, DWTaskRuleSet::squareBracketStyleRuleSet()));
        LWPreferences::standard().setObject(u"TaskLists"_s, DWTaskList::archiveTaskLists(lists));
    }
    // The task lists as saved, which every change to the list is.
    static QStringList savedPaths() {
        QStringList paths;
        const auto lists =
            DWTaskList::unarchiveTaskLists(LWPreferences::standard().dataForKey(u"TaskLists"_s));
        for (const auto& taskList : lists.value_or(QList<std::shared_ptr<DWTaskList>>()))
            paths.append(taskList->path());
        return paths;
    }
    // What the workspace was asked to do for this action and the badge work it started.
    QStringList eventsAfter(const std::function<void()>& action) {
        workspace.takeEvents();
        action();
        delegate->waitUntilBadgeUpdatesFinish();
        return workspace.takeEvents();
    }
    QStringList openTasksColumn() const {
        QStringList cells;
        for (int row = 0; row < delegate->taskLists().size(); ++row)
            cells.append(delegate->taskListsModel()->objectValue(u"openTasks"_s, row));
        return cells;
    }
    // The menu's titles top to bottom as shown, separators as "---".
    QStringList menuTitles() const {
        QStringList titles;
        for (QAction* action : delegate->statusMenu()->actions())
            titles.append(action->isSeparator() ? u"---"_s : action->iconText());
        return titles;
    }
    // How many logged lines carry this message.
    static int logged(const QString& message) {
        const QStringList lines = LWLogger::sharedInstance()->messageBacklog();
        return int(lines.filter(u"| "_s + message + u" |"_s).size());
    }

    RecordingWorkspace workspace;
    DWBadgeMode::Mode badgeMode = DWBadgeMode::Picture;
    FakeFileEmblems emblems;
    DWEmblemTheme emblemTheme{QString(), 3}; // under the test's private XDG_DATA_HOME
    std::shared_ptr<FakeDirectoryEventStreamFactory> streams =
        std::make_shared<FakeDirectoryEventStreamFactory>();
    FakeLaunchAtLoginController* loginItem = nullptr; // owned by the controller
    std::unique_ptr<DotwiseAppDelegate> delegate;
    QString folder;
    int terminations = 0;
    bool trayAvailable = true; // a panel shows the status item
};
