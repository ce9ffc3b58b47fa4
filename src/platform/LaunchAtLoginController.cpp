#include "platform/LaunchAtLoginController.h"

#include "foundation/LWBundle.h"
#include "platform/DWDesktopEntry.h"

#include <QCoreApplication>
#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>
#include <algorithm>

namespace {
QString applicationIdentifier() {
    const QString identifier = LWBundle::mainBundle().bundleIdentifier();
    return identifier.isEmpty() ? QStringLiteral("dotwise") : identifier;
}

// The program an entry's Exec starts, with links resolved; empty when it
// names nothing that exists.
QString resolvedProgram(const DWDesktopEntry& entry) {
    QStringList arguments = entry.execArguments();
    // "env NAME=value program ..." starts the program with extra variables.
    if (!arguments.isEmpty() && (arguments.first() == QLatin1String("env") ||
                                 arguments.first() == QLatin1String("/usr/bin/env"))) {
        arguments.removeFirst();
        while (!arguments.isEmpty() && (arguments.first().contains(QLatin1Char('=')) ||
                                        arguments.first().startsWith(QLatin1Char('-'))))
            arguments.removeFirst();
    }
    if (arguments.isEmpty())
        return QString();
    QString program = arguments.first();
    if (!program.contains(QLatin1Char('/')))
        program = QStandardPaths::findExecutable(program);
    else if (program.startsWith(QLatin1String("~/")))
        program = QDir::homePath() + program.mid(1);
    return program.isEmpty() ? QString() : QFileInfo(program).canonicalFilePath();
}

struct AutostartEntry {
    QString path;
    bool isForProgram = false; // Exec resolves to the program asked about
    bool counts = false;       // ... and the session will start it
};

QList<AutostartEntry> autostartEntries(const QUrl& appURL) {
    const QString program = QFileInfo(appURL.toLocalFile()).canonicalFilePath();
    QList<AutostartEntry> entries;
    const QDir folder(LaunchAtLoginController::autostartDirectory());
    const QStringList names =
        folder.entryList({QStringLiteral("*.desktop")}, QDir::Files | QDir::Readable, QDir::Name);
    for (const QString& name : names) {
        AutostartEntry item;
        item.path = folder.filePath(name);
        const std::optional<DWDesktopEntry> entry = DWDesktopEntry::fromFile(item.path);
        if (!entry)
            continue;
        item.isForProgram = !program.isEmpty() && resolvedProgram(*entry) == program;
        item.counts = item.isForProgram && !entry->boolValue(QStringLiteral("Hidden"), false) &&
                      entry->boolValue(QStringLiteral("X-GNOME-Autostart-enabled"), true);
        entries.append(item);
    }
    return entries;
}

DWDesktopEntry newAutostartEntry(const QString& program) {
    const LWBundle& bundle = LWBundle::mainBundle();
    QString name =
        bundle.objectForInfoDictionaryKey(QStringLiteral("CFBundleDisplayName")).toString();
    if (name.isEmpty())
        name = bundle.bundleName();
    if (name.isEmpty())
        name = QStringLiteral("Dotwise");
    DWDesktopEntry entry;
    entry.setValue(QStringLiteral("Type"), QStringLiteral("Application"));
    entry.setValue(QStringLiteral("Name"), name);
    entry.setValue(QStringLiteral("Comment"),
                   QStringLiteral("Shows the number of open tasks on your task lists"));
    entry.setValue(QStringLiteral("Exec"), DWDesktopEntry::quoteExecArgument(program));
    entry.setValue(QStringLiteral("Icon"), applicationIdentifier());
    entry.setValue(QStringLiteral("Terminal"), QStringLiteral("false"));
    entry.setValue(QStringLiteral("X-GNOME-Autostart-enabled"), QStringLiteral("true"));
    return entry;
}
} // namespace

LaunchAtLoginController::LaunchAtLoginController(QObject* parent) : QObject(parent) {}

LaunchAtLoginController::~LaunchAtLoginController() = default;

QUrl LaunchAtLoginController::appURL() const {
    // An AppImage runs from a temporary mount; the image itself is what to start.
    const QString appImage = qEnvironmentVariable("APPIMAGE");
    if (!appImage.isEmpty())
        return QUrl::fromLocalFile(appImage);
    QString executable;
    if (QCoreApplication::instance())
        executable = QCoreApplication::applicationFilePath();
    if (executable.isEmpty())
        executable = QFileInfo(QStringLiteral("/proc/self/exe")).canonicalFilePath();
    return QUrl::fromLocalFile(executable);
}

bool LaunchAtLoginController::launchAtLogin() const {
    return willLaunchAtLogin(appURL());
}

void LaunchAtLoginController::setLaunchAtLogin(bool launchAtLogin) {
    setLaunchAtLogin(appURL(), launchAtLogin);
    emit launchAtLoginChanged(this->launchAtLogin());
}

bool LaunchAtLoginController::willLaunchAtLogin(const QUrl& appURL) const {
    for (const AutostartEntry& entry : autostartEntries(appURL)) {
        if (entry.counts)
            return true;
    }
    return false;
}

void LaunchAtLoginController::setLaunchAtLogin(const QUrl& appURL, bool enabled) {
    const QString program = appURL.toLocalFile();
    if (program.isEmpty())
        return;
    const QList<AutostartEntry> entries = autostartEntries(appURL);
    if (!enabled) {
        // Every entry that would start this program goes, or the switch could
        // not be turned off while a second one remains.
        for (const AutostartEntry& entry : entries) {
            if (entry.counts)
                QFile::remove(entry.path);
        }
        return;
    }
    for (const AutostartEntry& entry : entries) {
        if (entry.counts)
            return;
    }
    // The usual name, unless a file that is not ours (another copy's entry, or
    // one too broken to read) holds it.
    const QDir folder(autostartDirectory());
    QString path = folder.filePath(applicationIdentifier() + QStringLiteral(".desktop"));
    const bool ours = std::any_of(entries.begin(), entries.end(), [&](const AutostartEntry& e) {
        return e.path == path && e.isForProgram;
    });
    if (QFileInfo::exists(path) && !ours) {
        const QByteArray hash =
            QCryptographicHash::hash(QFile::encodeName(program), QCryptographicHash::Sha1)
                .toHex()
                .left(8);
        path = folder.filePath(applicationIdentifier() + QLatin1Char('-') +
                               QString::fromLatin1(hash) + QStringLiteral(".desktop"));
    }
    QDir().mkpath(folder.path());
    newAutostartEntry(program).save(path);
}

QString LaunchAtLoginController::autostartDirectory() {
    return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
           QStringLiteral("/autostart");
}
