#pragma once

#include "platform/DWFileEmblems.h"
#include "ui/LWWorkspace.h"

#include <QHash>
#include <QMutex>
#include <QStringList>
#include <atomic>
#include <memory>

class DWIconTheme;

// The workspace on a freedesktop desktop:
// - icons: the file's MIME type (by name, then by content) names icons in the
//   icon theme; a generic document icon of our own when no theme has one;
// - custom icons: the GIO metadata attribute "metadata::custom-icon" pointing
//   at a PNG under $XDG_STATE_HOME/dotwise/badges, one folder per badged file
//   (needs a D-Bus session with the gvfs metadata daemon; without one the
//   write fails and says so once);
// - opening through the desktop's default applications, revealing through the
//   org.freedesktop.FileManager1 D-Bus service, applications found by their
//   desktop entries.
class DWLinuxWorkspace : public LWWorkspace, public DWFileEmblems {
public:
    struct Options {
        QString iconThemeName;       // empty: the desktop's icon theme
        QStringList iconSearchPaths; // empty: the XDG icon folders
        QString pictureDirectory;    // empty: $XDG_STATE_HOME/dotwise/badges
    };

    // Reads the desktop's settings and the icon themes' index files; call it on
    // the main thread.
    DWLinuxWorkspace();
    explicit DWLinuxWorkspace(const Options& options);
    ~DWLinuxWorkspace() override;

    LWIconImage iconForFile(const QString& path) const override;
    // Writes the largest representation as a PNG with a fresh name (a file
    // manager may keep an image by its URI), points the file's custom-icon
    // attribute at it and deletes the picture it replaces; an empty icon unsets
    // the attribute when it points at a picture of ours, and leaves a custom
    // icon of anyone else alone. Then sets the file's mode to the value it has:
    // only its change time moves, the attribute change file managers redraw
    // on. No date is ever written. The old picture is found in the file's own
    // folder, never by listing every badge.
    bool setIcon(const LWIconImage& icon, const QString& path) override;

    // Emblems as the GIO metadata attribute "metadata::emblems"; then the
    // same change-time touch as setIcon, so that file managers redraw.
    bool replaceEmblem(const QString& path, const QString& ownPrefix, const QString& name) override;

    std::optional<LWTimestamp> contentModificationDate(const QString& path) const override;
    bool setContentModificationDate(const QString& path, const LWTimestamp& date) override;

    bool isTextFile(const QString& path) const override;

    bool openFile(const QString& path) override;
    bool openUrl(const QUrl& url) override;
    bool openUrlText(const QString& url) override;
    // Asks the file manager over D-Bus to show the file selected; when that
    // fails (now or in its reply), opens the folder holding it instead.
    bool selectFile(const QString& path, const QString& rootPath) override;
    // The path of <identifier>.desktop in the XDG applications folders, the
    // user's first; empty when there is none or the user's entry hides it.
    QString absolutePathForApplicationWithIdentifier(const QString& identifier) const override;

    // The icon theme that was found for the desktop, and the chain searched.
    QStringList iconThemeChain() const;
    QString pictureDirectory() const { return _pictureDirectory; }
    // Where earlier versions kept their pictures: $XDG_CACHE_HOME/dotwise.
    static QString legacyPictureDirectory();
    // Every file that has a picture of ours, found from the picture folders
    // alone (each remembers its file), in no particular order.
    QStringList filesWithPictures() const;
    // Deletes the pictures earlier versions left in the cache.
    void removeLegacyPictures() const;
    // The icon names tried for a MIME type, most specific first.
    static QStringList iconNamesForMimeType(const QString& mimeType);
    // The name of the icon theme the desktop uses, or empty.
    static QString desktopIconThemeName();

private:
    QString pictureFolderFor(const QString& path) const;
    QString writePicture(const QImage& image, const QString& folder, const QString& path) const;
    bool isOurPicture(const QString& picture) const;
    bool writeCustomIconAttribute(const QString& path, const QString& picture);
    // Logs a failed metadata write (the first one loudly); false.
    bool reportMetadataFailure(const QString& reason, const QString& path);

    std::unique_ptr<DWIconTheme> _iconTheme;
    QString _pictureDirectory;
    // std::mutex rather than QMutex: its locking is visible to ThreadSanitizer.
    mutable std::mutex _iconCacheLock;
    mutable QHash<QString, LWIconImage> _iconCache; // by MIME type
    std::mutex _setIconLock;                        // one icon write at a time
    std::atomic<bool> _warnedAboutMetadata{false};
};
