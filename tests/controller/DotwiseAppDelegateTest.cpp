#include "ControllerTestSupport.h"
#include "foundation/LWBundle.h"
#include "ui/LWAlert.h"
#include "views/ABViewSelectingController.h"

#include <QFileInfo>
#include <QPushButton>

TEST_F(ControllerTest, DamagedSavedListStartsEmptyWithACopyKeptAsideFromTheNextSave) {
    const QByteArray damaged("\xbf\x00garbage", 9);
    LWPreferences::standard().setObject(u"TaskLists"_s, damaged);
    DotwiseAppDelegate& app = start(false);
    EXPECT_TRUE(app.taskLists().isEmpty());
    const QString log = LWLogger::sharedInstance()->messageBacklog().join(u'\n');
    const QRegularExpressionMatch kept =
        QRegularExpression(u"\\| Kept a copy of the unreadable task lists in (/[^|]+) \\|"_s)
            .match(log);
    ASSERT_TRUE(kept.hasMatch()) << log.toStdString();
    EXPECT_EQ(QFileInfo(kept.captured(1)).absolutePath(),
              QFileInfo(LWPreferences::standard().fileName()).absolutePath());
    EXPECT_EQ(dwtest::readFile(kept.captured(1)), damaged);

    const QString a = makeFile(u"a.taskpaper"_s, "- one\n");
    app.addFileToWatchList(a);
    EXPECT_EQ(savedPaths(), QStringList{a});
}

TEST_F(ControllerTest, PlainTextFilesAreAddedOnlyOnceTheirStyleIsChosen) {
    DotwiseAppDelegate& app = start(true);
    const QString notes = makeFile(u"Notes.TXT"_s, "- [ ] a\n(A) b\n");
    const QString todo = makeFile(u"todo.txt"_s, "- [ ] a\n(A) b\n");

    // Both arrive in one drop; each gets its own question, one after the other.
    app.addFileToWatchList(notes);
    app.addFileToWatchList(todo);
    EXPECT_TRUE(app.taskLists().isEmpty());

    // Style B is square brackets (one open task here), Style A todo.txt (two).
    for (const QString& name : {u"Notes.TXT"_s, u"todo.txt"_s}) {
        const QList<LWAlert*> alerts = LWAlert::activeAlerts();
        ASSERT_EQ(alerts.size(), 1);
        LWAlert* alert = alerts[0];
        EXPECT_EQ(alert->messageText(),
                  u"Which task style would you like to use for %1?"_s.arg(name));
        EXPECT_EQ(alert->accessoryView(), app.styleExamplesView());
        ASSERT_TRUE(
            alert->clickButtonWithTitle(name == u"todo.txt"_s ? u"Style A"_s : u"Style B"_s));
        app.waitUntilBadgeUpdatesFinish();
        EXPECT_EQ(app.taskLists().last()->openTasks(), name == u"todo.txt"_s ? 2 : 1);
    }

    // Any other file is added at once, with the best matching rules, and a
    // file is never added twice.
    const QString work = makeFile(u"work.taskpaper"_s, "- one\n");
    app.addFileToWatchList(work);
    app.addFileToWatchList(work, DWTaskRuleSet::todotxtRuleSet());
    EXPECT_TRUE(LWAlert::activeAlerts().isEmpty());
    EXPECT_EQ(savedPaths(), (QStringList{notes, todo, work}));
    EXPECT_EQ(app.taskLists().last()->ruleSet()->name(), DWTaskRuleSet::taskPaperName);
}

TEST_F(ControllerTest, TheLinksCarryTheVersionAndTheVariation) {
    const LWBundle saved = LWBundle::mainBundle();
    QJsonObject info = saved.infoDictionary();
    info.insert(u"CFBundleShortVersionString"_s, u"1.2"_s);
    info.insert(u"DWSupportAddress"_s, u"ideas@example.com"_s);
    info.insert(u"DWWebHost"_s, u"www.example.com"_s);
    LWBundle::setMainBundle(LWBundle(info));
    LWPreferences::standard().setObject(u"abviewVariation"_s, u"ThreeAppIcons"_s);

    DotwiseAppDelegate& app = start(true);
    app.statusMenu()->actions().last()->trigger();
    app.abViewController()->button()->click();
    LWBundle::setMainBundle(saved);

    const QList<QUrl> opened = workspace.openedUrls();
    ASSERT_EQ(opened.size(), 2);
    EXPECT_EQ(opened.at(0).toEncoded(),
              QByteArray("mailto:ideas@example.com?subject=Dotwise%20suggestion%20%5BWEB1.2%5D"));
    EXPECT_EQ(opened.at(1).toEncoded(),
              QByteArray("http://www.example.com/go/dwapp/?utm_source=DotwiseApp&utm_medium=dwapp"
                         "&utm_term=web&utm_content=ThreeAppIcons&utm_campaign=FromDotwise"));
}
