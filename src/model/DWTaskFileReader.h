#pragma once

#include <QString>

// Reads a task file from start to end in pieces, so that a file of any size is
// counted with a buffer of fixed size. Only regular files are read: a folder,
// a pipe or a device gives an error instead of blocking or running forever.
// The file is opened read-only; it is never changed.
class DWTaskFileReader {
public:
    explicit DWTaskFileReader(const QString& path);
    ~DWTaskFileReader();
    DWTaskFileReader(const DWTaskFileReader&) = delete;
    DWTaskFileReader& operator=(const DWTaskFileReader&) = delete;

    bool isOpen() const { return _fd >= 0; }
    // Why the file could not be opened or read ("No such file or directory",
    // "Is a directory", ...); empty while all is well.
    QString errorString() const { return _error; }

    // Reads up to `capacity` bytes; 0 at the end, -1 on error.
    qint64 read(char* buffer, qint64 capacity);
    // Starts again from the first byte.
    bool rewind();

private:
    void failWithErrno(int error);

    int _fd = -1;
    QString _error;
};
