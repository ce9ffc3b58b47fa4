#include "ui/LWAlert.h"

#include "ui/LWAlertAdditions.h"

#include <QApplication>
#include <QComboBox>
#include <QDialog>
#include <QKeyEvent>
#include <QLabel>
#include <QPushButton>
#include <QTest>
#include <QTimer>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {
void flushDeferredDeletes() {
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QCoreApplication::processEvents();
}

std::unique_ptr<LWAlert> classicAlert() {
    return LWAlert::alertWithMessageText(u"Pick one"_s, u"Take"_s, u"Skip"_s, u"Later"_s,
                                         u"Details"_s);
}

std::unique_ptr<LWAlert> addedButtonsAlert() {
    auto alert = std::make_unique<LWAlert>();
    alert->addButtonWithTitle(u"First"_s);
    alert->addButtonWithTitle(u"Second"_s);
    return alert;
}

class AlertTest : public ::testing::Test {
protected:
    void SetUp() override { window->show(); }
    void TearDown() override {
        flushDeferredDeletes();
        EXPECT_TRUE(LWAlert::activeAlerts().isEmpty());
    }
    std::unique_ptr<QWidget> window = std::make_unique<QWidget>();
};
} // namespace

TEST_F(AlertTest, ButtonsCarryClassicOrAddedReturnCodesThatRunModalReturns) {
    auto alert = classicAlert();
    QList<int> codes;
    for (QPushButton* button : alert->buttons())
        codes.append(alert->returnCodeOfButton(button));
    EXPECT_EQ(codes, (QList<int>{1, 0, -1}));
    // No default title still leaves a way out; empty others are left out.
    auto sparse = LWAlert::alertWithMessageText(u"m"_s, QString(), QString(), QString(), QString());
    ASSERT_EQ(sparse->buttons().size(), 1);
    EXPECT_EQ(sparse->buttons()[0]->text(), u"OK"_s);

    auto added = addedButtonsAlert();
    QTimer::singleShot(0, [] { LWAlert::activeAlerts().first()->buttons()[1]->click(); });
    EXPECT_EQ(added->runModal(), 1001);
    // Negative codes survive the dialog's own result handling.
    QTimer::singleShot(0, [&] { alert->clickButtonWithReturnCode(-1); });
    EXPECT_EQ(alert->runModal(), -1);
}

TEST_F(AlertTest, SheetStaysUpUntilAnsweredAndIsOnScreenDuringTheCallback) {
    auto alert = classicAlert();
    QList<int> codes;
    bool visibleInCallback = false;
    alert->beginSheetModalForWindow(window.get(), [&](int code) {
        codes.append(code);
        visibleInCallback = alert->window()->isVisible();
    });
    EXPECT_TRUE(codes.isEmpty()); // returns at once
    ASSERT_EQ(LWAlert::activeAlerts(), QList<LWAlert*>{alert.get()});
    EXPECT_EQ(alert->window()->parentWidget(), window.get());
    EXPECT_EQ(alert->window()->windowModality(), Qt::WindowModal);

    alert->buttons()[1]->click(); // a real click goes through the event queue
    EXPECT_TRUE(codes.isEmpty());
    QCoreApplication::processEvents();
    EXPECT_EQ(codes, QList<int>{0});
    EXPECT_TRUE(visibleInCallback);
    EXPECT_FALSE(alert->window()->isVisible());
    EXPECT_FALSE(alert->clickButtonWithReturnCode(1)); // answering again does nothing
    EXPECT_EQ(codes.size(), 1);
}

TEST_F(AlertTest, CallbackMayDestroyTheAlertOrShowItAgain) {
    auto alert = classicAlert();
    alert->beginSheetModalForWindow(window.get(), [&](int) { alert.reset(); });
    ASSERT_TRUE(alert->clickButtonWithReturnCode(-1));
    EXPECT_EQ(alert, nullptr);

    auto again = classicAlert();
    int rounds = 0;
    std::function<void(int)> ask = [&](int) {
        if (++rounds == 1)
            again->beginSheetModalForWindow(window.get(), ask);
    };
    again->beginSheetModalForWindow(window.get(), ask);
    ASSERT_TRUE(again->clickButtonWithReturnCode(1));
    EXPECT_TRUE(again->window()->isVisible());
    ASSERT_TRUE(again->clickButtonWithTitle(u"Skip"_s));
    EXPECT_EQ(rounds, 2);
    EXPECT_FALSE(again->window()->isVisible());
}

TEST_F(AlertTest, EscapeAnswersOnlyThroughACancelButton) {
    auto alert =
        LWAlert::alertWithMessageText(u"m"_s, u"Save"_s, u"Cancel"_s, QString(), QString());
    QList<int> codes;
    alert->beginSheetModalForWindow(window.get(), [&](int code) { codes.append(code); });
    QKeyEvent escape(QEvent::KeyPress, Qt::Key_Escape, Qt::NoModifier);
    QApplication::sendEvent(alert->window(), &escape);
    EXPECT_EQ(codes, QList<int>{0});

    auto noCancel = classicAlert();
    noCancel->beginSheetModalForWindow(window.get(), [&](int code) { codes.append(code); });
    QApplication::sendEvent(noCancel->window(), &escape);
    noCancel->window()->close();
    EXPECT_TRUE(noCancel->window()->isVisible());
    noCancel->clickButtonWithReturnCode(1);
    EXPECT_EQ(codes, (QList<int>{0, 1}));
}

TEST_F(AlertTest, WindowDestroyedUnderASheetLeavesAWorkingAlert) {
    auto alert = classicAlert();
    auto* accessory = new QLabel(u"extra"_s);
    QPointer<QWidget> accessoryGuard(accessory);
    alert->setAccessoryView(accessory);
    bool called = false, abandoned = false;
    QObject::connect(alert.get(), &LWAlert::sheetAbandoned, [&] { abandoned = true; });
    alert->beginSheetModalForWindow(window.get(), [&](int) { called = true; });
    window.reset();
    EXPECT_TRUE(abandoned);
    EXPECT_FALSE(called);
    EXPECT_FALSE(alert->isRunning());
    ASSERT_TRUE(accessoryGuard);

    // Still usable, with its buttons and view, on another window.
    QWidget other;
    other.show();
    int code = 99;
    alert->beginSheetModalForWindow(&other, [&](int c) { code = c; });
    EXPECT_EQ(accessory->parentWidget()->window(), alert->window());
    alert->clickButtonWithTitle(u"Later"_s);
    EXPECT_EQ(code, -1);
    alert.reset();
    EXPECT_FALSE(accessoryGuard); // went with its alert
}

TEST_F(AlertTest, ChoicesSheetReportsTheSelectedIndexOnlyForTheDefaultButton) {
    const struct {
        bool classic;
        QStringList choices;
        int selected; // -2 keeps the pop-up's own selection
        int button;
        int expected;
    } cases[] = {{true, {"a", "b", "c"}, -2, 1, 0},
                 {true, {"a", "b", "c"}, 2, 1, 2},
                 {true, {"a", "b"}, -1, 1, -1},
                 {true, {"a", "b", "c"}, 2, 0, -1},
                 {true, {}, -2, 1, -1},
                 {false, {"a", "b"}, 1, 1000, -1}};
    for (const auto& c : cases) {
        SCOPED_TRACE(::testing::Message() << c.choices.size() << " choices, selected " << c.selected
                                          << ", button " << c.button);
        auto alert = c.classic ? classicAlert() : addedButtonsAlert();
        LWAlert* raw = alert.get();
        std::optional<int> result;
        lw::beginSheetModalWithChoices(std::move(alert), c.choices, window.get(),
                                       [&](LWAlert& ended, int r) {
                                           EXPECT_EQ(&ended, raw);
                                           result = r;
                                       });
        auto* popUp = qobject_cast<QComboBox*>(raw->accessoryView());
        ASSERT_NE(popUp, nullptr);
        EXPECT_EQ(popUp->count(), c.choices.size());
        if (c.selected != -2)
            popUp->setCurrentIndex(c.selected);
        ASSERT_TRUE(raw->clickButtonWithReturnCode(c.button));
        EXPECT_EQ(result, c.expected);
        flushDeferredDeletes();
    }
}

TEST_F(AlertTest, PlainSheetPassesCodesUnlessTheAccessoryIsAPopUp) {
    std::optional<int> result;
    auto handler = [&](LWAlert&, int r) { result = r; };
    auto plain = addedButtonsAlert();
    LWAlert* raw = plain.get();
    lw::beginSheetModalForWindow(std::move(plain), window.get(), handler);
    raw->clickButtonWithReturnCode(1001);
    EXPECT_EQ(result, 1001);

    // The rule follows the accessory view, not the entry used.
    auto own = classicAlert();
    auto* popUp = new QComboBox();
    popUp->addItems({u"x"_s, u"y"_s});
    popUp->setCurrentIndex(1);
    own->setAccessoryView(popUp);
    raw = own.get();
    lw::beginSheetModalForWindow(std::move(own), window.get(), handler);
    raw->clickButtonWithReturnCode(1);
    EXPECT_EQ(result, 1);
    flushDeferredDeletes();
}

TEST_F(AlertTest, RunnerKeepsTheAlertUntilTheCallbackHasReturned) {
    auto alert = classicAlert();
    QPointer<LWAlert> guard(alert.get());
    bool aliveInCallback = false;
    lw::beginSheetModalForWindow(std::move(alert), window.get(), [&](LWAlert& ended, int) {
        QCoreApplication::processEvents(); // not the end of the current event
        aliveInCallback = guard && ended.window() != nullptr;
    });
    flushDeferredDeletes();
    ASSERT_TRUE(guard) << "the sheet is still up";
    guard->clickButtonWithReturnCode(1);
    EXPECT_TRUE(aliveInCallback);
    EXPECT_TRUE(guard) << "released only at the end of the event";
    flushDeferredDeletes();
    EXPECT_FALSE(guard);

    // The window going away under the sheet releases the runner and alert.
    auto orphan = classicAlert();
    QPointer<LWAlert> orphanGuard(orphan.get());
    lw::beginSheetModalForWindow(std::move(orphan), window.get(), nullptr);
    window.reset();
    flushDeferredDeletes();
    EXPECT_FALSE(orphanGuard);
}

TEST_F(AlertTest, TabReachesEveryButtonAndReturnPressesTheFocusedOne) {
    auto alert = classicAlert();
    int result = 99;
    alert->beginSheetModalForWindow(window.get(), [&](int returnCode) { result = returnCode; });
    QDialog* sheet = alert->window();
    sheet->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(sheet));
    const QList<QPushButton*> buttons = alert->buttons(); // Take, Skip, Later
    ASSERT_EQ(QApplication::focusWidget(), buttons.at(0));
    for (QPushButton* next : {buttons.at(1), buttons.at(2), buttons.at(0), buttons.at(1)}) {
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
        ASSERT_EQ(QApplication::focusWidget(), next);
    }
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Return);
    QCoreApplication::processEvents();
    EXPECT_EQ(result, 0); // "Skip", not the default button
}
