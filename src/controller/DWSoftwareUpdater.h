#pragma once

#include <QObject>
#include <QUrl>

// The application's updater. On Linux the package manager updates Dotwise, so
// no update framework is bundled and this object never checks or downloads
// anything by itself: it is created at start-up and kept, and only records the
// feed named in the information list ("DWUpdateFeedURL") for whoever wants to
// know where updates would come from.
class DWSoftwareUpdater : public QObject {
    Q_OBJECT
public:
    explicit DWSoftwareUpdater(QObject* parent = nullptr);

    QUrl feedUrl() const { return _feedUrl; }
    // Always true: nothing runs in the background.
    bool isIdle() const { return true; }

private:
    QUrl _feedUrl;
};
