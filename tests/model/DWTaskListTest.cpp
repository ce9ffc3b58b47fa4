#include "model/DWTaskList.h"

#include "model/DWTaskRuleSet.h"
#include "support/LogCapture.h"
#include "support/TestEnvironment.h"

#include <QCborArray>
#include <QCborMap>
#include <QCborValue>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {
std::shared_ptr<DWTaskList> taskList(const QString& path,
                                     std::shared_ptr<DWTaskRuleSet> ruleSet = nullptr) {
    return std::make_shared<DWTaskList>(path, std::move(ruleSet));
}
QString file(const QString& name, const QByteArray& bytes) {
    const QString path = dwtest::homePath() + u'/' + name;
    dwtest::writeFile(path, bytes);
    return path;
}
} // namespace

TEST(TaskList, CountsUncountedStatesAndTheWarningWithoutRules) {
    dwtest::LogCapture log;
    DWTaskList list(file(u"list.taskpaper"_s, "- a\n- b @done\n- c\n"),
                    DWTaskRuleSet::taskPaperRuleSet());
    list.updateOpenTasks();
    EXPECT_EQ(list.openTasks(), 2);
    list.clearOpenTasks();
    EXPECT_EQ(list.openTasks(), -1);
    list.setRuleSet(DWTaskRuleSet::todotxtRuleSet()); // the next count uses the new rules
    list.updateOpenTasks();
    EXPECT_EQ(list.openTasks(), 3);
    // Missing files count 0, without a message.
    list.setPath(dwtest::homePath() + u"/missing.txt"_s);
    list.updateOpenTasks();
    EXPECT_EQ(list.openTasks(), 0);
    EXPECT_TRUE(log.loggerLines().isEmpty());

    list.setRuleSet(nullptr);
    list.updateOpenTasks();
    list.updateOpenTasks();
    EXPECT_EQ(list.openTasks(), -1);
    EXPECT_EQ(log.loggerLines().filter(u" WARN| No rules! |DWTaskList:"_s).size(), 2);
}

TEST(TaskList, LabelEqualityAndHashGoByPath) {
    EXPECT_EQ(taskList(u"/a/b/notes/"_s)->label(), u"notes"_s);
    EXPECT_EQ(taskList(u"/"_s)->label(), u"/"_s);
    const auto a = taskList(u"/t/list.txt"_s, DWTaskRuleSet::todotxtRuleSet());
    const auto b = taskList(u"/t/list.txt"_s, DWTaskRuleSet::taskPaperRuleSet());
    EXPECT_TRUE(a->isEqual(b.get()));
    EXPECT_EQ(qHash(*a), qHash(*b));
    EXPECT_FALSE(a->isEqual(taskList(u"/t/List.txt"_s).get()));
    EXPECT_FALSE(a->isEqual(nullptr));

    // Without a path a list equals only itself; an empty path is a path.
    DWTaskList none1, none2;
    EXPECT_TRUE(none1.isEqual(&none1));
    EXPECT_FALSE(none1 == none2);
    EXPECT_FALSE(none1.isEqual(taskList(u""_s).get()));
    EXPECT_TRUE(taskList(u""_s)->isEqual(taskList(u""_s).get()));
}

// The record's keys and class name are a stored format: other versions of the
// app and the preferences file hold them.
TEST(TaskList, ArchiveRoundTripGivesUncountedEqualListsInTheStoredFormat) {
    const QList<std::shared_ptr<DWTaskList>> lists = {
        taskList(file(u"round.txt"_s, "- a\n"), DWTaskRuleSet::todotxtRuleSet()),
        taskList(u"/t/\u00fcber \"quoted\".txt"_s, DWTaskRuleSet::squareBracketStyleRuleSet()),
        taskList(u"/t/none.txt"_s)};
    lists[0]->updateOpenTasks();
    const QByteArray data = DWTaskList::archiveTaskLists(lists);
    const QCborArray records = QCborValue::fromCbor(data)[u"$top"_s].toArray();
    EXPECT_EQ(records[0][u"$class"_s].toString(), u"DWTaskList"_s);
    EXPECT_EQ(records[0][u"Path"_s].toString(), lists[0]->path());
    EXPECT_EQ(records[0][u"RuleSetName"_s].toString(), u"todotxt.org style"_s);
    EXPECT_TRUE(records[2][u"RuleSetName"_s].isNull());

    const auto decoded = DWTaskList::unarchiveTaskLists(data);
    ASSERT_TRUE(decoded && decoded->size() == lists.size());
    for (qsizetype i = 0; i < lists.size(); ++i) {
        const DWTaskList &in = *lists[i], &out = *decoded->at(i);
        EXPECT_EQ(out.path(), in.path());
        EXPECT_EQ(out.openTasks(), -1);
        EXPECT_EQ(out.ruleSet() ? out.ruleSet()->name() : u"-"_s,
                  in.ruleSet() ? in.ruleSet()->name() : u"-"_s);
    }
    EXPECT_TRUE(DWTaskList::unarchiveTaskLists(DWTaskList::archiveTaskLists({}))->isEmpty());
}

TEST(TaskList, DamagedOrForeignArchivesReadAsNothingUnknownRulesAsNone) {
    const QByteArray good = DWTaskList::archiveTaskLists(
        {taskList(u"/t/a.txt"_s, DWTaskRuleSet::todotxtRuleSet()),
         taskList(u"/t/b.taskpaper"_s, DWTaskRuleSet::taskPaperRuleSet())});
    for (qsizetype length = 0; length < good.size(); ++length)
        EXPECT_FALSE(DWTaskList::unarchiveTaskLists(good.left(length))) << length;
    EXPECT_FALSE(DWTaskList::unarchiveTaskLists(good + '\0'));

    const QCborMap root = QCborValue::fromCbor(good).toMap();
    auto with = [&root](const QString& key, const QCborValue& value, bool inRecord = true) {
        QCborMap changed = root, record = root[u"$top"_s].toArray()[0].toMap();
        record.insert(key, value);
        changed.insert(inRecord ? u"$top"_s : key, inRecord ? QCborArray{record} : value);
        return changed.toCborValue().toCbor();
    };
    QString error;
    for (const QByteArray& bytes :
         {"not an archive at all"_ba, QCborValue(QCborArray{u"/t/a.txt"_s}).toCbor(),
          with(u"$top"_s, QCborMap(), false), with(u"$top"_s, QCborArray{nullptr}, false),
          with(u"$class"_s, u"NSUrl"_s), with(u"Path"_s, 42),
          with(u"RuleSetName"_s, QCborArray())}) {
        error.clear();
        EXPECT_FALSE(DWTaskList::unarchiveTaskLists(bytes, &error)) << bytes.toHex().data();
        EXPECT_FALSE(error.isEmpty());
    }
    EXPECT_FALSE(DWTaskList::unarchiveTaskLists(with(u"$version"_s, 2, false), &error));
    EXPECT_EQ(error, u"unsupported archive version"_s);

    // A record with a name no rule set has reads as a list without rules.
    const auto unknown = DWTaskList::unarchiveTaskLists(with(u"RuleSetName"_s, u"Emoji style"_s));
    ASSERT_TRUE(unknown && unknown->size() == 1);
    EXPECT_EQ(unknown->at(0)->ruleSet(), nullptr);
}
