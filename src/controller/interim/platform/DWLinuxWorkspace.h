#pragma once
// INTERIM stand-in until the platform layer lands; removed then. Icons are a
// plain square and custom icons are not written.
#include "ui/LWWorkspace.h"

class DWLinuxWorkspace : public LWWorkspace {
public:
    LWIconImage iconForFile(const QString& path) const override;
    bool setIcon(const LWIconImage& icon, const QString& path) override;
    std::optional<LWTimestamp> contentModificationDate(const QString& path) const override;
    bool setContentModificationDate(const QString& path, const LWTimestamp& date) override;
    bool isTextFile(const QString& path) const override;
    bool openFile(const QString& path) override;
    bool openUrl(const QUrl& url) override;
    bool selectFile(const QString& path, const QString& rootPath) override;
    QString absolutePathForApplicationWithIdentifier(const QString& identifier) const override;
};
