#include "model/DWTaskFileReader.h"

#include <QFile>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

DWTaskFileReader::DWTaskFileReader(const QString& path) {
    if (path.isEmpty()) {
        failWithErrno(ENOENT);
        return;
    }
    // O_NONBLOCK keeps a named pipe from blocking the open; it is refused below.
    const QByteArray name = QFile::encodeName(path);
    _fd = ::open(name.constData(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK);
    if (_fd < 0) {
        failWithErrno(errno);
        return;
    }
    struct stat status {};
    if (::fstat(_fd, &status) != 0) {
        failWithErrno(errno);
    } else if (S_ISDIR(status.st_mode)) {
        failWithErrno(EISDIR);
    } else if (!S_ISREG(status.st_mode)) {
        _error = QStringLiteral("Not a regular file");
    }
    if (!_error.isEmpty()) {
        ::close(_fd);
        _fd = -1;
        return;
    }
    ::posix_fadvise(_fd, 0, 0, POSIX_FADV_SEQUENTIAL);
}

DWTaskFileReader::~DWTaskFileReader() {
    if (_fd >= 0)
        ::close(_fd);
}

void DWTaskFileReader::failWithErrno(int error) {
    _error = QString::fromLocal8Bit(std::strerror(error));
}

qint64 DWTaskFileReader::read(char* buffer, qint64 capacity) {
    if (_fd < 0)
        return -1;
    for (;;) {
        const ssize_t n = ::read(_fd, buffer, size_t(capacity));
        if (n >= 0)
            return n;
        if (errno == EINTR)
            continue;
        failWithErrno(errno);
        return -1;
    }
}

bool DWTaskFileReader::rewind() {
    if (_fd < 0)
        return false;
    if (::lseek(_fd, 0, SEEK_SET) != 0) {
        failWithErrno(errno);
        return false;
    }
    return true;
}
