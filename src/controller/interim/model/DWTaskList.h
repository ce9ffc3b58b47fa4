#pragma once
// INTERIM stand-in until the model layer lands; removed then.
#include "model/DWTaskRuleSet.h"

#include <QByteArray>
#include <QList>
#include <QMutex>
#include <QString>
#include <atomic>
#include <memory>
#include <optional>

class DWTaskList {
public:
    QString path() const;
    void setPath(const QString& path);
    std::shared_ptr<DWTaskRuleSet> ruleSet() const;
    void setRuleSet(std::shared_ptr<DWTaskRuleSet> ruleSet);
    int openTasks() const { return _openTasks.load(); }
    QString label() const;
    void updateOpenTasks();
    void clearOpenTasks() { _openTasks.store(-1); }

    static QByteArray archiveTaskLists(const QList<std::shared_ptr<DWTaskList>>& taskLists);
    static std::optional<QList<std::shared_ptr<DWTaskList>>>
    unarchiveTaskLists(const QByteArray& bytes);

private:
    mutable QMutex _lock;
    QString _path;
    std::shared_ptr<DWTaskRuleSet> _ruleSet;
    std::atomic<int> _openTasks{-1};
};
