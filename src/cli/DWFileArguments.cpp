#include "cli/DWFileArguments.h"

#include <QFile>
#include <cstdio>

DWFileArguments::DWFileArguments(const char* command, const char* synopsis, int argc, char* argv[])
    : _command(command), _synopsis(synopsis) {
    bool optionsEnded = false;
    for (int i = 1; i < argc; ++i) {
        const QString argument = QFile::decodeName(argv[i]);
        if (optionsEnded || !argument.startsWith(QLatin1Char('-')) || argument == u"-") {
            _paths.append(argument);
        } else if (argument == u"--") {
            optionsEnded = true;
        } else if (argument == u"--json") {
            _json = true;
        } else if (argument == u"-h" || argument == u"--help") {
            std::fputs(qPrintable(tr("Usage: dotwise %1\n").arg(QString::fromUtf8(_synopsis))),
                       stdout);
            _exitStatus = 0;
            return;
        } else if (argument == u"--style" || argument.startsWith(u"--style=")) {
            QString name;
            if (argument == u"--style") {
                if (i + 1 >= argc) {
                    _exitStatus = usageError(tr("--style needs a value"));
                    return;
                }
                name = QFile::decodeName(argv[++i]);
            } else {
                name = argument.mid(8);
            }
            const std::optional<Style> chosen = styleNamed(name);
            if (!chosen) {
                _exitStatus = usageError(tr("unknown style '%1'").arg(name));
                return;
            }
            _style = *chosen;
        } else {
            _exitStatus = usageError(tr("unknown option '%1'").arg(argument));
            return;
        }
    }
    if (_paths.isEmpty())
        _exitStatus = usageError(tr("no file given"));
}

std::shared_ptr<DWTaskRuleSet> DWFileArguments::ruleSetFor(const QString& path) const {
    switch (_style) {
    case Style::Todotxt:
        return DWTaskRuleSet::todotxtRuleSet();
    case Style::TaskPaper:
        return DWTaskRuleSet::taskPaperRuleSet();
    case Style::SquareBrackets:
        return DWTaskRuleSet::squareBracketStyleRuleSet();
    case Style::Automatic:
        break;
    }
    return DWTaskRuleSet::bestMatchFor(path);
}

std::optional<DWFileArguments::Style> DWFileArguments::styleNamed(const QString& name) {
    if (name == u"auto")
        return Style::Automatic;
    if (name == u"todotxt")
        return Style::Todotxt;
    if (name == u"taskpaper")
        return Style::TaskPaper;
    if (name == u"square-brackets")
        return Style::SquareBrackets;
    return std::nullopt;
}

int DWFileArguments::usageError(const QString& reason) const {
    std::fputs(
        qPrintable(tr("dotwise %1: %2\nUsage: dotwise %3\n")
                       .arg(QString::fromUtf8(_command), reason, QString::fromUtf8(_synopsis))),
        stderr);
    return 2;
}
