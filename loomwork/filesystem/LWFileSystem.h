#pragma once

#include <QString>
#include <QUrl>

// Small file-system services: the desktop folder, display names, references to
// items, and the data size of a folder tree. Never instantiated.
class LWFileSystem {
public:
    // Names one existing file-system item: an open handle that keeps naming the
    // same item if it is renamed or moved. Move-only; closes itself.
    class Reference {
    public:
        Reference() = default;
        ~Reference();
        Reference(Reference&& other) noexcept;
        Reference& operator=(Reference&& other) noexcept;
        Reference(const Reference&) = delete;
        Reference& operator=(const Reference&) = delete;

        bool isValid() const { return _fd >= 0; }
        int fileDescriptor() const { return _fd; }

    private:
        friend class LWFileSystem;
        int _fd = -1;
    };

    LWFileSystem() = delete;

    // A file URL of the user's desktop folder (the XDG user folder), or an empty
    // URL when there is none.
    static QUrl desktopURL();
    // The name the file manager shows for the item: its last path component;
    // a null string for a null path.
    static QString localizedNameForItemAtPath(const QString& path);
    // Makes a reference to the item at `path` (following a final symbolic
    // link). False, and `reference` left empty, when there is no such item.
    static bool path(const QString& path, Reference* reference);
    // The sum of the logical sizes of every item below the folder at `path`
    // that is not a folder. Symbolic links count with their own size and are
    // never followed; folders themselves count nothing. 0 for a missing path
    // or anything that is not a folder. Unreadable folders count 0.
    static quint64 fileSizeForPath(const QString& path);

private:
    static quint64 _fastFolderSizeAtFSRef(const Reference& reference);
};
