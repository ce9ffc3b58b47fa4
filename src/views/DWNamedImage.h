#pragma once

#include <QImage>
#include <QString>
#include <QStringList>

// The application's images by name, as the views and menus ask for them:
// ":/images/<name>.svg" rendered at the requested pixel density, else
// ":/images/<name>.png". Plain QImage, so it may be called on any thread.
class DWNamedImage {
public:
    // A null image (and a warning in the log) when no such resource exists.
    // The image's device pixel ratio is set, so its size in points is
    // deviceIndependentSize().
    static QImage imageNamed(const QString& name, qreal devicePixelRatio = 1.0);

    // The resource pictures (":/....svg", ".png" or ".jpg") that a view
    // definition or style sheet refers to but that do not load here, each
    // logged by name. Qt shows a blank where such a picture belongs, for
    // instance when its SVG image plugin is not installed.
    static QStringList picturesThatDoNotLoad(const QString& text);

    // A template image (black drawing on transparent) made readable on a
    // panel of any colour: the drawing in a light tone inside a soft dark
    // outline. Trays on Linux don't tint templates, and the panel may be light
    // or dark whatever the application's own theme.
    static QImage panelImage(const QImage& templateImage);
};
