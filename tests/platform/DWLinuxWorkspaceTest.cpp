#include "platform/DWLinuxWorkspace.h"

#include "logging/LWLogger.h"
#include "platform/DWIconTheme.h"
#include "support/TestEnvironment.h"

#include <QDesktopServices>
#include <QDir>
#include <QFile>
#include <QMimeDatabase>
#include <QProcess>
#include <atomic>
#include <gtest/gtest.h>
#include <thread>

namespace {
// The shipped MIME package, installed the way a package manager would, before
// anything in this process asks the MIME database.
class MimePackageEnvironment : public ::testing::Environment {
public:
    void SetUp() override {
        const QString mime = qEnvironmentVariable("XDG_DATA_HOME") + QStringLiteral("/mime");
        QDir().mkpath(mime + QStringLiteral("/packages"));
        ASSERT_TRUE(QFile::copy(QStringLiteral(DW_SOURCE_DIR "/src/platform/data/dotwise-mime.xml"),
                                mime + QStringLiteral("/packages/dotwise.xml")));
        ASSERT_EQ(QProcess::execute(QStringLiteral("update-mime-database"), {mime}), 0);
    }
};
[[maybe_unused]] ::testing::Environment* const mimePackage =
    ::testing::AddGlobalTestEnvironment(new MimePackageEnvironment);

// Made-up icon themes whose icons are solid colours, so the colour tells which
// file a representation came from.
QString themeRoot(const QString& name) {
    const QString root = dwtest::homePath() + QStringLiteral("/themes-") + name;
    QDir(root).removeRecursively();
    return root;
}
void writeTheme(const QString& root, const QString& name, const QByteArray& index) {
    dwtest::writeFile(root + QLatin1Char('/') + name + QStringLiteral("/index.theme"),
                      "[Icon Theme]\nName=" + name.toUtf8() + "\n" + index);
}
void writePng(const QString& root, const QString& file, QColor color, int pixels) {
    QImage image(pixels, pixels, QImage::Format_ARGB32);
    image.fill(color);
    QDir().mkpath(QFileInfo(root + QLatin1Char('/') + file).absolutePath());
    ASSERT_TRUE(image.save(root + QLatin1Char('/') + file));
}
void writeSvg(const QString& root, const QString& file, QColor color) {
    dwtest::writeFile(root + QLatin1Char('/') + file,
                      "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"64\" height=\"64\"><rect "
                      "width=\"64\" height=\"64\" fill=\"" +
                          color.name().toUtf8() + "\"/></svg>");
}
QColor centre(const QImage& image) {
    return image.pixelColor(image.width() / 2, image.height() / 2);
}
const QByteArray scalableOnly =
    "Directories=s\n[s]\nSize=64\nType=Scalable\nMinSize=8\nMaxSize=1024\n";
const QString bundledIcon = QStringLiteral(":/platform/generic-document.svg");
} // namespace

TEST(IconTheme, ThemesComeBeforeNamesAndInheritanceIsFollowedOnce) {
    const QString root = themeRoot(QStringLiteral("chain"));
    const QByteArray fixed32 = "Directories=32\n[32]\nSize=32\nType=Fixed\n";
    writeTheme(root, QStringLiteral("Mine"), "Inherits=Parent\n" + fixed32);
    writeTheme(root, QStringLiteral("Parent"), "Inherits=Mine,Missing\n" + fixed32);
    writeTheme(root, QStringLiteral("hicolor"), fixed32);
    writeTheme(root, QStringLiteral("Adwaita"), "Inherits=hicolor\n" + fixed32);
    writePng(root, QStringLiteral("Parent/32/text-plain.png"), Qt::red, 32);
    writePng(root, QStringLiteral("Mine/32/text-x-generic.png"), Qt::blue, 32);
    writePng(root, QStringLiteral("Adwaita/32/only-here.png"), Qt::green, 32);

    const DWIconTheme theme(QStringLiteral("Mine"), {root});
    EXPECT_EQ(theme.themeChain(),
              (QStringList{QStringLiteral("Mine"), QStringLiteral("Parent"),
                           QStringLiteral("hicolor"), QStringLiteral("Adwaita")}));
    // The user's theme's generic icon beats a parent's specific one, as in the
    // file manager.
    EXPECT_EQ(
        centre(
            theme.iconNamed({QStringLiteral("text-plain"), QStringLiteral("text-x-generic")}, {32})
                .largestImage()),
        QColor(Qt::blue));
    EXPECT_EQ(centre(theme.iconNamed({QStringLiteral("only-here")}, {32}).largestImage()),
              QColor(Qt::green));
    EXPECT_TRUE(theme.iconNamed({QStringLiteral("nowhere")}, {32}).isEmpty());
    EXPECT_EQ(DWIconTheme(QStringLiteral("NotInstalled"), {root}).themeChain(),
              (QStringList{QStringLiteral("hicolor"), QStringLiteral("Adwaita")}));
}

TEST(IconTheme, EachSizeFromTheBestDrawingWithTwoXWhereTheThemeHasIt) {
    const QString root = themeRoot(QStringLiteral("sizes"));
    writeTheme(root, QStringLiteral("S"),
               "Directories=16,16@2,32,256,s,broken\n[16]\nSize=16\nType=Fixed\n[16@2]\nSize=16\n"
               "Scale=2\nType=Fixed\n[32]\nSize=32\nType=Fixed\n[256]\nSize=256\nType=Fixed\n"
               "[s]\nSize=64\nType=Scalable\nMinSize=8\nMaxSize=64\n[broken]\nSize=48\nType=Fixed\n"
               "[nosize]\nType=Fixed\n");
    writePng(root, QStringLiteral("S/16/i.png"), Qt::red, 16);
    writePng(root, QStringLiteral("S/16@2/i.png"), Qt::green, 32);
    writePng(root, QStringLiteral("S/32/i.png"), Qt::blue, 32);
    writePng(root, QStringLiteral("S/256/i.png"), Qt::magenta, 256);
    writeSvg(root, QStringLiteral("S/s/i.svg"), Qt::yellow);
    dwtest::writeFile(root + QStringLiteral("/S/broken/i.png"), "not a png");

    const LWIconImage icon = DWIconTheme(QStringLiteral("S"), {root})
                                 .iconNamed({QStringLiteral("i")}, {16, 32, 48, 128, 512});
    // 48: the damaged exact bitmap is passed over for the vector drawing meant
    // for it. 128: scaled down from 256 rather than drawn from a vector meant
    // for 64 at most. 512: nothing larger, so the vector.
    const struct {
        int points, pixels;
        QColor color;
    } expected[] = {{16, 16, Qt::red},    {16, 32, Qt::green},     {32, 32, Qt::blue},
                    {48, 48, Qt::yellow}, {128, 128, Qt::magenta}, {512, 512, Qt::yellow}};
    ASSERT_EQ(icon.count(), qsizetype(std::size(expected)));
    for (size_t i = 0; i < std::size(expected); ++i) {
        const auto& rep = icon.representations()[qsizetype(i)];
        EXPECT_EQ(rep.size.width(), expected[i].points) << i;
        EXPECT_EQ(rep.image.width(), expected[i].pixels) << i;
        EXPECT_EQ(centre(rep.image), expected[i].color) << i;
        EXPECT_EQ(rep.image.format(), QImage::Format_ARGB32_Premultiplied);
    }
}

TEST(WorkspaceIcons, FileTypesNameTheIconsAndTheBundledDocumentIsTheLastResort) {
    const QString root = themeRoot(QStringLiteral("types"));
    writeTheme(root, QStringLiteral("T"), scalableOnly);
    writeSvg(root, QStringLiteral("T/s/text-plain.svg"), Qt::red);
    writeSvg(root, QStringLiteral("T/s/text-x-generic.svg"), Qt::blue);
    const DWLinuxWorkspace workspace({QStringLiteral("T"), {root}, QString()});
    const QString files = dwtest::homePath() + QStringLiteral("/typed/");
    dwtest::writeFile(files + QStringLiteral("notes.txt"), "- [ ] call\n");
    dwtest::writeFile(files + QStringLiteral("empty.taskpaper"), "");
    dwtest::writeFile(files + QStringLiteral("blob.dat9"), QByteArray("\x00\x01\xff", 3));

    const LWIconImage text = workspace.iconForFile(files + QStringLiteral("notes.txt"));
    ASSERT_EQ(text.count(), 5);
    for (int i = 0, points = 16; i < 5; ++i, points = points == 32 ? 128 : points * 2) {
        EXPECT_EQ(text.representations()[i].size, QSizeF(points, points));
        EXPECT_EQ(centre(text.representations()[i].image), QColor(Qt::red));
    }
    // TaskPaper has no icon of its own; a missing file goes by its name.
    EXPECT_EQ(
        centre(workspace.iconForFile(files + QStringLiteral("empty.taskpaper")).largestImage()),
        QColor(Qt::blue));
    EXPECT_EQ(centre(workspace.iconForFile(files + QStringLiteral("gone.txt")).largestImage()),
              QColor(Qt::red));
    EXPECT_EQ(workspace.iconForFile(files + QStringLiteral("blob.dat9")).imageForSize(128),
              DWIconTheme::renderImageFile(bundledIcon, 128));

    // The themes installed here give a real icon, not the bundled one.
    const DWLinuxWorkspace installed({QStringLiteral("Adwaita"), {}, QString()});
    if (installed.iconThemeChain().contains(QStringLiteral("Adwaita"))) {
        EXPECT_NE(installed.iconForFile(files + QStringLiteral("notes.txt")).imageForSize(128),
                  DWIconTheme::renderImageFile(bundledIcon, 128));
    }
}

TEST(WorkspaceIcons, SafeOnBackgroundThreads) {
    // Qt warns when a pixmap is made off the main thread; any warning fails.
    static std::atomic<int> warnings{0};
    const QtMessageHandler previous =
        qInstallMessageHandler([](QtMsgType type, const QMessageLogContext&, const QString&) {
            warnings += type != QtDebugMsg && type != QtInfoMsg;
        });
    const QString root = themeRoot(QStringLiteral("threads"));
    writeTheme(root, QStringLiteral("T"), scalableOnly);
    writeSvg(root, QStringLiteral("T/s/text-plain.svg"), Qt::darkGreen);
    const DWLinuxWorkspace workspace({QStringLiteral("T"), {root}, QString()});
    std::atomic<int> good{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([&workspace, &good, t] {
            const QString name = QStringLiteral("/t%1").arg(t) +
                                 (t % 2 ? QStringLiteral(".txt") : QStringLiteral(".unknown-kind"));
            good += workspace.iconForFile(dwtest::homePath() + name).count() == 5;
        });
    for (std::thread& thread : threads)
        thread.join();
    qInstallMessageHandler(previous);
    EXPECT_EQ(good.load(), 4);
    EXPECT_EQ(warnings.load(), 0);
}

TEST(WorkspaceTypes, TextMeansTheMimeTypeInheritsPlainText) {
    const DWLinuxWorkspace workspace({QStringLiteral("hicolor"), {}, QString()});
    const QString folder = dwtest::homePath() + QStringLiteral("/types/");
    const struct {
        const char* name;
        QByteArray contents;
        bool text;
    } cases[] = {{"list.txt", "", true},
                 {"plan.taskpaper", "", true}, // text only through the shipped package
                 {"TODO", "- [ ] words without an extension\n", true},
                 {"blob.bin9", QByteArray("\x7f\x00\x01\x02", 4), false},
                 {"picture.png", "", false}};
    for (const auto& c : cases) {
        dwtest::writeFile(folder + QLatin1String(c.name), c.contents);
        EXPECT_EQ(workspace.isTextFile(folder + QLatin1String(c.name)), c.text) << c.name;
    }
    EXPECT_EQ(QMimeDatabase().mimeTypeForFile(folder + QStringLiteral("plan.taskpaper")).name(),
              QStringLiteral("text/x-taskpaper"));
    EXPECT_TRUE(workspace.isTextFile(folder + QStringLiteral("missing.txt")));
    QDir().mkpath(folder + QStringLiteral("dir.txt"));
    EXPECT_FALSE(workspace.isTextFile(folder + QStringLiteral("dir.txt")));
    EXPECT_FALSE(workspace.isTextFile(QString()));
}

TEST(WorkspaceApplications, DesktopEntriesAreFoundUserFirst) {
    const DWLinuxWorkspace workspace({QStringLiteral("hicolor"), {}, QString()});
    const QString user = qEnvironmentVariable("XDG_DATA_HOME") + QStringLiteral("/applications/");
    const QString systemData = dwtest::homePath() + QStringLiteral("/system-data");
    const QString system = systemData + QStringLiteral("/applications/");
    qputenv("XDG_DATA_DIRS", QFile::encodeName(systemData) + ":/usr/share");
    const QByteArray entry = "[Desktop Entry]\nType=Application\nName=X\nExec=x\n";
    for (const char* name : {"org.example.Both", "org.example.Masked"})
        dwtest::writeFile(system + QLatin1String(name) + QStringLiteral(".desktop"), entry);
    dwtest::writeFile(system + QStringLiteral("vendor/tool.desktop"), entry);
    dwtest::writeFile(user + QStringLiteral("org.example.Both.desktop"), entry);
    dwtest::writeFile(user + QStringLiteral("org.example.Masked.desktop"),
                      "[Desktop Entry]\nHidden=true\n");

    EXPECT_EQ(
        workspace.absolutePathForApplicationWithIdentifier(QStringLiteral("org.example.Both")),
        user + QStringLiteral("org.example.Both.desktop"));
    // Desktop file IDs map dashes to subfolders.
    EXPECT_EQ(workspace.absolutePathForApplicationWithIdentifier(QStringLiteral("vendor-tool")),
              system + QStringLiteral("vendor/tool.desktop"));
    for (const char* absent : {"org.example.Masked", "org.example.None", "", "../x", "/etc/passwd"})
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

TEST(WorkspaceOpening, FilesGoToTheDesktopAndRevealingFallsBackToTheFolder) {
    OpenedUrls opened;
    QDesktopServices::setUrlHandler(QStringLiteral("file"), &opened, "open");
    DWLinuxWorkspace workspace({QStringLiteral("hicolor"), {}, QString()});
    const QString folder = dwtest::homePath() + QStringLiteral("/open");
    const QString file = folder + QStringLiteral("/My List.txt");
    dwtest::writeFile(file, "- [ ] a\n");

    EXPECT_TRUE(workspace.openFile(file));
    EXPECT_FALSE(workspace.openFile(folder + QStringLiteral("/missing.txt")));
    EXPECT_FALSE(workspace.openUrl(QUrl(QStringLiteral("http://[broken"))));
    EXPECT_FALSE(workspace.openUrl(QUrl(QStringLiteral("relative/path"))));
    // No session bus in this test: revealing opens the folder.
    EXPECT_TRUE(workspace.selectFile(file, QString()));
    EXPECT_FALSE(workspace.selectFile(folder + QStringLiteral("/missing.txt"), QString()));
    EXPECT_EQ(opened.urls, (QList<QUrl>{QUrl::fromLocalFile(file), QUrl::fromLocalFile(folder)}));
    QDesktopServices::unsetUrlHandler(QStringLiteral("file"));
}

TEST(WorkspaceCustomIcons, WithoutAMetadataServiceTheWriteFailsWithOneWarningAndChangesNothing) {
    LWLogger::sharedInstance()->setMessageBacklogSize(100);
    LWLogger::sharedInstance()->setMessageBacklog({});
    const QString cache = dwtest::homePath() + QStringLiteral("/icon-cache");
    DWLinuxWorkspace workspace({QStringLiteral("hicolor"), {}, cache});
    const QString file = dwtest::homePath() + QStringLiteral("/nobus/list.txt");
    dwtest::writeFile(file, "- [ ] a\n");
    const LWTimestamp date{1614834367, 123456789};
    ASSERT_TRUE(lw::setContentModificationDate(file, date));

    const LWIconImage icon = workspace.iconForFile(file);
    EXPECT_FALSE(workspace.setIcon(icon, file));
    EXPECT_FALSE(workspace.setIcon(icon, file));
    EXPECT_FALSE(workspace.setIcon(LWIconImage(), file));
    EXPECT_FALSE(workspace.setIcon(icon, dwtest::homePath() + QStringLiteral("/nobus/gone.txt")));
    EXPECT_EQ(LWLogger::sharedInstance()
                  ->messageBacklog()
                  .filter(QStringLiteral("Can't set custom file icons"))
                  .size(),
              1);
    EXPECT_TRUE(QDir(cache).entryList(QDir::Files).isEmpty());
    EXPECT_EQ(lw::contentModificationDate(file), date);
    EXPECT_EQ(dwtest::readFile(file), QByteArray("- [ ] a\n"));
}

#include "DWLinuxWorkspaceTest.moc"
