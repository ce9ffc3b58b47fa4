#include "controller/DWSoftwareUpdater.h"

#include "foundation/LWBundle.h"
#include "logging/LWLogger.h"

DWSoftwareUpdater::DWSoftwareUpdater(QObject* parent) : QObject(parent) {
    const QString feed = LWBundle::mainBundle()
                             .objectForInfoDictionaryKey(QStringLiteral("DWUpdateFeedURL"))
                             .toString();
    if (feed.isEmpty())
        return;
    _feedUrl = QUrl(feed);
    LW_LOG(3, "-[DWSoftwareUpdater init]",
           QStringLiteral("Update feed %1 noted; updates come from the package manager")
               .arg(_feedUrl.toDisplayString()));
}
