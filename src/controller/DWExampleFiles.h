#pragma once

#include <QCoreApplication>
#include <QString>
#include <QStringList>
#include <functional>

class QFileDialog;
class QWidget;

// The example task lists offered on the first start. Their texts are
// resources (":/examples/<file name>"), copied as they are into a folder the
// user picks.
class DWExampleFiles {
    Q_DECLARE_TR_FUNCTIONS(DWExampleFiles)

public:
    DWExampleFiles() = delete;

    // The resource holding the example of that file name; empty when none.
    static QString resourcePath(const QString& fileName);

    // Where an example of that name goes in `directory` ("~" and "~/..."
    // stand for the home folder).
    static QString targetPath(const QString& fileName, const QString& directory);

    // Copies the example into `directory`, unless anything already exists at
    // the target path: a user's file is never replaced, not even one that
    // appears while the copy is being written. Returns the path written, or
    // an empty string when nothing was made (existing item, no such example,
    // unwritable folder).
    static QString writeExampleFile(const QString& fileName, const QString& directory);

    // Opens the window-modal folder chooser: one existing folder (new ones may
    // be made in it), confirm button "Select", starting on the desktop.
    // `chosen` runs with the folder's path after Select, not after Cancel. The
    // dialog deletes itself when it closes.
    static QFileDialog* openFolderChooser(QWidget* window,
                                          std::function<void(const QString& folder)> chosen);
};
