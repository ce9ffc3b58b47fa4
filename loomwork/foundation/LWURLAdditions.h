#pragma once

#include "foundation/LWTimestamp.h"

#include <QString>
#include <QUrl>
#include <optional>

// What a default request for a URL carries: the URL, the protocol's own cache
// rules and a 60-second timeout. The library makes no connections itself; a
// caller hands this to whatever network code it uses.
struct LWURLRequest {
    enum class CachePolicy { UseProtocolCachePolicy, ReloadIgnoringLocalCacheData };

    QUrl url;
    CachePolicy cachePolicy = CachePolicy::UseProtocolCachePolicy;
    double timeoutInterval = 60.0; // seconds
};

// Additions to URLs.
namespace lw {
// A file URL's content modification date; nothing for other URLs or when the
// file cannot be looked at.
std::optional<LWTimestamp> lastModifiedDate(const QUrl& url);
// The value of the first query item named exactly `name` (case-sensitive), as
// it stands in the query, still percent-encoded. Nothing when the URL has no
// query or no such item. (The name keeps the spelling the library has always
// used.)
std::optional<QString> valueForQuerParameter(const QUrl& url, const QString& name);
LWURLRequest URLRequest(const QUrl& url);
} // namespace lw
