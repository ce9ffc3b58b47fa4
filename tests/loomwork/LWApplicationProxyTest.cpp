#include "appproxy/LWApplicationProxy.h"

#include "fakes/FakeWorkspace.h"
#include "support/LogCapture.h"

#include <QRandomGenerator>
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

// A handler that records every command it receives.
class RecordingHandler : public LWApplicationProxyHandler {
public:
    explicit RecordingHandler(const QStringList& commands) {
        for (const QString& name : commands)
            addCommand(name, [this, name](const QStringList& args) { calls.append({name, args}); });
    }
    QList<Call> calls;
};

// The text of each system-log line written while `work` ran.
template <typename Work> QStringList warningsDuring(Work work) {
    dwtest::LogCapture log;
    work();
    const QString output = log.standardError();
    QStringList lines;
    static const QRegularExpression prefix(u"^\\S+ \\S+ \\S+\\[\\d+:\\d+\\] "_s);
    for (QString line : output.split(u'\n', Qt::SkipEmptyParts))
        lines.append(line.remove(prefix));
    return lines;
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
        EXPECT_TRUE(
            warningsDuring([&] { proxy.handleIncomingURL(QString::fromUtf8(url)); }).isEmpty());
        EXPECT_EQ(handler->calls, QList<Call>{call});
    }
    // The system-log lines of each refusal, joined by "\n".
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

    for (const auto& [url, warnings] : refused) {
        SCOPED_TRACE(url);
        const QStringList lines =
            warningsDuring([&] { proxy.handleIncomingURL(QString::fromUtf8(url)); });
        EXPECT_EQ(lines.join(u'\n'), QString::fromUtf8(warnings));
    }
    EXPECT_EQ(handler->calls.size(), 1); // the refusals called nothing
}

TEST_F(ApplicationProxyTest, SendingWritesTheCommandURLOrRefuses) {
    // Scheme and handler name go out as they are.
    const QString expected = u"MyScheme://Editor/rpcOpenFile/My%20Notes.txt/atLine/12"_s;
    proxy.setAppProtocol(u"MyScheme"_s);
    proxy.remoteInvokeSelector(u"rpcOpenFile:atLine:"_s, u"Editor"_s, {u"My Notes.txt"_s, 12});
    EXPECT_EQ(workspace.openedUrlTexts(), QStringList{expected});
    EXPECT_EQ(activations, 1);
    proxy.setAppProtocol(u"myscheme"_s);

    auto sent = [&](const char* selector, const QVariantList& args) {
        workspace.clearRecords();
        proxy.remoteInvokeSelector(QString::fromUtf8(selector), u"handler"_s, args);
        return workspace.openedUrlTexts().value(0);
    };
    // Arguments end at the first invalid entry.
    EXPECT_EQ(sent("rpcA:", {u"1"_s, QVariant(), u"3"_s}), u"myscheme://handler/rpcA/1"_s);

    QStringList warnings =
        warningsDuring([&] { EXPECT_TRUE(sent("rpcOpenFile:atLine:", {u"x"_s}).isNull()); });
    EXPECT_EQ(warnings, QStringList{"WARNING: Number of parameters ((\"rpcOpenFile\", \"atLine\")) "
                                    "and arguments ((\"x\")) do not match."});
    warnings = warningsDuring([&] { EXPECT_TRUE(sent("::", {}).isNull()); });
    EXPECT_EQ(warnings, QStringList{"WARNING: Invalid selector for remote invocation: ::"});
    proxy.setAppProtocol(u"my scheme"_s);
    warnings = warningsDuring([&] { EXPECT_TRUE(sent("rpcRefresh", {}).isNull()); });
    EXPECT_EQ(warnings,
              QStringList{"WARNING: Invalid command string: my scheme://handler/rpcRefresh"});
    EXPECT_EQ(activations, 2); // refused sends do not activate
}

// Sending and then receiving gives back the same command and texts, for any
// argument text and whatever the letter case of scheme and handler name.
TEST_F(ApplicationProxyTest, SentCommandsComeBackUnchanged) {
    proxy.setAppProtocol(u"MyScheme"_s);
    proxy.removeDelegateForName(u"editor"_s);
    proxy.setDelegateForName(u"Editor"_s, handler);
    QStringList samples{QChar(0xFEFF) + u"bom"_s, QString(QChar(0))};
    for (const char* text : {"", "/", "?", "#", "%", "+", " ", ":", "%2F", "..", "a\nb", "\u00E9",
                             "\U0001F600", "@$,;!*'()", "a/b?c#d%e+f"})
        samples.append(QString::fromUtf8(text));
    QRandomGenerator random(77);
    for (int i = 0; i < 100; ++i) {
        QList<char32_t> text;
        for (int k = random.bounded(0, 12); k > 0; --k) {
            const char32_t c = char32_t(random.bounded(0x20, 0x10FFFF));
            // Printable ASCII, the BMP below the surrogates, or beyond the BMP.
            text.append(c < 0x7F || c >= 0x10000 ? c : char32_t(0xA0 + c % (0xD7FF - 0xA0)));
        }
        samples.append(QString::fromUcs4(text.data(), text.size()));
    }
    for (qsizetype i = 0; i + 1 < samples.size(); ++i) {
        const QString first = samples[i];
        const QString second = samples[i + 1];
        workspace.clearRecords();
        handler->calls.clear();
        proxy.remoteInvokeSelector(u"rpcOpenFile:atLine:"_s, u"Editor"_s, {first, second});
        ASSERT_EQ(workspace.openedUrlTexts().size(), 1) << first.toStdString();
        proxy.handleIncomingURL(workspace.openedUrlTexts().first());
        ASSERT_EQ(handler->calls.size(), 1) << first.toStdString();
        EXPECT_EQ(handler->calls.first(), (Call{"rpcOpenFile:atLine:", {first, second}}));
    }
}
