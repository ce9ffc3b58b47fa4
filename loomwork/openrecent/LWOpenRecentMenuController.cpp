#include "openrecent/LWOpenRecentMenuController.h"

#include "foundation/LWPreferences.h"
#include "ui/LWWorkspace.h"

#include <QAction>
#include <QFileInfo>
#include <QIcon>
#include <QPixmap>

namespace {
const QString recentDocumentsKey = QStringLiteral("LWRecentDocuments");

// A 16-point icon: the workspace's 16-point representations as they are (the
// 2x one included), or the nearest one scaled when there is none.
QIcon menuIcon(const LWIconImage& image) {
    QIcon icon;
    for (const LWIconImage::Representation& representation : image.representations()) {
        if (representation.size == QSizeF(16, 16))
            icon.addPixmap(QPixmap::fromImage(representation.image));
    }
    if (icon.isNull()) {
        const QImage nearest = image.imageForSize(16);
        if (!nearest.isNull()) {
            icon.addPixmap(QPixmap::fromImage(
                nearest.scaled(16, 16, Qt::KeepAspectRatio, Qt::SmoothTransformation)));
        }
    }
    return icon;
}
} // namespace

LWOpenRecentMenuController::LWOpenRecentMenuController(LWWorkspace* workspace, QObject* parent)
    : QObject(parent), _workspace(workspace),
      _ownMenu(std::make_unique<QMenu>(QStringLiteral("Open Recent"))) {
    setOpenRecentMenu(_ownMenu.get());
}

LWOpenRecentMenuController::~LWOpenRecentMenuController() {
    setOpenRecentMenu(nullptr);
}

void LWOpenRecentMenuController::setOpenRecentMenu(QMenu* menu) {
    if (menu == _openRecentMenu)
        return;
    disconnect(_aboutToShow);
    _openRecentMenu = menu;
    if (menu) {
        _aboutToShow =
            connect(menu, &QMenu::aboutToShow, this, [this, menu] { menuNeedsUpdate(menu); });
    }
}

void LWOpenRecentMenuController::noteNewRecentDocumentWithPath(const QString& path) {
    if (path.isEmpty())
        return;
    LWPreferences preferences = LWPreferences::standard();
    QStringList documents = preferences.stringArrayForKey(recentDocumentsKey);
    if (documents.contains(path))
        return;
    if (!QFileInfo::exists(path))
        return;
    documents.prepend(path);
    while (documents.size() > qMax(0, _maximumRecentDocumentCount))
        documents.removeLast();
    preferences.setObject(recentDocumentsKey, documents);
}

void LWOpenRecentMenuController::openRecentDocument(QObject* sender) {
    auto* item = qobject_cast<QAction*>(sender);
    if (!item)
        return;
    const QVariant path = item->data();
    if (!path.isValid())
        return;
    emit openFile(path.toString());
}

void LWOpenRecentMenuController::clearRecentDocuments(QObject*) {
    LWPreferences::standard().removeObject(recentDocumentsKey);
}

void LWOpenRecentMenuController::menuNeedsUpdate(QMenu* menu) {
    if (!menu)
        return;
    menu->clear();
    const QStringList documents = LWPreferences::standard().stringArrayForKey(recentDocumentsKey);
    int items = 0;
    for (const QString& path : documents) {
        // Gone documents are left out of the menu but stay in the list.
        if (path.isEmpty() || !QFileInfo::exists(path))
            continue;
        QAction* item = menu->addAction(_displayNameForPath(path));
        item->setData(path);
        item->setShortcut(QKeySequence());
        if (_workspace)
            item->setIcon(menuIcon(_workspace->iconForFile(path)));
        connect(item, &QAction::triggered, this, [this, item] { openRecentDocument(item); });
        ++items;
    }
    if (items > 0)
        menu->addSeparator();
    QAction* clear = menu->addAction(QStringLiteral("Clear Menu"));
    clear->setShortcut(QKeySequence());
    if (items > 0)
        connect(clear, &QAction::triggered, this, [this, clear] { clearRecentDocuments(clear); });
    else
        clear->setEnabled(false);
}

QString LWOpenRecentMenuController::_displayNameForPath(const QString& path) const {
    // The file's name as the file manager shows it. (Stands in for the
    // file-system helpers' display name until those are in the library.)
    return QFileInfo(path).fileName();
}
