#pragma once

#include <QCoreApplication>
#include <QString>

// dotwise count [--style auto|todotxt|taskpaper|square-brackets] [--json] FILE...
// Prints "<count><TAB><path>" for each file in argument order, or with --json
// an array of {"path", "style", "openTasks"}. A file that cannot be read is
// named on standard error with the reason (and has "openTasks": null and an
// "error" in JSON); the other files are still counted. Exit status: 0, 1 when
// a file could not be read or the output not written, 2 for a usage error.
// Runs on a QCoreApplication: no display needed.
class DWCountCommand {
    Q_DECLARE_TR_FUNCTIONS(DWCountCommand)

public:
    // argv[0] is "count".
    static int run(int argc, char* argv[]);
    static const char* synopsis();
};
