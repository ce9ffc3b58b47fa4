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

void pressEscape(LWAlert& alert) {
    QKeyEvent escape(QEvent::KeyPress, Qt::Key_Escape, Qt::NoModifier);
    QApplication::sendEvent(alert.window(), &escape);
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

TEST_F(AlertTest, SheetStaysUpUntilAButtonAnswersAndIsOnScreenDuringTheCallback) {
    auto alert = classicAlert();
    QList<int> codes;
    bool visibleInCallback = false;
    alert->beginSheetModalForWindow(window.get(), [&](int code) {
        codes.append(code);
        visibleInCallback = alert->window()->isVisible();
    });
    ASSERT_EQ(LWAlert::activeAlerts(), QList<LWAlert*>{alert.get()});
    EXPECT_EQ(alert->window()->windowModality(), Qt::WindowModal);
    // Without a "Cancel" button neither Escape nor closing answers.
    pressEscape(*alert);
    alert->window()->close();
    EXPECT_TRUE(alert->window()->isVisible());

    alert->buttons()[1]->click(); // queued: the callback may destroy the alert
    EXPECT_TRUE(codes.isEmpty());
    QCoreApplication::processEvents();
    EXPECT_EQ(codes, QList<int>{0});
    EXPECT_TRUE(visibleInCallback);
    EXPECT_FALSE(alert->window()->isVisible());
    EXPECT_FALSE(alert->clickButtonWithReturnCode(1)); // answering again does nothing

    auto cancellable =
        LWAlert::alertWithMessageText(u"m"_s, u"Save"_s, u"Cancel"_s, QString(), QString());
    cancellable->beginSheetModalForWindow(window.get(), [&](int code) { codes.append(code); });
    pressEscape(*cancellable);
    EXPECT_EQ(codes, (QList<int>{0, 0}));
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
    ASSERT_TRUE(again->clickButtonWithTitle(u"Skip"_s));
    EXPECT_EQ(rounds, 2);
    EXPECT_FALSE(again->window()->isVisible());
}

TEST_F(AlertTest, WindowDestroyedUnderASheetLeavesAWorkingAlert) {
    auto alert = classicAlert();
    auto* accessory = new QLabel(u"extra"_s);
    QPointer<QWidget> accessoryGuard(accessory);
    alert->setAccessoryView(accessory);
    bool called = false;
    alert->beginSheetModalForWindow(window.get(), [&](int) { called = true; });
    window.reset();
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

// The handed-over entries: a pop-up accessory (the choices entry's, or the
// caller's own) turns the default button into the selected index and every
// other button into -1; without one the code passes unchanged.
TEST_F(AlertTest, HandedOverSheetsReportTheCodeOrTheSelectedChoice) {
    enum PopUp { Choices, OwnPopUp, NoPopUp };
    const struct {
        PopUp popUp;
        bool classic;
        QStringList choices;
        int selected; // -2 keeps the pop-up's own selection
        int button;
        int expected;
    } cases[] = {{Choices, true, {"a", "b", "c"}, 2, 1, 2},
                 {Choices, true, {"a", "b", "c"}, 2, 0, -1},
                 {Choices, true, {}, -2, 1, -1},
                 {Choices, false, {"a", "b"}, 1, 1000, -1},
                 {OwnPopUp, true, {"x", "y"}, 1, 1, 1},
                 {NoPopUp, false, {}, -2, 1001, 1001}};
    for (const auto& c : cases) {
        SCOPED_TRACE(::testing::Message() << "pop-up " << c.popUp << ", " << c.choices.size()
                                          << " choices, button " << c.button);
        auto alert = c.classic ? classicAlert() : addedButtonsAlert();
        QPointer<LWAlert> guard(alert.get());
        std::optional<int> result;
        bool aliveInCallback = false;
        auto handler = [&](LWAlert& ended, int r) {
            QCoreApplication::processEvents(); // not the end of the current event
            aliveInCallback = guard == &ended && ended.window() != nullptr;
            result = r;
        };
        if (c.popUp == Choices) {
            lw::beginSheetModalWithChoices(std::move(alert), c.choices, window.get(), handler);
        } else {
            if (c.popUp == OwnPopUp) {
                auto* own = new QComboBox();
                own->addItems(c.choices);
                alert->setAccessoryView(own);
            }
            lw::beginSheetModalForWindow(std::move(alert), window.get(), handler);
        }
        flushDeferredDeletes();
        ASSERT_TRUE(guard) << "the sheet is still up";
        auto* popUp = qobject_cast<QComboBox*>(guard->accessoryView());
        ASSERT_EQ(popUp != nullptr, c.popUp != NoPopUp);
        if (popUp && c.selected != -2)
            popUp->setCurrentIndex(c.selected);
        ASSERT_TRUE(guard->clickButtonWithReturnCode(c.button));
        EXPECT_EQ(result, c.expected);
        EXPECT_TRUE(aliveInCallback);
        EXPECT_TRUE(guard) << "released only at the end of the event";
        flushDeferredDeletes();
        EXPECT_FALSE(guard);
    }

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
    alert->window()->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(alert->window()));
    const QList<QPushButton*> buttons = alert->buttons(); // Take (focused first), Skip, Later
    for (QPushButton* next : {buttons.at(1), buttons.at(2), buttons.at(0), buttons.at(1)}) {
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
        ASSERT_EQ(QApplication::focusWidget(), next);
    }
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Return);
    QCoreApplication::processEvents();
    EXPECT_EQ(result, 0); // "Skip", not the default button
}
