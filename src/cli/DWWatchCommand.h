#pragma once

#include <QCoreApplication>

// dotwise watch [--style auto|todotxt|taskpaper|square-brackets] [--json]
//               [--format lines|json|waybar|i3blocks] FILE...
// For status bars and scripts: prints "<count><TAB><path>" for each file at
// start, a new line for a file each time it is saved and counted again, and
// "deleted<TAB><path>" when it goes (it is then no longer watched). With
// --json every line is one JSON object with "event" ("start", "modified" or
// "deleted") and "path", and for counts "style" and "openTasks". Lines are
// flushed as they are written. --format json is --json; --format waybar
// prints, at start and after every change, one JSON object for a waybar
// custom module ("text": the total of open tasks, "tooltip": one line per
// file, "class": "open" or "done"); --format i3blocks prints the total alone,
// one line per change, for a persistent i3blocks block.
//
// A file that cannot be read at start is named on standard error as
// `dotwise count` does and not watched; the others are. Exit status: 0 when
// no file is left or on SIGINT or SIGTERM, 1 when no file could be watched
// or the output could not be written, 2 for a usage error. Runs on a
// QCoreApplication: no display needed.
class DWWatchCommand {
    Q_DECLARE_TR_FUNCTIONS(DWWatchCommand)

public:
    // argv[0] is "watch".
    static int run(int argc, char* argv[]);
    static const char* synopsis();
};
