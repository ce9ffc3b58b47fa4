#include "cli/DWBadgeCommand.h"

#include "foundation/LWTimestamp.h"
#include "support/TestEnvironment.h"

#include <QDir>
#include <QFileInfo>
#include <QImage>
#include <QProcess>
#include <QTextStream>
#include <gtest/gtest.h>

namespace {
struct Result {
    int status;
    QString out;
    QString err;
};

Result badge(QStringList arguments) {
    arguments.prepend(QStringLiteral("badge"));
    QString out;
    QString err;
    QTextStream outStream(&out);
    QTextStream errStream(&err);
    const int status = DWBadgeCommand::execute(arguments, outStream, errStream);
    outStream.flush();
    errStream.flush();
    return {status, out, err};
}

QString scratch(const QString& name) {
    return dwtest::homePath() + QStringLiteral("/cli/") + name;
}

QString writeSolidPng(const QString& name, int pixels) {
    QDir().mkpath(scratch(QString()));
    QImage image(pixels, pixels, QImage::Format_RGB32);
    image.fill(QColor(40, 170, 70));
    const QString path = scratch(name);
    EXPECT_TRUE(image.save(path, "PNG"));
    return path;
}

bool isRed(const QColor& c) {
    return c.alpha() == 255 && c.red() > 150 && c.green() < 80;
}
} // namespace

TEST(BadgeCommand, RendersOneBadgeAtTheGivenSize) {
    const QString out = scratch(QStringLiteral("one/badge.png"));
    QDir().mkpath(QFileInfo(out).path());
    const Result result =
        badge({QStringLiteral("--count"), QStringLiteral("-1"), QStringLiteral("--size"),
               QStringLiteral("102"), QStringLiteral("--shadow"), QStringLiteral("-o"), out});
    ASSERT_EQ(result.status, 0) << result.err.toStdString();
    const QImage image(out);
    ASSERT_EQ(image.size(), QSize(102, 102));
    EXPECT_TRUE(isRed(image.pixelColor(22, 63)));
    EXPECT_LT(image.pixelColor(51, 0).alpha(), 128); // shadow room

    // Default size, no shadow: the disc reaches the edge.
    ASSERT_EQ(badge({QStringLiteral("--count=3"), QStringLiteral("-o"), out}).status, 0);
    const QImage plain(out);
    EXPECT_EQ(plain.size(), QSize(128, 128));
    EXPECT_GE(plain.pixelColor(64, 0).alpha(), 128);
}

TEST(BadgeCommand, ComposesOntoEachImageAndNamesFilesByPointWidth) {
    const QStringList inputs = {writeSolidPng(QStringLiteral("a512.png"), 512),
                                writeSolidPng(QStringLiteral("a32.png"), 32),
                                writeSolidPng(QStringLiteral("b256@2x.png"), 512),
                                writeSolidPng(QStringLiteral("c32.png"), 32)};
    const QString dir = scratch(QStringLiteral("composed/new/folder"));
    const Result result = badge(
        QStringList{QStringLiteral("--count"), QStringLiteral("12"), QStringLiteral("--compose")} +
        inputs + QStringList{QStringLiteral("-o"), dir});
    ASSERT_EQ(result.status, 0) << result.err.toStdString();
    QStringList files = QDir(dir).entryList(QDir::Files, QDir::Name);
    EXPECT_EQ(files,
              (QStringList{"icon-256@2x.png", "icon-32-2.png", "icon-32.png", "icon-512.png"}));
    EXPECT_EQ(result.out.split('\n', Qt::SkipEmptyParts).size(), 4);

    const QImage big(dir + QStringLiteral("/icon-512.png"));
    EXPECT_EQ(big.pixelColor(10, 10), QColor(40, 170, 70));
    EXPECT_TRUE(isRed(big.pixelColor(350, 130)));
    const QImage small(dir + QStringLiteral("/icon-32.png"));
    EXPECT_EQ(small.pixelColor(0, 0).alpha(), 0); // badge alone, no icon
    EXPECT_EQ(QImage(dir + QStringLiteral("/icon-256@2x.png")).size(), QSize(512, 512));
}

TEST(BadgeCommand, ComposesOntoAFilesOwnIconWithoutTouchingTheFile) {
    const QString list = scratch(QStringLiteral("own/Groceries.txt"));
    dwtest::writeFile(list, "- [ ] milk\n- [ ] bread\n");
    const LWTimestamp date{1600000000, 123456789};
    ASSERT_TRUE(lw::setContentModificationDate(list, date));
    const QString dir = scratch(QStringLiteral("own/icons"));

    const Result result = badge({QStringLiteral("--count"), QStringLiteral("2"),
                                 QStringLiteral("--file"), list, QStringLiteral("-o"), dir});
    ASSERT_EQ(result.status, 0) << result.err.toStdString();
    const QStringList files = QDir(dir).entryList(QDir::Files, QDir::Name);
    for (const char* expected :
         {"icon-16.png", "icon-32.png", "icon-128.png", "icon-256.png", "icon-512.png"})
        EXPECT_TRUE(files.contains(QString::fromLatin1(expected))) << expected;
    for (const QString& file : files) {
        // icon-<points>[@<scale>x].png holds points x scale pixels.
        const QString stem = file.mid(5).chopped(4);
        const int points = stem.section(QLatin1Char('@'), 0, 0).toInt();
        const int scale =
            stem.contains(QLatin1Char('@')) ? stem.section('@', 1).chopped(1).toInt() : 1;
        EXPECT_EQ(QImage(QDir(dir).filePath(file)).width(), points * scale) << file.toStdString();
    }
    EXPECT_TRUE(isRed(QImage(dir + QStringLiteral("/icon-512.png")).pixelColor(350, 130)));
    EXPECT_EQ(dwtest::readFile(list), QByteArray("- [ ] milk\n- [ ] bread\n"));
    EXPECT_EQ(lw::contentModificationDate(list), date);

    const QString elsewhere = scratch(QStringLiteral("own/none"));
    const Result missing =
        badge({QStringLiteral("--count"), QStringLiteral("2"), QStringLiteral("--file"),
               scratch(QStringLiteral("own/gone.txt")), QStringLiteral("-o"), elsewhere});
    EXPECT_EQ(missing.status, 1);
    EXPECT_TRUE(missing.err.contains(QStringLiteral("gone.txt")));
    EXPECT_FALSE(QFileInfo::exists(elsewhere));

    for (const QStringList& arguments :
         {QStringList{QStringLiteral("--count=1"), QStringLiteral("--file"), list,
                      QStringLiteral("--compose"), list, QStringLiteral("-o"), elsewhere},
          QStringList{QStringLiteral("--count=1"), QStringLiteral("--file"), list,
                      QStringLiteral("--size"), QStringLiteral("64"), QStringLiteral("-o"),
                      elsewhere},
          QStringList{QStringLiteral("--count=1"), QStringLiteral("--file="), QStringLiteral("-o"),
                      elsewhere},
          QStringList{QStringLiteral("--count=1"), QStringLiteral("--file"), list}}) {
        const Result misused = badge(arguments);
        EXPECT_EQ(misused.status, 2) << arguments.join(' ').toStdString();
        EXPECT_TRUE(misused.err.contains(QStringLiteral("Usage:")));
    }
    EXPECT_FALSE(QFileInfo::exists(elsewhere));
}

TEST(BadgeCommand, BadInputIsAClearErrorAndWritesNothing) {
    const QString text = scratch(QStringLiteral("bad/not-an-image.png"));
    dwtest::writeFile(text, "- [ ] a task, not pixels\n");
    const QString good = writeSolidPng(QStringLiteral("good.png"), 128);
    const QString dir = scratch(QStringLiteral("bad/out"));

    const Result unreadable =
        badge({QStringLiteral("--count"), QStringLiteral("1"), QStringLiteral("--compose"), good,
               text, QStringLiteral("-o"), dir});
    EXPECT_EQ(unreadable.status, 1);
    EXPECT_TRUE(unreadable.err.contains(text)) << unreadable.err.toStdString();
    EXPECT_FALSE(QFileInfo::exists(dir));
    EXPECT_EQ(dwtest::readFile(text), QByteArray("- [ ] a task, not pixels\n"));

    const QList<QStringList> usageErrors = {
        {QStringLiteral("-o"), scratch(QStringLiteral("x.png"))},
        {QStringLiteral("--count"), QStringLiteral("many"), QStringLiteral("-o"), dir},
        {QStringLiteral("--count"), QStringLiteral("99999999999"), QStringLiteral("-o"), dir},
        {QStringLiteral("--count"), QStringLiteral("1")},
        {QStringLiteral("--count"), QStringLiteral("1"), QStringLiteral("--size"),
         QStringLiteral("0"), QStringLiteral("-o"), dir},
        {QStringLiteral("--count"), QStringLiteral("1"), QStringLiteral("--size"),
         QStringLiteral("100000"), QStringLiteral("-o"), dir},
        {QStringLiteral("--count"), QStringLiteral("1"), QStringLiteral("--compose"),
         QStringLiteral("-o"), dir},
        {QStringLiteral("--count"), QStringLiteral("1"), QStringLiteral("--shadow"),
         QStringLiteral("--compose"), good, QStringLiteral("-o"), dir},
        {QStringLiteral("--count"), QStringLiteral("1"), good, QStringLiteral("-o"), dir},
        {QStringLiteral("--count"), QStringLiteral("1"), QStringLiteral("--bogus"),
         QStringLiteral("-o"), dir},
    };
    for (const QStringList& arguments : usageErrors) {
        const Result result = badge(arguments);
        EXPECT_EQ(result.status, 2) << arguments.join(' ').toStdString();
        EXPECT_TRUE(result.err.startsWith(QStringLiteral("dotwise badge: ")));
        EXPECT_TRUE(result.err.contains(QStringLiteral("Usage:")));
    }
    EXPECT_FALSE(QFileInfo::exists(dir));
    EXPECT_FALSE(QFileInfo::exists(scratch(QStringLiteral("x.png"))));

    // The output path is a folder that cannot be written as a file.
    QDir().mkpath(dir);
    EXPECT_EQ(
        badge({QStringLiteral("--count"), QStringLiteral("1"), QStringLiteral("-o"), dir}).status,
        1);
}

TEST(BadgeCommand, RunsWithoutADisplay) {
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (const char* name : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"})
        environment.remove(QString::fromLatin1(name));
    const QString out = scratch(QStringLiteral("process/badge.png"));
    QDir().mkpath(QFileInfo(out).path());
    QProcess process;
    process.setProcessEnvironment(environment);
    process.start(QStringLiteral(DOTWISE_EXECUTABLE),
                  {QStringLiteral("badge"), QStringLiteral("--count"), QStringLiteral("7"),
                   QStringLiteral("--size"), QStringLiteral("15"), QStringLiteral("-o"), out});
    ASSERT_TRUE(process.waitForFinished(30000));
    EXPECT_EQ(process.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(process.exitCode(), 0) << process.readAllStandardError().toStdString();
    EXPECT_EQ(QImage(out).size(), QSize(15, 15));

    // A file of no known type gets the document icon built into the program.
    const QString blob = scratch(QStringLiteral("process/data.unknown-kind"));
    dwtest::writeFile(blob, QByteArray("\x00\x01\x02\x03", 4));
    const QString dir = scratch(QStringLiteral("process/icons"));
    process.start(QStringLiteral(DOTWISE_EXECUTABLE),
                  {QStringLiteral("badge"), QStringLiteral("--count"), QStringLiteral("3"),
                   QStringLiteral("--file"), blob, QStringLiteral("-o"), dir});
    ASSERT_TRUE(process.waitForFinished(30000));
    EXPECT_EQ(process.exitCode(), 0) << process.readAllStandardError().toStdString();
    const QImage icon(dir + QStringLiteral("/icon-128.png"));
    ASSERT_EQ(icon.size(), QSize(128, 128));
    EXPECT_GT(icon.pixelColor(64, 100).alpha(), 0); // the page, below the badge
}
