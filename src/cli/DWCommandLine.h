#pragma once

#include <QString>

// The command-line face of Dotwise: subcommands that work without a display
// (count, watch, badge, clear-badges), plus --help and --version.
class DWCommandLine {
public:
    // True when argv names a subcommand or an option this class answers; the
    // caller starts the desktop application otherwise.
    static bool handles(int argc, char* argv[]);
    // Runs what argv names and returns the process exit status.
    static int run(int argc, char* argv[]);
    static QString usage();
};
