#pragma once
// INTERIM stand-in until the library's alert lands on main; removed then.
#include <QObject>
#include <QPointer>
#include <QString>
#include <QStringList>
#include <QWidget>
#include <functional>
#include <memory>

class LWAlert : public QObject {
    Q_OBJECT
public:
    ~LWAlert() override;
    static std::unique_ptr<LWAlert> alertWithMessageText(const QString& messageText,
                                                         const QString& defaultButton,
                                                         const QString& alternateButton,
                                                         const QString& otherButton,
                                                         const QString& informativeText);
    QString messageText() const { return _messageText; }
    QString informativeText() const { return _informativeText; }
    QStringList buttonTitles() const { return _titles; }
    QWidget* accessoryView() const { return _accessoryView; }
    void setAccessoryView(QWidget* view);
    QWidget* takeAccessoryView();
    void beginSheetModalForWindow(QWidget* window, std::function<void(int returnCode)> done);
    bool isRunning() const { return _running; }
    static QList<LWAlert*> activeAlerts();
    bool clickButtonWithReturnCode(int returnCode);

private:
    QString _messageText;
    QString _informativeText;
    QStringList _titles;
    QList<int> _codes;
    QPointer<QWidget> _accessoryView;
    bool _running = false;
    std::function<void(int)> _done;
};
