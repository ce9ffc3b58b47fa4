#pragma once

#include <QCoreApplication>
#include <QString>
#include <QStringList>

// The command-line face of Dotwise: subcommands that work without a display
// (count, watch, badge, clear-badges), plus --help and --version. Anything
// else is files for the desktop application: `dotwise FILE...`.
class DWCommandLine {
    Q_DECLARE_TR_FUNCTIONS(DWCommandLine)

public:
    // True when argv names a subcommand or an option; run() answers those,
    // and an option it doesn't know is an error. The caller starts the
    // desktop application otherwise.
    static bool handles(int argc, char* argv[]);
    // The files named for the desktop application, made absolute; those that
    // don't exist are left out with a message on standard error.
    static QStringList fileArguments(int argc, char* argv[]);
    // Runs what argv names and returns the process exit status.
    static int run(int argc, char* argv[]);
    static QString usage();
};
