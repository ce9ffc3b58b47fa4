#include "foundation/LWError.h"

LWError::LWError(QString domain, qint64 code, QVariantMap userInfo,
                 std::shared_ptr<const LWError> underlyingError)
    : _domain(std::move(domain)), _code(code), _userInfo(std::move(userInfo)),
      _underlyingError(std::move(underlyingError)) {}

LWError LWError::errorWithDomain(const QString& domain, qint64 code,
                                 const QString& localizedDescription) {
    QVariantMap info;
    if (!localizedDescription.isNull())
        info.insert(LocalizedDescriptionKey, localizedDescription);
    return LWError(domain, code, info);
}

LWError
LWError::betterErrorWithLocalizedDescription(const QString& localizedDescription,
                                             const QString& localizedRecoverySuggestion) const {
    QVariantMap info;
    if (!localizedDescription.isNull())
        info.insert(LocalizedDescriptionKey, localizedDescription);
    if (!localizedRecoverySuggestion.isNull())
        info.insert(LocalizedRecoverySuggestionErrorKey, localizedRecoverySuggestion);
    const QString reason = localizedFailureReason();
    if (!reason.isNull())
        info.insert(LocalizedFailureReasonErrorKey, reason);
    return LWError(_domain, _code, info, std::make_shared<const LWError>(*this));
}

QString LWError::localizedDescription() const {
    const QString recorded = _userInfo.value(LocalizedDescriptionKey).toString();
    if (!recorded.isNull())
        return recorded;
    return QStringLiteral("The operation couldn\u2019t be completed. (%1 error %2.)")
        .arg(_domain)
        .arg(_code);
}

QString LWError::localizedRecoverySuggestion() const {
    return _userInfo.value(LocalizedRecoverySuggestionErrorKey).toString();
}

QString LWError::localizedFailureReason() const {
    return _userInfo.value(LocalizedFailureReasonErrorKey).toString();
}
