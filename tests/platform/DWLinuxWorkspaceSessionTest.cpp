// Runs inside its own D-Bus session (dbus-run-session), where the bus starts
// the gvfs metadata daemon on demand: custom icons are really written, and
// checked with the gio tool as a file manager would see them.
#include "platform/DWLinuxWorkspace.h"
#include "support/TestEnvironment.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusReply>
#include <QDesktopServices>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QStandardPaths>
#include <QThread>
#include <csignal>
#include <fcntl.h>
#include <functional>
#include <gtest/gtest.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {
// The daemons the bus starts must use this test's private folders.
class SessionEnvironment : public ::testing::Environment {
public:
    void SetUp() override {
        ASSERT_TRUE(QDBusConnection::sessionBus().isConnected()) << "run with dbus-run-session";
        qDBusRegisterMetaType<QMap<QString, QString>>();
        QMap<QString, QString> environment;
        for (const char* name :
             {"HOME", "XDG_DATA_HOME", "XDG_CACHE_HOME", "XDG_CONFIG_HOME", "XDG_STATE_HOME"})
            environment.insert(QString::fromLatin1(name), qEnvironmentVariable(name));
        QDBusMessage call = QDBusMessage::createMethodCall(
            u"org.freedesktop.DBus"_s, u"/org/freedesktop/DBus"_s, u"org.freedesktop.DBus"_s,
            u"UpdateActivationEnvironment"_s);
        call << QVariant::fromValue(environment);
        ASSERT_NE(QDBusConnection::sessionBus().call(call).type(), QDBusMessage::ErrorMessage);
    }
};
[[maybe_unused]] ::testing::Environment* const session =
    ::testing::AddGlobalTestEnvironment(new SessionEnvironment);

// One metadata attribute as `gio info` prints it; empty when unset.
QString gioAttribute(const QString& path, const QString& key) {
    QProcess gio;
    gio.start(u"gio"_s, {u"info"_s, u"-a"_s, key, path});
    EXPECT_TRUE(gio.waitForFinished(30000));
    return QString::fromUtf8(gio.readAllStandardOutput()).section(key + u": "_s, 1).trimmed();
}
QString customIconOf(const QString& path) {
    return gioAttribute(path, u"metadata::custom-icon"_s);
}

// Access, modification and change time, to the nanosecond.
std::array<std::pair<qint64, quint32>, 3> timesOf(const QString& path) {
    struct statx s {};
    statx(AT_FDCWD, QFile::encodeName(path).constData(), 0, STATX_ATIME | STATX_MTIME | STATX_CTIME,
          &s);
    return {{{s.stx_atime.tv_sec, s.stx_atime.tv_nsec},
             {s.stx_mtime.tv_sec, s.stx_mtime.tv_nsec},
             {s.stx_ctime.tv_sec, s.stx_ctime.tv_nsec}}};
}
// On a thread of its own, as the app's badge worker does it.
bool onWorker(const std::function<bool()>& work) {
    bool done = false;
    const std::unique_ptr<QThread> worker(QThread::create([&] { done = work(); }));
    worker->start();
    worker->wait();
    return done;
}

const QString metadataService = u"org.gtk.vfs.Metadata"_s;
} // namespace

// First in this file on purpose: GIO makes its one metadata client at the
// process's first write, and a fault after a daemon restart showed only when
// a worker made it.
TEST(BadgesWithMetadataService, SetReplacedAndRemovedWithoutTouchingDatesOrContents) {
    if (QStandardPaths::findExecutable(u"gio"_s).isEmpty())
        GTEST_SKIP() << "the gio tool (libglib2.0-bin) is not installed";
    DWLinuxWorkspace workspace({u"hicolor"_s, {}, QString()});
    const QString pictures = qEnvironmentVariable("XDG_STATE_HOME") + u"/dotwise/badges"_s;
    const QString file = dwtest::homePath() + u"/session/Task List #1.txt"_s;
    dwtest::writeFile(file, "- [ ] one\n");
    ASSERT_EQ(QProcess::execute(u"touch"_s, {u"-d"_s, u"2020-02-29 23:59:58.987654321"_s, file}),
              0);
    const auto before = timesOf(file);
    // What a file manager's monitor sees.
    const int inotify = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    ASSERT_GE(inotify_add_watch(inotify, QFile::encodeName(file).constData(), IN_ALL_EVENTS), 0);
    const auto events = [inotify] {
        QSet<quint32> masks;
        alignas(inotify_event) char buffer[4096];
        for (ssize_t n; (n = read(inotify, buffer, sizeof buffer)) > 0;)
            for (char* at = buffer; at < buffer + n;) {
                const auto* event = reinterpret_cast<const inotify_event*>(at);
                masks.insert(event->mask);
                at += sizeof(inotify_event) + event->len;
            }
        return masks;
    };

    const LWIconImage icon = workspace.iconForFile(file);
    const auto setOnWorker = [&](const LWIconImage& image) {
        return onWorker([&] { return workspace.setIcon(image, file); });
    };
    ASSERT_TRUE(setOnWorker(icon));
    const QString first = QUrl(customIconOf(file)).toLocalFile();
    EXPECT_TRUE(first.startsWith(pictures + u"/"_s)) << first.toStdString();
    EXPECT_EQ(QImage(first).size(), icon.largestImage().size());
    EXPECT_EQ(QFileInfo(pictures).permissions() & (QFileDevice::ReadOther | QFileDevice::ReadGroup),
              QFileDevice::Permissions());
    const auto afterSet = timesOf(file);
    // Only the change time moved, with the attribute event file managers redraw on.
    EXPECT_TRUE(afterSet[0] == before[0] && afterSet[1] == before[1] && afterSet[2] != before[2]);
    EXPECT_EQ(events(), QSet<quint32>{IN_ATTRIB});

    // The metadata daemon stops (an upgrade, a crash); the news reaches the
    // client a moment after the bus knows it.
    QDBusConnectionInterface* bus = QDBusConnection::sessionBus().interface();
    const QDBusReply<uint> daemon = bus->servicePid(metadataService);
    ASSERT_TRUE(daemon.isValid()) << qPrintable(daemon.error().message());
    ASSERT_EQ(::kill(pid_t(daemon.value()), SIGTERM), 0);
    ASSERT_TRUE(
        dwtest::waitUntil([&] { return !bus->isServiceRegistered(metadataService); }, 10000))
        << "the metadata daemon (pid " << daemon.value() << ") did not stop";

    // A new picture gets a new name (file managers cache by URI); the old one goes.
    EXPECT_TRUE(dwtest::waitUntil([&] { return setOnWorker(icon); }, 10000));
    const QString second = QUrl(customIconOf(file)).toLocalFile();
    EXPECT_NE(second.toStdString(), first.toStdString());
    EXPECT_FALSE(QFileInfo::exists(first));
    EXPECT_TRUE(QFileInfo::exists(second));
    EXPECT_EQ(workspace.filesWithPictures(), QStringList{file});

    ASSERT_TRUE(setOnWorker(LWIconImage()));
    EXPECT_TRUE(customIconOf(file).isEmpty());
    EXPECT_TRUE(QDir(pictures).entryList(QDir::AllEntries | QDir::NoDotAndDotDot).isEmpty());
    const auto afterRemove = timesOf(file);
    EXPECT_TRUE(afterRemove[0] == before[0] && afterRemove[1] == before[1]);
    EXPECT_EQ(dwtest::readFile(file), QByteArray("- [ ] one\n"));
    ::close(inotify);

    // A custom icon of the user's own is not ours to take off; one an earlier
    // version left in the cache is, with its picture.
    const QString own = dwtest::homePath() + u"/session/own.png"_s;
    const QString legacy = DWLinuxWorkspace::legacyPictureDirectory() + u"/0123-old.png"_s;
    for (const QString& picture : {own, legacy}) {
        dwtest::writeFile(picture, "png");
        ASSERT_EQ(QProcess::execute(u"gio"_s, {u"set"_s, file, u"metadata::custom-icon"_s,
                                               QUrl::fromLocalFile(picture).toString()}),
                  0);
        EXPECT_TRUE(workspace.setIcon(LWIconImage(), file));
        EXPECT_EQ(customIconOf(file).isEmpty(), picture == legacy) << picture.toStdString();
        EXPECT_EQ(QFileInfo::exists(picture), picture == own) << picture.toStdString();
    }

    // Badges as emblems: ours is replaced and removed beside the user's own.
    ASSERT_EQ(QProcess::execute(u"gio"_s, {u"set"_s, u"-t"_s, u"stringv"_s, file,
                                           u"metadata::emblems"_s, u"emblem-favorite"_s}),
              0);
    const auto beforeEmblems = timesOf(file);
    const QString prefix = u"emblem-dotwise-"_s;
    const std::pair<QString, QString> steps[] = {
        {u"emblem-dotwise-3"_s, u"[emblem-favorite, emblem-dotwise-3]"_s},
        {u"emblem-dotwise-12"_s, u"[emblem-favorite, emblem-dotwise-12]"_s},
        {QString(), u"[emblem-favorite]"_s},
    };
    for (const auto& [name, expected] : steps) {
        EXPECT_TRUE(onWorker([&] { return workspace.replaceEmblem(file, prefix, name); }));
        EXPECT_EQ(gioAttribute(file, u"metadata::emblems"_s), expected);
    }
    const auto afterEmblems = timesOf(file);
    EXPECT_TRUE(afterEmblems[0] == beforeEmblems[0] && afterEmblems[1] == before[1] &&
                afterEmblems[2] != beforeEmblems[2]);

    // A file that vanished while badged leaves no picture behind.
    ASSERT_TRUE(workspace.setIcon(icon, file));
    ASSERT_TRUE(QFile::remove(file));
    EXPECT_FALSE(workspace.setIcon(LWIconImage(), file));
    EXPECT_FALSE(workspace.replaceEmblem(file, prefix, QString()));
    EXPECT_TRUE(QDir(pictures).entryList(QDir::AllEntries | QDir::NoDotAndDotDot).isEmpty());
}

namespace {
// Stands in for the file manager's D-Bus service, and for the desktop that
// QDesktopServices hands URLs to.
class FakeDesktop : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.FileManager1")
public:
    QStringList seen;
public slots:
    Q_SCRIPTABLE void ShowItems(const QStringList& uris, const QString&) {
        for (const QString& uri : uris)
            seen << u"show "_s + uri;
    }
    void open(const QUrl& url) { seen << u"open "_s + url.toString(QUrl::FullyEncoded); }
};
} // namespace

TEST(OpeningWithSessionBus, FilesGoToTheDesktopAndRevealingAsksTheFileManagerOrOpensTheFolder) {
    FakeDesktop desktop;
    QDesktopServices::setUrlHandler(u"file"_s, &desktop, "open");
    DWLinuxWorkspace workspace({u"hicolor"_s, {}, QString()});
    const QString folder = dwtest::homePath() + u"/reveal"_s;
    const QString file = folder + u"/100% done.txt"_s;
    dwtest::writeFile(file, "x\n");
    EXPECT_TRUE(workspace.openFile(file));
    EXPECT_FALSE(workspace.openFile(folder + u"/missing.txt"_s));
    EXPECT_FALSE(workspace.openUrl(QUrl(u"http://[broken"_s)));
    EXPECT_FALSE(workspace.openUrl(QUrl(u"relative/path"_s)));
    EXPECT_FALSE(workspace.selectFile(folder + u"/missing.txt"_s, QString()));

    QDBusConnection bus = QDBusConnection::sessionBus();
    const QString name = u"org.freedesktop.FileManager1"_s;
    ASSERT_TRUE(bus.registerObject(u"/org/freedesktop/FileManager1"_s, &desktop,
                                   QDBusConnection::ExportScriptableSlots));
    ASSERT_TRUE(bus.registerService(name));
    EXPECT_TRUE(workspace.selectFile(file, QString()));
    EXPECT_TRUE(dwtest::waitUntil([&] { return desktop.seen.size() == 2; }, 10000));
    bus.unregisterService(name);
    EXPECT_TRUE(workspace.selectFile(file, QString()));
    EXPECT_TRUE(dwtest::waitUntil([&] { return desktop.seen.size() == 3; }, 10000));
    const QString fileUrl = QUrl::fromLocalFile(file).toString(QUrl::FullyEncoded);
    EXPECT_EQ(desktop.seen, (QStringList{u"open "_s + fileUrl, u"show "_s + fileUrl,
                                         u"open "_s + QUrl::fromLocalFile(folder).toString()}));
    QDesktopServices::unsetUrlHandler(u"file"_s);
}

#include "DWLinuxWorkspaceSessionTest.moc"
