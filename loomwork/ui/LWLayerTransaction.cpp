#include "ui/LWLayerTransaction.h"

#include <QList>

namespace {
// One entry per open transaction: whether its actions are disabled.
QList<bool>& transactions() {
    static QList<bool> stack;
    return stack;
}
} // namespace

void LWLayerTransaction::begin() {
    const bool inherited = !transactions().isEmpty() && transactions().last();
    transactions().append(inherited);
}

void LWLayerTransaction::commit() {
    // An unmatched commit is ignored rather than corrupting the stack.
    if (!transactions().isEmpty())
        transactions().removeLast();
}

void LWLayerTransaction::setDisableActions(bool disable) {
    if (!transactions().isEmpty())
        transactions().last() = disable;
}

bool LWLayerTransaction::disableActions() {
    return !transactions().isEmpty() && transactions().last();
}

int LWLayerTransaction::depth() {
    return int(transactions().size());
}

void LWBeginActionlessTransaction() {
    LWLayerTransaction::begin();
    LWLayerTransaction::setDisableActions(true);
}

void LWCommitTransaction() {
    LWLayerTransaction::commit();
}
