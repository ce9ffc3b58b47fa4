#include "controller/DWExampleFiles.h"

#include "support/TestEnvironment.h"

#include <QDir>
#include <QFile>
#include <QFileDialog>
#include <QPointer>
#include <QStandardPaths>
#include <QWidget>
#include <gtest/gtest.h>
#include <unistd.h>

namespace {
const QString kText = QStringLiteral("Example Task List.txt");
const QString kTaskPaper = QStringLiteral("Example Task List.taskpaper");

QString freshFolder(const QString& name) {
    const QString path = dwtest::homePath() + QLatin1Char('/') + name;
    QDir(path).removeRecursively();
    QDir().mkpath(path);
    return path;
}

QByteArray resourceBytes(const QString& fileName) {
    QFile file(DWExampleFiles::resourcePath(fileName));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}
} // namespace

TEST(ExampleFiles, BothExamplesAreShippedAsUtf8Text) {
    for (const QString& name : {kText, kTaskPaper}) {
        const QByteArray bytes = resourceBytes(name);
        ASSERT_FALSE(bytes.isEmpty()) << name.toStdString();
        EXPECT_EQ(QString::fromUtf8(bytes).toUtf8(), bytes);
        EXPECT_FALSE(bytes.contains('\r'));
    }
    EXPECT_TRUE(resourceBytes(kText).contains("- [ ] "));
    EXPECT_TRUE(resourceBytes(kTaskPaper).contains("\t- "));
    EXPECT_TRUE(resourceBytes(kTaskPaper).contains(" @done"));
    EXPECT_TRUE(DWExampleFiles::resourcePath(QStringLiteral("Example Task List.md")).isEmpty());
}

TEST(ExampleFiles, CopiesTheExamplesVerbatimIntoTheFolder) {
    const QString folder = freshFolder(QStringLiteral("copies"));
    for (const QString& name : {kText, kTaskPaper}) {
        const QString written = DWExampleFiles::writeExampleFile(name, folder);
        EXPECT_EQ(written, folder + QLatin1Char('/') + name);
        EXPECT_EQ(dwtest::readFile(written), resourceBytes(name));
    }
    // Nothing else is left behind (no temporary files).
    EXPECT_EQ(QDir(folder).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot).size(),
              2);
}

TEST(ExampleFiles, NeverReplacesAnExistingItem) {
    const QString folder = freshFolder(QStringLiteral("existing"));
    dwtest::writeFile(folder + QLatin1Char('/') + kText, "my own list\n");
    EXPECT_TRUE(DWExampleFiles::writeExampleFile(kText, folder).isEmpty());
    EXPECT_EQ(dwtest::readFile(folder + QLatin1Char('/') + kText), QByteArray("my own list\n"));
    // The other example is still made.
    EXPECT_FALSE(DWExampleFiles::writeExampleFile(kTaskPaper, folder).isEmpty());

    // A dangling link is an item too: neither it nor what it points at changes.
    const QString other = freshFolder(QStringLiteral("dangling"));
    const QString pointee = other + QStringLiteral("/elsewhere.txt");
    ASSERT_TRUE(QFile::link(pointee, other + QLatin1Char('/') + kText));
    EXPECT_TRUE(DWExampleFiles::writeExampleFile(kText, other).isEmpty());
    EXPECT_FALSE(QFile::exists(pointee));
    // And a folder of that name.
    QDir().mkpath(other + QLatin1Char('/') + kTaskPaper);
    EXPECT_TRUE(DWExampleFiles::writeExampleFile(kTaskPaper, other).isEmpty());
}

TEST(ExampleFiles, HomeTildeMissingFoldersAndUnknownNames) {
    EXPECT_EQ(DWExampleFiles::targetPath(kText, QStringLiteral("~/Lists")),
              QDir::homePath() + QStringLiteral("/Lists/") + kText);
    EXPECT_EQ(DWExampleFiles::targetPath(kText, QStringLiteral("~")),
              QDir::homePath() + QLatin1Char('/') + kText);
    // Only a leading tilde is the home folder.
    EXPECT_EQ(DWExampleFiles::targetPath(kText, QStringLiteral("/srv/~x")),
              QStringLiteral("/srv/~x/") + kText);

    freshFolder(QStringLiteral("Lists"));
    EXPECT_EQ(DWExampleFiles::writeExampleFile(kText, QStringLiteral("~/Lists")),
              QDir::homePath() + QStringLiteral("/Lists/") + kText);

    EXPECT_TRUE(DWExampleFiles::writeExampleFile(kText, dwtest::homePath() +
                                                            QStringLiteral("/no/such/folder"))
                    .isEmpty());
    EXPECT_TRUE(DWExampleFiles::writeExampleFile(QStringLiteral("Unknown.txt"),
                                                 freshFolder(QStringLiteral("unknown")))
                    .isEmpty());
    EXPECT_TRUE(QDir(dwtest::homePath() + QStringLiteral("/unknown")).isEmpty());
}

TEST(ExampleFiles, FolderThatCannotBeWrittenMakesNothing) {
    // A file where the folder should be fails for every user, root included.
    const QString notAFolder = dwtest::homePath() + QStringLiteral("/plain-file");
    dwtest::writeFile(notAFolder, "x");
    EXPECT_TRUE(DWExampleFiles::writeExampleFile(kText, notAFolder).isEmpty());
    EXPECT_EQ(dwtest::readFile(notAFolder), QByteArray("x"));

    if (::geteuid() != 0) {
        const QString folder = freshFolder(QStringLiteral("readonly"));
        QFile::setPermissions(folder, QFileDevice::ReadOwner | QFileDevice::ExeOwner);
        EXPECT_TRUE(DWExampleFiles::writeExampleFile(kText, folder).isEmpty());
        QFile::setPermissions(folder, QFileDevice::ReadOwner | QFileDevice::WriteOwner |
                                          QFileDevice::ExeOwner);
        EXPECT_TRUE(QDir(folder).isEmpty());
    }
}

class FolderChooser : public ::testing::Test {
protected:
    void SetUp() override {
        desktop = QStandardPaths::writableLocation(QStandardPaths::DesktopLocation);
        QDir().mkpath(desktop);
        window.resize(400, 300);
        window.show();
    }
    QString desktop;
    QWidget window;
    QStringList chosen;
};

TEST_F(FolderChooser, IsAWindowModalOneFolderChooserStartingOnTheDesktop) {
    QPointer<QFileDialog> panel = DWExampleFiles::openFolderChooser(
        &window, [this](const QString& folder) { chosen << folder; });
    ASSERT_TRUE(panel);
    EXPECT_TRUE(panel->isVisible());
    EXPECT_EQ(panel->parentWidget(), &window);
    EXPECT_EQ(panel->windowModality(), Qt::WindowModal);
    EXPECT_EQ(panel->fileMode(), QFileDialog::Directory);
    EXPECT_TRUE(panel->testOption(QFileDialog::ShowDirsOnly));
    EXPECT_FALSE(panel->testOption(QFileDialog::ReadOnly));
    EXPECT_EQ(panel->labelText(QFileDialog::Accept), QStringLiteral("Select"));
    EXPECT_EQ(QDir(panel->directory()).canonicalPath(), QDir(desktop).canonicalPath());

    const QString folder = freshFolder(QStringLiteral("picked"));
    panel->setDirectory(folder); // as a user does it: go into the folder, press Select
    static_cast<QDialog*>(panel.data())->accept(); // what the Select button does
    ASSERT_EQ(chosen.size(), 1);
    EXPECT_EQ(QDir(chosen.first()).canonicalPath(), QDir(folder).canonicalPath());
    EXPECT_TRUE(dwtest::waitUntil([&] { return panel.isNull(); }, 2000)); // deleted on close
}

TEST_F(FolderChooser, CancelChoosesNothing) {
    QPointer<QFileDialog> panel = DWExampleFiles::openFolderChooser(
        &window, [this](const QString& folder) { chosen << folder; });
    ASSERT_TRUE(panel);
    panel->reject();
    EXPECT_TRUE(chosen.isEmpty());
    EXPECT_TRUE(dwtest::waitUntil([&] { return panel.isNull(); }, 2000));
}
