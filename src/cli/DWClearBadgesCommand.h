#pragma once

#include <QCoreApplication>

// dotwise clear-badges
// Takes off every badge Dotwise set, for uninstalling: the badges of the files
// in the saved watch list, and of every file that has a picture in Dotwise's
// picture folder (each remembers its file, so files that left the list are
// found too). Custom icons that are not Dotwise's stay. Deletes the pictures,
// and those earlier versions left in the cache. Prints one line per file whose
// badge came off. Exit status: 0, 1 when a badge could not be taken off (no
// D-Bus session with the gvfs metadata service), 2 for a usage error. Quit
// Dotwise first, or it puts its badges back.
class DWClearBadgesCommand {
    Q_DECLARE_TR_FUNCTIONS(DWClearBadgesCommand)

public:
    // argv[0] is "clear-badges".
    static int run(int argc, char* argv[]);
    static const char* synopsis();
};
