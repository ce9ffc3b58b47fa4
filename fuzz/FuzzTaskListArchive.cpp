// Reads arbitrary bytes as the archived task lists kept in the preferences.
// Whatever reads must archive again and read back the same.
#include "model/DWTaskList.h"
#include "model/DWTaskRuleSet.h"

#include <cstdio>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const QByteArray bytes =
        QByteArray::fromRawData(reinterpret_cast<const char*>(data), qsizetype(size));
    QString error;
    const auto lists = DWTaskList::unarchiveTaskLists(bytes, &error);
    if (!lists) {
        if (error.isEmpty()) {
            std::fprintf(stderr, "refused without a reason\n");
            std::abort();
        }
        return 0;
    }
    const auto again = DWTaskList::unarchiveTaskLists(DWTaskList::archiveTaskLists(*lists));
    if (!again || again->size() != lists->size()) {
        std::fprintf(stderr, "round trip lost lists\n");
        std::abort();
    }
    for (qsizetype i = 0; i < lists->size(); ++i) {
        const DWTaskList& a = *lists->at(i);
        const DWTaskList& b = *again->at(i);
        const auto rulesA = a.ruleSet();
        const auto rulesB = b.ruleSet();
        if (a.path() != b.path() || a.path().isNull() != b.path().isNull() ||
            bool(rulesA) != bool(rulesB) || (rulesA && rulesA->name() != rulesB->name()) ||
            b.openTasks() != -1) {
            std::fprintf(stderr, "round trip changed list %lld\n", static_cast<long long>(i));
            std::abort();
        }
    }
    return 0;
}
