#include "appproxy/LWApplicationProxy.h"

#include "fakes/FakeWorkspace.h"
#include "support/LogCapture.h"

#include <QRegularExpression>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {
struct Call {
    QString command;
    QStringList arguments;
    bool operator==(const Call&) const = default;
};

void PrintTo(const Call& call, std::ostream* out) {
    *out << call.command.toStdString() << " "
         << LWApplicationProxy::describeList(call.arguments).toStdString();
}

class RecordingHandler : public LWApplicationProxyHandler {
public:
    explicit RecordingHandler(const QStringList& commands) {
        for (const QString& name : commands)
            addCommand(name, [this, name](const QStringList& args) { calls.append({name, args}); });
    }
    QList<Call> calls;
};

// The system-log lines captured so far, without time stamp and process, joined by "\n".
QString warnings(dwtest::LogCapture& log) {
    static const QRegularExpression prefix(u"^\\S+ \\S+ \\S+\\[\\d+:\\d+\\] "_s,
                                           QRegularExpression::MultilineOption);
    return log.standardError().remove(prefix).trimmed();
}

class ApplicationProxyTest : public ::testing::Test {
protected:
    void SetUp() override {
        proxy.setActivateApplication([this] { ++activations; });
        proxy.setDelegateForName(u"editor"_s, handler);
    }
    FakeWorkspace workspace;
    LWApplicationProxy proxy{u"myscheme"_s, &workspace};
    std::shared_ptr<RecordingHandler> handler = std::make_shared<RecordingHandler>(
        QStringList{"rpcOpenFile:atLine:", "rpcRefresh", "rpcOpen", "rpcOpen:", "rpc:"});
    int activations = 0;
};
} // namespace

TEST_F(ApplicationProxyTest, IncomingURLsCallCommandsOrAreRefusedWithAWarning) {
    const std::pair<const char*, Call> accepted[] = {
        {"myscheme://editor/rpcOpenFile/My%20Notes.txt/atLine/12",
         {"rpcOpenFile:atLine:", {"My Notes.txt", "12"}}},
        // Blanks around scheme and handler are trimmed.
        {" myscheme\t://\u00A0editor /rpcRefresh", {"rpcRefresh", {}}},
        // Escapes: "+" stays, %2B and %2F decode, a broken segment is dropped.
        {"myscheme://editor/rpcOpen/a+b%2B%2Fc%3F%23%25", {"rpcOpen:", {"a+b+/c?#%"}}},
        {"myscheme://editor/rpcOpen/abc%FF", {"rpcOpen", {}}},
        {"myscheme://editor/rpcOpenFile//atLine/", {"rpcOpenFile:atLine:", {"", ""}}}};
    for (const auto& [url, call] : accepted) {
        SCOPED_TRACE(url);
        handler->calls.clear();
        dwtest::LogCapture log;
        proxy.handleIncomingURL(QString::fromUtf8(url));
        EXPECT_EQ(warnings(log), QString());
        EXPECT_EQ(handler->calls, QList<Call>{call});
    }
    const std::pair<const char*, const char*> refused[] = {
        {"myscheme://editor\n/rpcRefresh", // line breaks are not trimmed
         "WARNING: No handler for name: editor\n (command: myscheme://editor\n/rpcRefresh)"},
        {"myscheme:/editor/rpcRefresh",
         "WARNING: Invalid command URL (too short): myscheme:/editor/rpcRefresh"},
        {"myscheme:// /rpcRefresh", "WARNING: Invalid command URL: myscheme:// /rpcRefresh"},
        {"MyScheme://editor/rpcRefresh",
         "WARNING: Invalid protocol: MyScheme. Supported is only: myscheme"},
        // A foreign command name: the prefix warning, then the refusal.
        {"myscheme://editor/refresh",
         "WARNING: Ignoring all commands without 'rpc' prefix: refresh\n"
         "WARNING: Invalid method/arguments: (\"refresh\")"},
        // Odd numbers of segments: refused without the prefix warning.
        {"myscheme://editor/rpcOpen/a/b",
         "WARNING: Invalid method/arguments: (\"rpcOpen\", \"a\", \"b\")"},
        // Colons inside segments would call a command short of arguments.
        {"myscheme://editor/rpcOpen/x/a%3Ab/y",
         "WARNING: Invalid method/arguments: (\"rpcOpen\", \"x\", \"a%3Ab\", \"y\")"},
        {"myscheme://editor/rpcMissing",
         "WARNING: Delegate (editor) does not respond to selector: rpcMissing"}};
    handler->calls.clear();
    for (const auto& [url, expected] : refused) {
        SCOPED_TRACE(url);
        dwtest::LogCapture log;
        proxy.handleIncomingURL(QString::fromUtf8(url));
        EXPECT_EQ(warnings(log), QString::fromUtf8(expected));
    }
    EXPECT_TRUE(handler->calls.isEmpty());
}

TEST_F(ApplicationProxyTest, SendingOpensTheCommandURLOrRefusesWithAWarning) {
    const struct {
        const char* handler;
        const char* selector;
        QVariantList arguments;
        const char* result; // the URL opened, or the warning of a refusal
    } cases[] = {
        {"Editor",
         "rpcOpenFile:atLine:",
         {u"My Notes.txt"_s, 12},
         "myscheme://Editor/rpcOpenFile/My%20Notes.txt/atLine/12"},
        // Arguments end at the first invalid entry.
        {"h", "rpcA:", {u"1"_s, QVariant(), u"3"_s}, "myscheme://h/rpcA/1"},
        {"h",
         "rpcOpenFile:atLine:",
         {u"x"_s},
         "WARNING: Number of parameters ((\"rpcOpenFile\", \"atLine\")) and arguments ((\"x\")) "
         "do not match."},
        {"h", "::", {}, "WARNING: Invalid selector for remote invocation: ::"},
        {"a b", "rpcRefresh", {}, "WARNING: Invalid command string: myscheme://a b/rpcRefresh"}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.result);
        const QString result = QString::fromUtf8(c.result);
        const bool refused = result.startsWith(u"WARNING"_s);
        workspace.clearRecords();
        const int activationsBefore = activations;
        dwtest::LogCapture log;
        proxy.remoteInvokeSelector(QString::fromUtf8(c.selector), QString::fromUtf8(c.handler),
                                   c.arguments);
        EXPECT_EQ(warnings(log), refused ? result : QString());
        EXPECT_EQ(workspace.openedUrlTexts(), refused ? QStringList() : QStringList{result});
        EXPECT_EQ(activations, activationsBefore + (refused ? 0 : 1));
        if (!refused) {
            EXPECT_TRUE(log.loggerLines().value(0).startsWith(u"DEBUG| App proxy: opening URL: "_s +
                                                              result + u" |"_s));
        }
    }
}

// Whatever the texts and the letter case of scheme and handler name, a sent
// command comes back unchanged.
TEST_F(ApplicationProxyTest, SentCommandsComeBackUnchanged) {
    proxy.setAppProtocol(u"MyScheme"_s);
    proxy.removeDelegateForName(u"editor"_s);
    proxy.setDelegateForName(u"Editor"_s, handler);
    const QStringList texts{QString(QChar(0xFEFF)) + QChar(0) +
                                u"/?#%+ :%2F..\na\u00E9\u4E2D\U0001F600@$,;!*'()[]&=~"_s,
                            QString()};
    proxy.remoteInvokeSelector(u"rpcOpenFile:atLine:"_s, u"Editor"_s, {texts[0], texts[1]});
    proxy.handleIncomingURL(workspace.openedUrlTexts().value(0));
    EXPECT_EQ(handler->calls, (QList<Call>{{"rpcOpenFile:atLine:", texts}}));
}
