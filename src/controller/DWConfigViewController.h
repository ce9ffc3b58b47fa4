#pragma once

#include <QObject>
#include <QPointer>
#include <QWidget>
#include <memory>

class DWTaskList;
class DWTaskRuleSet;
namespace Ui {
class DWConfigView;
}

// The rule-set chooser: a small view with a list of the task styles a task
// list can be read with (TaskPaper first, then square brackets). It shows the
// task list's style selected; a changed choice is only logged for now.
class DWConfigViewController : public QObject {
    Q_OBJECT

public:
    explicit DWConfigViewController(QObject* parent = nullptr);
    ~DWConfigViewController() override;

    QWidget* view() const { return _view; }

    // The offered rule sets in list order, and the one selected (null when
    // nothing is selected).
    const QList<std::shared_ptr<DWTaskRuleSet>>& ruleSets() const { return _ruleSets; }
    std::shared_ptr<DWTaskRuleSet> selectedRuleSet() const;

    // Selects the entry whose name is the task list's rule set's name (rule
    // sets are made fresh by their factories, so only names compare) and puts
    // the view into `superview`, into its layout when it has one. A null task
    // list does nothing.
    void addToSuperview(QWidget* superview, const std::shared_ptr<DWTaskList>& taskList);

public slots:
    void removeFromSuperViewAction();
    void ruleSetChangedAction();

private:
    void awakeFromNib();
    void addObject(const std::shared_ptr<DWTaskRuleSet>& ruleSet);
    void selectIndex(int index);

    std::unique_ptr<Ui::DWConfigView> _ui;
    QPointer<QWidget> _view;
    QList<std::shared_ptr<DWTaskRuleSet>> _ruleSets;
};
