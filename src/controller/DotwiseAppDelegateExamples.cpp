#include "controller/DWExampleFiles.h"
#include "controller/DotwiseAppDelegate.h"
#include "foundation/LWPreferences.h"
#include "logging/LWLogger.h"
#include "model/DWTaskRuleSet.h"
#include "ui/LWAlert.h"
#include "ui/LWAlertAdditions.h"

#include <QMainWindow>

namespace {
const QString didCreateExampleDataKey = QStringLiteral("DidCreateExampleData");
} // namespace

// ---------------------------------------------------------------------------
// First-run example task lists

void DotwiseAppDelegate::setUpExampleTasksIfNeeded() {
    LWPreferences preferences = LWPreferences::standard();
    if (preferences.boolForKey(didCreateExampleDataKey))
        return;
    // Stored before anything is shown: the offer is made once, whatever the
    // user then does with it (even quitting while it is on screen).
    preferences.setBool(didCreateExampleDataKey, true);
    preferences.synchronize();

    std::unique_ptr<LWAlert> alert = LWAlert::alertWithMessageText(
        tr("To get started, please select a folder for the two example task lists."),
        tr("Select Folder"), QString(), QString(), tr("Hint: The desktop will work just fine."));
    lw::beginSheetModalForWindow(
        std::move(alert), _mainWindow.get(),
        [this](LWAlert& ended, int returnCode) { _welcomeAlertDidEnd(ended, returnCode); });
}

void DotwiseAppDelegate::_welcomeAlertDidEnd(LWAlert& alert, int) {
    // The sheet would otherwise stay up until its callback has returned.
    alert.orderOut();
    DWExampleFiles::openFolderChooser(_mainWindow.get(), [this](const QString& folder) {
        makeExampleFile(QStringLiteral("Example Task List.txt"), folder,
                        DWTaskRuleSet::squareBracketStyleRuleSet());
        makeExampleFile(QStringLiteral("Example Task List.taskpaper"), folder,
                        DWTaskRuleSet::taskPaperRuleSet());
    });
}

void DotwiseAppDelegate::makeExampleFile(const QString& fileName, const QString& directory,
                                         std::shared_ptr<DWTaskRuleSet> rules) {
    // Nothing is made, and nothing watched, where an item of that name exists
    // already; a missing resource or a failed write makes nothing either.
    const QString path = DWExampleFiles::writeExampleFile(fileName, directory);
    if (path.isEmpty())
        return;
    LW_LOG(3, "-[DotwiseAppDelegate makeExampleFile:inDirectory:rules:]",
           QStringLiteral("Created example file: %1").arg(fileName));
    addFileToWatchList(path, std::move(rules));
}
