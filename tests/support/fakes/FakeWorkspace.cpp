#include "fakes/FakeWorkspace.h"

#include <QFileInfo>

LWIconImage FakeWorkspace::iconForFile(const QString&) const {
    LWIconImage icon;
    for (int side : {16, 32, 128, 256, 512}) {
        QImage image(side, side, QImage::Format_ARGB32_Premultiplied);
        image.fill(QColor(40, 90, 200));
        icon.addRepresentation(image);
    }
    return icon;
}

bool FakeWorkspace::setIcon(const LWIconImage& icon, const QString& path) {
    QMutexLocker locker(&_lock);
    if (icon.isEmpty())
        _customIcons.remove(path);
    else
        _customIcons.insert(path, icon);
    return true;
}

std::optional<LWTimestamp> FakeWorkspace::contentModificationDate(const QString& path) const {
    return lw::contentModificationDate(path);
}

bool FakeWorkspace::setContentModificationDate(const QString& path, const LWTimestamp& date) {
    return lw::setContentModificationDate(path, date);
}

bool FakeWorkspace::isTextFile(const QString& path) const {
    static const QStringList textSuffixes{QStringLiteral("txt"), QStringLiteral("taskpaper"),
                                          QStringLiteral("md"), QStringLiteral("todo")};
    return textSuffixes.contains(QFileInfo(path).suffix().toLower());
}

bool FakeWorkspace::openFile(const QString& path) {
    QMutexLocker locker(&_lock);
    _openedFiles.append(path);
    return QFileInfo::exists(path);
}

bool FakeWorkspace::openUrl(const QUrl& url) {
    QMutexLocker locker(&_lock);
    _openedUrls.append(url);
    return url.isValid();
}

bool FakeWorkspace::openUrlText(const QString& url) {
    QMutexLocker locker(&_lock);
    _openedUrlTexts.append(url);
    return QUrl(url).isValid();
}

bool FakeWorkspace::selectFile(const QString& path, const QString&) {
    QMutexLocker locker(&_lock);
    _selectedFiles.append(path);
    return true;
}

QString FakeWorkspace::absolutePathForApplicationWithIdentifier(const QString& identifier) const {
    return locked(_installed).value(identifier);
}

void FakeWorkspace::setInstalledApplication(const QString& identifier, const QString& path) {
    QMutexLocker locker(&_lock);
    _installed.insert(identifier, path);
}

void FakeWorkspace::clearRecords() {
    QMutexLocker locker(&_lock);
    _openedFiles.clear();
    _openedUrls.clear();
    _openedUrlTexts.clear();
    _selectedFiles.clear();
}
