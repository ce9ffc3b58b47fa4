#include "controller/DWTableDropTarget.h"

#include <QApplication>
#include <QDropEvent>
#include <QMimeData>
#include <QTableView>
#include <gtest/gtest.h>

namespace {
std::unique_ptr<QMimeData> fileDrag(const QStringList& paths) {
    auto data = std::make_unique<QMimeData>();
    QList<QUrl> urls;
    for (const QString& path : paths)
        urls << QUrl::fromLocalFile(path);
    data->setUrls(urls);
    return data;
}

class TableDropTarget : public ::testing::Test {
protected:
    TableDropTarget() {
        table.resize(300, 200);
        new DWTableDropTarget(
            &table,
            [this](const QMimeData*, Qt::DropActions) {
                ++validations;
                return offered;
            },
            [this](const QMimeData* data, Qt::DropActions possible) {
                dropped << DWTableDropTarget::filePaths(data);
                droppedWith = possible;
                return acceptAnswer;
            });
    }

    bool enter(const QMimeData* data, Qt::DropActions possible = Qt::CopyAction | Qt::MoveAction) {
        QDragEnterEvent event(QPoint(20, 20), possible, data, Qt::LeftButton, Qt::NoModifier);
        QCoreApplication::sendEvent(table.viewport(), &event);
        lastAction = event.dropAction();
        return event.isAccepted();
    }
    // As on screen: a drop follows an accepted drag-enter (Qt delivers drops
    // only to the widget that took the drag).
    bool drop(const QMimeData* data, Qt::DropActions possible = Qt::CopyAction | Qt::MoveAction) {
        if (!enter(data, possible))
            return false;
        QDropEvent event(QPointF(20, 20), possible, data, Qt::LeftButton, Qt::NoModifier);
        QCoreApplication::sendEvent(table.viewport(), &event);
        return event.isAccepted();
    }

    QTableView table;
    Qt::DropAction offered = Qt::CopyAction;
    bool acceptAnswer = true;
    int validations = 0;
    QStringList dropped;
    Qt::DropActions droppedWith;
    Qt::DropAction lastAction = Qt::IgnoreAction;
};
} // namespace

TEST_F(TableDropTarget, OffersWhatValidationSaysForFileDragsAndHighlights) {
    const auto data = fileDrag({QStringLiteral("/tmp/a.txt")});
    EXPECT_TRUE(enter(data.get()));
    EXPECT_EQ(lastAction, Qt::CopyAction);
    EXPECT_TRUE(table.property("dropTarget").toBool());
    QDragLeaveEvent leave;
    QCoreApplication::sendEvent(table.viewport(), &leave);
    EXPECT_FALSE(table.property("dropTarget").toBool());

    offered = Qt::IgnoreAction; // e.g. badging switched off
    EXPECT_FALSE(enter(data.get()));
    EXPECT_FALSE(table.property("dropTarget").toBool());
    // A source that doesn't allow the offered operation is not offered it.
    offered = Qt::CopyAction;
    EXPECT_FALSE(enter(data.get(), Qt::MoveAction | Qt::LinkAction));
}

TEST_F(TableDropTarget, DragsWithoutFilesAreNeverOffered) {
    QMimeData text;
    text.setText(QStringLiteral("- [ ] not a file"));
    EXPECT_FALSE(enter(&text));
    QMimeData web;
    web.setUrls({QUrl(QStringLiteral("https://example.org/list.txt"))});
    EXPECT_FALSE(enter(&web));
    EXPECT_FALSE(drop(&web));
    EXPECT_EQ(validations, 0);
    EXPECT_TRUE(dropped.isEmpty());
}

TEST_F(TableDropTarget, DropHandsTheFilesInOrderWithTheSourcesOperations) {
    QMimeData mixed;
    mixed.setUrls({QUrl::fromLocalFile(QStringLiteral("/tmp/one.txt")),
                   QUrl(QStringLiteral("https://example.org/x")),
                   QUrl::fromLocalFile(QStringLiteral("/tmp/two.taskpaper"))});
    EXPECT_TRUE(drop(&mixed, Qt::CopyAction | Qt::LinkAction));
    EXPECT_EQ(dropped,
              (QStringList{QStringLiteral("/tmp/one.txt"), QStringLiteral("/tmp/two.taskpaper")}));
    EXPECT_EQ(droppedWith, Qt::CopyAction | Qt::LinkAction);
    EXPECT_FALSE(table.property("dropTarget").toBool());

    acceptAnswer = false;
    EXPECT_FALSE(drop(fileDrag({QStringLiteral("/tmp/three.txt")}).get()));
}
