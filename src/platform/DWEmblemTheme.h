#pragma once

#include <QList>
#include <QSet>
#include <QString>
#include <mutex>

// The emblems of the counts, "emblem-dotwise-<count>", drawn with the badge
// image into the user's hicolor icon theme at every emblem size the theme
// declares (16 to 256 points, each also at 2x), so that any file manager that
// draws "metadata::emblems" (and Dolphin's overlay plugin) finds them by name.
//
// A picture never changes under its name: a file manager keeps showing the
// one it loaded first. GTK file managers look for new icons only once the theme
// folder's own modification time moves, so every install that adds icons ends
// by touching it. Thread-safe.
class DWEmblemTheme {
public:
    static const QString kNamePrefix; // "emblem-dotwise-"
    // `themeDirectory` empty: $XDG_DATA_HOME/icons/hicolor. The counts below
    // `commonCounts` are worth drawing ahead of need, so that a count change
    // usually finds its emblem already known to the file manager.
    explicit DWEmblemTheme(QString themeDirectory = QString(), int commonCounts = 100);

    static QString emblemName(int openTasks);
    // Point sizes drawn; each at 1x and 2x.
    static const QList<int>& sizes();
    // The PNG of one size and scale.
    QString iconPath(int openTasks, int size, int scale) const;
    QString themeDirectory() const { return _themeDirectory; }
    int commonCounts() const { return _commonCounts; }

    // Draws the emblems of the counts that are not installed yet, then touches
    // the theme folder if it added any. False (and a log line) when a picture
    // can't be written.
    bool install(const QList<int>& counts);
    bool install(int openTasks) { return install(QList<int>{openTasks}); }
    bool isInstalled(int openTasks) const;
    // Deletes every emblem picture of ours from the theme, for uninstalling;
    // answers how many it deleted.
    int uninstall();

private:
    // How many pictures it wrote; -1 when one could not be written.
    int draw(int openTasks) const;

    QString _themeDirectory;
    int _commonCounts;
    mutable std::mutex _lock;
    QSet<int> _installed;
};
