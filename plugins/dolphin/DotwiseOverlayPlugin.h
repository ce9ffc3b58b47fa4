#pragma once

#include <KOverlayIconPlugin>
#include <QDBusServiceWatcher>
#include <QHash>
#include <QVariantMap>

// Dolphin's overlay for files Dotwise watches: the emblem of the file's count,
// "emblem-dotwise-<count>", which Dotwise draws into the user's icon theme.
//
// Dolphin asks on its main thread and must not wait, so the counts live in a
// cache filled by asynchronous calls to the running Dotwise on the session bus
// and kept current by its signals; every change is passed on as
// overlaysChanged. Without a running Dotwise, or with badging off, files carry
// nothing.
class DotwiseOverlayPlugin : public KOverlayIconPlugin {
    Q_OBJECT
    Q_PLUGIN_METADATA(IID "org.wrenfield.Dotwise.OverlayIconPlugin" FILE "dotwise-overlay.json")
public:
    explicit DotwiseOverlayPlugin(QObject* parent = nullptr);

    QStringList getOverlays(const QUrl& item) override;

private Q_SLOTS:
    void taskListChanged(const QString& path, int openTasks);
    void taskListRemoved(const QString& path);
    void enabledChanged(bool enabled);

private:
    void fetch();
    void forget();
    QStringList overlaysFor(const QString& path) const;
    void announce(const QString& path);

    QDBusServiceWatcher _watcher;
    QHash<QString, int> _counts;
    bool _enabled = false;
};
