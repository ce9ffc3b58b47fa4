#include "openrecent/LWOpenRecentMenuController.h"

#include "fakes/FakeWorkspace.h"
#include "foundation/LWPreferences.h"
#include "support/TestEnvironment.h"

#include <QAction>
#include <QFile>
#include <QMenu>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {
const QString key = u"LWRecentDocuments"_s;

class OpenRecentMenuTest : public ::testing::Test {
protected:
    void SetUp() override { LWPreferences::standard().removeObject(key); }

    QString document(const QString& name) {
        const QString path = dwtest::homePath() + u"/docs/"_s + name;
        dwtest::writeFile(path, "x");
        return path;
    }
    QStringList stored() const { return LWPreferences::standard().stringArrayForKey(key); }
    QList<QAction*> openMenu() {
        QMenu* menu = controller.openRecentMenu();
        emit menu->aboutToShow();
        return menu->actions();
    }
    // The opened menu's entries: separators as "---", disabled ones in brackets.
    QStringList menuTexts() {
        QStringList texts;
        for (QAction* item : openMenu())
            texts.append(item->isSeparator() ? u"---"_s
                         : item->isEnabled() ? item->text()
                                             : u"[%1]"_s.arg(item->text()));
        return texts;
    }

    FakeWorkspace workspace;
    LWOpenRecentMenuController controller{&workspace};
};
} // namespace

TEST_F(OpenRecentMenuTest, RecordingKeepsTheTenMostRecentFirstWithoutRepeats) {
    controller.noteNewRecentDocumentWithPath(dwtest::homePath() + u"/nothing.txt"_s);
    EXPECT_FALSE(LWPreferences::standard().contains(key));

    const QString a = document(u"a.txt"_s), b = document(u"b, with comma.txt"_s),
                  c = document(u"c.taskpaper"_s);
    for (const QString& path : {a, b, c, a}) // a listed one keeps its place, even not in front
        controller.noteNewRecentDocumentWithPath(path);
    EXPECT_EQ(stored(), (QStringList{c, b, a}));
    // Folders count too; the eleventh document pushes out the oldest.
    QStringList expected{dwtest::homePath() + u"/docs"_s, c, b};
    controller.noteNewRecentDocumentWithPath(expected.first());
    for (int i = 0; i < 7; ++i) {
        expected.prepend(document(u"doc%1.txt"_s.arg(i)));
        controller.noteNewRecentDocumentWithPath(expected.first());
    }
    EXPECT_EQ(stored(), expected);
}

TEST_F(OpenRecentMenuTest, MenuShowsExistingDocumentsThenClearMenu) {
    EXPECT_EQ(controller.openRecentMenu()->title(), u"Open Recent"_s);
    EXPECT_EQ(menuTexts(), QStringList{"[Clear Menu]"});

    const QString a = document(u"a.txt"_s), gone = document(u"gone.txt"_s),
                  b = document(u"b.txt"_s);
    for (const QString& path : {a, gone, b})
        controller.noteNewRecentDocumentWithPath(path);
    QFile::remove(gone);
    for (int round = 0; round < 2; ++round) // opening twice gives no duplicates
        EXPECT_EQ(menuTexts(), (QStringList{"b.txt", "a.txt", "---", "Clear Menu"}));
    EXPECT_EQ(openMenu()[0]->icon().availableSizes(), QList<QSize>{QSize(16, 16)});
    // The gone document stays in the stored list.
    EXPECT_EQ(stored(), (QStringList{b, gone, a}));

    // All gone: the same menu as an empty list.
    QFile::remove(a);
    QFile::remove(b);
    EXPECT_EQ(menuTexts(), QStringList{"[Clear Menu]"});
}

TEST_F(OpenRecentMenuTest, ChoosingOpensTheFullPathAndClearingEmptiesTheList) {
    const QString a = document(u"a.txt"_s);
    controller.noteNewRecentDocumentWithPath(a);
    QStringList opened;
    QObject::connect(&controller, &LWOpenRecentMenuController::openFile,
                     [&](const QString& path) { opened.append(path); });
    const QList<QAction*> items = openMenu();
    items[0]->trigger();
    controller.openRecentDocument(nullptr); // not a document entry: ignored
    EXPECT_EQ(opened, QStringList{a});

    items.last()->trigger();
    EXPECT_FALSE(LWPreferences::standard().contains(key));
    EXPECT_EQ(menuTexts(), QStringList{"[Clear Menu]"});
}
