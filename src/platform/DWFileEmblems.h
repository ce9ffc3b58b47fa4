#pragma once

#include <QString>

// Emblems on files: icons named in the file's metadata that a file manager
// draws in a corner of the file's icon. One Linux implementation (the
// workspace, through GIO's "metadata::emblems") and one in-memory fake.
class DWFileEmblems {
public:
    virtual ~DWFileEmblems() = default;

    // Replaces the file's emblems whose names begin with `ownPrefix` by
    // `name`, or takes them off when `name` is empty; the file's other emblems
    // stay. Setting an emblem makes file managers draw the file again even
    // when it had that emblem already; taking off one that isn't there writes
    // nothing. Never changes the file's contents or dates. Any thread.
    virtual bool replaceEmblem(const QString& path, const QString& ownPrefix,
                               const QString& name) = 0;
};
