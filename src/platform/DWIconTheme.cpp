#include "platform/DWIconTheme.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QImageReader>
#include <QPainter>
#include <QStandardPaths>
#include <QSvgRenderer>
#include <algorithm>
#include <cstdlib>
#include <tuple>

namespace {
// The groups of an index.theme file; just enough of the ini format for it.
QHash<QString, QHash<QString, QString>> readIndex(const QString& path) {
    QHash<QString, QHash<QString, QString>> groups;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly) || file.size() > 4 * 1024 * 1024)
        return groups;
    QString group;
    while (!file.atEnd()) {
        const QString line = QString::fromUtf8(file.readLine()).trimmed();
        if (line.isEmpty() || line.startsWith(QLatin1Char('#')))
            continue;
        if (line.startsWith(QLatin1Char('[')) && line.endsWith(QLatin1Char(']'))) {
            group = line.mid(1, line.size() - 2);
            continue;
        }
        const qsizetype equals = line.indexOf(QLatin1Char('='));
        if (equals > 0 && !group.isEmpty())
            groups[group].insert(line.left(equals).trimmed(), line.mid(equals + 1).trimmed());
    }
    return groups;
}

QStringList splitList(const QString& value) {
    QStringList items;
    for (const QString& item : value.split(QLatin1Char(','))) {
        const QString trimmed = item.trimmed();
        if (!trimmed.isEmpty())
            items.append(trimmed);
    }
    return items;
}

const char* const extensions[] = {".png", ".svg", ".xpm"};
} // namespace

DWIconTheme::DWIconTheme(const QString& themeName, const QStringList& searchPaths)
    : _searchPaths(searchPaths) {
    if (!themeName.isEmpty())
        addToChain(themeName, 0);
    addToChain(QStringLiteral("hicolor"), 0);
    addToChain(QStringLiteral("Adwaita"), 0);
}

QStringList DWIconTheme::defaultSearchPaths() {
    QStringList paths = {QDir::homePath() + QStringLiteral("/.icons")};
    for (const QString& data :
         QStandardPaths::standardLocations(QStandardPaths::GenericDataLocation))
        paths.append(data + QStringLiteral("/icons"));
    paths.append(QStringLiteral("/usr/share/pixmaps"));
    paths.removeDuplicates();
    return paths;
}

QStringList DWIconTheme::themeChain() const {
    QStringList names;
    for (const Theme& theme : _chain)
        names.append(theme.name);
    return names;
}

void DWIconTheme::addToChain(const QString& name, int depth) {
    // Inheritance loops and absurd chains end here.
    if (depth > 16 || name.isEmpty() || name.contains(QLatin1Char('/')))
        return;
    for (const Theme& theme : std::as_const(_chain)) {
        if (theme.name == name)
            return;
    }
    Theme theme;
    if (!loadTheme(name, &theme))
        return;
    _chain.append(theme);
    for (const QString& parent : std::as_const(theme.inherits))
        addToChain(parent, depth + 1);
}

bool DWIconTheme::loadTheme(const QString& name, Theme* theme) const {
    theme->name = name;
    QString indexPath;
    for (const QString& searchPath : _searchPaths) {
        const QString root = searchPath + QLatin1Char('/') + name;
        if (!QFileInfo(root).isDir())
            continue;
        theme->roots.append(root);
        if (indexPath.isEmpty() && QFileInfo::exists(root + QStringLiteral("/index.theme")))
            indexPath = root + QStringLiteral("/index.theme");
    }
    if (indexPath.isEmpty())
        return false;
    const auto groups = readIndex(indexPath);
    const auto& header = groups.value(QStringLiteral("Icon Theme"));
    theme->inherits = splitList(header.value(QStringLiteral("Inherits")));
    QStringList directories = splitList(header.value(QStringLiteral("Directories")));
    directories += splitList(header.value(QStringLiteral("ScaledDirectories")));
    directories.removeDuplicates();
    for (const QString& directoryName : std::as_const(directories)) {
        const auto& keys = groups.value(directoryName);
        bool sizeOk = false;
        Directory directory;
        directory.name = directoryName;
        directory.size = keys.value(QStringLiteral("Size")).toInt(&sizeOk);
        if (!sizeOk || directory.size <= 0)
            continue; // Size is required
        directory.scale =
            std::max(1, keys.value(QStringLiteral("Scale"), QStringLiteral("1")).toInt());
        const QString type = keys.value(QStringLiteral("Type"));
        if (type == QLatin1String("Fixed"))
            directory.type = Directory::Type::Fixed;
        else if (type == QLatin1String("Scalable"))
            directory.type = Directory::Type::Scalable;
        bool ok = false;
        directory.minSize = keys.value(QStringLiteral("MinSize")).toInt(&ok);
        if (!ok)
            directory.minSize = directory.size;
        directory.maxSize = keys.value(QStringLiteral("MaxSize")).toInt(&ok);
        if (!ok)
            directory.maxSize = directory.size;
        directory.threshold = keys.value(QStringLiteral("Threshold")).toInt(&ok);
        if (!ok)
            directory.threshold = 2;
        theme->directories.append(directory);
    }
    return true;
}

QList<DWIconTheme::Candidate> DWIconTheme::candidates(const Theme& theme,
                                                      const QString& name) const {
    QList<Candidate> found;
    for (const Directory& directory : theme.directories) {
        for (const QString& root : theme.roots) {
            const QString stem = root + QLatin1Char('/') + directory.name + QLatin1Char('/') + name;
            bool inThisRoot = false;
            for (const char* extension : extensions) {
                const QString file = stem + QLatin1String(extension);
                if (QFileInfo(file).isFile()) {
                    found.append({file, &directory});
                    inThisRoot = true;
                    break;
                }
            }
            // A root earlier in the search path hides the same icon in later ones.
            if (inThisRoot)
                break;
        }
    }
    return found;
}

QList<DWIconTheme::Candidate> DWIconTheme::rankedFor(QList<Candidate> candidates, int pixels) {
    // Best first: a bitmap drawn at exactly this size, a vector drawing meant
    // for it, the smallest bitmap that is larger (scaled down), any vector
    // drawing, then the largest smaller bitmap (scaled up).
    auto rank = [pixels](const Candidate& candidate) {
        const Directory& directory = *candidate.directory;
        const int scaledSize = directory.size * directory.scale;
        if (directory.type != Directory::Type::Scalable) {
            const int distance = std::abs(scaledSize - pixels);
            if (distance == 0)
                return std::pair(0, 0);
            if (directory.type == Directory::Type::Threshold &&
                distance <= directory.threshold * directory.scale)
                return std::pair(1, distance);
            return scaledSize > pixels ? std::pair(3, distance) : std::pair(5, distance);
        }
        const int logical = pixels / directory.scale;
        if (directory.minSize <= logical && logical <= directory.maxSize)
            return std::pair(2, 0);
        return std::pair(4, std::abs(scaledSize - pixels));
    };
    // Among equals, a drawing meant for scale 1 (these are 1x representations).
    auto key = [&rank](const Candidate& candidate) {
        return std::tuple(rank(candidate), candidate.directory->scale != 1);
    };
    std::stable_sort(candidates.begin(), candidates.end(),
                     [&key](const Candidate& a, const Candidate& b) { return key(a) < key(b); });
    return candidates;
}

LWIconImage DWIconTheme::iconNamed(const QStringList& names, const QList<int>& pointSizes) const {
    for (const Theme& theme : _chain) {
        for (const QString& name : names) {
            if (name.isEmpty() || name.contains(QLatin1Char('/')))
                continue;
            const QList<Candidate> found = candidates(theme, name);
            if (found.isEmpty())
                continue;
            LWIconImage icon;
            for (int points : pointSizes) {
                QImage image;
                for (const Candidate& candidate : rankedFor(found, points)) {
                    image = renderImageFile(candidate.file, points);
                    if (!image.isNull())
                        break;
                }
                if (image.isNull())
                    continue;
                icon.addRepresentation(image, QSizeF(points, points));
                // 2x only where the theme draws the icon for scale 2 itself.
                for (const Candidate& candidate : found) {
                    const Directory& directory = *candidate.directory;
                    if (directory.scale != 2 || directory.size != points ||
                        directory.type == Directory::Type::Scalable)
                        continue;
                    QImage doubled = renderImageFile(candidate.file, points * 2);
                    if (doubled.isNull())
                        continue;
                    doubled.setDevicePixelRatio(2);
                    icon.addRepresentation(doubled, QSizeF(points, points));
                    break;
                }
            }
            if (!icon.isEmpty())
                return icon;
        }
    }
    return LWIconImage();
}

QImage DWIconTheme::renderImageFile(const QString& path, int pixels) {
    if (pixels <= 0 || pixels > 4096)
        return QImage();
    QImage canvas(pixels, pixels, QImage::Format_ARGB32_Premultiplied);
    canvas.fill(Qt::transparent);
    if (path.endsWith(QLatin1String(".svg"), Qt::CaseInsensitive) ||
        path.endsWith(QLatin1String(".svgz"), Qt::CaseInsensitive)) {
        QSvgRenderer renderer(path);
        if (!renderer.isValid())
            return QImage();
        QSizeF size = renderer.defaultSize();
        if (size.isEmpty())
            size = QSizeF(pixels, pixels);
        size.scale(pixels, pixels, Qt::KeepAspectRatio);
        QPainter painter(&canvas);
        renderer.render(
            &painter,
            QRectF(QPointF((pixels - size.width()) / 2, (pixels - size.height()) / 2), size));
        return canvas;
    }
    QImageReader reader(path);
    QImage image = reader.read();
    if (image.isNull())
        return QImage();
    image.setDevicePixelRatio(1);
    if (image.size() != QSize(pixels, pixels))
        image = image.scaled(pixels, pixels, Qt::KeepAspectRatio, Qt::SmoothTransformation);
    QPainter painter(&canvas);
    painter.drawImage(QPoint((pixels - image.width()) / 2, (pixels - image.height()) / 2), image);
    return canvas;
}
