// Runs inside its own D-Bus session (dbus-run-session), where the gvfs metadata
// daemon is started on demand: the custom icon is really written, and checked
// with the gio tool as a file manager would see it.
#include "platform/DWLinuxWorkspace.h"
#include "support/TestEnvironment.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDesktopServices>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QStandardPaths>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

namespace {
// The daemons the bus starts must use this test's private folders, not the
// folders of whoever runs the tests.
class SessionEnvironment : public ::testing::Environment {
public:
    void SetUp() override {
        ASSERT_TRUE(QDBusConnection::sessionBus().isConnected())
            << "run this test with dbus-run-session";
        qDBusRegisterMetaType<QMap<QString, QString>>();
        QMap<QString, QString> environment;
        for (const char* name : {"HOME", "XDG_DATA_HOME", "XDG_CACHE_HOME", "XDG_CONFIG_HOME"})
            environment.insert(QString::fromLatin1(name), qEnvironmentVariable(name));
        QDBusMessage call = QDBusMessage::createMethodCall(
            QStringLiteral("org.freedesktop.DBus"), QStringLiteral("/org/freedesktop/DBus"),
            QStringLiteral("org.freedesktop.DBus"), QStringLiteral("UpdateActivationEnvironment"));
        call << QVariant::fromValue(environment);
        const QDBusMessage reply = QDBusConnection::sessionBus().call(call);
        ASSERT_NE(reply.type(), QDBusMessage::ErrorMessage) << reply.errorMessage().toStdString();
    }
};
[[maybe_unused]] ::testing::Environment* const session =
    ::testing::AddGlobalTestEnvironment(new SessionEnvironment);

// The attribute as the gio tool reads it; empty when it isn't set.
QString customIconOf(const QString& path) {
    QProcess gio;
    gio.start(QStringLiteral("gio"), {QStringLiteral("info"), QStringLiteral("-a"),
                                      QStringLiteral("metadata::custom-icon"), path});
    EXPECT_TRUE(gio.waitForFinished(30000));
    const QString key = QStringLiteral("metadata::custom-icon: ");
    for (const QString& line :
         QString::fromUtf8(gio.readAllStandardOutput()).split(QLatin1Char('\n'))) {
        const QString trimmed = line.trimmed();
        if (trimmed.startsWith(key))
            return trimmed.mid(key.size());
    }
    return QString();
}

struct FileTimes {
    statx_timestamp accessed, modified, changed;
};

FileTimes timesOf(const QString& path) {
    struct statx info {};
    EXPECT_EQ(statx(AT_FDCWD, QFile::encodeName(path).constData(), 0,
                    STATX_ATIME | STATX_MTIME | STATX_CTIME, &info),
              0);
    return {info.stx_atime, info.stx_mtime, info.stx_ctime};
}

bool same(const statx_timestamp& a, const statx_timestamp& b) {
    return a.tv_sec == b.tv_sec && a.tv_nsec == b.tv_nsec;
}

bool gioAvailable() {
    return !QStandardPaths::findExecutable(QStringLiteral("gio")).isEmpty() &&
           QFileInfo::exists(
               QStringLiteral("/usr/share/dbus-1/services/org.gtk.vfs.Metadata.service"));
}

void setOddDates(const QString& path) {
    ASSERT_EQ(QProcess::execute(
                  QStringLiteral("touch"),
                  {QStringLiteral("-d"), QStringLiteral("2020-02-29 23:59:58.987654321"), path}),
              0);
}
} // namespace

TEST(CustomIconsWithMetadataService, SetReplacedAndRemovedWithoutTouchingDatesOrContents) {
    if (!gioAvailable())
        GTEST_SKIP() << "gvfs (gio and its metadata service) is not installed";
    DWLinuxWorkspace workspace({QStringLiteral("hicolor"), {}, QString()});
    const QString cache = qEnvironmentVariable("XDG_CACHE_HOME") + QStringLiteral("/dotwise");
    ASSERT_EQ(workspace.cacheDirectory(), cache);
    const QString file = dwtest::homePath() + QStringLiteral("/session/Task List #1.txt");
    const QByteArray contents = "- [ ] one\n- [x] two\n";
    dwtest::writeFile(file, contents);
    setOddDates(file);
    const FileTimes before = timesOf(file);

    const LWIconImage icon = workspace.iconForFile(file);
    ASSERT_TRUE(workspace.setIcon(icon, file));
    const QString firstUri = customIconOf(file);
    ASSERT_TRUE(firstUri.startsWith(QStringLiteral("file://"))) << firstUri.toStdString();
    const QString firstPng = QUrl(firstUri).toLocalFile();
    EXPECT_EQ(QFileInfo(firstPng).absolutePath(), cache);
    EXPECT_EQ(QImage(firstPng).size(), icon.largestImage().size());
    EXPECT_EQ(QFileInfo(cache).permissions() & (QFileDevice::ReadOther | QFileDevice::ReadGroup),
              QFileDevice::Permissions());

    const FileTimes afterSet = timesOf(file);
    EXPECT_TRUE(same(afterSet.modified, before.modified));
    EXPECT_TRUE(same(afterSet.accessed, before.accessed));
    // The change time moved: the file manager's monitor sees an attribute change.
    EXPECT_FALSE(same(afterSet.changed, before.changed));

    // A new picture gets a new name, and the old one goes.
    ASSERT_TRUE(workspace.setIcon(icon, file));
    const QString secondUri = customIconOf(file);
    EXPECT_NE(secondUri, firstUri);
    EXPECT_FALSE(QFileInfo::exists(firstPng));
    EXPECT_TRUE(QFileInfo::exists(QUrl(secondUri).toLocalFile()));

    ASSERT_TRUE(workspace.setIcon(LWIconImage(), file));
    EXPECT_TRUE(customIconOf(file).isEmpty());
    EXPECT_FALSE(QFileInfo::exists(QUrl(secondUri).toLocalFile()));
    EXPECT_TRUE(QDir(cache).entryList(QDir::Files).isEmpty());

    const FileTimes afterRemove = timesOf(file);
    EXPECT_TRUE(same(afterRemove.modified, before.modified));
    EXPECT_TRUE(same(afterRemove.accessed, before.accessed));
    EXPECT_EQ(dwtest::readFile(file), contents);
}

TEST(CustomIconsWithMetadataService, AVanishedFileLeavesNoPictureBehind) {
    if (!gioAvailable())
        GTEST_SKIP() << "gvfs (gio and its metadata service) is not installed";
    DWLinuxWorkspace workspace({QStringLiteral("hicolor"), {}, QString()});
    const QString file = dwtest::homePath() + QStringLiteral("/session/vanishing.taskpaper");
    dwtest::writeFile(file, "- a task\n");
    ASSERT_TRUE(workspace.setIcon(workspace.iconForFile(file), file));
    const QString png = QUrl(customIconOf(file)).toLocalFile();
    ASSERT_TRUE(QFileInfo::exists(png));

    ASSERT_TRUE(QFile::remove(file));
    EXPECT_FALSE(workspace.setIcon(LWIconImage(), file));
    EXPECT_FALSE(QFileInfo::exists(png));
}

namespace {
// Stands in for the file manager's D-Bus service.
class FakeFileManager : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.FileManager1")
public:
    QStringList shownItems;
public slots:
    void ShowItems(const QStringList& uris, const QString&) { shownItems += uris; }
};

class OpenedUrls : public QObject {
    Q_OBJECT
public:
    QList<QUrl> urls;
public slots:
    void open(const QUrl& url) { urls.append(url); }
};
} // namespace

TEST(RevealWithSessionBus, AsksTheFileManagerAndFallsBackWhenNoneAnswers) {
    OpenedUrls opened;
    QDesktopServices::setUrlHandler(QStringLiteral("file"), &opened, "open");
    DWLinuxWorkspace workspace({QStringLiteral("hicolor"), {}, QString()});
    const QString file = dwtest::homePath() + QStringLiteral("/reveal/100% done.txt");
    dwtest::writeFile(file, "x\n");

    FakeFileManager fileManager;
    QDBusConnection bus = QDBusConnection::sessionBus();
    ASSERT_TRUE(bus.registerObject(QStringLiteral("/org/freedesktop/FileManager1"), &fileManager,
                                   QDBusConnection::ExportAllSlots));
    ASSERT_TRUE(bus.registerService(QStringLiteral("org.freedesktop.FileManager1")));
    EXPECT_TRUE(workspace.selectFile(file, QString()));
    EXPECT_TRUE(dwtest::waitUntil([&] { return !fileManager.shownItems.isEmpty(); }, 10000));
    EXPECT_EQ(fileManager.shownItems,
              QStringList{QUrl::fromLocalFile(file).toString(QUrl::FullyEncoded)});
    dwtest::processEventsFor(200);
    EXPECT_TRUE(opened.urls.isEmpty());

    // Nobody owns the name any more: the folder opens instead.
    bus.unregisterService(QStringLiteral("org.freedesktop.FileManager1"));
    bus.unregisterObject(QStringLiteral("/org/freedesktop/FileManager1"));
    EXPECT_TRUE(workspace.selectFile(file, QString()));
    EXPECT_TRUE(dwtest::waitUntil([&] { return !opened.urls.isEmpty(); }, 10000));
    EXPECT_EQ(opened.urls.value(0), QUrl::fromLocalFile(QFileInfo(file).absolutePath()));
    QDesktopServices::unsetUrlHandler(QStringLiteral("file"));
}

#include "DWLinuxWorkspaceSessionTest.moc"
