#pragma once

#include <QMenu>
#include <QObject>
#include <QPointer>
#include <QString>
#include <memory>

class LWWorkspace;

// Keeps the application's own list of recently opened documents in the user's
// preferences ("LWRecentDocuments", most recent first) and fills an "Open
// Recent" menu from it each time the menu is about to open: one entry per
// document that still exists (display name, 16-point icon), then "Clear
// Menu". Choosing an entry emits openFile() with the document's full path.
//
// The list is read afresh for every operation; the controller keeps no copy.
// Main thread only.
class LWOpenRecentMenuController : public QObject {
    Q_OBJECT

public:
    static constexpr int defaultMaximumRecentDocumentCount = 10;

    // Icons come from `workspace`, which must outlive the controller.
    explicit LWOpenRecentMenuController(LWWorkspace* workspace, QObject* parent = nullptr);
    ~LWOpenRecentMenuController() override;

    // The "Open Recent" menu the controller made, or the one set instead; the
    // caller places it (for instance as a submenu of its File menu). The
    // controller owns the menu it made.
    QMenu* openRecentMenu() const { return _openRecentMenu; }
    void setOpenRecentMenu(QMenu* menu);

    int maximumRecentDocumentCount() const { return _maximumRecentDocumentCount; }
    void setMaximumRecentDocumentCount(int count) { _maximumRecentDocumentCount = count; }

    // Records a document the application has just opened. Paths already in the
    // list keep their place; paths where nothing exists are not recorded.
    void noteNewRecentDocumentWithPath(const QString& path);

    // Action of the document entries: a menu item carrying a path emits
    // openFile(); anything else is ignored.
    void openRecentDocument(QObject* sender);
    // Action of "Clear Menu".
    void clearRecentDocuments(QObject* sender);
    // Rebuilds the entries; runs just before the menu opens.
    void menuNeedsUpdate(QMenu* menu);

signals:
    // The application opens the file (its answer is not looked at).
    void openFile(const QString& path);

private:
    QString _displayNameForPath(const QString& path) const;

    LWWorkspace* _workspace;
    std::unique_ptr<QMenu> _ownMenu;
    QPointer<QMenu> _openRecentMenu;
    QMetaObject::Connection _aboutToShow;
    int _maximumRecentDocumentCount = defaultMaximumRecentDocumentCount;
};
