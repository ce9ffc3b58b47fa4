#include "appproxy/LWApplicationProxyHandler.h"

void LWApplicationProxyHandler::addCommand(const QString& name, Command command) {
    _commands.insert(name, std::move(command));
}

void LWApplicationProxyHandler::removeCommand(const QString& name) {
    _commands.remove(name);
}

bool LWApplicationProxyHandler::respondsToSelector(const QString& name) const {
    const auto it = _commands.constFind(name);
    return it != _commands.constEnd() && bool(*it);
}

bool LWApplicationProxyHandler::invoke(const QString& name, const QStringList& arguments) const {
    const auto it = _commands.constFind(name);
    if (it == _commands.constEnd() || !*it)
        return false;
    (*it)(arguments);
    return true;
}
