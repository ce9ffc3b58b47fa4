#pragma once
// INTERIM stand-in until the platform layer lands; removed then.
#include <QLabel>
#include <QPushButton>
#include <QWidget>
#include <memory>

class ABViewSelectingController {
public:
    ABViewSelectingController();
    ~ABViewSelectingController();
    QWidget* view() const { return _view; }
    QLabel* label() const { return _label; }
    QPushButton* button() const { return _button; }
    QString variation() const { return _variation; }

private:
    QWidget* _view = nullptr;
    QLabel* _label = nullptr;
    QPushButton* _button = nullptr;
    QString _variation;
};
