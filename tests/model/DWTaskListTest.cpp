#include "model/DWTaskList.h"

#include "foundation/LWKeyedArchiver.h"
#include "logging/LWLogger.h"
#include "model/DWTaskRuleSet.h"
#include "support/TestEnvironment.h"

#include <QCborArray>
#include <QCborMap>
#include <QCborValue>
#include <QFile>
#include <QRegularExpression>
#include <gtest/gtest.h>

namespace {
class TaskListTest : public ::testing::Test {
protected:
    void SetUp() override {
        logger->setMessageBacklogSize(50);
        logger->setMessageBacklog({});
    }
    void TearDown() override {
        logger->setMessageBacklogSize(0);
        logger->setMessageBacklog({});
    }
    QString file(const QString& name, const QByteArray& bytes) const {
        const QString path = dwtest::homePath() + u'/' + name;
        dwtest::writeFile(path, bytes);
        return path;
    }
    LWLogger* logger = LWLogger::sharedInstance();
};

std::shared_ptr<DWTaskList> taskList(const QString& path,
                                     std::shared_ptr<DWTaskRuleSet> ruleSet = nullptr) {
    return std::make_shared<DWTaskList>(path, std::move(ruleSet));
}
} // namespace

TEST_F(TaskListTest, CountsAndUncountedStates) {
    DWTaskList fresh;
    EXPECT_EQ(fresh.openTasks(), -1);

    const QString path = file(QStringLiteral("list.taskpaper"), "- a\n- b @done\n- c\n");
    DWTaskList list(path, DWTaskRuleSet::taskPaperRuleSet());
    list.updateOpenTasks();
    EXPECT_EQ(list.openTasks(), 2);
    list.clearOpenTasks();
    EXPECT_EQ(list.openTasks(), -1);

    // The next count uses the new rule set.
    list.setRuleSet(DWTaskRuleSet::todotxtRuleSet());
    list.updateOpenTasks();
    EXPECT_EQ(list.openTasks(), 3);

    // Empty and missing files count 0, without a message.
    list.setPath(file(QStringLiteral("empty.txt"), QByteArray()));
    list.updateOpenTasks();
    EXPECT_EQ(list.openTasks(), 0);
    list.setPath(dwtest::homePath() + QStringLiteral("/missing.txt"));
    list.updateOpenTasks();
    EXPECT_EQ(list.openTasks(), 0);
    EXPECT_TRUE(logger->messageBacklog().isEmpty());
}

TEST_F(TaskListTest, WithoutRulesTheCountIsMinusOneAndEachCountWarns) {
    DWTaskList list(file(QStringLiteral("rules.txt"), "a\n"), nullptr);
    list.updateOpenTasks();
    list.updateOpenTasks();
    EXPECT_EQ(list.openTasks(), -1);
    const QStringList backlog = logger->messageBacklog();
    ASSERT_EQ(backlog.size(), 2);
    const QRegularExpression line(QStringLiteral(
        "^ WARN\\| No rules! \\|DWTaskList:\\d+\\| -\\[DWTaskList updateOpenTasks\\]$"));
    for (const QString& entry : backlog)
        EXPECT_TRUE(line.match(entry).hasMatch()) << entry.toStdString();
}

TEST_F(TaskListTest, LabelIsTheLastPathComponent) {
    EXPECT_EQ(taskList(QStringLiteral("/a/b/list.taskpaper"))->label(),
              QStringLiteral("list.taskpaper"));
    EXPECT_EQ(taskList(QStringLiteral("/a/b/notes/"))->label(), QStringLiteral("notes"));
    EXPECT_EQ(taskList(QStringLiteral("todo.txt"))->label(), QStringLiteral("todo.txt"));
    EXPECT_EQ(taskList(QStringLiteral("/"))->label(), QStringLiteral("/"));
    EXPECT_TRUE(DWTaskList().label().isEmpty());
}

TEST_F(TaskListTest, EqualityAndHashGoByPath) {
    const auto a = taskList(QStringLiteral("/t/list.txt"), DWTaskRuleSet::todotxtRuleSet());
    const auto b = taskList(QStringLiteral("/t/list.txt"), DWTaskRuleSet::taskPaperRuleSet());
    EXPECT_TRUE(a->isEqual(b.get()));
    EXPECT_EQ(a->hash(), b->hash());
    EXPECT_EQ(qHash(*a), qHash(*b));
    EXPECT_FALSE(a->isEqual(taskList(QStringLiteral("/t/List.txt")).get()));
    EXPECT_FALSE(a->isEqual(nullptr));

    // Without a path a list equals only itself; an empty path is a path.
    DWTaskList none1, none2;
    EXPECT_TRUE(none1.isEqual(&none1));
    EXPECT_FALSE(none1 == none2);
    EXPECT_EQ(none1.hash(), 0u);
    EXPECT_FALSE(none1.isEqual(taskList(QString("")).get()));
    EXPECT_TRUE(taskList(QString(""))->isEqual(taskList(QString("")).get()));
}

TEST_F(TaskListTest, ArchiveRoundTripGivesUncountedEqualLists) {
    const QString path = file(QStringLiteral("round.taskpaper"), "- a\n");
    const QList<std::shared_ptr<DWTaskList>> lists = {
        taskList(path, DWTaskRuleSet::taskPaperRuleSet()),
        taskList(QStringLiteral("/t/todo.txt"), DWTaskRuleSet::todotxtRuleSet()),
        taskList(QStringLiteral("/t/\u00fcber \"quoted\".txt"),
                 DWTaskRuleSet::squareBracketStyleRuleSet()),
        taskList(QStringLiteral("/t/none.txt"))};
    lists[0]->updateOpenTasks();

    const auto decoded = DWTaskList::unarchiveTaskLists(DWTaskList::archiveTaskLists(lists));
    ASSERT_TRUE(decoded);
    ASSERT_EQ(decoded->size(), lists.size());
    for (qsizetype i = 0; i < lists.size(); ++i) {
        const DWTaskList& in = *lists[i];
        const DWTaskList& out = *decoded->at(i);
        EXPECT_TRUE(out.isEqual(&in));
        EXPECT_EQ(out.path(), in.path());
        EXPECT_EQ(out.openTasks(), -1);
        if (in.ruleSet()) {
            ASSERT_TRUE(out.ruleSet());
            EXPECT_EQ(out.ruleSet()->name(), in.ruleSet()->name());
            EXPECT_NE(out.ruleSet(), in.ruleSet());
        } else {
            EXPECT_EQ(out.ruleSet(), nullptr);
        }
    }
    decoded->at(0)->updateOpenTasks();
    EXPECT_EQ(decoded->at(0)->openTasks(), 1);
    EXPECT_TRUE(DWTaskList::unarchiveTaskLists(DWTaskList::archiveTaskLists({}))->isEmpty());
}

// What other versions of the app and the preferences file hold: the record's
// keys and class name are a stored format.
TEST_F(TaskListTest, ArchivedRecordFormat) {
    const QByteArray data = DWTaskList::archiveTaskLists(
        {taskList(QStringLiteral("/t/a.txt"), DWTaskRuleSet::todotxtRuleSet()),
         taskList(QStringLiteral("/t/b.txt"))});
    const QCborArray records = QCborValue::fromCbor(data)[QStringLiteral("$top")].toArray();
    ASSERT_EQ(records.size(), 2);
    EXPECT_EQ(records[0][QStringLiteral("$class")].toString(), QStringLiteral("DWTaskList"));
    EXPECT_EQ(records[0][QStringLiteral("Path")].toString(), QStringLiteral("/t/a.txt"));
    EXPECT_EQ(records[0][QStringLiteral("RuleSetName")].toString(),
              QStringLiteral("todotxt.org style"));
    EXPECT_TRUE(records[1][QStringLiteral("RuleSetName")].isNull());

    // A record with a name no rule set has reads as a list without rules.
    QCborMap unknown;
    unknown.insert(QStringLiteral("$class"), QStringLiteral("DWTaskList"));
    unknown.insert(QStringLiteral("Path"), QStringLiteral("/t/c.txt"));
    unknown.insert(QStringLiteral("RuleSetName"), QStringLiteral("Emoji style"));
    QCborMap root = QCborValue::fromCbor(data).toMap();
    root.insert(QStringLiteral("$top"), QCborArray{unknown});
    const auto decoded = DWTaskList::unarchiveTaskLists(root.toCborValue().toCbor());
    ASSERT_TRUE(decoded && decoded->size() == 1);
    EXPECT_EQ(decoded->at(0)->ruleSet(), nullptr);
    decoded->at(0)->updateOpenTasks();
    EXPECT_EQ(decoded->at(0)->openTasks(), -1);
}

TEST_F(TaskListTest, DamagedOrForeignArchivesReadAsNothing) {
    const QByteArray good = DWTaskList::archiveTaskLists(
        {taskList(QStringLiteral("/t/a.txt"), DWTaskRuleSet::todotxtRuleSet()),
         taskList(QStringLiteral("/t/b.taskpaper"), DWTaskRuleSet::taskPaperRuleSet())});
    for (qsizetype length = 0; length < good.size(); ++length)
        EXPECT_FALSE(DWTaskList::unarchiveTaskLists(good.left(length))) << length;
    EXPECT_FALSE(DWTaskList::unarchiveTaskLists(good + '\0'));

    QCborMap root = QCborValue::fromCbor(good).toMap();
    auto withTop = [&root](const QCborValue& top) {
        QCborMap changed = root;
        changed.insert(QStringLiteral("$top"), top);
        return changed.toCborValue().toCbor();
    };
    QCborMap record = root[QStringLiteral("$top")].toArray()[0].toMap();
    auto recordWith = [&record](const QString& key, const QCborValue& value) {
        QCborMap changed = record;
        changed.insert(key, value);
        return QCborArray{changed};
    };
    QString error;
    const QList<QByteArray> damaged = {
        QByteArray("not an archive at all"),
        QCborValue(QCborArray{QStringLiteral("/t/a.txt")}).toCbor(),
        withTop(QCborMap()),                                                    // root not a list
        withTop(QCborArray{QCborValue(nullptr)}),                               // a null element
        withTop(recordWith(QStringLiteral("$class"), QStringLiteral("NSUrl"))), // unknown class
        withTop(recordWith(QStringLiteral("$class"), 7)),
        withTop(recordWith(QStringLiteral("Path"), 42)),
        withTop(recordWith(QStringLiteral("RuleSetName"), QCborArray())),
    };
    for (const QByteArray& bytes : damaged) {
        error.clear();
        EXPECT_FALSE(DWTaskList::unarchiveTaskLists(bytes, &error)) << bytes.toHex().data();
        EXPECT_FALSE(error.isEmpty());
    }
    QCborMap newer = root;
    newer.insert(QStringLiteral("$version"), 2);
    EXPECT_FALSE(DWTaskList::unarchiveTaskLists(newer.toCborValue().toCbor(), &error));
    EXPECT_EQ(error, QStringLiteral("unsupported archive version"));
}
