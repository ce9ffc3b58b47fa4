#include "ui/LWAlert.h"

#include "logging/LWLogger.h"

#include <QApplication>
#include <QDialog>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QIcon>
#include <QLabel>
#include <QPainter>
#include <QPushButton>
#include <QStyle>
#include <QVBoxLayout>

namespace {
QList<LWAlert*>& runningAlerts() {
    static QList<LWAlert*> alerts;
    return alerts;
}

// Alerts end only through their own buttons (Escape presses the one titled
// "Cancel", when there is one), so they carry no title bar: window managers
// add close, minimise and maximise buttons to any title bar, whatever the
// window asks for. The alert draws its own frame and sits at the top of the
// window it belongs to, like a sheet.
constexpr Qt::WindowFlags alertWindowFlags = Qt::Dialog | Qt::FramelessWindowHint;
} // namespace

// The alert's window. It belongs to its LWAlert; while a sheet is up it is a
// child of the window under the sheet, so it tells the alert when that window
// takes it down.
class LWAlertDialog : public QDialog {
public:
    explicit LWAlertDialog(LWAlert* alert) : QDialog(nullptr, alertWindowFlags), _alert(alert) {
        setWindowTitle(QGuiApplication::applicationDisplayName());
        setSizeGripEnabled(false);

        auto* iconLabel = new QLabel(this);
        QIcon icon = QApplication::windowIcon();
        if (icon.isNull())
            icon = style()->standardIcon(QStyle::SP_MessageBoxInformation);
        iconLabel->setPixmap(icon.pixmap(64, 64));
        iconLabel->setAlignment(Qt::AlignTop | Qt::AlignHCenter);

        messageLabel = new QLabel(this);
        QFont bold = messageLabel->font();
        bold.setBold(true);
        messageLabel->setFont(bold);
        messageLabel->setWordWrap(true);
        messageLabel->setTextFormat(Qt::PlainText);
        messageLabel->setTextInteractionFlags(Qt::TextSelectableByMouse);

        informativeLabel = new QLabel(this);
        informativeLabel->setWordWrap(true);
        informativeLabel->setTextFormat(Qt::PlainText);
        informativeLabel->setTextInteractionFlags(Qt::TextSelectableByMouse);

        accessoryLayout = new QVBoxLayout();
        accessoryLayout->setContentsMargins(0, 0, 0, 0);
        buttonLayout = new QHBoxLayout();

        auto* grid = new QGridLayout(this);
        grid->setSizeConstraint(QLayout::SetFixedSize);
        grid->setHorizontalSpacing(16);
        grid->addWidget(iconLabel, 0, 0, 3, 1);
        grid->addWidget(messageLabel, 0, 1);
        grid->addWidget(informativeLabel, 1, 1);
        grid->addLayout(accessoryLayout, 2, 1);
        grid->addLayout(buttonLayout, 3, 0, 1, 2);
        grid->setColumnMinimumWidth(1, 320);
    }

    ~LWAlertDialog() override {
        if (_alert)
            _alert->_dialogDestroyed();
    }

    void reject() override {
        // Escape and the window manager's close: only a "Cancel" button may
        // answer for the user; without one the alert stays up.
        if (_alert)
            _alert->_cancelByKeyboard();
    }

    void detach() { _alert = nullptr; }

    QLabel* messageLabel;
    QLabel* informativeLabel;
    QVBoxLayout* accessoryLayout;
    QHBoxLayout* buttonLayout;

protected:
    void showEvent(QShowEvent* event) override {
        QDialog::showEvent(event);
        // As a sheet: centred across the window under it, at its top.
        if (QWidget* owner = parentWidget()) {
            const QRect area = owner->geometry();
            move(area.center().x() - width() / 2, area.top());
        }
    }
    void paintEvent(QPaintEvent* event) override {
        QDialog::paintEvent(event);
        QPainter painter(this);
        painter.setPen(palette().color(QPalette::Dark));
        painter.drawRect(rect().adjusted(0, 0, -1, -1));
    }

private:
    LWAlert* _alert;
};

LWAlert::LWAlert(QObject* parent) : QObject(parent) {}

LWAlert::~LWAlert() {
    runningAlerts().removeOne(this);
    if (_dialog) {
        auto* dialog = static_cast<LWAlertDialog*>(_dialog);
        dialog->detach();
        _dialog = nullptr;
        delete dialog; // takes the accessory view and the buttons with it
    }
    // An accessory view that outlived the alert's window is still ours.
    if (_accessoryView && !_accessoryView->parent())
        delete _accessoryView.data();
}

std::unique_ptr<LWAlert> LWAlert::alertWithMessageText(const QString& messageText,
                                                       const QString& defaultButton,
                                                       const QString& alternateButton,
                                                       const QString& otherButton,
                                                       const QString& informativeText) {
    auto alert = std::make_unique<LWAlert>();
    alert->setMessageText(messageText);
    alert->setInformativeText(informativeText);
    alert->_addButton(defaultButton.isEmpty() ? tr("OK") : defaultButton, DefaultReturn);
    if (!alternateButton.isEmpty())
        alert->_addButton(alternateButton, AlternateReturn);
    if (!otherButton.isEmpty())
        alert->_addButton(otherButton, OtherReturn);
    return alert;
}

void LWAlert::setMessageText(const QString& text) {
    _messageText = text;
    if (_dialog)
        static_cast<LWAlertDialog*>(_dialog)->messageLabel->setText(text);
}

void LWAlert::setInformativeText(const QString& text) {
    _informativeText = text;
    if (_dialog) {
        auto* label = static_cast<LWAlertDialog*>(_dialog)->informativeLabel;
        label->setText(text);
        label->setVisible(!text.isEmpty());
    }
}

QPushButton* LWAlert::addButtonWithTitle(const QString& title) {
    return _addButton(title, _nextAddedReturnCode++);
}

QPushButton* LWAlert::_addButton(const QString& title, int returnCode) {
    _ensureDialog();
    auto* button = new QPushButton(title, _dialog);
    const bool isFirst = _buttons.isEmpty();
    button->setDefault(isFirst);
    // Return presses the button that has the focus (reached with Tab), and
    // the default button otherwise.
    button->setAutoDefault(true);
    // Queued: the callback may destroy the alert, and a button must not be
    // deleted inside its own clicked() signal.
    connect(
        button, &QPushButton::clicked, this, [this, returnCode] { _end(returnCode); },
        Qt::QueuedConnection);
    _buttons.append({button, title, returnCode});
    _layOutButtons();
    return button;
}

QDialog* LWAlert::window() const {
    // Made again when the window under an earlier sheet took it down.
    const_cast<LWAlert*>(this)->_ensureDialog();
    return _dialog;
}

QList<QPushButton*> LWAlert::buttons() const {
    const_cast<LWAlert*>(this)->_ensureDialog();
    QList<QPushButton*> result;
    for (const Button& entry : _buttons)
        result.append(entry.button);
    return result;
}

int LWAlert::returnCodeOfButton(const QPushButton* button) const {
    for (const Button& entry : _buttons) {
        if (entry.button == button)
            return entry.returnCode;
    }
    return 0;
}

void LWAlert::_ensureDialog() {
    if (_dialog)
        return;
    auto* dialog = new LWAlertDialog(this);
    _dialog = dialog;
    dialog->messageLabel->setText(_messageText);
    dialog->informativeLabel->setText(_informativeText);
    dialog->informativeLabel->setVisible(!_informativeText.isEmpty());
    if (_accessoryView) {
        dialog->accessoryLayout->addWidget(_accessoryView);
        _accessoryView->show();
    }
    // Buttons went down with an earlier window; make them again.
    const QList<Button> previous = _buttons;
    _buttons.clear();
    for (const Button& entry : previous)
        _addButton(entry.title, entry.returnCode);
}

void LWAlert::_layOutButtons() {
    auto* layout = static_cast<LWAlertDialog*>(_dialog)->buttonLayout;
    while (layout->count() > 0)
        delete layout->takeAt(0);
    // The default button sits at the right, later ones to its left; the
    // classic "other" button stands apart at the far left.
    for (const Button& entry : _buttons) {
        if (entry.returnCode == OtherReturn && _buttons.first().returnCode == DefaultReturn)
            layout->addWidget(entry.button);
    }
    layout->addStretch(1);
    for (qsizetype i = _buttons.size() - 1; i >= 0; --i) {
        const Button& entry = _buttons[i];
        if (entry.returnCode == OtherReturn && _buttons.first().returnCode == DefaultReturn)
            continue;
        layout->addWidget(entry.button);
    }
}

void LWAlert::setAccessoryView(QWidget* view) {
    if (view == _accessoryView)
        return;
    _ensureDialog();
    if (_accessoryView &&
        (_accessoryView->parent() == _dialog || _accessoryView->parent() == nullptr)) {
        delete _accessoryView.data();
    }
    _accessoryView = view;
    if (view) {
        static_cast<LWAlertDialog*>(_dialog)->accessoryLayout->addWidget(view);
        view->show();
    }
}

QWidget* LWAlert::takeAccessoryView() {
    QWidget* view = _accessoryView;
    _accessoryView = nullptr;
    if (view) {
        view->hide();
        view->setParent(nullptr);
    }
    return view;
}

void LWAlert::_prepareToShow(QWidget* window) {
    _ensureDialog();
    if (_buttons.isEmpty())
        addButtonWithTitle(tr("OK"));
    if (window)
        window = window->window();
    _dialog->setParent(window, alertWindowFlags);
    _dialog->setWindowModality(window ? Qt::WindowModal : Qt::ApplicationModal);
    if (!_buttons.isEmpty())
        _buttons.first().button->setFocus();
}

int LWAlert::runModal() {
    if (_running) {
        LW_LOG(1, "-[LWAlert runModal]",
               QStringLiteral("Alert is already on screen: %1").arg(_messageText));
        return 0;
    }
    _prepareToShow(nullptr);
    _running = true;
    _modal = true;
    runningAlerts().append(this);
    QPointer<QDialog> dialog = _dialog;
    const int returnCode = dialog->exec();
    if (dialog)
        _closeDialog();
    return returnCode;
}

void LWAlert::beginSheetModalForWindow(QWidget* window, std::function<void(int)> done) {
    if (_running) {
        LW_LOG(1, "-[LWAlert beginSheetModalForWindow:modalDelegate:didEndSelector:contextInfo:]",
               QStringLiteral("Alert is already on screen: %1").arg(_messageText));
        return;
    }
    _prepareToShow(window);
    _sheetDone = std::move(done);
    _running = true;
    _modal = false;
    runningAlerts().append(this);
    _dialog->open();
}

void LWAlert::_end(int returnCode) {
    if (!_running)
        return;
    _running = false;
    runningAlerts().removeOne(this);
    if (_modal) {
        _modal = false;
        _dialog->done(returnCode);
        return;
    }
    std::function<void(int)> done = std::move(_sheetDone);
    _sheetDone = nullptr;
    QPointer<LWAlert> self(this);
    emit sheetDidEnd(this, returnCode);
    if (!self)
        return;
    if (done)
        done(returnCode);
    // The callback may have destroyed the alert, or shown it again.
    if (self && !_running)
        _closeDialog();
}

void LWAlert::orderOut() {
    if (_dialog && !_running)
        _closeDialog();
}

void LWAlert::_closeDialog() {
    if (!_dialog)
        return;
    _dialog->hide();
    _dialog->setWindowModality(Qt::NonModal);
    // Off the window it was shown on, so that window can go without us.
    _dialog->setParent(nullptr, alertWindowFlags);
}

void LWAlert::_dialogDestroyed() {
    // The window under the sheet is being destroyed and takes our window with
    // it. Keep the accessory view, which is still ours.
    _dialog = nullptr;
    if (_accessoryView) {
        _accessoryView->hide();
        _accessoryView->setParent(nullptr);
    }
    for (Button& entry : _buttons)
        entry.button = nullptr;
    if (!_running)
        return;
    _running = false;
    _modal = false;
    _sheetDone = nullptr;
    runningAlerts().removeOne(this);
    LW_LOG(1, "-[LWAlert _dialogDestroyed]",
           QStringLiteral("Window closed under an unanswered alert: %1").arg(_messageText));
    emit sheetAbandoned(this);
}

bool LWAlert::_cancelByKeyboard() {
    return clickButtonWithTitle(tr("Cancel"));
}

QList<LWAlert*> LWAlert::activeAlerts() {
    return runningAlerts();
}

bool LWAlert::clickButtonWithReturnCode(int returnCode) {
    if (!_running)
        return false;
    for (const Button& entry : _buttons) {
        if (entry.returnCode == returnCode) {
            _end(returnCode);
            return true;
        }
    }
    return false;
}

bool LWAlert::clickButtonWithTitle(const QString& title) {
    if (!_running)
        return false;
    for (const Button& entry : _buttons) {
        if (entry.title == title) {
            _end(entry.returnCode);
            return true;
        }
    }
    return false;
}
