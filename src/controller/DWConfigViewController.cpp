#include "controller/DWConfigViewController.h"

#include "logging/LWLogger.h"
#include "model/DWTaskList.h"
#include "model/DWTaskRuleSet.h"
#include "ui_DWConfigView.h"

#include <QLayout>
#include <QSignalBlocker>

DWConfigViewController::DWConfigViewController(QObject* parent)
    : QObject(parent), _ui(std::make_unique<Ui::DWConfigView>()), _view(new QWidget) {
    _ui->setupUi(_view);
    connect(_ui->ruleSetPopUp, &QComboBox::currentIndexChanged, this,
            &DWConfigViewController::ruleSetChangedAction);
    connect(_ui->doneButton, &QPushButton::clicked, this,
            &DWConfigViewController::removeFromSuperViewAction);
    awakeFromNib();
}

DWConfigViewController::~DWConfigViewController() {
    // A view shown somewhere belongs to its superview; one on its own is ours.
    if (_view && !_view->parent())
        delete _view;
}

void DWConfigViewController::awakeFromNib() {
    addObject(DWTaskRuleSet::taskPaperRuleSet());
    addObject(DWTaskRuleSet::squareBracketStyleRuleSet());
}

void DWConfigViewController::addObject(const std::shared_ptr<DWTaskRuleSet>& ruleSet) {
    if (!ruleSet)
        return;
    _ruleSets.append(ruleSet);
    {
        const QSignalBlocker blocker(_ui->ruleSetPopUp);
        _ui->ruleSetPopUp->addItem(ruleSet->name());
    }
    // Like a list that selects what is inserted into it.
    selectIndex(int(_ruleSets.size()) - 1);
}

void DWConfigViewController::selectIndex(int index) {
    const QSignalBlocker blocker(_ui->ruleSetPopUp);
    _ui->ruleSetPopUp->setCurrentIndex(index);
}

std::shared_ptr<DWTaskRuleSet> DWConfigViewController::selectedRuleSet() const {
    const int index = _ui->ruleSetPopUp->currentIndex();
    return (index >= 0 && index < _ruleSets.size()) ? _ruleSets[index] : nullptr;
}

void DWConfigViewController::addToSuperview(QWidget* superview,
                                            const std::shared_ptr<DWTaskList>& taskList) {
    if (!taskList || !superview || !_view)
        return;
    int match = -1;
    if (const auto ruleSet = taskList->ruleSet()) {
        for (int i = 0; i < _ruleSets.size() && match < 0; ++i)
            if (_ruleSets[i]->name() == ruleSet->name())
                match = i;
    }
    selectIndex(match);
    if (_view->parentWidget() != superview) {
        _view->setParent(superview);
        if (QLayout* layout = superview->layout())
            layout->addWidget(_view);
    }
    _view->show();
}

void DWConfigViewController::removeFromSuperViewAction() {
    if (!_view || !_view->parent())
        return;
    _view->hide();
    _view->setParent(nullptr); // a layout lets go of a widget that leaves its parent
}

void DWConfigViewController::ruleSetChangedAction() {
    LW_LOG(3, "-[DWConfigViewController ruleSetChangedAction:]", QStringLiteral("rule changed"));
}
