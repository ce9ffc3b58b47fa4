#include "cli/DWCommandLine.h"

#include "cli/DWBadgeCommand.h"
#include "cli/DWClearBadgesCommand.h"
#include "cli/DWCountCommand.h"
#include "cli/DWWatchCommand.h"
#include "foundation/LWBundle.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QLibraryInfo>
#include <QLocale>
#include <QTranslator>
#include <cstdio>
#include <cstring>
#include <functional>
#include <optional>
#include <vector>

namespace {
struct Subcommand {
    const char* name;
    const char* synopsis;
    std::function<int(int, char**)> run;
};

// Each subcommand creates the kind of application object it needs (at most an
// offscreen QGuiApplication), so that it runs without a display.
const std::vector<Subcommand>& subcommands() {
    static const std::vector<Subcommand> table = {
        {"count", DWCountCommand::synopsis(), DWCountCommand::run},
        {"watch", DWWatchCommand::synopsis(), DWWatchCommand::run},
        {"badge", DWBadgeCommand::synopsis(), DWBadgeCommand::run},
        {"clear-badges", DWClearBadgesCommand::synopsis(), DWClearBadgesCommand::run},
    };
    return table;
}

QtMessageHandler qtMessageHandler = nullptr;

// Outside a desktop session Qt warns on every start of a GUI application
// object that XDG_RUNTIME_DIR is not set, though no command uses that folder.
// A command-line tool keeps stderr for what is wrong; every other message
// passes.
void commandLineMessageHandler(QtMsgType type, const QMessageLogContext& context,
                               const QString& message) {
    if (message.startsWith(QLatin1String("QStandardPaths: XDG_RUNTIME_DIR not set")))
        return;
    if (qtMessageHandler)
        qtMessageHandler(type, context, message);
}

int printVersion() {
    const LWBundle& bundle = LWBundle::mainBundle();
    std::printf("%s %s\n", qPrintable(bundle.bundleName()),
                qPrintable(bundle.shortVersionString()));
    return 0;
}
} // namespace

QString DWCommandLine::usage() {
    QString text = tr("Usage: dotwise [--help | --version]\n");
    text += tr("       dotwise [FILE...]\n");
    for (const Subcommand& command : subcommands())
        text += tr("       dotwise %1\n").arg(QString::fromUtf8(command.synopsis));
    text += tr("Without a command, dotwise starts the desktop application, or brings "
               "the running one forward,\nand adds the FILEs to its task lists as if "
               "they were dropped on its window.\n");
    return text;
}

bool DWCommandLine::handles(int argc, char* argv[]) {
    if (argc < 2)
        return false;
    for (const Subcommand& command : subcommands()) {
        if (!std::strcmp(argv[1], command.name))
            return true;
    }
    // Options, known or not; "--" ends them, so that "-notes.txt" is a file.
    for (int i = 1; i < argc && std::strcmp(argv[i], "--"); ++i) {
        if (argv[i][0] == '-' && argv[i][1])
            return true;
    }
    return false;
}

QStringList DWCommandLine::fileArguments(int argc, char* argv[]) {
    QStringList files;
    bool optionsEnded = false;
    for (int i = 1; i < argc; ++i) {
        if (!optionsEnded && !std::strcmp(argv[i], "--")) {
            optionsEnded = true;
            continue;
        }
        const QFileInfo file(QFile::decodeName(argv[i]));
        if (!file.exists()) {
            print(stderr, tr("dotwise: %1: no such file\n"), {argv[i]});
            continue;
        }
        files.append(file.absoluteFilePath());
    }
    return files;
}

int DWCommandLine::run(int argc, char* argv[]) {
    const auto answeredHere = [&] {
        for (const Subcommand& command : subcommands()) {
            if (!std::strcmp(argv[1], command.name))
                return false;
        }
        return true;
    };
    // Each subcommand makes its own application object; the answers given here
    // need one for the user's language.
    std::optional<QCoreApplication> application;
    if (argc < 2 || answeredHere()) {
        application.emplace(argc, argv);
        setUpApplication();
    }
    if (argc < 2 || !std::strcmp(argv[1], "--help") || !std::strcmp(argv[1], "-h")) {
        std::fputs(qPrintable(usage()), stdout);
        return 0;
    }
    if (!std::strcmp(argv[1], "--version"))
        return printVersion();
    for (const Subcommand& command : subcommands()) {
        if (!std::strcmp(argv[1], command.name)) {
            qtMessageHandler = qInstallMessageHandler(commandLineMessageHandler);
            return command.run(argc - 1, argv + 1);
        }
    }
    for (int i = 1; i < argc && std::strcmp(argv[i], "--"); ++i) {
        if (argv[i][0] == '-' && argv[i][1]) {
            print(stderr, tr("dotwise: unknown option '%1'\n") + usage(), {argv[i]});
            return 2;
        }
    }
    print(stderr, tr("dotwise: unknown command '%1'\n") + usage(), {argv[1]});
    return 2;
}

void DWCommandLine::setUpApplication() {
    const LWBundle& bundle = LWBundle::mainBundle();
    QCoreApplication::setApplicationName(bundle.bundleName());
    QCoreApplication::setOrganizationName(
        bundle.objectForInfoDictionaryKey(QStringLiteral("LWOrganizationName")).toString());
    static QTranslator qtCatalogue;
    static QTranslator catalogue;
    if (qtCatalogue.load(QLocale(), QStringLiteral("qtbase"), QStringLiteral("_"),
                         QLibraryInfo::path(QLibraryInfo::TranslationsPath)))
        QCoreApplication::installTranslator(&qtCatalogue);
    if (catalogue.load(QLocale(), QStringLiteral("dotwise"), QStringLiteral("_"),
                       QStringLiteral(":/i18n")))
        QCoreApplication::installTranslator(&catalogue);
}

void DWCommandLine::print(std::FILE* stream, const QString& text, const QByteArrayList& arguments) {
    const QByteArray format = text.toLocal8Bit();
    QByteArray out;
    out.reserve(format.size());
    for (qsizetype i = 0; i < format.size(); ++i) {
        const int index = i + 1 < format.size() ? format.at(i + 1) - '1' : -1;
        if (format.at(i) == '%' && index >= 0 && index < qMin<qsizetype>(9, arguments.size())) {
            out += arguments.at(index);
            ++i;
        } else {
            out += format.at(i);
        }
    }
    std::fwrite(out.constData(), 1, size_t(out.size()), stream);
}
