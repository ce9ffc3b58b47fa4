#pragma once

#include <QByteArrayList>
#include <QCoreApplication>
#include <QString>
#include <QStringList>
#include <cstdio>

// The command-line face of Dotwise: subcommands that work without a display
// (count, watch, badge, clear-badges), plus --help and --version. Anything
// else is files for the desktop application: `dotwise FILE...`.
class DWCommandLine {
    Q_DECLARE_TR_FUNCTIONS(DWCommandLine)

public:
    // True when argv names a subcommand or an option; run() answers those,
    // and an option it doesn't know is an error. The caller starts the
    // desktop application otherwise.
    static bool handles(int argc, char* argv[]);
    // The files named for the desktop application, made absolute; those that
    // don't exist are left out with a message on standard error.
    static QStringList fileArguments(int argc, char* argv[]);
    // Runs what argv names and returns the process exit status.
    static int run(int argc, char* argv[]);
    static QString usage();

    // Names the running application as the bundle does (its preferences and
    // logs are found by those names) and puts the user's catalogues (Qt's own,
    // then Dotwise's) into it where there are any; the texts stay as written
    // otherwise. Every subcommand and the window call it once their
    // application object exists.
    static void setUpApplication();
    // Writes `text` (translated already) with %1, %2... replaced by the raw
    // bytes of `arguments`: file names that are not valid UTF-8 come out as
    // they are, and no catalogue can make a format string of an argument.
    static void print(std::FILE* stream, const QString& text, const QByteArrayList& arguments = {});
};
