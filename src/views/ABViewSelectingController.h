#pragma once

#include <QAbstractButton>
#include <QLabel>
#include <QMutex>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QStringList>
#include <QWidget>
#include <functional>

// The small promotional view of the main window. One of three designs is
// picked at random for each user account the first time, stored under
// "abviewVariation" and shown from then on; the design is loaded by name from
// its .ui file at run time. The application greys out `label()` and disables
// `button()` while badging is off, and tags its web link with the variation.
class ABViewSelectingController : public QObject {
    Q_OBJECT
    Q_PROPERTY(QString chosenVariation READ chosenVariation WRITE setChosenVariation)

public:
    // Decides on the variation and loads its view. A stored name without a
    // design shows an empty placeholder (with a warning in the log); label()
    // and button() are then hidden stand-ins, never null.
    explicit ABViewSelectingController(QObject* parent = nullptr);
    // Deletes the view unless a window has adopted it.
    ~ABViewSelectingController() override;

    // The designs, in the order the random pick uses.
    static QStringList variations();
    // The stored variation, as it is; otherwise a random one (a uniform 32-bit
    // number modulo the number of designs), which is stored. `random` stands in
    // for the system's random source in tests.
    static QString _decideOnVariation(const std::function<quint32()>& random = {});

    QWidget* view() const { return _view; }
    QLabel* label() const { return _label; }
    QAbstractButton* button() const { return _button; }
    void setLabel(QLabel* label) { _label = label; }
    void setButton(QAbstractButton* button) { _button = button; }

    // Empty when the design could not be loaded. Safe from any thread.
    QString chosenVariation() const;
    void setChosenVariation(const QString& variation);
    QString variation() const { return chosenVariation(); }

private:
    bool loadView(const QString& variation);
    void showPlaceholder();

    QPointer<QWidget> _view;
    QPointer<QLabel> _label;
    QPointer<QAbstractButton> _button;
    mutable QMutex _variationLock;
    QString _chosenVariation;
};
