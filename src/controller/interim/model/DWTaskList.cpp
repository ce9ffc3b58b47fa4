// INTERIM stand-in until the model layer lands; removed then.
#include "model/DWTaskList.h"

#include <QCborArray>
#include <QCborMap>
#include <QCborValue>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>

bool DWTaskRuleSet::isOpenTask(const QString& line) const {
    const QString stripped = QString(line).remove(QLatin1Char(' ')).remove(QLatin1Char('\t'));
    if (_name == QLatin1String("TaskPaper style"))
        return stripped.startsWith(QLatin1Char('-')) && !stripped.contains(QLatin1String("@done"));
    if (_name == QLatin1String("Square Brackets Style"))
        return stripped.startsWith(QLatin1String("-[]")) ||
               stripped.startsWith(QLatin1String("*[]"));
    return !stripped.isEmpty() && !stripped.startsWith(QLatin1String("x"));
}

std::shared_ptr<DWTaskRuleSet> DWTaskRuleSet::todotxtRuleSet() {
    return std::make_shared<DWTaskRuleSet>(QStringLiteral("todotxt.org style"));
}
std::shared_ptr<DWTaskRuleSet> DWTaskRuleSet::taskPaperRuleSet() {
    return std::make_shared<DWTaskRuleSet>(QStringLiteral("TaskPaper style"));
}
std::shared_ptr<DWTaskRuleSet> DWTaskRuleSet::squareBracketStyleRuleSet() {
    return std::make_shared<DWTaskRuleSet>(QStringLiteral("Square Brackets Style"));
}
std::shared_ptr<DWTaskRuleSet> DWTaskRuleSet::ruleSetForName(const QString& name) {
    for (auto make : {todotxtRuleSet, taskPaperRuleSet, squareBracketStyleRuleSet}) {
        auto set = make();
        if (set->name() == name)
            return set;
    }
    return nullptr;
}
std::shared_ptr<DWTaskRuleSet> DWTaskRuleSet::bestMatchFor(const QString& path) {
    if (QFileInfo(path).suffix().toLower() == QLatin1String("taskpaper"))
        return taskPaperRuleSet();
    return todotxtRuleSet();
}

QString DWTaskList::path() const {
    QMutexLocker locker(&_lock);
    return _path;
}
void DWTaskList::setPath(const QString& path) {
    QMutexLocker locker(&_lock);
    _path = path;
}
std::shared_ptr<DWTaskRuleSet> DWTaskList::ruleSet() const {
    QMutexLocker locker(&_lock);
    return _ruleSet;
}
void DWTaskList::setRuleSet(std::shared_ptr<DWTaskRuleSet> ruleSet) {
    QMutexLocker locker(&_lock);
    _ruleSet = std::move(ruleSet);
}
QString DWTaskList::label() const {
    return QFileInfo(path()).fileName();
}

void DWTaskList::updateOpenTasks() {
    auto rules = ruleSet();
    if (!rules) {
        _openTasks.store(-1);
        return;
    }
    QFile file(path());
    QString text;
    if (file.open(QIODevice::ReadOnly))
        text = QString::fromUtf8(file.readAll());
    int count = 0;
    for (const QString& line : text.split(QRegularExpression(QStringLiteral("[\\n\\r]"))))
        count += rules->isOpenTask(line) ? 1 : 0;
    _openTasks.store(count);
}

QByteArray DWTaskList::archiveTaskLists(const QList<std::shared_ptr<DWTaskList>>& taskLists) {
    QCborArray array;
    for (const auto& taskList : taskLists) {
        QCborMap map;
        map.insert(QStringLiteral("$class"), QStringLiteral("DWTaskList"));
        map.insert(QStringLiteral("Path"), taskList->path());
        auto rules = taskList->ruleSet();
        map.insert(QStringLiteral("RuleSetName"), rules ? QCborValue(rules->name()) : QCborValue());
        array.append(map);
    }
    return QCborValue(array).toCbor();
}

std::optional<QList<std::shared_ptr<DWTaskList>>>
DWTaskList::unarchiveTaskLists(const QByteArray& bytes) {
    QCborParserError error;
    const QCborValue root = QCborValue::fromCbor(bytes, &error);
    if (error.error != QCborError::NoError || !root.isArray())
        return std::nullopt;
    QList<std::shared_ptr<DWTaskList>> lists;
    for (const QCborValue& value : root.toArray()) {
        const QCborMap map = value.toMap();
        if (map.value(QStringLiteral("$class")).toString() != QLatin1String("DWTaskList"))
            return std::nullopt;
        auto taskList = std::make_shared<DWTaskList>();
        taskList->setPath(map.value(QStringLiteral("Path")).toString());
        taskList->setRuleSet(
            DWTaskRuleSet::ruleSetForName(map.value(QStringLiteral("RuleSetName")).toString()));
        lists.append(taskList);
    }
    return lists;
}
