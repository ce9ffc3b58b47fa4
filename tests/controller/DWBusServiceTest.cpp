// Runs inside its own D-Bus session (dbus-run-session): a client on a second
// connection sees what a file manager plugin would.
#include "controller/DWBusService.h"

#include "ControllerTestSupport.h"

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCall>

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

// The first value of the reply. Asynchronous, as the service answers on this
// same thread's event loop.
QVariant callOn(QDBusConnection& client, const QString& method,
                const QString& onInterface = interface) {
    const QDBusPendingCall call =
        client.asyncCall(QDBusMessage::createMethodCall(service, path, onInterface, method));
    dwtest::waitUntil([&] { return call.isFinished(); }, 5000);
    return call.reply().arguments().value(0);
}

// The methods and signals, with their arguments, of an introspection text.
QString members(const QString& xml) {
    QStringList found;
    for (const auto& match : QRegularExpression(u"<(method|signal|arg) [^>]*>"_s).globalMatch(xml))
        found.append(match.captured());
    return found.join(u'\n');
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
    EXPECT_EQ(qdbus_cast<QVariantMap>(callOn(client, u"TaskLists"_s)), (QVariantMap{{a, 2}}));
    EXPECT_EQ(callOn(client, u"IsEnabled"_s), QVariant(true));
    EXPECT_EQ(callOn(client, u"BadgeMode"_s), QVariant(u"picture"_s));
    // The interface the repository documents is the one on the bus.
    const QString live = callOn(client, u"Introspect"_s, u"org.freedesktop.DBus.Introspectable"_s)
                             .toString()
                             .section(u"<interface name=\"%1\">"_s.arg(interface), 1)
                             .section(u"</interface>"_s, 0, 0);
    EXPECT_EQ(members(QString::fromUtf8(dwtest::readFile(
                  u"" DW_SOURCE_DIR "/src/controller/data/org.wrenfield.Dotwise.xml"_s))),
              members(live));

    SignalRecorder recorder;
    ASSERT_TRUE(
        client.connect(service, path, interface, QString(), &recorder, SLOT(record(QDBusMessage))));
    const auto expect = [&](const QStringList& expected) {
        EXPECT_TRUE(
            dwtest::waitUntil([&] { return recorder.received.size() >= expected.size(); }, 5000));
        EXPECT_EQ(recorder.received, expected);
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
}

#include "DWBusServiceTest.moc"
