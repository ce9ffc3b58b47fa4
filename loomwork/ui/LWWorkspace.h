#pragma once

#include "foundation/LWTimestamp.h"
#include "ui/LWIconImage.h"

#include <QString>
#include <QUrl>
#include <optional>

// The desktop's services for files and applications. One Linux implementation
// (the application's platform layer) and one in-memory fake for tests; callers
// receive a workspace through their constructors.
//
// iconForFile, setIcon and the date functions may be called from any thread;
// the rest from the main thread.
class LWWorkspace {
public:
    virtual ~LWWorkspace() = default;

    // The file's plain icon at 16, 32, 128, 256 and 512 points (plus 2x ones
    // where available). Ignores any custom icon set on the file.
    virtual LWIconImage iconForFile(const QString& path) const = 0;
    // Sets the file's custom icon; an empty icon removes it. Never changes the
    // file's contents or its dates.
    virtual bool setIcon(const LWIconImage& icon, const QString& path) = 0;

    virtual std::optional<LWTimestamp> contentModificationDate(const QString& path) const = 0;
    virtual bool setContentModificationDate(const QString& path, const LWTimestamp& date) = 0;

    // True when the file's type is a kind of plain text (its MIME type
    // inherits text/plain).
    virtual bool isTextFile(const QString& path) const = 0;

    // Opens with the user's default application; false when nothing opened.
    virtual bool openFile(const QString& path) = 0;
    virtual bool openUrl(const QUrl& url) = 0;
    // Opens the URL exactly as written; a QUrl would lower-case its scheme
    // and host.
    virtual bool openUrlText(const QString& url) = 0;
    // Shows the file selected in the file manager.
    virtual bool selectFile(const QString& path, const QString& rootPath) = 0;
    // The installed application's desktop entry for an identifier, or empty.
    virtual QString absolutePathForApplicationWithIdentifier(const QString& identifier) const = 0;
};
