// INTERIM stand-in until the platform layer lands; removed then.
#include "views/ABViewSelectingController.h"

#include "foundation/LWPreferences.h"

#include <QHBoxLayout>
#include <QPointer>

ABViewSelectingController::ABViewSelectingController() {
    LWPreferences preferences = LWPreferences::standard();
    _variation = preferences.stringForKey(QStringLiteral("abviewVariation"));
    if (_variation.isEmpty()) {
        _variation = QStringLiteral("WFLogo");
        preferences.setObject(QStringLiteral("abviewVariation"), _variation);
    }
    _view = new QWidget;
    auto* layout = new QHBoxLayout(_view);
    _label = new QLabel(QStringLiteral("More from Wrenfield"), _view);
    _button = new QPushButton(QStringLiteral("Visit"), _view);
    layout->addWidget(_label);
    layout->addWidget(_button);
}

ABViewSelectingController::~ABViewSelectingController() {
    if (_view && !_view->parent())
        delete _view;
}
