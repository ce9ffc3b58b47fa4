#include "platform/DWLinuxWorkspace.h"

#include "logging/LWLogger.h"
#include "platform/DWIconTheme.h"
#include "support/TestEnvironment.h"

#include <QDesktopServices>
#include <QDir>
#include <QFile>
#include <QMimeDatabase>
#include <QPainter>
#include <QProcess>
#include <atomic>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <thread>

namespace {
// The shipped MIME package, installed for this process the way a package
// manager would, before anything asks the MIME database.
class MimePackageEnvironment : public ::testing::Environment {
public:
    void SetUp() override {
        const QString mime = qEnvironmentVariable("XDG_DATA_HOME") + QStringLiteral("/mime");
        QDir().mkpath(mime + QStringLiteral("/packages"));
        ASSERT_TRUE(QFile::copy(QStringLiteral(DW_SOURCE_DIR "/src/platform/data/dotwise-mime.xml"),
                                mime + QStringLiteral("/packages/dotwise.xml")));
        QProcess update;
        update.start(QStringLiteral("update-mime-database"), {mime});
        ASSERT_TRUE(update.waitForFinished(60000));
        ASSERT_EQ(update.exitCode(), 0) << update.readAllStandardError().toStdString();
    }
};
[[maybe_unused]] ::testing::Environment* const mimePackage =
    ::testing::AddGlobalTestEnvironment(new MimePackageEnvironment);

// A folder of made-up icon themes whose icons are solid colours, so a test can
// tell by the colour which file a representation came from.
class ThemeFolder {
public:
    explicit ThemeFolder(const QString& name)
        : root(dwtest::homePath() + QStringLiteral("/themes-") + name) {
        QDir(root).removeRecursively();
    }

    // `directories`: "name:size:scale:type[:min:max]".
    void theme(const QString& name, const QString& inherits, const QStringList& directories) {
        QString index = QStringLiteral("[Icon Theme]\nName=%1\n").arg(name);
        if (!inherits.isEmpty())
            index += QStringLiteral("Inherits=%1\n").arg(inherits);
        QStringList names;
        QString groups;
        for (const QString& directory : directories) {
            const QStringList f = directory.split(QLatin1Char(':'));
            names << f[0];
            groups +=
                QStringLiteral("\n[%1]\nSize=%2\nScale=%3\nType=%4\n").arg(f[0], f[1], f[2], f[3]);
            if (f.size() > 5)
                groups += QStringLiteral("MinSize=%1\nMaxSize=%2\n").arg(f[4], f[5]);
        }
        index += QStringLiteral("Directories=%1,\n").arg(names.join(QLatin1Char(','))) + groups;
        dwtest::writeFile(root + QLatin1Char('/') + name + QStringLiteral("/index.theme"),
                          index.toUtf8());
    }

    void png(const QString& theme, const QString& directory, const QString& icon, QColor color,
             int pixels) {
        QImage image(pixels, pixels, QImage::Format_ARGB32);
        image.fill(color);
        const QString path = file(theme, directory, icon + QStringLiteral(".png"));
        QDir().mkpath(QFileInfo(path).absolutePath());
        ASSERT_TRUE(image.save(path));
    }

    void svg(const QString& theme, const QString& directory, const QString& icon, QColor color) {
        dwtest::writeFile(file(theme, directory, icon + QStringLiteral(".svg")),
                          QStringLiteral("<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"64\" "
                                         "height=\"64\"><rect width=\"64\" height=\"64\" "
                                         "fill=\"%1\"/></svg>")
                              .arg(color.name())
                              .toUtf8());
    }

    QString file(const QString& theme, const QString& directory, const QString& name) const {
        return root + QLatin1Char('/') + theme + QLatin1Char('/') + directory + QLatin1Char('/') +
               name;
    }

    const QString root;
};

QColor centre(const QImage& image) {
    return image.pixelColor(image.width() / 2, image.height() / 2);
}

struct Dates {
    struct statx_timestamp accessed;
    struct statx_timestamp modified;
};

Dates datesOf(const QString& path) {
    struct statx info {};
    statx(AT_FDCWD, QFile::encodeName(path).constData(), 0, STATX_ATIME | STATX_MTIME, &info);
    return {info.stx_atime, info.stx_mtime};
}

bool operator==(const statx_timestamp& a, const statx_timestamp& b) {
    return a.tv_sec == b.tv_sec && a.tv_nsec == b.tv_nsec;
}
} // namespace

TEST(IconTheme, ThemesAreSearchedBeforeNamesAndInheritanceIsFollowed) {
    ThemeFolder folder(QStringLiteral("chain"));
    folder.theme(QStringLiteral("Mine"), QStringLiteral("Parent"),
                 {QStringLiteral("32:32:1:Fixed")});
    folder.theme(QStringLiteral("Parent"), QStringLiteral("Mine,Missing"),
                 {QStringLiteral("32:32:1:Fixed")});
    folder.theme(QStringLiteral("hicolor"), QString(), {QStringLiteral("32:32:1:Fixed")});
    folder.theme(QStringLiteral("Adwaita"), QStringLiteral("hicolor"),
                 {QStringLiteral("32:32:1:Fixed")});
    folder.png(QStringLiteral("Parent"), QStringLiteral("32"), QStringLiteral("text-plain"),
               Qt::red, 32);
    folder.png(QStringLiteral("Mine"), QStringLiteral("32"), QStringLiteral("text-x-generic"),
               Qt::blue, 32);
    folder.png(QStringLiteral("Adwaita"), QStringLiteral("32"), QStringLiteral("only-adwaita"),
               Qt::green, 32);

    // The loop Mine -> Parent -> Mine ends, and a missing parent is skipped.
    const DWIconTheme theme(QStringLiteral("Mine"), {folder.root});
    EXPECT_EQ(theme.themeChain(),
              (QStringList{QStringLiteral("Mine"), QStringLiteral("Parent"),
                           QStringLiteral("hicolor"), QStringLiteral("Adwaita")}));
    // The user's theme's generic icon beats the parent's specific one, as in
    // the file manager.
    const LWIconImage icon =
        theme.iconNamed({QStringLiteral("text-plain"), QStringLiteral("text-x-generic")}, {32});
    ASSERT_EQ(icon.count(), 1);
    EXPECT_EQ(centre(icon.largestImage()), QColor(Qt::blue));
    EXPECT_EQ(centre(theme.iconNamed({QStringLiteral("only-adwaita")}, {32}).largestImage()),
              QColor(Qt::green));
    EXPECT_TRUE(theme.iconNamed({QStringLiteral("nowhere")}, {32}).isEmpty());

    // An unknown theme leaves the fallbacks.
    EXPECT_EQ(DWIconTheme(QStringLiteral("NotInstalled"), {folder.root}).themeChain(),
              (QStringList{QStringLiteral("hicolor"), QStringLiteral("Adwaita")}));
}

TEST(IconTheme, EverySizeFromTheBestDrawingWithTwoXWhereTheThemeHasIt) {
    ThemeFolder folder(QStringLiteral("sizes"));
    folder.theme(QStringLiteral("Sizes"), QString(),
                 {QStringLiteral("16:16:1:Fixed"), QStringLiteral("16@2:16:2:Fixed"),
                  QStringLiteral("32:32:1:Fixed"), QStringLiteral("256:256:1:Fixed"),
                  QStringLiteral("scalable:64:1:Scalable:8:64")});
    const QString name = QStringLiteral("text-plain");
    folder.png(QStringLiteral("Sizes"), QStringLiteral("16"), name, Qt::red, 16);
    folder.png(QStringLiteral("Sizes"), QStringLiteral("16@2"), name, Qt::green, 32);
    folder.png(QStringLiteral("Sizes"), QStringLiteral("32"), name, Qt::blue, 32);
    folder.png(QStringLiteral("Sizes"), QStringLiteral("256"), name, Qt::magenta, 256);
    folder.svg(QStringLiteral("Sizes"), QStringLiteral("scalable"), name, Qt::yellow);

    const LWIconImage icon = DWIconTheme(QStringLiteral("Sizes"), {folder.root})
                                 .iconNamed({name}, {16, 32, 48, 128, 256, 512});
    struct Expected {
        int points;
        int pixels;
        QColor color;
    };
    // 48 fits the vector drawing's range; 128 is scaled down from 256 rather
    // than drawn from a vector meant for 64 at most; 512 has nothing larger.
    const Expected expected[] = {{16, 16, Qt::red},       {16, 32, Qt::green},
                                 {32, 32, Qt::blue},      {48, 48, Qt::yellow},
                                 {128, 128, Qt::magenta}, {256, 256, Qt::magenta},
                                 {512, 512, Qt::yellow}};
    ASSERT_EQ(icon.count(), qsizetype(std::size(expected)));
    for (size_t i = 0; i < std::size(expected); ++i) {
        const auto& rep = icon.representations()[qsizetype(i)];
        SCOPED_TRACE(i);
        EXPECT_EQ(rep.size, QSizeF(expected[i].points, expected[i].points));
        EXPECT_EQ(rep.image.size(), QSize(expected[i].pixels, expected[i].pixels));
        EXPECT_EQ(rep.image.devicePixelRatio(), expected[i].pixels / expected[i].points);
        EXPECT_EQ(centre(rep.image), expected[i].color);
        EXPECT_EQ(rep.image.format(), QImage::Format_ARGB32_Premultiplied);
    }
}

TEST(IconTheme, DamagedFilesAndIndexesAreSkipped) {
    ThemeFolder folder(QStringLiteral("damaged"));
    folder.theme(QStringLiteral("Damaged"), QString(),
                 {QStringLiteral("32:32:1:Fixed"), QStringLiteral("64:64:1:Fixed")});
    dwtest::writeFile(
        folder.file(QStringLiteral("Damaged"), QStringLiteral("32"), QStringLiteral("icon.png")),
        "not a png at all");
    folder.png(QStringLiteral("Damaged"), QStringLiteral("64"), QStringLiteral("icon"), Qt::cyan,
               64);
    // A directory group without a size, and binary junk as an index.
    dwtest::writeFile(folder.root + QStringLiteral("/Junk/index.theme"),
                      QByteArray("\x00\xff[Icon Theme]\nDirectories=a,b\n[a]\nType=Fixed\n", 45));

    const DWIconTheme theme(QStringLiteral("Damaged"), {folder.root});
    const QImage image = theme.iconNamed({QStringLiteral("icon")}, {32}).largestImage();
    ASSERT_FALSE(image.isNull());
    EXPECT_EQ(image.size(), QSize(32, 32));
    EXPECT_EQ(centre(image), QColor(Qt::cyan));
    EXPECT_TRUE(DWIconTheme(QStringLiteral("Junk"), {folder.root})
                    .iconNamed({QStringLiteral("icon")}, {32})
                    .isEmpty());
    EXPECT_TRUE(
        DWIconTheme::renderImageFile(folder.root + QStringLiteral("/missing.svg"), 32).isNull());
}

TEST(WorkspaceIcons, FileTypesPickTheirIconsAndTheBundledDocumentIsTheLastResort) {
    ThemeFolder folder(QStringLiteral("types"));
    folder.theme(QStringLiteral("Types"), QString(),
                 {QStringLiteral("scalable:64:1:Scalable:8:1024")});
    folder.svg(QStringLiteral("Types"), QStringLiteral("scalable"), QStringLiteral("text-plain"),
               Qt::red);
    folder.svg(QStringLiteral("Types"), QStringLiteral("scalable"),
               QStringLiteral("text-x-generic"), Qt::blue);
    DWLinuxWorkspace workspace({QStringLiteral("Types"), {folder.root}, QString()});

    const QString files = dwtest::homePath() + QStringLiteral("/typed/");
    dwtest::writeFile(files + QStringLiteral("notes.txt"), "- [ ] call\n");
    dwtest::writeFile(files + QStringLiteral("empty.taskpaper"), "");
    dwtest::writeFile(files + QStringLiteral("blob.dat9"), QByteArray("\x00\x01\x02\xff\xfe", 5));

    const LWIconImage text = workspace.iconForFile(files + QStringLiteral("notes.txt"));
    ASSERT_EQ(text.count(), 5);
    const int sizes[] = {16, 32, 128, 256, 512};
    for (int i = 0; i < 5; ++i) {
        EXPECT_EQ(text.representations()[i].size, QSizeF(sizes[i], sizes[i]));
        EXPECT_EQ(centre(text.representations()[i].image), QColor(Qt::red));
    }
    // A TaskPaper list has no icon of its own: the generic text one.
    EXPECT_EQ(
        centre(workspace.iconForFile(files + QStringLiteral("empty.taskpaper")).largestImage()),
        QColor(Qt::blue));
    // Same for a file that isn't there: its name decides.
    EXPECT_EQ(centre(workspace.iconForFile(files + QStringLiteral("gone.txt")).largestImage()),
              QColor(Qt::red));

    const LWIconImage unknown = workspace.iconForFile(files + QStringLiteral("blob.dat9"));
    ASSERT_EQ(unknown.count(), 5);
    EXPECT_EQ(unknown.imageForSize(128),
              DWIconTheme::renderImageFile(QStringLiteral(":/platform/generic-document.svg"), 128));
    EXPECT_NE(centre(unknown.largestImage()).alpha(), 0);
}

TEST(WorkspaceIcons, TheInstalledThemesGiveARealIcon) {
    DWLinuxWorkspace workspace;
    if (!workspace.iconThemeChain().contains(QStringLiteral("Adwaita")))
        GTEST_SKIP() << "the Adwaita icon theme is not installed";
    const QString path = dwtest::homePath() + QStringLiteral("/real/list.txt");
    dwtest::writeFile(path, "x done\n");
    const LWIconImage icon = workspace.iconForFile(path);
    ASSERT_GE(icon.count(), 5);
    EXPECT_NE(icon.imageForSize(128),
              DWIconTheme::renderImageFile(QStringLiteral(":/platform/generic-document.svg"), 128));
    for (const auto& rep : icon.representations())
        EXPECT_EQ(rep.image.width(), rep.size.width() * rep.image.devicePixelRatio());
}

TEST(WorkspaceIcons, SafeOnBackgroundThreads) {
    // Qt warns when a pixmap is made off the main thread; any warning fails.
    static std::atomic<int> warnings{0};
    const QtMessageHandler previous =
        qInstallMessageHandler([](QtMsgType type, const QMessageLogContext&, const QString&) {
            if (type != QtDebugMsg && type != QtInfoMsg)
                ++warnings;
        });
    ThemeFolder folder(QStringLiteral("threads"));
    folder.theme(QStringLiteral("Threads"), QString(),
                 {QStringLiteral("scalable:64:1:Scalable:8:1024")});
    folder.svg(QStringLiteral("Threads"), QStringLiteral("scalable"), QStringLiteral("text-plain"),
               Qt::darkGreen);
    DWLinuxWorkspace workspace({QStringLiteral("Threads"), {folder.root}, QString()});
    std::atomic<int> good{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&workspace, &good, t] {
            const QString suffix = t % 2 ? QStringLiteral(".txt") : QStringLiteral(".unknown-kind");
            const LWIconImage icon =
                workspace.iconForFile(dwtest::homePath() + QStringLiteral("/t%1").arg(t) + suffix);
            if (icon.count() == 5 && !icon.largestImage().isNull())
                ++good;
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    qInstallMessageHandler(previous);
    EXPECT_EQ(good.load(), 4);
    EXPECT_EQ(warnings.load(), 0);
}

TEST(WorkspaceTypes, TextMeansTheMimeTypeInheritsPlainText) {
    DWLinuxWorkspace workspace({QStringLiteral("hicolor"), {}, QString()});
    const QString folder = dwtest::homePath() + QStringLiteral("/types/");
    dwtest::writeFile(folder + QStringLiteral("list.txt"), "");
    dwtest::writeFile(folder + QStringLiteral("plan.taskpaper"), "");
    dwtest::writeFile(folder + QStringLiteral("script.py"), "print(1)\n");
    dwtest::writeFile(folder + QStringLiteral("TODO"), "- [ ] plain words without extension\n");
    dwtest::writeFile(folder + QStringLiteral("blob.bin9"), QByteArray("\x7f\x00\x01\x02\x03", 5));
    dwtest::writeFile(folder + QStringLiteral("image.png"), "not really a png");
    QDir().mkpath(folder + QStringLiteral("dir.txt"));

    EXPECT_TRUE(workspace.isTextFile(folder + QStringLiteral("list.txt")));
    // Known to be text only through the shipped MIME package, even when empty.
    EXPECT_EQ(QMimeDatabase().mimeTypeForFile(folder + QStringLiteral("plan.taskpaper")).name(),
              QStringLiteral("text/x-taskpaper"));
    EXPECT_TRUE(workspace.isTextFile(folder + QStringLiteral("plan.taskpaper")));
    EXPECT_TRUE(workspace.isTextFile(folder + QStringLiteral("script.py")));
    EXPECT_TRUE(workspace.isTextFile(folder + QStringLiteral("TODO")));
    EXPECT_TRUE(workspace.isTextFile(folder + QStringLiteral("missing.txt")));
    EXPECT_FALSE(workspace.isTextFile(folder + QStringLiteral("blob.bin9")));
    EXPECT_FALSE(workspace.isTextFile(folder + QStringLiteral("image.png")));
    EXPECT_FALSE(workspace.isTextFile(folder + QStringLiteral("dir.txt")));
    EXPECT_FALSE(workspace.isTextFile(QString()));
}

TEST(WorkspaceApplications, DesktopEntriesAreFoundUserFirst) {
    DWLinuxWorkspace workspace({QStringLiteral("hicolor"), {}, QString()});
    const QString user = qEnvironmentVariable("XDG_DATA_HOME") + QStringLiteral("/applications/");
    const QString system = dwtest::homePath() + QStringLiteral("/system-data");
    qputenv("XDG_DATA_DIRS", QFile::encodeName(system + QStringLiteral(":/usr/share")));
    const QByteArray entry = "[Desktop Entry]\nType=Application\nName=X\nExec=x\n";
    dwtest::writeFile(system + QStringLiteral("/applications/org.example.Both.desktop"), entry);
    dwtest::writeFile(user + QStringLiteral("org.example.Both.desktop"), entry);
    dwtest::writeFile(system + QStringLiteral("/applications/org.example.System.desktop"), entry);
    dwtest::writeFile(system + QStringLiteral("/applications/vendor/tool.desktop"), entry);
    dwtest::writeFile(system + QStringLiteral("/applications/org.example.Masked.desktop"), entry);
    dwtest::writeFile(user + QStringLiteral("org.example.Masked.desktop"),
                      "[Desktop Entry]\nHidden=true\n");

    EXPECT_EQ(
        workspace.absolutePathForApplicationWithIdentifier(QStringLiteral("org.example.Both")),
        user + QStringLiteral("org.example.Both.desktop"));
    EXPECT_EQ(
        workspace.absolutePathForApplicationWithIdentifier(QStringLiteral("org.example.System")),
        system + QStringLiteral("/applications/org.example.System.desktop"));
    EXPECT_EQ(
        workspace.absolutePathForApplicationWithIdentifier(QStringLiteral("vendor-tool.desktop")),
        system + QStringLiteral("/applications/vendor/tool.desktop"));
    for (const char* absent : {"org.example.Masked", "org.example.Nothing", "", "../applications/x",
                               ".hidden", "/etc/passwd"})
        EXPECT_TRUE(
            workspace.absolutePathForApplicationWithIdentifier(QString::fromUtf8(absent)).isEmpty())
            << absent;
    qunsetenv("XDG_DATA_DIRS");
}

namespace {
// Receives what QDesktopServices would hand to the desktop.
class OpenedUrls : public QObject {
    Q_OBJECT
public:
    QList<QUrl> urls;
public slots:
    void open(const QUrl& url) { urls.append(url); }
};
} // namespace

TEST(WorkspaceOpening, FilesAndLinksGoToTheDesktopAndRevealFallsBackToTheFolder) {
    OpenedUrls opened;
    for (const char* scheme : {"file", "https", "mailto"})
        QDesktopServices::setUrlHandler(QString::fromLatin1(scheme), &opened, "open");
    DWLinuxWorkspace workspace({QStringLiteral("hicolor"), {}, QString()});
    const QString folder = dwtest::homePath() + QStringLiteral("/open");
    const QString file = folder + QStringLiteral("/My List.txt");
    dwtest::writeFile(file, "- [ ] a\n");

    EXPECT_TRUE(workspace.openFile(file));
    EXPECT_FALSE(workspace.openFile(folder + QStringLiteral("/missing.txt")));
    EXPECT_TRUE(workspace.openUrl(QUrl(QStringLiteral("https://example.org/go/?a=b c"))));
    EXPECT_TRUE(workspace.openUrl(QUrl(QStringLiteral("mailto:someone@example.org?subject=Hi"))));
    EXPECT_FALSE(workspace.openUrl(QUrl(QStringLiteral("http://[broken"))));
    EXPECT_FALSE(workspace.openUrl(QUrl(QStringLiteral("relative/path"))));
    // No session bus here: revealing opens the folder.
    EXPECT_TRUE(workspace.selectFile(file, QString()));
    EXPECT_FALSE(workspace.selectFile(folder + QStringLiteral("/missing.txt"), QString()));
    EXPECT_TRUE(workspace.selectFile(QString(), folder));

    ASSERT_EQ(opened.urls.size(), 5);
    EXPECT_EQ(opened.urls[0], QUrl::fromLocalFile(file));
    EXPECT_EQ(opened.urls[1].host(), QStringLiteral("example.org"));
    EXPECT_EQ(opened.urls[2].scheme(), QStringLiteral("mailto"));
    EXPECT_EQ(opened.urls[3], QUrl::fromLocalFile(folder));
    EXPECT_EQ(opened.urls[4], QUrl::fromLocalFile(folder));
    for (const char* scheme : {"file", "https", "mailto"})
        QDesktopServices::unsetUrlHandler(QString::fromLatin1(scheme));
}

TEST(WorkspaceCustomIcons, WithoutAMetadataServiceTheWriteFailsOnceLoudlyAndChangesNothing) {
    LWLogger::sharedInstance()->setMessageBacklogSize(100);
    LWLogger::sharedInstance()->setMessageBacklog({});
    const QString cache = dwtest::homePath() + QStringLiteral("/icon-cache");
    DWLinuxWorkspace workspace({QStringLiteral("hicolor"), {}, cache});
    const QString file = dwtest::homePath() + QStringLiteral("/nobus/list.txt");
    dwtest::writeFile(file, "- [ ] a\n- [ ] b\n");
    ASSERT_EQ(QProcess::execute(
                  QStringLiteral("touch"),
                  {QStringLiteral("-d"), QStringLiteral("2021-03-04 05:06:07.123456789"), file}),
              0);
    const Dates before = datesOf(file);

    const LWIconImage icon = workspace.iconForFile(file);
    EXPECT_FALSE(workspace.setIcon(icon, file));
    EXPECT_FALSE(workspace.setIcon(icon, file));
    EXPECT_FALSE(workspace.setIcon(LWIconImage(), file));
    EXPECT_FALSE(workspace.setIcon(icon, dwtest::homePath() + QStringLiteral("/nobus/gone.txt")));

    int warnings = 0;
    for (const QString& line : LWLogger::sharedInstance()->messageBacklog())
        warnings += line.contains(QStringLiteral("Can't set custom file icons"));
    EXPECT_EQ(warnings, 1);
    EXPECT_TRUE(QDir(cache).entryList(QDir::Files).isEmpty());
    const Dates after = datesOf(file);
    EXPECT_TRUE(before.modified == after.modified);
    EXPECT_TRUE(before.accessed == after.accessed);
    EXPECT_EQ(dwtest::readFile(file), QByteArray("- [ ] a\n- [ ] b\n"));
}

#include "DWLinuxWorkspaceTest.moc"
