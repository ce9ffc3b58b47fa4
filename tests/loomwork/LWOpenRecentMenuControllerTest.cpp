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

    FakeWorkspace workspace;
    LWOpenRecentMenuController controller{&workspace};
};

void expectOnlyDisabledClearMenu(const QList<QAction*>& items) {
    ASSERT_EQ(items.size(), 1);
    EXPECT_EQ(items[0]->text(), u"Clear Menu"_s);
    EXPECT_FALSE(items[0]->isEnabled());
}
} // namespace

TEST_F(OpenRecentMenuTest, RecordingKeepsTheTenMostRecentFirstWithoutRepeats) {
    controller.noteNewRecentDocumentWithPath(dwtest::homePath() + u"/nothing.txt"_s);
    EXPECT_FALSE(LWPreferences::standard().contains(key));

    const QString a = document(u"a.txt"_s), b = document(u"b, with comma.txt"_s),
                  c = document(u"c.taskpaper"_s);
    for (const QString& path : {a, b, c, a}) // a listed one keeps its place, even not in front
        controller.noteNewRecentDocumentWithPath(path);
    EXPECT_EQ(stored(), (QStringList{c, b, a}));
    // Folders count as documents too.
    const QString folder = dwtest::homePath() + u"/docs"_s;
    controller.noteNewRecentDocumentWithPath(folder);
    // Ten at most: the eleventh document pushes out the oldest.
    QStringList expected{folder, c, b};
    for (int i = 0; i < 7; ++i) {
        expected.prepend(document(u"doc%1.txt"_s.arg(i)));
        controller.noteNewRecentDocumentWithPath(expected.first());
    }
    EXPECT_EQ(stored(), expected);
}

TEST_F(OpenRecentMenuTest, MenuShowsExistingDocumentsThenClearMenu) {
    expectOnlyDisabledClearMenu(openMenu());

    const QString a = document(u"a.txt"_s), gone = document(u"gone.txt"_s),
                  b = document(u"b.txt"_s);
    for (const QString& path : {a, gone, b})
        controller.noteNewRecentDocumentWithPath(path);
    QFile::remove(gone);

    for (int round = 0; round < 2; ++round) { // opening twice gives no duplicates
        const QList<QAction*> items = openMenu();
        ASSERT_EQ(items.size(), 4);
        EXPECT_EQ(items[0]->text(), u"b.txt"_s);
        EXPECT_EQ(items[1]->text(), u"a.txt"_s);
        EXPECT_TRUE(items[2]->isSeparator());
        EXPECT_EQ(items[3]->text(), u"Clear Menu"_s);
        EXPECT_TRUE(items[3]->isEnabled());
        EXPECT_EQ(items[0]->icon().availableSizes(), QList<QSize>{QSize(16, 16)});
    }
    // The gone document stays in the stored list.
    EXPECT_EQ(stored(), (QStringList{b, gone, a}));

    // All gone: the same menu as an empty list.
    QFile::remove(a);
    QFile::remove(b);
    expectOnlyDisabledClearMenu(openMenu());
}

TEST_F(OpenRecentMenuTest, ChoosingOpensTheFullPathAndClearingEmptiesTheList) {
    const QString a = document(u"a.txt"_s);
    controller.noteNewRecentDocumentWithPath(a);
    QStringList opened;
    QObject::connect(&controller, &LWOpenRecentMenuController::openFile,
                     [&](const QString& path) { opened.append(path); });
    QList<QAction*> items = openMenu();
    items[0]->trigger();
    EXPECT_EQ(opened, QStringList{a});

    // Senders that are not document entries are ignored.
    controller.openRecentDocument(nullptr);
    EXPECT_EQ(opened.size(), 1);

    items.last()->trigger();
    EXPECT_FALSE(LWPreferences::standard().contains(key));
    expectOnlyDisabledClearMenu(openMenu());
}
