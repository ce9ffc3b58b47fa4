#pragma once

#include "foundation/LWCoding.h"

#include <QByteArray>
#include <QList>
#include <QString>
#include <atomic>
#include <memory>
#include <mutex>
#include <optional>

class DWTaskRuleSet;
class LWKeyedUnarchiver;

// One watched task file: its path (its identity), the rule set that reads it
// and the number of open tasks found by the last count (-1: not counted).
// Shared between the main thread, which shows it, and the badge worker, which
// counts it: path and rule set are read and written whole under a lock, the
// count is an atomic integer.
class DWTaskList : public LWCoding {
public:
    DWTaskList() = default;
    DWTaskList(const QString& path, std::shared_ptr<DWTaskRuleSet> ruleSet);
    // Reads the record written by encodeWithCoder(): the path and a new rule set
    // for the stored name (null when the name is missing or unknown); uncounted.
    explicit DWTaskList(LWKeyedUnarchiver& coder);
    ~DWTaskList() override;
    DWTaskList(const DWTaskList&) = delete;
    DWTaskList& operator=(const DWTaskList&) = delete;

    QString path() const;
    void setPath(const QString& path);
    std::shared_ptr<DWTaskRuleSet> ruleSet() const;
    void setRuleSet(std::shared_ptr<DWTaskRuleSet> ruleSet);
    // Safe to read from any thread, also while a count runs: it then reads the
    // previous count until the new one is complete.
    int openTasks() const { return _openTasks.load(std::memory_order_acquire); }
    // The file name with its extension, worked out from the path.
    QString label() const;

    void clearOpenTasks();
    // Reads the file and counts its open tasks. Without a rule set the count is
    // -1 and "No rules!" is logged; a file that cannot be read counts 0.
    void updateOpenTasks();

    // Same path, exact and case-sensitive; lists without a path are equal only
    // to themselves.
    bool isEqual(const DWTaskList* other) const;
    bool operator==(const DWTaskList& other) const { return isEqual(&other); }
    // The path's hash; 0 without a path.
    size_t hash() const;

    QString classNameForCoder() const override;
    void encodeWithCoder(LWKeyedArchiver& coder) const override;

    // The preferences value "TaskLists": the list as a keyed archive.
    static QByteArray archiveTaskLists(const QList<std::shared_ptr<DWTaskList>>& taskLists);
    // nullopt for damaged or foreign bytes; `error` then says why.
    static std::optional<QList<std::shared_ptr<DWTaskList>>>
    unarchiveTaskLists(const QByteArray& data, QString* error = nullptr);

private:
    mutable std::mutex _lock;
    QString _path;
    std::shared_ptr<DWTaskRuleSet> _ruleSet;
    std::atomic<int> _openTasks{-1};
};

size_t qHash(const DWTaskList& taskList, size_t seed = 0) noexcept;

template <> struct std::hash<DWTaskList> {
    size_t operator()(const DWTaskList& taskList) const noexcept { return taskList.hash(); }
};
