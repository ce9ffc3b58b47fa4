#pragma once

#include <QCoreApplication>
#include <QStringList>

class QTextStream;

// `dotwise badge`: renders the count badge to PNG files without a display.
//
//   dotwise badge --count N [--size S] [--shadow] -o OUT.png
//   dotwise badge --count N --compose ICON.png... -o DIR
//   dotwise badge --count N --file PATH -o DIR
//
// The second form treats the images as the representations of one icon (an
// "@2x" file name marks a 2x one) and writes DIR/icon-<width>.png for each,
// <width> in points. The third does the same with PATH's icon as the desktop's
// icon theme draws it.
class DWBadgeCommand {
    Q_DECLARE_TR_FUNCTIONS(DWBadgeCommand)

public:
    static const char* synopsis();
    // Entry from the command table: argv[0] is "badge". Creates an offscreen
    // QGuiApplication, so no display is needed.
    static int run(int argc, char* argv[]);
    // The work itself, for an application object that already exists.
    // `arguments` starts with the command's own name. Returns the exit status:
    // 0 done, 1 an image could not be read or written, 2 bad usage.
    static int execute(const QStringList& arguments, QTextStream& out, QTextStream& err);
};
