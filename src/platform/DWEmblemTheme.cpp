#include "platform/DWEmblemTheme.h"

#include "logging/LWLogger.h"
#include "views/DWBadgeImage.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QStandardPaths>
#include <fcntl.h>
#include <sys/stat.h>

const QString DWEmblemTheme::kNamePrefix = QStringLiteral("emblem-dotwise-");

DWEmblemTheme::DWEmblemTheme(QString themeDirectory, int commonCounts)
    : _themeDirectory(std::move(themeDirectory)), _commonCounts(commonCounts) {
    if (_themeDirectory.isEmpty())
        _themeDirectory = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) +
                          QStringLiteral("/icons/hicolor");
}

QString DWEmblemTheme::emblemName(int openTasks) {
    return kNamePrefix + QString::number(openTasks);
}

const QList<int>& DWEmblemTheme::sizes() {
    // The emblem folders of the hicolor theme file managers ask for.
    static const QList<int> sizes = {16, 22, 24, 32, 48, 64, 96, 128, 256};
    return sizes;
}

QString DWEmblemTheme::iconPath(int openTasks, int size, int scale) const {
    const QString folder = scale == 1 ? QStringLiteral("%1x%1").arg(size)
                                      : QStringLiteral("%1x%1@%2").arg(size).arg(scale);
    return QStringLiteral("%1/%2/emblems/%3.png")
        .arg(_themeDirectory, folder, emblemName(openTasks));
}

bool DWEmblemTheme::isInstalled(int openTasks) const {
    std::lock_guard lock(_lock);
    return _installed.contains(openTasks);
}

bool DWEmblemTheme::install(const QList<int>& counts) {
    std::lock_guard lock(_lock);
    bool added = false;
    bool done = true;
    for (int openTasks : counts) {
        if (_installed.contains(openTasks))
            continue;
        const int written = draw(openTasks);
        if (written < 0) {
            done = false;
            continue;
        }
        _installed.insert(openTasks);
        added = added || written > 0;
    }
    // The time of the theme folder is what GTK's icon theme watches.
    if (added &&
        utimensat(AT_FDCWD, QFile::encodeName(_themeDirectory).constData(), nullptr, 0) != 0)
        LW_LOG(1, "-[DWEmblemTheme install:]",
               QStringLiteral("Can't touch %1: new emblems show only after the file manager "
                              "restarts")
                   .arg(_themeDirectory));
    return done;
}

int DWEmblemTheme::draw(int openTasks) const {
    int written = 0;
    for (int size : sizes()) {
        for (int scale : {1, 2}) {
            const QString path = iconPath(openTasks, size, scale);
            // Drawn by an earlier run: the same count always looks the same.
            if (QFileInfo::exists(path))
                continue;
            const DWBadgeImage badge(QSizeF(size, size), openTasks, size > 32, scale);
            QSaveFile file(path);
            if (badge.isNull() || !QDir().mkpath(QFileInfo(path).path()) ||
                !file.open(QIODevice::WriteOnly) || !badge.image().save(&file, "PNG") ||
                !file.commit()) {
                LW_LOG(1, "-[DWEmblemTheme install:]",
                       QStringLiteral("Can't write the emblem %1").arg(path));
                return -1;
            }
            ++written;
        }
    }
    return written;
}

int DWEmblemTheme::uninstall() {
    std::lock_guard lock(_lock);
    int removed = 0;
    const QDir theme(_themeDirectory);
    for (const QString& folder : theme.entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        QDir emblems(theme.filePath(folder + QStringLiteral("/emblems")));
        for (const QString& name :
             emblems.entryList({kNamePrefix + QStringLiteral("*.png")}, QDir::Files)) {
            if (emblems.remove(name))
                ++removed;
        }
    }
    _installed.clear();
    if (removed > 0)
        utimensat(AT_FDCWD, QFile::encodeName(_themeDirectory).constData(), nullptr, 0);
    return removed;
}
