#pragma once

#include <QString>
#include <QVariantMap>
#include <memory>

// An error record: a domain, a code and a dictionary of details (texts under
// the keys below, the underlying error separately).
class LWError {
public:
    static inline const QString LocalizedDescriptionKey = QStringLiteral("LocalizedDescription");
    static inline const QString LocalizedRecoverySuggestionErrorKey =
        QStringLiteral("LocalizedRecoverySuggestion");
    static inline const QString LocalizedFailureReasonErrorKey =
        QStringLiteral("LocalizedFailureReason");

    LWError(QString domain, qint64 code, QVariantMap userInfo = {},
            std::shared_ptr<const LWError> underlyingError = nullptr);

    static LWError errorWithDomain(const QString& domain, qint64 code,
                                   const QString& localizedDescription);
    // A new error with this one's domain and code, the given description and
    // suggestion, this one's failure reason, and this one as the underlying
    // error. Empty (null) texts are left out.
    LWError betterErrorWithLocalizedDescription(const QString& localizedDescription,
                                                const QString& localizedRecoverySuggestion) const;

    QString domain() const { return _domain; }
    qint64 code() const { return _code; }
    const QVariantMap& userInfo() const { return _userInfo; }
    const std::shared_ptr<const LWError>& underlyingError() const { return _underlyingError; }

    // The recorded description, or a generic sentence naming domain and code.
    QString localizedDescription() const;
    // Null when not recorded.
    QString localizedRecoverySuggestion() const;
    QString localizedFailureReason() const;

private:
    QString _domain;
    qint64 _code;
    QVariantMap _userInfo;
    std::shared_ptr<const LWError> _underlyingError;
};
