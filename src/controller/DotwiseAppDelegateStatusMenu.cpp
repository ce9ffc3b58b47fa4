#include "controller/DotwiseAppDelegate.h"
#include "foundation/LWBundle.h"
#include "logging/LWLogger.h"
#include "model/DWTaskList.h"
#include "ui/LWWorkspace.h"
#include "views/ABViewSelectingController.h"
#include "views/DWBadgeImage.h"
#include "views/DWNamedImage.h"

#include <QAction>
#include <QFileInfo>
#include <QGuiApplication>
#include <QMainWindow>
#include <QMenu>
#include <QPainter>
#include <QPixmap>
#include <QScreen>
#include <QSystemTrayIcon>

namespace {
// Menu badges are the same picture for the same count; beyond this many
// distinct counts the cache starts afresh.
constexpr int menuBadgeCacheLimit = 256;
} // namespace

// ---------------------------------------------------------------------------
// Status menu and links

void DotwiseAppDelegate::_updateStatusMenu() {
    if (!_statusMenuItem) {
        _statusMenu = new QMenu(tr("Dotwise Status Menu"));
        _statusMenuItem = new QSystemTrayIcon(_statusIconTemplate(), this);
        _statusMenuItem->setToolTip(tr("Dotwise"));
        _statusMenuItem->setContextMenu(_statusMenu);
        connect(_statusMenuItem, &QSystemTrayIcon::activated, this,
                &DotwiseAppDelegate::_statusItemActivated);
        // The fixed part: separator after the task lists (only when there
        // are some), "Show Dotwise Window", separator, "Make a Suggestion…".
        _taskListSeparator = new QAction(_statusMenu);
        _taskListSeparator->setSeparator(true);
        _showWindowItem = _statusMenu->addAction(tr("Show Dotwise Window"));
        connect(_showWindowItem, &QAction::triggered, this,
                [this] { showDotwiseWindowAction(_showWindowItem); });
        _statusMenu->addSeparator();
        QAction* suggest = _statusMenu->addAction(tr("Make a Suggestion\u2026"));
        connect(suggest, &QAction::triggered, this,
                [this, suggest] { makeSuggestionAction(suggest); });
        connect(_statusMenu, &QMenu::triggered, this, [this](QAction* item) {
            if (_taskListItems.contains(item))
                taskListMenuItemAction(item);
        });
        // Shown even without a tray: a panel that starts after Dotwise (as
        // at login) picks the item up then.
        _statusMenuItem->show();
        if (!_isSystemTrayAvailable()) {
            LW_LOG(2, "-[DotwiseAppDelegate _updateStatusMenu]",
                   QStringLiteral("No system tray available: the status menu is kept but not "
                                  "shown; Hide and closing the window minimise it instead"));
        }
    }

    // The menu is worked out afresh from the task lists every time. Item
    // objects are reused where they stand, so a rebuild that changes little
    // costs little even with thousands of task lists (adding or removing menu
    // items one by one takes time in proportion to the menu's length).
    const qsizetype listed = _isDotwiseEnabled ? _taskLists.size() : 0;
    const bool separated = _statusMenu->actions().contains(_taskListSeparator);
    if (listed > 0 && !separated)
        _statusMenu->insertAction(_showWindowItem, _taskListSeparator);
    else if (listed == 0 && separated)
        _statusMenu->removeAction(_taskListSeparator);
    while (_taskListItems.size() > listed)
        delete _taskListItems.takeLast();
    while (_taskListItems.size() < listed) {
        auto* item = new QAction(_statusMenu);
        _statusMenu->insertAction(_taskListSeparator, item);
        _taskListItems.append(item);
    }
    for (qsizetype i = 0; i < listed; ++i) {
        const TaskListPointer& taskList = _taskLists.at(i);
        QAction* item = _taskListItems.at(i);
        const QString path = taskList->path();
        // A lone '&' would mark a mnemonic and vanish from the title.
        QString title = QFileInfo(path).fileName();
        title.replace(QLatin1Char('&'), QLatin1String("&&"));
        if (item->text() != title)
            item->setText(title);
        if (item->data().toString() != path)
            item->setData(path);
        const QIcon badge = _menuBadgeIcon(taskList->openTasks());
        if (item->icon().cacheKey() != badge.cacheKey())
            item->setIcon(badge);
    }
    emit statusMenuRebuilt();
}

void DotwiseAppDelegate::_statusItemActivated(QSystemTrayIcon::ActivationReason reason) {
    if (reason != QSystemTrayIcon::Trigger)
        return;
    // A left click opens the menu at the item where the tray tells us where
    // that is (XEmbed on X11). Over StatusNotifierItem and on Wayland it
    // doesn't, and the pointer position there may be stale or inside our own
    // window: the host shows the menu on a right click, and a left click
    // brings the window forward rather than opening a menu in a wrong place.
    const QRect item = _statusMenuItem->geometry();
    const bool wayland = QGuiApplication::platformName().startsWith(QLatin1String("wayland"));
    if (wayland || !item.isValid() || item.isEmpty()) {
        showDotwiseWindowAction(_statusMenuItem);
        return;
    }
    // Below the item, or above it when the tray is at the bottom of the screen.
    const QSize menu = _statusMenu->sizeHint();
    const QScreen* screen = QGuiApplication::screenAt(item.center());
    const QRect available = screen ? screen->availableGeometry() : QRect();
    QPoint at(item.left(), item.bottom() + 1);
    if (available.isValid() && at.y() + menu.height() > available.bottom())
        at.setY(item.top() - menu.height());
    _statusMenu->popup(at);
}

QIcon DotwiseAppDelegate::_statusIconTemplate() {
    // Every size a tray may ask for, drawn from the artwork at that size (so
    // no host scales a small picture up), each also at twice the density.
    QIcon icon;
    for (const int side : {16, 22, 24, 32, 48, 64}) {
        for (const qreal ratio : {1.0, 2.0}) {
            const qreal scale = side * ratio / 22.0; // the artwork is drawn on 22 points
            QImage artwork = DWNamedImage::imageNamed(QStringLiteral("StatusIconTemplate"), scale);
            if (artwork.isNull())
                continue;
            QImage image = DWNamedImage::panelImage(artwork);
            image.setDevicePixelRatio(ratio);
            icon.addPixmap(QPixmap::fromImage(image));
        }
    }
    if (icon.isNull()) {
        // Without the artwork, a plain dot keeps the item usable.
        QPixmap dot(22, 22);
        dot.fill(Qt::transparent);
        QPainter painter(&dot);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(QPen(Qt::black, 1.5));
        painter.setBrush(QColor(242, 242, 242));
        painter.drawEllipse(QRectF(4, 4, 14, 14));
        painter.end();
        icon = QIcon(dot);
    }
    // Marked as a template for panels that do tint (the drawing keeps its
    // own light-on-dark look where they don't).
    icon.setIsMask(true);
    return icon;
}

QIcon DotwiseAppDelegate::_menuBadgeIcon(int openTasks) {
    auto cached = _menuBadgeIcons.constFind(openTasks);
    if (cached != _menuBadgeIcons.constEnd())
        return *cached;
    if (_menuBadgeIcons.size() >= menuBadgeCacheLimit)
        _menuBadgeIcons.clear();
    // Both densities, so that a HiDPI menu shows a sharp badge.
    QIcon icon;
    for (const qreal ratio : {1.0, 2.0}) {
        const DWBadgeImage badge(QSizeF(15, 15), openTasks, false, ratio);
        if (!badge.isNull())
            icon.addPixmap(QPixmap::fromImage(badge.image()));
    }
    _menuBadgeIcons.insert(openTasks, icon);
    return icon;
}

void DotwiseAppDelegate::taskListMenuItemAction(QAction* sender) {
    if (!sender)
        return;
    const QString path = sender->data().toString();
    if (path.isEmpty())
        return;
    _workspace->openFile(path);
}

void DotwiseAppDelegate::showDotwiseWindowAction(QObject*) {
    _bringWindowForward();
}

QUrl DotwiseAppDelegate::suggestionMailUrl(const QString& supportAddress,
                                           const QString& shortVersion) {
    // Nothing is escaped: the version goes into the link as it is.
    const QString tag = QStringLiteral("%5B%1%2%5D").arg(QStringLiteral("WEB"), shortVersion);
    return QUrl(QStringLiteral("mailto:") + supportAddress +
                QStringLiteral("?subject=Dotwise%20suggestion%20") + tag);
}

QUrl DotwiseAppDelegate::webSiteUrl(const QString& webHost, const QString& variation) {
    return QUrl(QStringLiteral("http://") + webHost +
                QStringLiteral("/go/dwapp/?utm_source=DotwiseApp&utm_medium=dwapp&utm_term=%1&"
                               "utm_content=%2&utm_campaign=FromDotwise")
                    .arg(QStringLiteral("web"), variation));
}

void DotwiseAppDelegate::makeSuggestionAction(QObject*) {
    const LWBundle& bundle = LWBundle::mainBundle();
    const QString address =
        bundle.objectForInfoDictionaryKey(QStringLiteral("DWSupportAddress")).toString();
    const QUrl url = suggestionMailUrl(address, bundle.shortVersionString());
    if (url.isValid())
        _workspace->openUrl(url);
}

void DotwiseAppDelegate::visitWrenfield(QObject*) {
    const QString host =
        LWBundle::mainBundle().objectForInfoDictionaryKey(QStringLiteral("DWWebHost")).toString();
    const QUrl url = webSiteUrl(host, _abViewController->variation());
    if (url.isValid())
        _workspace->openUrl(url);
}
