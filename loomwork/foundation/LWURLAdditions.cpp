#include "foundation/LWURLAdditions.h"

std::optional<LWTimestamp> lw::lastModifiedDate(const QUrl& url) {
    if (!url.isLocalFile())
        return std::nullopt;
    return contentModificationDate(url.toLocalFile());
}

std::optional<QString> lw::valueForQuerParameter(const QUrl& url, const QString& name) {
    if (!url.hasQuery())
        return std::nullopt;
    const QString query = url.query(QUrl::FullyEncoded);
    const QString key = name + u'=';
    const QStringList pieces = query.split(u'&');
    for (const QString& piece : pieces) {
        if (piece.startsWith(key))
            return piece.mid(key.size());
    }
    return std::nullopt;
}

LWURLRequest lw::URLRequest(const QUrl& url) {
    LWURLRequest request;
    request.url = url;
    return request;
}
