#include "cli/DWClearBadgesCommand.h"

#include "cli/DWCommandLine.h"
#include "foundation/LWPreferences.h"
#include "model/DWTaskList.h"
#include "platform/DWEmblemTheme.h"
#include "platform/DWLinuxWorkspace.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSet>
#include <cstdio>

const char* DWClearBadgesCommand::synopsis() {
    return "clear-badges";
}

int DWClearBadgesCommand::run(int argc, char* argv[]) {
    QCoreApplication application(argc, argv);
    DWCommandLine::setUpApplication();
    if (argc > 1) {
        DWCommandLine::print(stderr,
                             tr("dotwise clear-badges: takes no arguments\nUsage: dotwise %1\n"),
                             {synopsis()});
        return 2;
    }

    QStringList paths;
    const QByteArray archive = LWPreferences::standard().dataForKey(QStringLiteral("TaskLists"));
    if (!archive.isEmpty()) {
        if (const auto lists = DWTaskList::unarchiveTaskLists(archive)) {
            for (const auto& taskList : *lists) {
                if (taskList)
                    paths.append(taskList->path());
            }
        } else {
            DWCommandLine::print(stderr,
                                 tr("dotwise clear-badges: the saved task lists can't be read; "
                                    "clearing the files found in the picture folder only\n"));
        }
    }
    // No icon theme is needed to take badges off.
    DWLinuxWorkspace workspace({QStringLiteral("hicolor"), {}, QString()});
    paths += workspace.filesWithPictures();

    int status = 0;
    QSet<QString> done;
    for (const QString& path : std::as_const(paths)) {
        if (path.isEmpty() || done.contains(path))
            continue;
        done.insert(path);
        const bool exists = QFileInfo::exists(path);
        // Either way of showing a badge may have been in use: take off both.
        const bool emblemOff =
            !exists || workspace.replaceEmblem(path, DWEmblemTheme::kNamePrefix, QString());
        if (workspace.setIcon(LWIconImage(), path) && emblemOff) {
            std::printf("cleared\t%s\n", QFile::encodeName(path).constData());
        } else if (exists) {
            DWCommandLine::print(stderr,
                                 tr("dotwise clear-badges: can't take the badge off '%1'\n"),
                                 {QFile::encodeName(path)});
            status = 1;
        }
    }
    workspace.removeLegacyPictures();
    DWEmblemTheme().uninstall();
    QDir().rmdir(workspace.pictureDirectory());
    return status;
}
