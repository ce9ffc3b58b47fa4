#include "FuzzInput.h"
#include "appproxy/LWApplicationProxy.h"
#include "ui/LWWorkspace.h"

#include <QCoreApplication>
#include <QUrl>
#include <cstdlib>

namespace {
// Records the URL the proxy asks to open; nothing else is used.
class RecordingWorkspace : public LWWorkspace {
public:
    LWIconImage iconForFile(const QString&) const override { return {}; }
    bool setIcon(const LWIconImage&, const QString&) override { return false; }
    std::optional<LWTimestamp> contentModificationDate(const QString&) const override {
        return std::nullopt;
    }
    bool setContentModificationDate(const QString&, const LWTimestamp&) override { return false; }
    bool isTextFile(const QString&) const override { return false; }
    bool openFile(const QString&) override { return false; }
    bool openUrl(const QUrl&) override { return false; }
    bool openUrlText(const QString& url) override {
        opened = url;
        return true;
    }
    bool selectFile(const QString&, const QString&) override { return false; }
    QString absolutePathForApplicationWithIdentifier(const QString&) const override { return {}; }
    QString opened;
};

struct Received {
    QString command;
    QStringList arguments;
};

RecordingWorkspace* workspace;
LWApplicationProxy* proxy;
QList<Received>* received;
} // namespace

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
    static QCoreApplication app(*argc, *argv);
    workspace = new RecordingWorkspace();
    proxy = new LWApplicationProxy(QStringLiteral("fuzz"), workspace);
    proxy->setActivateApplication([] {});
    received = new QList<Received>();
    auto handler = std::make_shared<LWApplicationProxyHandler>();
    for (const char* name : {"rpcGo", "rpcGo:", "rpcOpen:with:", "rpc:"}) {
        const QString command = QString::fromLatin1(name);
        handler->addCommand(command, [command](const QStringList& arguments) {
            received->append({command, arguments});
        });
    }
    proxy->setDelegateForName(QStringLiteral("h"), handler);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const QString text = fuzzText(data, size);

    // Any text as an incoming URL, and the same text behind the scheme and
    // handler so the path reading gets exercised too.
    received->clear();
    proxy->handleIncomingURL(text);
    proxy->handleIncomingURL(QStringLiteral("fuzz://h/") + text);
    for (const Received& call : *received) {
        if (!call.command.startsWith(QStringLiteral("rpc")) ||
            call.arguments.size() != call.command.count(u':'))
            std::abort();
    }

    // Sending then receiving gives the same texts back.
    const qsizetype cut = text.indexOf(u'\n');
    const QString first = cut < 0 ? text : text.left(cut);
    const QString second = cut < 0 ? QString() : text.mid(cut + 1);
    workspace->opened.clear();
    received->clear();
    proxy->remoteInvokeSelector(QStringLiteral("rpcOpen:with:"), QStringLiteral("h"),
                                {first, second});
    if (workspace->opened.isEmpty())
        return 0; // refused: a lone surrogate has no UTF-8 form
    proxy->handleIncomingURL(workspace->opened);
    if (received->size() != 1 || received->first().arguments != QStringList{first, second})
        std::abort();
    return 0;
}
