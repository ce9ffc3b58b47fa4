#pragma once

#include "ui/LWWorkspace.h"

#include <QHash>
#include <QMutex>
#include <QStringList>

// An in-memory workspace: icons are solid squares, custom icons are kept in a
// map, dates come from the real file system (tests use real temporary files)
// and every write and open is recorded for the test to look at. Thread-safe.
class FakeWorkspace : public LWWorkspace {
public:
    struct IconWrite {
        QString path;
        bool removed = false; // true when the write removed the custom icon
        int representations = 0;
    };
    struct DateWrite {
        QString path;
        LWTimestamp date;
    };

    FakeWorkspace();

    LWIconImage iconForFile(const QString& path) const override;
    bool setIcon(const LWIconImage& icon, const QString& path) override;
    std::optional<LWTimestamp> contentModificationDate(const QString& path) const override;
    bool setContentModificationDate(const QString& path, const LWTimestamp& date) override;
    bool isTextFile(const QString& path) const override;
    bool openFile(const QString& path) override;
    bool openUrl(const QUrl& url) override;
    bool openUrlText(const QString& url) override;
    bool selectFile(const QString& path, const QString& rootPath) override;
    QString absolutePathForApplicationWithIdentifier(const QString& identifier) const override;

    // What the test arranges.
    QColor plainIconColor = QColor(40, 90, 200);
    QList<int> iconSizes = {16, 32, 128, 256, 512};
    QStringList textSuffixes = {QStringLiteral("txt"), QStringLiteral("taskpaper"),
                                QStringLiteral("md"), QStringLiteral("todo")};
    void setInstalledApplication(const QString& identifier, const QString& path);
    bool failIconWrites = false;

    // What the code under test did.
    bool hasCustomIcon(const QString& path) const;
    LWIconImage customIcon(const QString& path) const;
    QList<IconWrite> iconWrites() const;
    QList<DateWrite> dateWrites() const;
    QStringList openedFiles() const;
    QList<QUrl> openedUrls() const;
    QStringList openedUrlTexts() const;
    QStringList selectedFiles() const;
    void clearRecords();

private:
    mutable QMutex _lock;
    QHash<QString, LWIconImage> _customIcons;
    QHash<QString, QString> _installed;
    QList<IconWrite> _iconWrites;
    QList<DateWrite> _dateWrites;
    QStringList _openedFiles;
    QList<QUrl> _openedUrls;
    QStringList _openedUrlTexts;
    QStringList _selectedFiles;
};
