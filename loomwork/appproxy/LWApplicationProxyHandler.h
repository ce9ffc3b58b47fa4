#pragma once

#include <QHash>
#include <QString>
#include <QStringList>
#include <functional>

// An object that LWApplicationProxy can drive: a table of commands, each under
// its full name ("rpcOpenFile:atLine:" with one colon per parameter, or
// "rpcRefresh" without parameters), each taking its arguments as texts in
// order. Subclasses fill the table in their constructors; commands are called
// on the thread that handles the URL.
class LWApplicationProxyHandler {
public:
    using Command = std::function<void(const QStringList& arguments)>;

    virtual ~LWApplicationProxyHandler() = default;

    void addCommand(const QString& name, Command command);
    void removeCommand(const QString& name);
    bool respondsToSelector(const QString& name) const;
    // Calls the command; false when there is none of that name.
    bool invoke(const QString& name, const QStringList& arguments) const;

private:
    QHash<QString, Command> _commands;
};
