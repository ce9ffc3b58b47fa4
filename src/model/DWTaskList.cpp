#include "model/DWTaskList.h"

#include "foundation/LWKeyedArchiver.h"
#include "foundation/LWKeyedUnarchiver.h"
#include "logging/LWLogger.h"
#include "model/DWStringAdditions.h"
#include "model/DWTaskCounter.h"
#include "model/DWTaskRuleSet.h"

#include <QHash>

namespace {
const QString className = QStringLiteral("DWTaskList");
const QString pathKey = QStringLiteral("Path");
const QString ruleSetNameKey = QStringLiteral("RuleSetName");
} // namespace

DWTaskList::DWTaskList(const QString& path, std::shared_ptr<DWTaskRuleSet> ruleSet)
    : _path(path), _ruleSet(std::move(ruleSet)) {}

DWTaskList::DWTaskList(LWKeyedUnarchiver& coder)
    : _path(coder.decodeStringForKey(pathKey)),
      _ruleSet(DWTaskRuleSet::ruleSetForName(coder.decodeStringForKey(ruleSetNameKey))) {}

DWTaskList::~DWTaskList() = default;

QString DWTaskList::path() const {
    std::lock_guard locker(_lock);
    return _path;
}

void DWTaskList::setPath(const QString& path) {
    std::lock_guard locker(_lock);
    _path = path;
}

std::shared_ptr<DWTaskRuleSet> DWTaskList::ruleSet() const {
    std::lock_guard locker(_lock);
    return _ruleSet;
}

void DWTaskList::setRuleSet(std::shared_ptr<DWTaskRuleSet> ruleSet) {
    std::lock_guard locker(_lock);
    _ruleSet = std::move(ruleSet);
}

QString DWTaskList::label() const {
    return dw::lastPathComponent(path());
}

void DWTaskList::clearOpenTasks() {
    _openTasks.store(-1, std::memory_order_release);
}

void DWTaskList::updateOpenTasks() {
    const std::shared_ptr<DWTaskRuleSet> rules = ruleSet();
    if (!rules) {
        _openTasks.store(-1, std::memory_order_release);
        LW_LOG(1, "-[DWTaskList updateOpenTasks]", QStringLiteral("No rules!"));
        return;
    }
    // A file that cannot be read counts as empty; the watcher notices when it
    // is gone.
    const DWCountResult result = DWTaskCounter(*rules).countFile(path());
    _openTasks.store(result.openTasks, std::memory_order_release);
}

bool DWTaskList::isEqual(const DWTaskList* other) const {
    if (other == this)
        return true;
    if (!other)
        return false;
    const QString mine = path();
    const QString theirs = other->path();
    return !mine.isNull() && !theirs.isNull() && mine == theirs;
}

size_t DWTaskList::hash() const {
    const QString mine = path();
    return mine.isNull() ? 0 : qHash(mine);
}

size_t qHash(const DWTaskList& taskList, size_t seed) noexcept {
    return taskList.hash() ^ seed;
}

QString DWTaskList::classNameForCoder() const {
    return className;
}

void DWTaskList::encodeWithCoder(LWKeyedArchiver& coder) const {
    const std::shared_ptr<DWTaskRuleSet> rules = ruleSet();
    coder.encodeString(path(), pathKey);
    coder.encodeString(rules ? rules->name() : QString(), ruleSetNameKey);
}

QByteArray DWTaskList::archiveTaskLists(const QList<std::shared_ptr<DWTaskList>>& taskLists) {
    QList<const LWCoding*> objects;
    objects.reserve(taskLists.size());
    for (const std::shared_ptr<DWTaskList>& taskList : taskLists)
        objects.append(taskList.get());
    return LWKeyedArchiver::archivedDataWithRootObjects(objects);
}

std::optional<QList<std::shared_ptr<DWTaskList>>>
DWTaskList::unarchiveTaskLists(const QByteArray& data, QString* error) {
    static const bool registered = [] {
        LWKeyedUnarchiver::registerDecoder(className, [](LWKeyedUnarchiver& coder) {
            return std::make_shared<DWTaskList>(coder);
        });
        return true;
    }();
    Q_UNUSED(registered);
    return LWKeyedUnarchiver::unarchiveObjectsOfClass<DWTaskList>(data, error);
}
