#pragma once

#include "platform/DWFileEmblems.h"

#include <QHash>
#include <QStringList>
#include <mutex>

// Emblems kept in a map by path. Thread-safe.
class FakeFileEmblems : public DWFileEmblems {
public:
    bool replaceEmblem(const QString& path, const QString& ownPrefix, const QString& name) override;

    QStringList emblems(const QString& path) const;
    void setEmblems(const QString& path, const QStringList& emblems);

private:
    mutable std::mutex _lock;
    QHash<QString, QStringList> _emblems;
};
