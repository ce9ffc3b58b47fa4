#pragma once

#include <QList>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QWidget>
#include <functional>
#include <memory>

class QDialog;
class QPushButton;

// An alert of ours: a message, an informative text, a row of buttons and an
// optional accessory widget, shown either as a sheet (window-modal on one
// window, returns at once, reports its end through a callback) or as a
// free-standing modal dialog (runModal).
//
// Return codes follow the classic convention: an alert made with
// alertWithMessageText() answers 1 for its default button, 0 for the alternate
// and -1 for the other one; buttons added one by one with addButtonWithTitle()
// answer 1000, 1001, ... in the order they were added.
//
// Main thread only.
class LWAlert : public QObject {
    Q_OBJECT

public:
    enum ReturnCode {
        DefaultReturn = 1,
        AlternateReturn = 0,
        OtherReturn = -1,
        FirstButtonReturn = 1000,
    };

    explicit LWAlert(QObject* parent = nullptr);
    ~LWAlert() override;

    // An empty title means there is no such button, except for the default
    // button, which is then "OK" (an alert always has a way out).
    static std::unique_ptr<LWAlert> alertWithMessageText(const QString& messageText,
                                                         const QString& defaultButton,
                                                         const QString& alternateButton,
                                                         const QString& otherButton,
                                                         const QString& informativeText);

    QString messageText() const { return _messageText; }
    void setMessageText(const QString& text);
    QString informativeText() const { return _informativeText; }
    void setInformativeText(const QString& text);

    // The new button answers 1000 plus the number of buttons added this way
    // before it. The first button of an alert is its default (Return key).
    QPushButton* addButtonWithTitle(const QString& title);
    // In the order they were added; an alert shown without any button gets an
    // "OK" button answering 1000.
    QList<QPushButton*> buttons() const;
    int returnCodeOfButton(const QPushButton* button) const;

    // The alert takes ownership of the view (it becomes a child of the alert's
    // window) and deletes it with itself; a replaced view is deleted at once.
    // A view meant for reuse across alerts can be taken back, unparented, with
    // takeAccessoryView() once the alert has ended.
    QWidget* accessoryView() const { return _accessoryView; }
    void setAccessoryView(QWidget* view);
    QWidget* takeAccessoryView();

    // The alert's own window. It is still on screen while the end callback
    // runs, and is closed right after it, unless the callback closed it already
    // (orderOut) or started the alert again.
    QDialog* window() const;
    void orderOut();

    // Shows the alert as a free-standing modal dialog and returns the code of
    // the button that ended it.
    int runModal();
    // Shows the alert as a sheet on `window` (window-modal; with no window,
    // application-modal but still returning at once) and calls `done` with the
    // button's code when it ends. The caller keeps the alert alive until then;
    // `done` may destroy it. To hand the alert over for the length of the
    // sheet, use lw::beginSheetModalForWindow (LWAlertAdditions.h).
    void beginSheetModalForWindow(QWidget* window, std::function<void(int returnCode)> done);

    // True while the alert is on screen waiting for an answer.
    bool isRunning() const { return _running; }

    // The alerts that wait for an answer, oldest first; lets tests (and a
    // scripted run) find an open alert and answer it.
    static QList<LWAlert*> activeAlerts();
    // Answers the running alert as if the button with this code had been
    // pressed; false when the alert is not running or has no such button.
    bool clickButtonWithReturnCode(int returnCode);
    // The same, by the button's title.
    bool clickButtonWithTitle(const QString& title);

signals:
    // Sent when a sheet ends, before the callback given to
    // beginSheetModalForWindow runs.
    void sheetDidEnd(LWAlert* alert, int returnCode);
    // Sent when the window under a sheet was destroyed before the sheet was
    // answered; the sheet is gone and its callback will not be called.
    void sheetAbandoned(LWAlert* alert);

private:
    friend class LWAlertDialog;

    struct Button {
        QPushButton* button;
        QString title;
        int returnCode;
    };

    QPushButton* _addButton(const QString& title, int returnCode);
    void _ensureDialog();
    void _layOutButtons();
    void _prepareToShow(QWidget* window);
    void _end(int returnCode);
    void _closeDialog();
    void _dialogDestroyed();
    bool _cancelByKeyboard();

    QString _messageText;
    QString _informativeText;
    QList<Button> _buttons;
    int _nextAddedReturnCode = FirstButtonReturn;
    QPointer<QWidget> _accessoryView;
    QDialog* _dialog = nullptr;
    bool _running = false;
    bool _modal = false;
    std::function<void(int)> _sheetDone;
};
