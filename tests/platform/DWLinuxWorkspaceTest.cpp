#include "platform/DWLinuxWorkspace.h"

#include "platform/DWIconTheme.h"
#include "support/LogCapture.h"
#include "support/TestEnvironment.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <atomic>
#include <gtest/gtest.h>
#include <thread>

using namespace Qt::StringLiterals;

namespace {
// The shipped MIME package, installed the way a package manager would, before
// anything in this process asks the MIME database.
class MimePackageEnvironment : public ::testing::Environment {
public:
    void SetUp() override {
        const QString mime = qEnvironmentVariable("XDG_DATA_HOME") + u"/mime"_s;
        QDir().mkpath(mime + u"/packages"_s);
        ASSERT_TRUE(QFile::copy(QStringLiteral(DW_SOURCE_DIR "/src/platform/data/dotwise-mime.xml"),
                                mime + u"/packages/dotwise.xml"_s));
        ASSERT_EQ(QProcess::execute(u"update-mime-database"_s, {mime}), 0);
    }
};
[[maybe_unused]] ::testing::Environment* const mimePackage =
    ::testing::AddGlobalTestEnvironment(new MimePackageEnvironment);

// Made-up icon themes whose icons are solid colours, so the colour tells which
// file a representation came from.
QString themeRoot(const QString& name) {
    return dwtest::homePath() + u"/themes-"_s + name;
}
void writeTheme(const QString& root, const QString& name, const QByteArray& index) {
    dwtest::writeFile(root + QLatin1Char('/') + name + u"/index.theme"_s,
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
const QString bundledIcon = u":/platform/generic-document.svg"_s;
} // namespace

TEST(IconTheme, ThemesComeBeforeNamesAndInheritanceIsFollowedOnce) {
    const QString root = themeRoot(u"chain"_s);
    const QByteArray fixed32 = "Directories=32\n[32]\nSize=32\nType=Fixed\n";
    writeTheme(root, u"Mine"_s, "Inherits=Parent\n" + fixed32);
    writeTheme(root, u"Parent"_s, "Inherits=Mine,Missing\n" + fixed32);
    writeTheme(root, u"hicolor"_s, fixed32);
    writeTheme(root, u"Adwaita"_s, "Inherits=hicolor\n" + fixed32);
    writePng(root, u"Parent/32/text-plain.png"_s, Qt::red, 32);
    writePng(root, u"Mine/32/text-x-generic.png"_s, Qt::blue, 32);
    writePng(root, u"Adwaita/32/only-here.png"_s, Qt::green, 32);

    const DWIconTheme theme(u"Mine"_s, {root});
    EXPECT_EQ(theme.themeChain(),
              (QStringList{u"Mine"_s, u"Parent"_s, u"hicolor"_s, u"Adwaita"_s}));
    // The user's theme's generic icon beats a parent's specific one, as in the
    // file manager.
    EXPECT_EQ(centre(theme.iconNamed({u"text-plain"_s, u"text-x-generic"_s}, {32}).largestImage()),
              QColor(Qt::blue));
    EXPECT_EQ(centre(theme.iconNamed({u"only-here"_s}, {32}).largestImage()), QColor(Qt::green));
    EXPECT_TRUE(theme.iconNamed({u"nowhere"_s}, {32}).isEmpty());
    EXPECT_EQ(DWIconTheme(u"NotInstalled"_s, {root}).themeChain(),
              (QStringList{u"hicolor"_s, u"Adwaita"_s}));
}

TEST(IconTheme, EachSizeFromTheBestDrawingWithTwoXWhereTheThemeHasIt) {
    const QString root = themeRoot(u"sizes"_s);
    writeTheme(root, u"S"_s,
               "Directories=16,16@2,32,256,s,broken\n[16]\nSize=16\nType=Fixed\n[16@2]\nSize=16\n"
               "Scale=2\nType=Fixed\n[32]\nSize=32\nType=Fixed\n[256]\nSize=256\nType=Fixed\n"
               "[s]\nSize=64\nType=Scalable\nMinSize=8\nMaxSize=64\n[broken]\nSize=48\nType=Fixed\n"
               "[nosize]\nType=Fixed\n");
    writePng(root, u"S/16/i.png"_s, Qt::red, 16);
    writePng(root, u"S/16@2/i.png"_s, Qt::green, 32);
    writePng(root, u"S/32/i.png"_s, Qt::blue, 32);
    writePng(root, u"S/256/i.png"_s, Qt::magenta, 256);
    writeSvg(root, u"S/s/i.svg"_s, Qt::yellow);
    dwtest::writeFile(root + u"/S/broken/i.png"_s, "not a png");

    const LWIconImage icon =
        DWIconTheme(u"S"_s, {root}).iconNamed({u"i"_s}, {16, 32, 48, 128, 512});
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

TEST(WorkspaceTypes, FileTypesNameTheIconsAndTextMeansInheritingPlainText) {
    const QString root = themeRoot(u"types"_s);
    writeTheme(root, u"T"_s, scalableOnly);
    writeSvg(root, u"T/s/text-plain.svg"_s, Qt::red);
    writeSvg(root, u"T/s/text-x-generic.svg"_s, Qt::blue);
    const DWLinuxWorkspace workspace({u"T"_s, {root}, QString()});
    const QString files = dwtest::homePath() + u"/typed/"_s;
    dwtest::writeFile(files + u"notes.txt"_s, "- [ ] call\n");
    dwtest::writeFile(files + u"empty.taskpaper"_s, "");
    dwtest::writeFile(files + u"TODO"_s, "- [ ] no extension\n");
    dwtest::writeFile(files + u"blob.dat9"_s, QByteArray("\x00\x01\xff", 3));
    dwtest::writeFile(files + u"picture.png"_s, "");
    QDir().mkpath(files + u"dir.txt"_s);

    // First off the main thread, as the badge worker asks: Qt warns when a
    // pixmap is made there, and any warning fails.
    static std::atomic<int> warnings{0};
    const QtMessageHandler previous =
        qInstallMessageHandler([](QtMsgType type, const QMessageLogContext&, const QString&) {
            warnings += type != QtDebugMsg && type != QtInfoMsg;
        });
    std::atomic<int> good{0};
    std::vector<std::thread> threads;
    for (const char* name : {"notes.txt", "blob.dat9", "t.txt", "t.unknown-kind"})
        threads.emplace_back(
            [&, name] { good += workspace.iconForFile(files + QLatin1String(name)).count() == 5; });
    for (std::thread& thread : threads)
        thread.join();
    qInstallMessageHandler(previous);
    EXPECT_EQ(good.load(), 4);
    EXPECT_EQ(warnings.load(), 0);

    const LWIconImage text = workspace.iconForFile(files + u"notes.txt"_s);
    ASSERT_EQ(text.count(), 5);
    for (int i = 0, points = 16; i < 5; ++i, points = points == 32 ? 128 : points * 2) {
        EXPECT_EQ(text.representations()[i].size, QSizeF(points, points));
        EXPECT_EQ(centre(text.representations()[i].image), QColor(Qt::red));
    }
    // TaskPaper has no icon of its own; a missing file goes by its name.
    EXPECT_EQ(centre(workspace.iconForFile(files + u"empty.taskpaper"_s).largestImage()),
              QColor(Qt::blue));
    EXPECT_EQ(centre(workspace.iconForFile(files + u"gone.txt"_s).largestImage()), QColor(Qt::red));
    EXPECT_EQ(workspace.iconForFile(files + u"blob.dat9"_s).imageForSize(128),
              DWIconTheme::renderImageFile(bundledIcon, 128));

    // .taskpaper is text only through the shipped package.
    for (const char* name : {"notes.txt", "empty.taskpaper", "TODO", "missing.txt"})
        EXPECT_TRUE(workspace.isTextFile(files + QLatin1String(name))) << name;
    for (const char* name : {"blob.dat9", "picture.png", "dir.txt"})
        EXPECT_FALSE(workspace.isTextFile(files + QLatin1String(name))) << name;
    EXPECT_FALSE(workspace.isTextFile(QString()));
}

TEST(WorkspaceApplications, DesktopEntriesAreFoundUserFirst) {
    const DWLinuxWorkspace workspace({u"hicolor"_s, {}, QString()});
    const QString user = qEnvironmentVariable("XDG_DATA_HOME") + u"/applications/"_s;
    const QString systemData = dwtest::homePath() + u"/system-data"_s;
    const QString system = systemData + u"/applications/"_s;
    qputenv("XDG_DATA_DIRS", QFile::encodeName(systemData) + ":/usr/share");
    const QByteArray entry = "[Desktop Entry]\nType=Application\nName=X\nExec=x\n";
    for (const char* name : {"org.example.Both", "org.example.Masked"})
        dwtest::writeFile(system + QLatin1String(name) + u".desktop"_s, entry);
    dwtest::writeFile(system + u"vendor/tool.desktop"_s, entry);
    dwtest::writeFile(user + u"org.example.Both.desktop"_s, entry);
    dwtest::writeFile(user + u"org.example.Masked.desktop"_s, "[Desktop Entry]\nHidden=true\n");

    EXPECT_EQ(workspace.absolutePathForApplicationWithIdentifier(u"org.example.Both"_s),
              user + u"org.example.Both.desktop"_s);
    // Desktop file IDs map dashes to subfolders.
    EXPECT_EQ(workspace.absolutePathForApplicationWithIdentifier(u"vendor-tool"_s),
              system + u"vendor/tool.desktop"_s);
    for (const char* absent : {"org.example.Masked", "org.example.None", "", "../x", "/etc/passwd"})
        EXPECT_TRUE(
            workspace.absolutePathForApplicationWithIdentifier(QString::fromUtf8(absent)).isEmpty())
            << absent;
    qunsetenv("XDG_DATA_DIRS");
}

TEST(WorkspaceCustomIcons, WithoutAMetadataServiceTheWriteFailsWithOneWarningAndChangesNothing) {
    dwtest::LogCapture log(100);
    const QString pictures = dwtest::homePath() + u"/pictures"_s;
    DWLinuxWorkspace workspace({u"hicolor"_s, {}, pictures});
    const QString file = dwtest::homePath() + u"/nobus/list.txt"_s;
    dwtest::writeFile(file, "- [ ] a\n");
    const LWTimestamp date{1614834367, 123456789};
    ASSERT_TRUE(lw::setContentModificationDate(file, date));

    const LWIconImage icon = workspace.iconForFile(file);
    EXPECT_FALSE(workspace.setIcon(icon, file));
    EXPECT_FALSE(workspace.setIcon(icon, file));
    EXPECT_TRUE(workspace.setIcon(LWIconImage(), file)); // nothing of ours is on it
    EXPECT_FALSE(workspace.setIcon(icon, dwtest::homePath() + u"/nobus/gone.txt"_s));
    EXPECT_EQ(log.loggerLines().filter(u"Can't set custom file icons"_s).size(), 1);
    EXPECT_TRUE(workspace.filesWithPictures().isEmpty());
    EXPECT_EQ(lw::contentModificationDate(file), date);
    EXPECT_EQ(dwtest::readFile(file), QByteArray("- [ ] a\n"));
}
