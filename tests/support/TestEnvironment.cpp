#include "support/TestEnvironment.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <cstdlib>
#include <gtest/gtest.h>
#include <memory>

namespace {
// Removed when the test process exits.
std::unique_ptr<QTemporaryDir> temporaryHome;
} // namespace

void dwtest::isolateUserFolders() {
    if (temporaryHome)
        return;
    temporaryHome =
        std::make_unique<QTemporaryDir>(QDir::tempPath() + QStringLiteral("/dotwise-test-XXXXXX"));
    const QString home = temporaryHome->path();
    const struct {
        const char* name;
        const char* folder;
    } folders[] = {{"HOME", ""},
                   {"XDG_CONFIG_HOME", "/.config"},
                   {"XDG_CACHE_HOME", "/.cache"},
                   {"XDG_DATA_HOME", "/.local/share"},
                   {"XDG_STATE_HOME", "/.local/state"}};
    for (const auto& folder : folders) {
        const QString path = home + QLatin1String(folder.folder);
        QDir().mkpath(path);
        setenv(folder.name, QFile::encodeName(path).constData(), 1);
    }
}

QString dwtest::homePath() {
    return temporaryHome ? temporaryHome->path() : QString();
}

void dwtest::writeFile(const QString& path, const QByteArray& bytes) {
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate)) << path.toStdString();
    ASSERT_EQ(file.write(bytes), bytes.size());
}

QByteArray dwtest::readFile(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

bool dwtest::processEventsFor(int ms) {
    QDeadlineTimer deadline(ms);
    while (!deadline.hasExpired())
        QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
    return true;
}
