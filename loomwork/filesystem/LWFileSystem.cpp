#include "filesystem/LWFileSystem.h"

#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>
#include <vector>

LWFileSystem::Reference::~Reference() {
    if (_fd >= 0)
        ::close(_fd);
}

LWFileSystem::Reference::Reference(Reference&& other) noexcept
    : _fd(std::exchange(other._fd, -1)) {}

LWFileSystem::Reference& LWFileSystem::Reference::operator=(Reference&& other) noexcept {
    if (this != &other) {
        if (_fd >= 0)
            ::close(_fd);
        _fd = std::exchange(other._fd, -1);
    }
    return *this;
}

QUrl LWFileSystem::desktopURL() {
    // Qt reads the XDG user folders (user-dirs.dirs); the folder need not exist.
    const QString desktop =
        QStandardPaths::standardLocations(QStandardPaths::DesktopLocation).value(0);
    if (desktop.isEmpty())
        return QUrl();
    return QUrl::fromLocalFile(desktop);
}

QString LWFileSystem::localizedNameForItemAtPath(const QString& path) {
    if (path.isNull())
        return QString();
    // QFileInfo::fileName gives nothing after a trailing slash.
    QString trimmed = path;
    while (trimmed.size() > 1 && trimmed.endsWith(QLatin1Char('/')))
        trimmed.chop(1);
    if (trimmed == QLatin1String("/"))
        return trimmed;
    return trimmed.mid(trimmed.lastIndexOf(QLatin1Char('/')) + 1);
}

bool LWFileSystem::path(const QString& path, Reference* reference) {
    if (!reference || path.isEmpty())
        return false;
    const int fd = ::open(QFile::encodeName(path).constData(), O_PATH | O_CLOEXEC);
    if (fd < 0)
        return false;
    *reference = Reference();
    reference->_fd = fd;
    return true;
}

quint64 LWFileSystem::fileSizeForPath(const QString& path) {
    Reference reference;
    if (!LWFileSystem::path(path, &reference))
        return 0;
    return _fastFolderSizeAtFSRef(reference);
}

namespace {
// Reads a folder tree with few system calls: directory entries in bulk with
// getdents64, their types from the entries themselves, and statx only for the
// items whose size counts. One entry buffer per folder depth, reused.
class FolderSizeWalker {
public:
    quint64 sizeOfOpenFolder(int folder, size_t depth) {
        if (_buffers.size() <= depth)
            _buffers.push_back(std::make_unique<char[]>(kBatchBytes));
        char* buffer = _buffers[depth].get();
        quint64 total = 0;
        for (;;) {
            const ssize_t length = ::getdents64(folder, buffer, kBatchBytes);
            // 0 is the end; an error ends this folder with what it has so far.
            if (length <= 0)
                break;
            for (ssize_t offset = 0; offset < length;) {
                const auto* entry = reinterpret_cast<const dirent64*>(buffer + offset);
                offset += entry->d_reclen;
                const char* name = entry->d_name;
                if (name[0] == '.' && (name[1] == 0 || (name[1] == '.' && name[2] == 0)))
                    continue;
                total += sizeOfEntry(folder, name, entry->d_type, depth);
            }
        }
        ::close(folder);
        return total;
    }

private:
    static constexpr size_t kBatchBytes = 32 * 1024;

    quint64 sizeOfEntry(int folder, const char* name, unsigned char type, size_t depth) {
        if (type == DT_DIR)
            return sizeOfSubfolder(folder, name, depth);
        // Some file systems leave the type unknown; statx tells it then.
        struct statx info {};
        const unsigned int mask = type == DT_UNKNOWN ? STATX_TYPE | STATX_SIZE : STATX_SIZE;
        if (::statx(folder, name, AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT | AT_STATX_DONT_SYNC, mask,
                    &info) != 0)
            return 0;
        if (type == DT_UNKNOWN && S_ISDIR(info.stx_mode))
            return sizeOfSubfolder(folder, name, depth);
        return info.stx_size;
    }

    quint64 sizeOfSubfolder(int folder, const char* name, size_t depth) {
        // O_NOFOLLOW: a link that replaced the folder since it was listed is
        // not followed either.
        const int child = ::openat(folder, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
        return child < 0 ? 0 : sizeOfOpenFolder(child, depth + 1);
    }

    std::vector<std::unique_ptr<char[]>> _buffers;
};
} // namespace

quint64 LWFileSystem::_fastFolderSizeAtFSRef(const Reference& reference) {
    if (!reference.isValid())
        return 0;
    // Only a folder can be listed: anything else yields 0.
    const int folder =
        ::openat(reference.fileDescriptor(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (folder < 0)
        return 0;
    FolderSizeWalker walker;
    return walker.sizeOfOpenFolder(folder, 0);
}
