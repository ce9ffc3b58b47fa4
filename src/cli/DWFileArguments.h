#pragma once

#include "model/DWTaskRuleSet.h"

#include <QCoreApplication>
#include <QStringList>
#include <memory>
#include <optional>

// The arguments "count" and "watch" share: --style, --json, --help, "--" and
// the files. Errors go to stderr with the command's synopsis.
class DWFileArguments {
    Q_DECLARE_TR_FUNCTIONS(DWFileArguments)

public:
    DWFileArguments(const char* command, const char* synopsis, int argc, char* argv[]);

    // Set when the command should stop at once with this status: 0 after
    // --help, 2 after a usage error (already reported).
    std::optional<int> exitStatus() const { return _exitStatus; }
    bool json() const { return _json; }
    const QStringList& paths() const { return _paths; }
    // The style asked for, or the best match for the file's name.
    std::shared_ptr<DWTaskRuleSet> ruleSetFor(const QString& path) const;

private:
    enum class Style { Automatic, Todotxt, TaskPaper, SquareBrackets };
    static std::optional<Style> styleNamed(const QString& name);
    int usageError(const QString& reason) const;

    const char* _command;
    const char* _synopsis;
    Style _style = Style::Automatic;
    bool _json = false;
    QStringList _paths;
    std::optional<int> _exitStatus;
};
