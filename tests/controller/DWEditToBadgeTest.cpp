#include "ControllerTestSupport.h"
#include "controller/DWTaskListTableModel.h"
#include "platform/DWInotifyEventStreamFactory.h"

#include <QFile>

// One edit from the file system to the badge, with the real watcher on real
// files: the saved file is counted again and badged with its date left as the
// edit made it; a deleted file leaves the list.
TEST_F(ControllerTest, AnEditOnDiskEndsAsANewBadgeAndADeletionAsARemoval) {
    const QString list = makeFile(u"errands.md"_s, "- [ ] milk\n");
    DotwiseAppDelegate& app = start(true, DWInotifyEventStreamFactory::create());
    app.addFileToWatchList(list);
    app.waitUntilBadgeUpdatesFinish();
    ASSERT_EQ(app.taskLists().size(), 1);
    const auto taskList = app.taskLists().first();
    ASSERT_TRUE(workspace.hasCustomIcon(list));

    // The user saves the file in place with two more tasks.
    workspace.clearEvents();
    {
        QFile file(list);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        file.write("- [ ] milk\n- [ ] bread\n- [ ] stamps\n");
    }
    const auto edited = lw::contentModificationDate(list);
    ASSERT_TRUE(edited.has_value());
    // The stream's latency is two seconds.
    ASSERT_TRUE(
        dwtest::waitUntil([&] { return !workspace.eventsFor(u"errands.md"_s).isEmpty(); }, 10000))
        << workspace.events().join(QLatin1Char(',')).toStdString();
    app.waitUntilBadgeUpdatesFinish();
    EXPECT_EQ(workspace.eventsFor(u"errands.md"_s), QStringList{u"set"_s});
    EXPECT_EQ(taskList->openTasks(), 3);
    EXPECT_EQ(app.taskListsModel()->objectValue(u"openTasks"_s, 0), u"3"_s);
    EXPECT_EQ(lw::contentModificationDate(list), edited);

    ASSERT_TRUE(QFile::remove(list));
    ASSERT_TRUE(dwtest::waitUntil([&] { return app.taskLists().isEmpty(); }, 10000));
    EXPECT_TRUE(savedPaths().isEmpty());
    EXPECT_TRUE(app.fileWatcher()->watchedFiles().isEmpty());
}
