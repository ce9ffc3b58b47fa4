// Runs inside its own D-Bus session (dbus-run-session): a client on a second
// connection sees what a file manager plugin would.
#include "controller/DWBusService.h"

#include "ControllerTestSupport.h"

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QFile>

namespace {
const QString service = u"org.wrenfield.Dotwise"_s, path = u"/org/wrenfield/Dotwise"_s,
              interface = u"org.wrenfield.Dotwise"_s;

// Every signal of the interface, as "Name arg, arg".
class SignalRecorder : public QObject {
    Q_OBJECT
public:
    QStringList received;
public slots:
    void record(const QDBusMessage& message) {
        QStringList arguments;
        for (const QVariant& argument : message.arguments())
            arguments.append(argument.toString());
        received.append(message.member() + u' ' + arguments.join(u", "_s));
    }
};

// Asynchronous, as the service answers on this same thread's event loop.
QDBusMessage callOn(QDBusConnection& client, const QString& method,
                    const QString& onInterface = interface) {
    const QDBusPendingCall call =
        client.asyncCall(QDBusMessage::createMethodCall(service, path, onInterface, method));
    dwtest::waitUntil([&] { return call.isFinished(); }, 5000);
    return call.reply();
}
} // namespace

TEST_F(ControllerTest, BusServiceAnswersAndSignalsEveryChange) {
    ASSERT_TRUE(QDBusConnection::sessionBus().isConnected()) << "run with dbus-run-session";
    const QString a = makeFile(u"a.md"_s, "- [ ] 1\n- [ ] 2\n");
    saveTaskLists({a});
    DotwiseAppDelegate& app = start(true);
    app.waitUntilBadgeUpdatesFinish();
    DWBusService bus(app);
    ASSERT_TRUE(bus.registerOn(QDBusConnection::sessionBus(), service));

    QDBusConnection client = QDBusConnection::connectToBus(QDBusConnection::SessionBus, u"c"_s);
    EXPECT_EQ(qdbus_cast<QVariantMap>(callOn(client, u"TaskLists"_s).arguments().value(0)),
              (QVariantMap{{a, 2}}));
    EXPECT_EQ(callOn(client, u"IsEnabled"_s).arguments().value(0), QVariant(true));
    EXPECT_EQ(callOn(client, u"BadgeMode"_s).arguments().value(0), QVariant(u"picture"_s));

    SignalRecorder recorder;
    for (const char* name :
         {"TaskListAdded", "TaskListChanged", "TaskListRemoved", "EnabledChanged"})
        ASSERT_TRUE(client.connect(service, path, interface, QString::fromLatin1(name), &recorder,
                                   SLOT(record(QDBusMessage))));
    const auto expect = [&](const QStringList& expected) {
        EXPECT_TRUE(
            dwtest::waitUntil([&] { return recorder.received.size() >= expected.size(); }, 5000));
        EXPECT_EQ(recorder.received.join(u" | "_s).toStdString(),
                  expected.join(u" | "_s).toStdString());
        recorder.received.clear();
    };

    dwtest::writeFile(a, "- [ ] 1\n");
    ASSERT_TRUE(lw::setContentModificationDate(a, LWTimestamp{1700000000, 1}));
    streams->deliver(folder);
    app.waitUntilBadgeUpdatesFinish();
    expect({u"TaskListChanged %1, 1"_s.arg(a)});

    const QString b = makeFile(u"b.md"_s, "- [ ] 1\n- [ ] 2\n- [ ] 3\n");
    app.addFileToWatchList(b);
    app.waitUntilBadgeUpdatesFinish();
    // Announced as added before or after its first count, by how the worker
    // and the menu rebuild fall; either way the last word is its count.
    ASSERT_TRUE(dwtest::waitUntil(
        [&] { return recorder.received.join(u'|').endsWith(u"b.md, 3"_s); }, 5000));
    EXPECT_TRUE(recorder.received.constFirst().startsWith(u"TaskListAdded %1, "_s.arg(b)));
    recorder.received.clear();

    app.removeTaskListFromWatchList(app.taskListForFile(a));
    app.setIsDotwiseEnabled(false);
    expect({u"TaskListRemoved %1"_s.arg(a), u"EnabledChanged false"_s,
            u"TaskListChanged %1, -1"_s.arg(b)});

    // The interface the repository documents is the one on the bus.
    QFile documented(u"" DW_SOURCE_DIR "/src/controller/data/org.wrenfield.Dotwise.xml"_s);
    ASSERT_TRUE(documented.open(QIODevice::ReadOnly));
    const QString live = callOn(client, u"Introspect"_s, u"org.freedesktop.DBus.Introspectable"_s)
                             .arguments()
                             .value(0)
                             .toString();
    const QRegularExpression member(u"<(method|signal|arg) [^>]*>"_s);
    QStringList documentedMembers, liveMembers;
    for (const auto& match : member.globalMatch(QString::fromUtf8(documented.readAll())))
        documentedMembers.append(match.captured());
    for (const auto& match :
         member.globalMatch(live.section(u"<interface name=\"%1\">"_s.arg(interface), 1)
                                .section(u"</interface>"_s, 0, 0)))
        liveMembers.append(match.captured());
    EXPECT_EQ(documentedMembers.join(u"\n"_s).toStdString(),
              liveMembers.join(u"\n"_s).toStdString());
}

#include "DWBusServiceTest.moc"
