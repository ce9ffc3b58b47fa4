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

// Custom-icon files of one task file share a prefix made from its path, so
// every older one can be found and deleted, even after the file is gone.
QString iconFilePrefix(const QString& path) {
    const QByteArray hash = QCryptographicHash::hash(
        QFile::encodeName(QFileInfo(path).absoluteFilePath()), QCryptographicHash::Sha1);
    return QString::fromLatin1(hash.toHex().left(16)) + QLatin1Char('-');
}

// Sets the access and modification dates to what they are: only the file's
// change time moves, which is the attribute change file managers watch for.
bool touchWithoutChangingDates(const QString& path) {
    const QByteArray name = QFile::encodeName(path);
    struct statx info {};
    if (statx(AT_FDCWD, name.constData(), 0, STATX_ATIME | STATX_MTIME, &info) != 0 ||
        !(info.stx_mask & STATX_MTIME))
        return false;
    struct timespec times[2] = {{0, UTIME_OMIT},
                                {info.stx_mtime.tv_sec, long(info.stx_mtime.tv_nsec)}};
    if (info.stx_mask & STATX_ATIME)
        times[0] = {info.stx_atime.tv_sec, long(info.stx_atime.tv_nsec)};
    return utimensat(AT_FDCWD, name.constData(), times, 0) == 0;
}

QString takeErrorMessage(GError*& error) {
    const QString reason =
        error ? QString::fromUtf8(error->message) : QStringLiteral("unknown error");
    g_clear_error(&error);
    return reason;
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
    _cacheDirectory = options.cacheDirectory;
    if (_cacheDirectory.isEmpty())
        _cacheDirectory = QStandardPaths::writableLocation(QStandardPaths::GenericCacheLocation) +
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

QString DWLinuxWorkspace::writeIconFile(const QImage& image, const QString& prefix) const {
    if (!QDir().mkpath(_cacheDirectory))
        return QString();
    // Other users have no business knowing which files are badged.
    QFile::setPermissions(_cacheDirectory,
                          QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
    const QString path = _cacheDirectory + QLatin1Char('/') + prefix +
                         QString::number(QRandomGenerator::global()->generate64(), 36) +
                         QStringLiteral(".png");
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) || !image.save(&file, "PNG") || !file.commit())
        return QString();
    return path;
}

void DWLinuxWorkspace::removeCachedIcons(const QString& prefix, const QString& keep) const {
    const QDir cache(_cacheDirectory);
    for (const QString& name :
         cache.entryList({prefix + QStringLiteral("*.png")}, QDir::Files | QDir::Hidden)) {
        const QString path = cache.filePath(name);
        if (path != keep)
            QFile::remove(path);
    }
}

bool DWLinuxWorkspace::setIcon(const LWIconImage& icon, const QString& path) {
    std::lock_guard lock(_setIconLock);
    const QString prefix = iconFilePrefix(path);
    if (path.isEmpty() || !QFileInfo::exists(path)) {
        // A vanished file keeps nothing of ours in the cache.
        removeCachedIcons(prefix, QString());
        return false;
    }

    QString iconFile;
    if (!icon.isEmpty()) {
        iconFile = writeIconFile(icon.largestImage(), prefix);
        if (iconFile.isEmpty()) {
            LW_LOG(1, "-[DWLinuxWorkspace setIcon:forFile:]",
                   QStringLiteral("Can't write the icon file for %1 in %2")
                       .arg(path, _cacheDirectory));
            return false;
        }
    }

    GFilePointer file(g_file_new_for_path(QFile::encodeName(path).constData()));
    GError* error = nullptr;
    gboolean done;
    const MetadataWriteScope scope;
    if (iconFile.isEmpty()) {
        done = g_file_set_attribute(file.get(), customIconAttribute, G_FILE_ATTRIBUTE_TYPE_INVALID,
                                    nullptr, G_FILE_QUERY_INFO_NONE, nullptr, &error);
    } else {
        const QByteArray uri = QUrl::fromLocalFile(iconFile).toEncoded();
        done = g_file_set_attribute_string(file.get(), customIconAttribute, uri.constData(),
                                           G_FILE_QUERY_INFO_NONE, nullptr, &error);
    }
    if (!done) {
        reportMetadataFailure(takeErrorMessage(error), path);
        if (!iconFile.isEmpty())
            QFile::remove(iconFile);
        return false;
    }
    removeCachedIcons(prefix, iconFile);
    touchWithoutChangingDates(path);
    return true;
}

bool DWLinuxWorkspace::replaceEmblem(const QString& path, const QString& ownPrefix,
                                     const QString& name) {
    if (path.isEmpty() || !QFileInfo::exists(path))
        return false;
    GFilePointer file(g_file_new_for_path(QFile::encodeName(path).constData()));
    GError* error = nullptr;
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
    // picture update asks, in case a run in emblem mode left one).
    if (name.isEmpty() && !hadOwn)
        return true;
    if (!name.isEmpty())
        emblems.append(name.toUtf8());
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
    if (!done)
        return reportMetadataFailure(takeErrorMessage(error), path);
    touchWithoutChangingDates(path);
    return true;
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
