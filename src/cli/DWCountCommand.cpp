#include "cli/DWCountCommand.h"

#include "model/DWTaskCounter.h"
#include "model/DWTaskRuleSet.h"

#include <QCoreApplication>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QStringList>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>

namespace {
enum class Style { Automatic, Todotxt, TaskPaper, SquareBrackets };

int usageError(const QString& reason) {
    std::fprintf(stderr, "dotwise count: %s\nUsage: dotwise %s\n", qPrintable(reason),
                 DWCountCommand::synopsis());
    return 2;
}

std::optional<Style> styleNamed(const QString& name) {
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

std::shared_ptr<DWTaskRuleSet> ruleSetFor(Style style, const QString& path) {
    switch (style) {
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

void write(const QByteArray& bytes) {
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stdout);
}
} // namespace

const char* DWCountCommand::synopsis() {
    return "count [--style auto|todotxt|taskpaper|square-brackets] [--json] FILE...";
}

int DWCountCommand::run(int argc, char* argv[]) {
    QCoreApplication application(argc, argv);
    QCoreApplication::setOrganizationName(QStringLiteral("Wrenfield"));
    QCoreApplication::setApplicationName(QStringLiteral("Dotwise"));

    Style style = Style::Automatic;
    bool json = false;
    QStringList paths;
    bool optionsEnded = false;
    for (int i = 1; i < argc; ++i) {
        const QString argument = QFile::decodeName(argv[i]);
        if (optionsEnded || !argument.startsWith(QLatin1Char('-')) || argument == u"-") {
            paths.append(argument);
        } else if (argument == u"--") {
            optionsEnded = true;
        } else if (argument == u"--json") {
            json = true;
        } else if (argument == u"-h" || argument == u"--help") {
            std::printf("Usage: dotwise %s\n", synopsis());
            return 0;
        } else if (argument == u"--style" || argument.startsWith(u"--style=")) {
            QString name;
            if (argument == u"--style") {
                if (i + 1 >= argc)
                    return usageError(QStringLiteral("--style needs a value"));
                name = QFile::decodeName(argv[++i]);
            } else {
                name = argument.mid(8);
            }
            const std::optional<Style> chosen = styleNamed(name);
            if (!chosen)
                return usageError(QStringLiteral("unknown style '%1'").arg(name));
            style = *chosen;
        } else {
            return usageError(QStringLiteral("unknown option '%1'").arg(argument));
        }
    }
    if (paths.isEmpty())
        return usageError(QStringLiteral("no file given"));

    int status = 0;
    QJsonArray results;
    for (const QString& path : paths) {
        const std::shared_ptr<DWTaskRuleSet> ruleSet = ruleSetFor(style, path);
        const DWCountResult result = DWTaskCounter(*ruleSet).countFile(path);
        if (!result.error.isEmpty()) {
            std::fprintf(stderr, "dotwise count: cannot read '%s': %s\n",
                         QFile::encodeName(path).constData(), qPrintable(result.error));
            status = 1;
        }
        if (json) {
            QJsonObject object{{QStringLiteral("path"), path},
                               {QStringLiteral("style"), ruleSet->name()},
                               {QStringLiteral("openTasks"), result.openTasks}};
            if (!result.error.isEmpty()) {
                object.insert(QStringLiteral("openTasks"), QJsonValue::Null);
                object.insert(QStringLiteral("error"), result.error);
            }
            results.append(object);
        } else if (result.error.isEmpty()) {
            write(QByteArray::number(result.openTasks) + '\t' + QFile::encodeName(path) + '\n');
        }
    }
    if (json)
        write(QJsonDocument(results).toJson(QJsonDocument::Compact) + '\n');
    if (std::fflush(stdout) != 0 || std::ferror(stdout)) {
        std::fprintf(stderr, "dotwise count: cannot write the output: %s\n", std::strerror(errno));
        status = 1;
    }
    return status;
}
