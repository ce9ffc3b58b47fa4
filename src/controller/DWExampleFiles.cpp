#include "controller/DWExampleFiles.h"

#include "filesystem/LWFileSystem.h"

#include <QDir>
#include <QFile>
#include <QFileDialog>
#include <QFileInfo>
#include <QTemporaryFile>
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <unistd.h>

namespace {
bool itemExists(const QString& path) {
    const QFileInfo info(path);
    return info.exists() || info.isSymLink(); // a dangling link is an item too
}

// Moves `from` to `to` only if nothing is at `to`; false (and `from` left in
// place) otherwise.
bool renameWithoutReplacing(const QString& from, const QString& to) {
    const QByteArray source = QFile::encodeName(from);
    const QByteArray target = QFile::encodeName(to);
    if (::renameat2(AT_FDCWD, source.constData(), AT_FDCWD, target.constData(), RENAME_NOREPLACE) ==
        0)
        return true;
    if (errno != EINVAL && errno != ENOSYS)
        return false;
    // File systems without the no-replace rename: a hard link fails just as
    // surely when the target exists.
    if (::link(source.constData(), target.constData()) != 0)
        return false;
    ::unlink(source.constData());
    return true;
}
} // namespace

QString DWExampleFiles::resourcePath(const QString& fileName) {
    const QString path = QStringLiteral(":/examples/") + fileName;
    return QFile::exists(path) ? path : QString();
}

QString DWExampleFiles::targetPath(const QString& fileName, const QString& directory) {
    QString folder = directory;
    if (folder == QLatin1String("~") || folder.startsWith(QLatin1String("~/")))
        folder.replace(0, 1, QDir::homePath());
    return QDir(folder).filePath(fileName);
}

QString DWExampleFiles::writeExampleFile(const QString& fileName, const QString& directory) {
    const QString target = targetPath(fileName, directory);
    if (itemExists(target))
        return {};
    const QString resource = resourcePath(fileName);
    QFile source(resource);
    if (resource.isEmpty() || !source.open(QIODevice::ReadOnly))
        return {};
    // The resource is UTF-8 text and is written as it is.
    const QByteArray text = source.readAll();

    QTemporaryFile temporary(QFileInfo(target).absolutePath() + QStringLiteral("/.dotwise-XXXXXX"));
    if (!temporary.open() || temporary.write(text) != text.size() || !temporary.flush())
        return {};
    temporary.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner |
                             QFileDevice::ReadGroup | QFileDevice::ReadOther);
    temporary.close();
    if (!renameWithoutReplacing(temporary.fileName(), target))
        return {}; // the temporary file removes itself
    temporary.setAutoRemove(false);
    return target;
}

QFileDialog* DWExampleFiles::openFolderChooser(QWidget* window,
                                               std::function<void(const QString&)> chosen) {
    auto* panel = new QFileDialog(window);
    panel->setAttribute(Qt::WA_DeleteOnClose);
    panel->setWindowTitle(tr("Select a Folder for the Examples"));
    panel->setWindowModality(Qt::WindowModal);
    panel->setFileMode(QFileDialog::Directory);
    panel->setOption(QFileDialog::ShowDirsOnly, true);
    panel->setOption(QFileDialog::ReadOnly, false); // "New Folder" stays available
    panel->setLabelText(QFileDialog::Accept, tr("Select"));
    const QUrl desktop = LWFileSystem::desktopURL();
    if (desktop.isLocalFile())
        panel->setDirectory(desktop.toLocalFile());
    QObject::connect(panel, &QFileDialog::finished, panel,
                     [panel, chosen = std::move(chosen)](int result) {
                         const QStringList folders = panel->selectedFiles();
                         if (result == QDialog::Accepted && !folders.isEmpty() && chosen)
                             chosen(folders.first());
                     });
    panel->open();
    return panel;
}
