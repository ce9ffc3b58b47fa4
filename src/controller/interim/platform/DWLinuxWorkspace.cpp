// INTERIM stand-in until the platform layer lands; removed then.
#include "platform/DWLinuxWorkspace.h"

#include <QDesktopServices>
#include <QFileInfo>
#include <QMimeDatabase>

LWIconImage DWLinuxWorkspace::iconForFile(const QString&) const {
    LWIconImage icon;
    for (int side : {16, 32, 128, 256, 512}) {
        QImage image(side, side, QImage::Format_ARGB32_Premultiplied);
        image.fill(QColor(230, 230, 230));
        icon.addRepresentation(image);
    }
    return icon;
}
bool DWLinuxWorkspace::setIcon(const LWIconImage&, const QString&) {
    return false;
}
std::optional<LWTimestamp> DWLinuxWorkspace::contentModificationDate(const QString& path) const {
    return lw::contentModificationDate(path);
}
bool DWLinuxWorkspace::setContentModificationDate(const QString& path, const LWTimestamp& date) {
    return lw::setContentModificationDate(path, date);
}
bool DWLinuxWorkspace::isTextFile(const QString& path) const {
    return QMimeDatabase().mimeTypeForFile(path).inherits(QStringLiteral("text/plain"));
}
bool DWLinuxWorkspace::openFile(const QString& path) {
    return QDesktopServices::openUrl(QUrl::fromLocalFile(path));
}
bool DWLinuxWorkspace::openUrl(const QUrl& url) {
    return QDesktopServices::openUrl(url);
}
bool DWLinuxWorkspace::selectFile(const QString& path, const QString&) {
    return openFile(QFileInfo(path).path());
}
QString DWLinuxWorkspace::absolutePathForApplicationWithIdentifier(const QString&) const {
    return QString();
}
