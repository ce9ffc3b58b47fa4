#include "appproxy/LWApplicationProxy.h"

#include "foundation/LWArrayAdditions.h"
#include "foundation/LWScanner.h"
#include "foundation/LWStringAdditions.h"
#include "logging/LWLogger.h"
#include "logging/LWSystemLog.h"
#include "ui/LWWorkspace.h"

#include <QGuiApplication>
#include <QStringDecoder>
#include <QUrl>
#include <QWindow>

namespace {
// Blanks are spaces, tabs and the other Unicode space separators; line breaks
// are not blanks, so QString::trimmed does not fit.
bool isBlank(QChar c) {
    return c == u'\t' || c.category() == QChar::Separator_Space;
}

QString trimmedOfBlanks(const QString& text) {
    qsizetype start = 0;
    qsizetype end = text.size();
    while (start < end && isBlank(text[start]))
        ++start;
    while (end > start && isBlank(text[end - 1]))
        --end;
    return text.mid(start, end - start);
}

// "%" and two hexadecimal digits stand for one byte, the bytes read as UTF-8;
// "+" stays "+". Nothing when an escape is broken or the bytes are no UTF-8.
std::optional<QString> percentDecoded(const QString& segment) {
    if (!segment.contains(u'%'))
        return segment;
    for (qsizetype i = segment.indexOf(u'%'); i >= 0; i = segment.indexOf(u'%', i + 3)) {
        if (i + 2 >= segment.size() || lw::hexDigitValue(segment[i + 1]) < 0 ||
            lw::hexDigitValue(segment[i + 2]) < 0)
            return std::nullopt;
    }
    // A leading byte-order mark is text like any other here, not a marker.
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless |
                                                     QStringDecoder::Flag::ConvertInitialBom);
    QString text = decoder.decode(QByteArray::fromPercentEncoding(segment.toUtf8()));
    if (decoder.hasError())
        return std::nullopt;
    return text;
}

void warn(const QString& text) {
    lw::systemLog(text);
}

void activateMostRecentWindow() {
    if (!qobject_cast<QGuiApplication*>(QCoreApplication::instance()))
        return;
    QWindow* target = QGuiApplication::focusWindow();
    if (!target) {
        const QWindowList windows = QGuiApplication::topLevelWindows();
        for (QWindow* window : windows) {
            if (window->isVisible()) {
                target = window;
                break;
            }
        }
    }
    if (target) {
        target->raise();
        target->requestActivate();
    }
}
} // namespace

LWApplicationProxy::LWApplicationProxy(const QString& protocol, LWWorkspace* workspace)
    : _appProtocol(protocol), _workspace(workspace),
      _activateApplication(activateMostRecentWindow) {}

QString LWApplicationProxy::appProtocol() const {
    QMutexLocker locker(&_lock);
    return _appProtocol;
}

void LWApplicationProxy::setAppProtocol(const QString& protocol) {
    QMutexLocker locker(&_lock);
    _appProtocol = protocol;
}

LWApplicationProxy::HandlerMap LWApplicationProxy::delegatesByName() const {
    QMutexLocker locker(&_lock);
    return _delegatesByName;
}

void LWApplicationProxy::setDelegatesByName(const HandlerMap& delegates) {
    QMutexLocker locker(&_lock);
    _delegatesByName = delegates;
}

void LWApplicationProxy::setDelegateForName(const QString& name,
                                            std::shared_ptr<LWApplicationProxyHandler> handler) {
    QMutexLocker locker(&_lock);
    if (handler)
        _delegatesByName.insert(name, std::move(handler));
    else
        _delegatesByName.remove(name);
}

void LWApplicationProxy::removeDelegateForName(const QString& name) {
    QMutexLocker locker(&_lock);
    _delegatesByName.remove(name);
}

void LWApplicationProxy::setActivateApplication(std::function<void()> activate) {
    _activateApplication = std::move(activate);
}

QString LWApplicationProxy::describeList(const QStringList& list) {
    QStringList quoted;
    quoted.reserve(list.size());
    for (const QString& item : list)
        quoted.append(u'"' + item + u'"');
    return u'(' + quoted.join(QStringLiteral(", ")) + u')';
}

void LWApplicationProxy::handleIncomingURL(const QString& url) {
    const QStringList components = lw::splitIntoURLComponents(url);
    if (components.size() < 3) {
        warn(QStringLiteral("WARNING: Invalid command URL (too short): %1").arg(url));
        return;
    }
    const QString scheme = trimmedOfBlanks(components[0]);
    const QString handlerName = trimmedOfBlanks(components[1]);
    if (scheme.isEmpty() || handlerName.isEmpty()) {
        warn(QStringLiteral("WARNING: Invalid command URL: %1").arg(url));
        return;
    }
    const QString protocol = appProtocol();
    if (scheme != protocol) {
        warn(QStringLiteral("WARNING: Invalid protocol: %1. Supported is only: %2")
                 .arg(scheme, protocol));
        return;
    }
    std::shared_ptr<LWApplicationProxyHandler> handler;
    {
        QMutexLocker locker(&_lock);
        handler = _delegatesByName.value(handlerName);
    }
    if (!handler) {
        warn(
            QStringLiteral("WARNING: No handler for name: %1 (command: %2)").arg(handlerName, url));
        return;
    }
    const QStringList path = components.mid(2);
    std::optional<QStringList> arguments;
    const std::optional<QString> selector = _selectorNameFromPath(path, &arguments);
    if (!selector) {
        warn(QStringLiteral("WARNING: Invalid method/arguments: %1").arg(describeList(path)));
        return;
    }
    if (!handler->respondsToSelector(*selector)) {
        warn(QStringLiteral("WARNING: Delegate (%1) does not respond to selector: %2")
                 .arg(handlerName, *selector));
        return;
    }
    // Every argument goes as text; the handler makes of it what it needs.
    handler->invoke(*selector, arguments.value_or(QStringList()));
}

std::optional<QString>
LWApplicationProxy::_selectorNameFromPath(const QStringList& path,
                                          std::optional<QStringList>* arguments) const {
    *arguments = std::nullopt;
    const QStringList segments = lw::map(path, percentDecoded);
    if (segments.isEmpty())
        return std::nullopt;
    QString selector;
    QStringList values;
    if (segments.size() == 1) {
        selector = segments.first();
    } else {
        if (segments.size() % 2 != 0)
            return std::nullopt;
        for (qsizetype i = 0; i < segments.size(); ++i) {
            if (i % 2 == 0)
                selector += segments[i] + u':';
            else
                values.append(segments[i]);
        }
    }
    if (!selector.startsWith(QStringLiteral("rpc"))) {
        warn(QStringLiteral("WARNING: Ignoring all commands without 'rpc' prefix: %1")
                 .arg(selector));
        return std::nullopt;
    }
    // A colon inside a segment ("rpcOpen:" alone, or a keyword "a:b") would
    // name a command with more parameters than the path gives arguments, and
    // its handler would be called short of texts it counts on.
    if (selector.count(u':') != values.size())
        return std::nullopt;
    if (!values.isEmpty())
        *arguments = values;
    return selector;
}

void LWApplicationProxy::remoteInvokeSelector(const QString& selector, const QString& handler,
                                              const QVariantList& arguments) {
    const QStringList parts = selector.split(u':', Qt::SkipEmptyParts);
    if (parts.isEmpty()) {
        warn(QStringLiteral("WARNING: Invalid selector for remote invocation: %1").arg(selector));
        return;
    }
    QStringList texts;
    for (const QVariant& argument : arguments) {
        if (!argument.isValid())
            break;
        texts.append(argument.toString());
    }
    const bool takesParameters = selector.contains(u':');
    if (takesParameters && parts.size() != texts.size()) {
        warn(QStringLiteral("WARNING: Number of parameters (%1) and arguments (%2) do not match.")
                 .arg(describeList(parts), describeList(texts)));
        return;
    }

    QString command = QStringLiteral("%1://%2/").arg(appProtocol(), handler);
    if (!takesParameters) {
        command += parts.first();
    } else {
        for (qsizetype i = 0; i < parts.size(); ++i) {
            command += parts[i];
            // A text without a UTF-8 form (a lone surrogate) cannot be sent;
            // the URL check below turns it away.
            const std::optional<QString> encoded =
                lw::stringByEncodingAsUrlParameterValue(texts[i]);
            command += u'/' + encoded.value_or(QStringLiteral("%"));
            if (i + 1 < parts.size())
                command += u'/';
        }
    }

    // QUrl only checks the text: it would lower-case the scheme and the
    // handler name, and a receiver compares both exactly.
    const QUrl url(command, QUrl::StrictMode);
    if (!url.isValid() || url.scheme().isEmpty()) {
        warn(QStringLiteral("WARNING: Invalid command string: %1").arg(command));
        return;
    }
    LW_LOG(3, "-[LWApplicationProxy remoteInvokeSelector:handler:arguments:]",
           QStringLiteral("App proxy: opening URL: %1").arg(command));
    if (_workspace)
        _workspace->openUrlText(command);
    if (_activateApplication)
        _activateApplication();
}
