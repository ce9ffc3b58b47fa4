#pragma once

#include "foundation/LWCoding.h"

#include <QByteArray>
#include <QCborMap>
#include <QList>
#include <QString>
#include <functional>
#include <memory>
#include <optional>

// Reads what LWKeyedArchiver wrote. Damaged, truncated or foreign bytes, an
// unknown class name or a value of the wrong type anywhere in the archive read
// as nothing (nullopt): the archive is taken whole or not at all.
class LWKeyedUnarchiver {
public:
    // Builds an object from its keys; returns null (or calls failWithError())
    // when the keys make no sense.
    using Decoder = std::function<std::shared_ptr<LWCoding>(LWKeyedUnarchiver& coder)>;

    // Thread-safe; a second registration under a name replaces the first.
    static void registerDecoder(const QString& className, Decoder decoder);

    // The root object; a stored null reads as a null pointer inside the optional.
    // On failure `error` (when given) says what was wrong, for a log line.
    static std::optional<std::shared_ptr<LWCoding>>
    unarchiveObjectWithData(const QByteArray& data, QString* error = nullptr);
    static std::optional<QList<std::shared_ptr<LWCoding>>>
    unarchiveObjectsWithData(const QByteArray& data, QString* error = nullptr);

    // The root list when every element is a T (or null, when allowed).
    template <typename T>
    static std::optional<QList<std::shared_ptr<T>>>
    unarchiveObjectsOfClass(const QByteArray& data, QString* error = nullptr,
                            bool allowNull = false);

    bool containsValueForKey(const QString& key) const;
    // Absent keys and stored nulls read as the type's empty value; a value of
    // another type fails the archive.
    QString decodeStringForKey(const QString& key);
    qint64 decodeIntegerForKey(const QString& key);
    bool decodeBoolForKey(const QString& key);
    double decodeDoubleForKey(const QString& key);
    QByteArray decodeBytesForKey(const QString& key);
    std::shared_ptr<LWCoding> decodeObjectForKey(const QString& key);
    QList<std::shared_ptr<LWCoding>> decodeObjectsForKey(const QString& key);

    // Marks the whole archive as damaged.
    void failWithError(const QString& reason);
    bool failed() const;
    QString error() const;

private:
    struct Shared;
    LWKeyedUnarchiver(Shared& shared, QCborMap map) : _shared(shared), _map(std::move(map)) {}
    static std::optional<QCborValue> topValue(const QByteArray& data, QString* error);
    std::shared_ptr<LWCoding> objectFromValue(const QCborValue& value);
    QList<std::shared_ptr<LWCoding>> objectsFromValue(const QCborValue& value);
    QCborValue valueForKey(const QString& key, QCborValue::Type expected, bool& present);

    Shared& _shared;
    QCborMap _map;
};

template <typename T>
std::optional<QList<std::shared_ptr<T>>>
LWKeyedUnarchiver::unarchiveObjectsOfClass(const QByteArray& data, QString* error, bool allowNull) {
    const std::optional<QList<std::shared_ptr<LWCoding>>> objects =
        unarchiveObjectsWithData(data, error);
    if (!objects)
        return std::nullopt;
    QList<std::shared_ptr<T>> typed;
    typed.reserve(objects->size());
    for (const std::shared_ptr<LWCoding>& object : *objects) {
        std::shared_ptr<T> cast = std::dynamic_pointer_cast<T>(object);
        if (!cast && (object || !allowNull)) {
            if (error)
                *error = object ? QStringLiteral("an element has an unexpected class")
                                : QStringLiteral("an element is null");
            return std::nullopt;
        }
        typed.append(std::move(cast));
    }
    return typed;
}
