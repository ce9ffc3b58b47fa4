#include "cli/DWCountCommand.h"

#include "cli/DWCommandLine.h"
#include "cli/DWFileArguments.h"
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
void write(const QByteArray& bytes) {
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stdout);
}
} // namespace

const char* DWCountCommand::synopsis() {
    return "count [--style auto|todotxt|taskpaper|square-brackets] [--json] FILE...";
}

int DWCountCommand::run(int argc, char* argv[]) {
    QCoreApplication application(argc, argv);
    DWCommandLine::setUpApplication();

    const DWFileArguments arguments("count", synopsis(), argc, argv);
    if (arguments.exitStatus())
        return *arguments.exitStatus();
    const bool json = arguments.json();

    int status = 0;
    QJsonArray results;
    for (const QString& path : arguments.paths()) {
        const std::shared_ptr<DWTaskRuleSet> ruleSet = arguments.ruleSetFor(path);
        const DWCountResult result = DWTaskCounter(*ruleSet).countFile(path);
        if (!result.error.isEmpty()) {
            DWCommandLine::print(stderr, tr("dotwise count: cannot read '%1': %2\n"),
                                 {QFile::encodeName(path), result.error.toLocal8Bit()});
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
        DWCommandLine::print(stderr, tr("dotwise count: cannot write the output: %1\n"),
                             {std::strerror(errno)});
        status = 1;
    }
    return status;
}
