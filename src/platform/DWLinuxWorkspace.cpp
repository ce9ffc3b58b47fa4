#include "platform/DWLinuxWorkspace.h"

#include "logging/LWLogger.h"
#include "platform/DWDesktopEntry.h"
#include "platform/DWIconTheme.h"

#include <QCryptographicHash>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDesktopServices>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QGuiApplication>
#include <QIcon>
#include <QMimeDatabase>
#include <QRandomGenerator>
#include <QSaveFile>
#include <QStandardPaths>
#include <QThread>

// GLib names a struct member "signals", which Qt defines as a keyword.
#pragma push_macro("signals")
#undef signals
#include <gio/gio.h>
#pragma pop_macro("signals")

#include <fcntl.h>
#include <mutex>
#include <sys/stat.h>
#include <vector>

namespace {
const QList<int> iconPointSizes = {16, 32, 128, 256, 512};
const char* const customIconAttribute = "metadata::custom-icon";
const char* const emblemsAttribute = "metadata::emblems";
const QString bundledIconPath = QStringLiteral(":/platform/generic-document.svg");

LWIconImage bundledDocumentIcon() {
    LWIconImage icon;
    for (int points : iconPointSizes)
        icon.addRepresentation(DWIconTheme::renderImageFile(bundledIconPath, points),
                               QSizeF(points, points));
    return icon;
}

// The pictures of one task file live in a folder of their own, named from its
// path: replacing or removing them never lists the pictures of other files,
// and they can be found again after the file is gone.
QString pictureFolderName(const QString& path) {
    const QByteArray hash = QCryptographicHash::hash(
        QFile::encodeName(QFileInfo(path).absoluteFilePath()), QCryptographicHash::Sha1);
    return QString::fromLatin1(hash.toHex().left(20));
}
// Next to the pictures: the path of the file they belong to.
const QString pictureOwnerFileName = QStringLiteral("file");

// Sets the file's mode to what it is: only the change time moves, and the
// attribute event it raises makes file managers redraw the icon. No date is
// written, so a save landing at the same moment keeps its own.
bool touchChangeTime(const QString& path) {
    const QByteArray name = QFile::encodeName(path);
    struct stat info {};
    return ::stat(name.constData(), &info) == 0 &&
           ::chmod(name.constData(), info.st_mode & 07777) == 0;
}

void removeFolder(const QString& folder) {
    QDir dir(folder);
    if (!dir.exists())
        return;
    for (const QString& name : dir.entryList(QDir::Files | QDir::Hidden | QDir::System))
        dir.remove(name);
    QDir().rmdir(folder);
}

struct GObjectDeleter {
    void operator()(gpointer object) const { g_object_unref(object); }
};
using GFilePointer = std::unique_ptr<GFile, GObjectDeleter>;

// GIO keeps one client of the metadata daemon for the whole process and
// follows the daemon's restarts through D-Bus signals, which it delivers in the
// context that was the thread's default when the client was made. The badge
// worker never runs a GLib loop, so those signals were never delivered: after a
// restart of the daemon every write went to the dead one. Every metadata write
// therefore runs in a context of our own, drained of such news first.
class MetadataWriteScope {
public:
    MetadataWriteScope() : _hold(lock()) {
        g_main_context_push_thread_default(context());
        while (g_main_context_iteration(context(), FALSE)) {
        }
    }
    ~MetadataWriteScope() { g_main_context_pop_thread_default(context()); }
    MetadataWriteScope(const MetadataWriteScope&) = delete;
    MetadataWriteScope& operator=(const MetadataWriteScope&) = delete;

private:
    // Never freed: the client outlives any one workspace.
    static GMainContext* context() {
        static GMainContext* const shared = g_main_context_new();
        return shared;
    }
    static std::mutex& lock() {
        static std::mutex shared;
        return shared;
    }
    std::lock_guard<std::mutex> _hold;
};

// The file's custom icon as a local path, or empty. GIO reads the metadata
// store directly, without a round trip to the daemon.
QString customIconPicture(const QString& path) {
    GFilePointer file(g_file_new_for_path(QFile::encodeName(path).constData()));
    GFileInfo* info = g_file_query_info(file.get(), customIconAttribute, G_FILE_QUERY_INFO_NONE,
                                        nullptr, nullptr);
    if (!info)
        return QString();
    const char* uri = g_file_info_get_attribute_string(info, customIconAttribute);
    const QString picture = uri ? QUrl::fromEncoded(QByteArray(uri)).toLocalFile() : QString();
    g_object_unref(info);
    return picture;
}

QString gsettingsIconThemeName() {
    GSettingsSchemaSource* source = g_settings_schema_source_get_default();
    if (!source)
        return QString();
    GSettingsSchema* schema =
        g_settings_schema_source_lookup(source, "org.gnome.desktop.interface", TRUE);
    if (!schema)
        return QString();
    QString name;
    if (g_settings_schema_has_key(schema, "icon-theme")) {
        GSettings* settings = g_settings_new_full(schema, nullptr, nullptr);
        gchar* value = g_settings_get_string(settings, "icon-theme");
        name = QString::fromUtf8(value);
        g_free(value);
        g_object_unref(settings);
    }
    g_settings_schema_unref(schema);
    return name;
}

// One MIME lookup at a time. QMimeDatabase locks inside Qt, out of
// ThreadSanitizer's sight; the lookups are short, so serialising them here
// costs nothing and keeps the sanitizer's view of the worker honest.
std::mutex mimeLock;

struct FileType {
    QString name;
    bool isText = false;
};

FileType fileTypeOf(const QString& path) {
    std::lock_guard lock(mimeLock);
    const QMimeType type = QMimeDatabase().mimeTypeForFile(path);
    return {type.name(), type.inherits(QStringLiteral("text/plain"))};
}

bool canUseDesktopServices() {
    return qobject_cast<QGuiApplication*>(QCoreApplication::instance()) &&
           QThread::currentThread() == QCoreApplication::instance()->thread();
}
} // namespace

DWLinuxWorkspace::DWLinuxWorkspace() : DWLinuxWorkspace(Options()) {}

DWLinuxWorkspace::DWLinuxWorkspace(const Options& options) {
    const QString themeName =
        options.iconThemeName.isEmpty() ? desktopIconThemeName() : options.iconThemeName;
    _iconTheme = std::make_unique<DWIconTheme>(themeName, options.iconSearchPaths.isEmpty()
                                                              ? DWIconTheme::defaultSearchPaths()
                                                              : options.iconSearchPaths);
    _pictureDirectory = options.pictureDirectory;
    if (_pictureDirectory.isEmpty()) {
        // State, not cache: users and tools clean caches, and every badge
        // would then point at a missing picture.
        QString state = qEnvironmentVariable("XDG_STATE_HOME");
        if (state.isEmpty() || QDir::isRelativePath(state))
            state = QDir::homePath() + QStringLiteral("/.local/state");
        _pictureDirectory = state + QStringLiteral("/dotwise/badges");
    }
}

QString DWLinuxWorkspace::legacyPictureDirectory() {
    return QStandardPaths::writableLocation(QStandardPaths::GenericCacheLocation) +
           QStringLiteral("/dotwise");
}

DWLinuxWorkspace::~DWLinuxWorkspace() = default;

QString DWLinuxWorkspace::desktopIconThemeName() {
    // Qt's platform theme knows the desktop's choice (GTK settings, KDE's
    // kdeglobals); without one, GNOME's setting may still be there.
    if (canUseDesktopServices()) {
        const QString name = QIcon::themeName();
        if (!name.isEmpty() && name != QLatin1String("hicolor"))
            return name;
    }
    return gsettingsIconThemeName();
}

QStringList DWLinuxWorkspace::iconThemeChain() const {
    return _iconTheme->themeChain();
}

QStringList DWLinuxWorkspace::iconNamesForMimeType(const QString& mimeTypeName) {
    std::lock_guard lock(mimeLock);
    const QMimeType type = QMimeDatabase().mimeTypeForName(mimeTypeName);
    QStringList names;
    if (type.isValid()) {
        names << type.iconName() << type.genericIconName();
        if (type.inherits(QStringLiteral("text/plain")))
            names << QStringLiteral("text-x-generic");
        if (type.name() == QLatin1String("inode/directory"))
            names << QStringLiteral("folder");
    }
    names << QStringLiteral("application-x-generic") << QStringLiteral("unknown");
    names.removeAll(QString());
    names.removeDuplicates();
    return names;
}

LWIconImage DWLinuxWorkspace::iconForFile(const QString& path) const {
    // By name first; the content decides only for unknown extensions.
    const QString mimeType = fileTypeOf(path).name;
    {
        std::lock_guard lock(_iconCacheLock);
        const auto cached = _iconCache.constFind(mimeType);
        if (cached != _iconCache.constEnd())
            return *cached;
    }
    LWIconImage icon = _iconTheme->iconNamed(iconNamesForMimeType(mimeType), iconPointSizes);
    if (icon.isEmpty())
        icon = bundledDocumentIcon();
    std::lock_guard lock(_iconCacheLock);
    _iconCache.insert(mimeType, icon);
    return icon;
}

QString DWLinuxWorkspace::pictureFolderFor(const QString& path) const {
    return _pictureDirectory + QLatin1Char('/') + pictureFolderName(path);
}

bool DWLinuxWorkspace::isOurPicture(const QString& picture) const {
    return !picture.isEmpty() && (picture.startsWith(_pictureDirectory + QLatin1Char('/')) ||
                                  picture.startsWith(legacyPictureDirectory() + QLatin1Char('/')));
}

QString DWLinuxWorkspace::writePicture(const QImage& image, const QString& folder,
                                       const QString& path) const {
    const bool isNew = !QFileInfo::exists(folder);
    if (!QDir().mkpath(folder))
        return QString();
    if (isNew) {
        // Other users have no business knowing which files are badged.
        QFile::setPermissions(_pictureDirectory, QFileDevice::ReadOwner | QFileDevice::WriteOwner |
                                                     QFileDevice::ExeOwner);
        QSaveFile owner(folder + QLatin1Char('/') + pictureOwnerFileName);
        if (!owner.open(QIODevice::WriteOnly) ||
            owner.write(QFile::encodeName(QFileInfo(path).absoluteFilePath())) < 0 ||
            !owner.commit())
            return QString();
    }
    // A fresh name for every picture: file managers keep images by URI.
    const QString picture = folder + QLatin1Char('/') +
                            QString::number(QRandomGenerator::global()->generate64(), 36) +
                            QStringLiteral(".png");
    QSaveFile file(picture);
    if (!file.open(QIODevice::WriteOnly) || !image.save(&file, "PNG") || !file.commit())
        return QString();
    return picture;
}

bool DWLinuxWorkspace::writeCustomIconAttribute(const QString& path, const QString& picture) {
    GFilePointer file(g_file_new_for_path(QFile::encodeName(path).constData()));
    GError* error = nullptr;
    gboolean done;
    if (picture.isEmpty()) {
        done = g_file_set_attribute(file.get(), customIconAttribute, G_FILE_ATTRIBUTE_TYPE_INVALID,
                                    nullptr, G_FILE_QUERY_INFO_NONE, nullptr, &error);
    } else {
        const QByteArray uri = QUrl::fromLocalFile(picture).toEncoded();
        done = g_file_set_attribute_string(file.get(), customIconAttribute, uri.constData(),
                                           G_FILE_QUERY_INFO_NONE, nullptr, &error);
    }
    if (done)
        return true;
    const QString reason =
        error ? QString::fromUtf8(error->message) : QStringLiteral("unknown error");
    g_clear_error(&error);
    return reportMetadataFailure(reason, path);
}

bool DWLinuxWorkspace::reportMetadataFailure(const QString& reason, const QString& path) {
    if (!_warnedAboutMetadata.exchange(true))
        LW_LOG(1, "-[DWLinuxWorkspace setIcon:forFile:]",
               QStringLiteral("Can't set custom file icons, so the file manager shows no "
                              "badges (%1). They need a D-Bus session with the gvfs "
                              "metadata service.")
                   .arg(reason));
    else
        LW_LOG(3, "-[DWLinuxWorkspace setIcon:forFile:]",
               QStringLiteral("Custom icon not changed on %1: %2").arg(path, reason));
    return false;
}

bool DWLinuxWorkspace::setIcon(const LWIconImage& icon, const QString& path) {
    std::lock_guard lock(_setIconLock);
    if (path.isEmpty())
        return false;
    const QString folder = pictureFolderFor(path);
    if (!QFileInfo::exists(path)) {
        // A vanished file keeps nothing of ours.
        removeFolder(folder);
        return false;
    }

    const MetadataWriteScope scope;
    const QString current = customIconPicture(path);
    QString picture;
    if (icon.isEmpty()) {
        // Nothing of ours on the file: no write, no round trip to the daemon.
        if (!isOurPicture(current) && !QFileInfo::exists(folder))
            return true;
        if (!current.isEmpty() && !isOurPicture(current)) {
            removeFolder(folder);
            return true;
        }
    } else {
        picture = writePicture(icon.largestImage(), folder, path);
        if (picture.isEmpty()) {
            LW_LOG(1, "-[DWLinuxWorkspace setIcon:forFile:]",
                   QStringLiteral("Can't write the icon file for %1 in %2")
                       .arg(path, _pictureDirectory));
            return false;
        }
    }

    if (!writeCustomIconAttribute(path, picture)) {
        if (!picture.isEmpty()) {
            QFile::remove(picture);
            if (QDir(folder).entryList({QStringLiteral("*.png")}, QDir::Files).isEmpty())
                removeFolder(folder);
        }
        return false;
    }
    if (picture.isEmpty()) {
        removeFolder(folder);
    } else {
        const QDir dir(folder);
        for (const QString& name : dir.entryList({QStringLiteral("*.png")}, QDir::Files)) {
            if (dir.filePath(name) != picture)
                QFile::remove(dir.filePath(name));
        }
    }
    // A picture from an earlier version, in the cache or in another file's folder.
    if (isOurPicture(current) && !current.startsWith(folder + QLatin1Char('/')))
        QFile::remove(current);
    touchChangeTime(path);
    return true;
}

bool DWLinuxWorkspace::replaceEmblem(const QString& path, const QString& ownPrefix,
                                     const QString& name) {
    if (path.isEmpty() || !QFileInfo::exists(path))
        return false;
    GFilePointer file(g_file_new_for_path(QFile::encodeName(path).constData()));
    const MetadataWriteScope scope;
    // The user's own emblems stay.
    QList<QByteArray> emblems;
    bool hadOwn = false;
    if (GFileInfo* info = g_file_query_info(file.get(), emblemsAttribute, G_FILE_QUERY_INFO_NONE,
                                            nullptr, nullptr)) {
        if (char** names = g_file_info_get_attribute_stringv(info, emblemsAttribute)) {
            for (char** each = names; *each; ++each) {
                if (QString::fromUtf8(*each).startsWith(ownPrefix))
                    hadOwn = true;
                else
                    emblems.append(QByteArray(*each));
            }
        }
        g_object_unref(info);
    }
    // Nothing of ours to take off: no write, and no redraw for it (every
    // picture removal asks, in case a run in emblem mode left one).
    if (name.isEmpty() && !hadOwn)
        return true;
    if (!name.isEmpty())
        emblems.append(name.toUtf8());
    GError* error = nullptr;
    gboolean done;
    if (emblems.isEmpty()) {
        done = g_file_set_attribute(file.get(), emblemsAttribute, G_FILE_ATTRIBUTE_TYPE_INVALID,
                                    nullptr, G_FILE_QUERY_INFO_NONE, nullptr, &error);
    } else {
        std::vector<char*> names;
        for (QByteArray& emblem : emblems)
            names.push_back(emblem.data());
        names.push_back(nullptr);
        done = g_file_set_attribute(file.get(), emblemsAttribute, G_FILE_ATTRIBUTE_TYPE_STRINGV,
                                    names.data(), G_FILE_QUERY_INFO_NONE, nullptr, &error);
    }
    if (!done) {
        const QString reason =
            error ? QString::fromUtf8(error->message) : QStringLiteral("unknown error");
        g_clear_error(&error);
        return reportMetadataFailure(reason, path);
    }
    touchChangeTime(path);
    return true;
}

QStringList DWLinuxWorkspace::filesWithPictures() const {
    QStringList files;
    const QDir pictures(_pictureDirectory);
    for (const QString& name : pictures.entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        QFile owner(pictures.filePath(name) + QLatin1Char('/') + pictureOwnerFileName);
        if (owner.open(QIODevice::ReadOnly))
            files.append(QFile::decodeName(owner.readAll()));
    }
    return files;
}

void DWLinuxWorkspace::removeLegacyPictures() const {
    QDir legacy(legacyPictureDirectory());
    for (const QString& name :
         legacy.entryList({QStringLiteral("*.png")}, QDir::Files | QDir::Hidden))
        legacy.remove(name);
    QDir().rmdir(legacy.path());
}

std::optional<LWTimestamp> DWLinuxWorkspace::contentModificationDate(const QString& path) const {
    return lw::contentModificationDate(path);
}

bool DWLinuxWorkspace::setContentModificationDate(const QString& path, const LWTimestamp& date) {
    return lw::setContentModificationDate(path, date);
}

bool DWLinuxWorkspace::isTextFile(const QString& path) const {
    return !path.isEmpty() && fileTypeOf(path).isText;
}

bool DWLinuxWorkspace::openFile(const QString& path) {
    if (path.isEmpty() || !QFileInfo::exists(path) || !canUseDesktopServices())
        return false;
    return QDesktopServices::openUrl(QUrl::fromLocalFile(QFileInfo(path).absoluteFilePath()));
}

bool DWLinuxWorkspace::openUrl(const QUrl& url) {
    if (!url.isValid() || url.isEmpty() || url.isRelative() || !canUseDesktopServices())
        return false;
    return QDesktopServices::openUrl(url);
}

bool DWLinuxWorkspace::openUrlText(const QString& url) {
    const QUrl checked(url);
    if (!checked.isValid() || checked.isRelative() || !canUseDesktopServices())
        return false;
    // GIO hands the receiver the text as it is; QDesktopServices would pass a
    // QUrl's lower-cased scheme and host.
    GError* error = nullptr;
    const bool opened =
        g_app_info_launch_default_for_uri(url.toUtf8().constData(), nullptr, &error);
    if (error) {
        LW_LOG(1, "-[DWLinuxWorkspace openURL:]",
               QStringLiteral("Cannot open %1: %2").arg(url, QString::fromUtf8(error->message)));
        g_error_free(error);
    }
    return opened;
}

bool DWLinuxWorkspace::selectFile(const QString& path, const QString& rootPath) {
    if (path.isEmpty())
        return !rootPath.isEmpty() && QFileInfo(rootPath).isDir() && openFile(rootPath);
    const QFileInfo info(path);
    if (!info.exists() || !canUseDesktopServices())
        return false;
    const QUrl folder = QUrl::fromLocalFile(info.absolutePath());
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected())
        return QDesktopServices::openUrl(folder);

    QDBusMessage call = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.FileManager1"),
        QStringLiteral("/org/freedesktop/FileManager1"),
        QStringLiteral("org.freedesktop.FileManager1"), QStringLiteral("ShowItems"));
    call << QStringList{QUrl::fromLocalFile(info.absoluteFilePath()).toString(QUrl::FullyEncoded)}
         << QString();
    // Asynchronous: starting a file manager may take a while, and the window
    // must not freeze meanwhile.
    auto* watcher = new QDBusPendingCallWatcher(bus.asyncCall(call, 10000));
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, watcher,
                     [folder, path](QDBusPendingCallWatcher* finished) {
                         if (finished->isError()) {
                             LW_LOG(3, "-[DWLinuxWorkspace selectFile:inFileViewerRootedAtPath:]",
                                    QStringLiteral("File manager can't show %1 (%2); opening its "
                                                   "folder")
                                        .arg(path, finished->error().message()));
                             QDesktopServices::openUrl(folder);
                         }
                         finished->deleteLater();
                     });
    return true;
}

QString
DWLinuxWorkspace::absolutePathForApplicationWithIdentifier(const QString& identifier) const {
    if (identifier.isEmpty() || identifier.contains(QLatin1Char('/')) ||
        identifier.startsWith(QLatin1Char('.')))
        return QString();
    const QString fileName = identifier.endsWith(QLatin1String(".desktop"))
                                 ? identifier
                                 : identifier + QStringLiteral(".desktop");
    for (const QString& folder :
         QStandardPaths::standardLocations(QStandardPaths::ApplicationsLocation)) {
        // Desktop file IDs map "-" to subfolders: kde-foo.desktop may be kde/foo.desktop.
        QStringList candidates = {folder + QLatin1Char('/') + fileName};
        for (qsizetype dash = fileName.indexOf(QLatin1Char('-')); dash > 0;
             dash = fileName.indexOf(QLatin1Char('-'), dash + 1))
            candidates << folder + QLatin1Char('/') + fileName.left(dash) + QLatin1Char('/') +
                              fileName.mid(dash + 1);
        for (const QString& candidate : std::as_const(candidates)) {
            if (!QFileInfo(candidate).isFile())
                continue;
            const std::optional<DWDesktopEntry> entry = DWDesktopEntry::fromFile(candidate);
            // The first entry found decides; a hidden one means "not installed".
            if (!entry || entry->boolValue(QStringLiteral("Hidden"), false))
                return QString();
            return candidate;
        }
    }
    return QString();
}
