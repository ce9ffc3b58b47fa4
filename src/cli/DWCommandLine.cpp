#include "cli/DWCommandLine.h"

#include "cli/DWBadgeCommand.h"
#include "cli/DWClearBadgesCommand.h"
#include "cli/DWCountCommand.h"
#include "cli/DWWatchCommand.h"
#include "foundation/LWBundle.h"

#include <QCoreApplication>
#include <cstdio>
#include <cstring>
#include <functional>
#include <vector>

namespace {
struct Subcommand {
    const char* name;
    const char* synopsis;
    std::function<int(int, char**)> run;
};

// Each subcommand creates the kind of application object it needs (at most an
// offscreen QGuiApplication), so that it runs without a display.
const std::vector<Subcommand>& subcommands() {
    static const std::vector<Subcommand> table = {
        {"count", DWCountCommand::synopsis(), DWCountCommand::run},
        {"watch", DWWatchCommand::synopsis(), DWWatchCommand::run},
        {"badge", DWBadgeCommand::synopsis(), DWBadgeCommand::run},
        {"clear-badges", DWClearBadgesCommand::synopsis(), DWClearBadgesCommand::run},
    };
    return table;
}

int printVersion() {
    const LWBundle& bundle = LWBundle::mainBundle();
    std::printf("%s %s\n", qPrintable(bundle.bundleName()),
                qPrintable(bundle.shortVersionString()));
    return 0;
}
} // namespace

QString DWCommandLine::usage() {
    QString text = QStringLiteral("Usage: dotwise [--help | --version]\n");
    for (const Subcommand& command : subcommands())
        text += QStringLiteral("       dotwise %1\n").arg(QString::fromUtf8(command.synopsis));
    text += QStringLiteral("Without arguments, dotwise starts the desktop application.\n");
    return text;
}

bool DWCommandLine::handles(int argc, char* argv[]) {
    if (argc < 2)
        return false;
    const char* first = argv[1];
    if (!std::strcmp(first, "--help") || !std::strcmp(first, "-h") ||
        !std::strcmp(first, "--version"))
        return true;
    for (const Subcommand& command : subcommands()) {
        if (!std::strcmp(first, command.name))
            return true;
    }
    return false;
}

int DWCommandLine::run(int argc, char* argv[]) {
    if (argc < 2 || !std::strcmp(argv[1], "--help") || !std::strcmp(argv[1], "-h")) {
        std::fputs(qPrintable(usage()), stdout);
        return 0;
    }
    if (!std::strcmp(argv[1], "--version"))
        return printVersion();
    for (const Subcommand& command : subcommands()) {
        if (!std::strcmp(argv[1], command.name))
            return command.run(argc - 1, argv + 1);
    }
    std::fprintf(stderr, "dotwise: unknown command '%s'\n%s", argv[1], qPrintable(usage()));
    return 2;
}
