#pragma once

#include "ui/LWIconImage.h"

#include <QList>
#include <QString>
#include <QStringList>

// Icons by name from freedesktop icon themes: a theme, the themes it inherits,
// then hicolor and Adwaita. The themes' index files are read once, when the
// object is made; lookups only look at the disk and decode images (QImage and
// QSvgRenderer on images), so they are safe on any thread.
class DWIconTheme {
public:
    // `themeName` may be empty or name a theme that isn't installed; the
    // fallback themes are searched then. `searchPaths` are the folders that hold
    // themes, most important first.
    DWIconTheme(const QString& themeName, const QStringList& searchPaths);

    // ~/.icons, $XDG_DATA_HOME/icons, $XDG_DATA_DIRS/icons, /usr/share/pixmaps.
    static QStringList defaultSearchPaths();

    // The installed themes in lookup order.
    QStringList themeChain() const;

    // The first of `names` that a theme has, themes tried in order and names in
    // order within each theme, drawn at each of `pointSizes` (square, exactly
    // that many pixels), plus a 2x representation for the sizes the theme draws
    // at scale 2. Empty when no theme has any of the names.
    LWIconImage iconNamed(const QStringList& names, const QList<int>& pointSizes) const;

    // An image file (PNG, SVG, XPM, ...) drawn into a transparent square of
    // `pixels`, keeping its proportions; a null image when it can't be read.
    static QImage renderImageFile(const QString& path, int pixels);

private:
    struct Directory {
        QString name; // relative to the theme folder, e.g. "48x48/mimetypes"
        enum class Type { Fixed, Scalable, Threshold } type = Type::Threshold;
        int size = 0;
        int scale = 1;
        int minSize = 0;
        int maxSize = 0;
        int threshold = 2;
    };
    struct Theme {
        QString name;
        QStringList roots; // every <search path>/<name> that exists
        QList<Directory> directories;
        QStringList inherits;
    };
    struct Candidate {
        QString file;
        const Directory* directory;
    };

    bool loadTheme(const QString& name, Theme* theme) const;
    void addToChain(const QString& name, int depth);
    QList<Candidate> candidates(const Theme& theme, const QString& name) const;
    static QList<Candidate> rankedFor(QList<Candidate> candidates, int pixels);

    QStringList _searchPaths;
    QList<Theme> _chain;
};
