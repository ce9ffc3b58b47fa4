#pragma once

#include "ui/LWWorkspace.h"

#include <QHash>
#include <QMutex>
#include <QStringList>

// An in-memory workspace: icons are solid squares, custom icons are kept in a
// map, dates come from the real file system (tests use real temporary files)
// and every open is recorded for the test to look at. Thread-safe.
class FakeWorkspace : public LWWorkspace {
public:
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
    void setInstalledApplication(const QString& identifier, const QString& path);

    // What the code under test did.
    bool hasCustomIcon(const QString& path) const { return locked(_customIcons).contains(path); }
    QStringList openedFiles() const { return locked(_openedFiles); }
    QList<QUrl> openedUrls() const { return locked(_openedUrls); }
    QStringList openedUrlTexts() const { return locked(_openedUrlTexts); }
    QStringList selectedFiles() const { return locked(_selectedFiles); }
    void clearRecords();

private:
    // A copy taken under the lock.
    template <typename T> T locked(const T& value) const {
        QMutexLocker locker(&_lock);
        return value;
    }

    mutable QMutex _lock;
    QHash<QString, LWIconImage> _customIcons;
    QHash<QString, QString> _installed;
    QStringList _openedFiles;
    QList<QUrl> _openedUrls;
    QStringList _openedUrlTexts;
    QStringList _selectedFiles;
};
