#include "foundation/LWKeyedUnarchiver.h"

#include "foundation/LWKeyedArchiver.h"

#include <QCborArray>
#include <QCborStreamReader>
#include <QCborValue>
#include <QHash>
#include <QMutex>

namespace {
QMutex registryLock;

QHash<QString, LWKeyedUnarchiver::Decoder>& registry() {
    static QHash<QString, LWKeyedUnarchiver::Decoder> decoders;
    return decoders;
}

LWKeyedUnarchiver::Decoder decoderForClass(const QString& className) {
    QMutexLocker locker(&registryLock);
    return registry().value(className);
}
} // namespace

// What every coder of one archive shares: the first error, which fails it whole.
struct LWKeyedUnarchiver::Shared {
    QString error;
};

void LWKeyedUnarchiver::registerDecoder(const QString& className, Decoder decoder) {
    QMutexLocker locker(&registryLock);
    registry().insert(className, std::move(decoder));
}

namespace {
std::nullopt_t failure(QString* error, const QString& reason) {
    if (error)
        *error = reason;
    return std::nullopt;
}
} // namespace

std::optional<QCborValue> LWKeyedUnarchiver::topValue(const QByteArray& data, QString* error) {
    QCborStreamReader reader(data);
    const QCborValue root = QCborValue::fromCbor(reader);
    if (reader.lastError() != QCborError::NoError)
        return failure(error, QStringLiteral("not CBOR (%1)").arg(reader.lastError().toString()));
    // Bytes after the archive mean it was damaged or is not ours.
    if (reader.currentOffset() != data.size())
        return failure(error, QStringLiteral("unexpected bytes after the archive"));
    const QCborMap map = root.toMap();
    const QCborValue archiver = map.value(QStringLiteral("$archiver"));
    const QCborValue version = map.value(QStringLiteral("$version"));
    if (!root.isMap() || !archiver.isString() ||
        archiver.toString() != LWKeyedArchiver::archiverName)
        return failure(error, QStringLiteral("not a keyed archive"));
    if (!version.isInteger() || version.toInteger() != LWKeyedArchiver::version)
        return failure(error, QStringLiteral("unsupported archive version"));
    if (!map.contains(QStringLiteral("$top")))
        return failure(error, QStringLiteral("the archive has no root"));
    return map.value(QStringLiteral("$top"));
}

std::optional<std::shared_ptr<LWCoding>>
LWKeyedUnarchiver::unarchiveObjectWithData(const QByteArray& data, QString* error) {
    const std::optional<QCborValue> top = topValue(data, error);
    if (!top)
        return std::nullopt;
    Shared shared;
    LWKeyedUnarchiver coder(shared, QCborMap());
    std::shared_ptr<LWCoding> object = coder.objectFromValue(*top);
    if (coder.failed())
        return failure(error, coder.error());
    return object;
}

std::optional<QList<std::shared_ptr<LWCoding>>>
LWKeyedUnarchiver::unarchiveObjectsWithData(const QByteArray& data, QString* error) {
    const std::optional<QCborValue> top = topValue(data, error);
    if (!top)
        return std::nullopt;
    if (!top->isArray())
        return failure(error, QStringLiteral("the root is not a list"));
    Shared shared;
    LWKeyedUnarchiver coder(shared, QCborMap());
    QList<std::shared_ptr<LWCoding>> objects = coder.objectsFromValue(*top);
    if (coder.failed())
        return failure(error, coder.error());
    return objects;
}

std::shared_ptr<LWCoding> LWKeyedUnarchiver::objectFromValue(const QCborValue& value) {
    if (failed() || value.isNull())
        return nullptr;
    if (!value.isMap()) {
        failWithError(QStringLiteral("an object is not a map"));
        return nullptr;
    }
    const QCborMap map = value.toMap();
    const QCborValue className = map.value(QStringLiteral("$class"));
    if (!className.isString()) {
        failWithError(QStringLiteral("an object has no class name"));
        return nullptr;
    }
    const Decoder decoder = decoderForClass(className.toString());
    if (!decoder) {
        failWithError(QStringLiteral("unknown class '%1'").arg(className.toString()));
        return nullptr;
    }
    LWKeyedUnarchiver coder(_shared, map);
    std::shared_ptr<LWCoding> object = decoder(coder);
    if (!object && !failed())
        failWithError(QStringLiteral("the %1 decoder refused its keys").arg(className.toString()));
    return failed() ? nullptr : object;
}

QList<std::shared_ptr<LWCoding>> LWKeyedUnarchiver::objectsFromValue(const QCborValue& value) {
    QList<std::shared_ptr<LWCoding>> objects;
    if (value.isNull() || value.isUndefined())
        return objects;
    if (!value.isArray()) {
        failWithError(QStringLiteral("a list of objects is not an array"));
        return objects;
    }
    const QCborArray array = value.toArray();
    objects.reserve(array.size());
    for (const QCborValue& element : array) {
        objects.append(objectFromValue(element));
        if (failed())
            return {};
    }
    return objects;
}

bool LWKeyedUnarchiver::containsValueForKey(const QString& key) const {
    return _map.contains(key);
}

QCborValue LWKeyedUnarchiver::valueForKey(const QString& key, QCborValue::Type expected,
                                          bool& present) {
    const QCborValue value = _map.value(key);
    present = false;
    if (value.isUndefined() || value.isNull())
        return value;
    if (value.type() != expected) {
        failWithError(QStringLiteral("the value for '%1' has the wrong type").arg(key));
        return QCborValue();
    }
    present = true;
    return value;
}

QString LWKeyedUnarchiver::decodeStringForKey(const QString& key) {
    bool present = false;
    const QCborValue value = valueForKey(key, QCborValue::String, present);
    return present ? value.toString() : QString();
}

qint64 LWKeyedUnarchiver::decodeIntegerForKey(const QString& key) {
    bool present = false;
    const QCborValue value = valueForKey(key, QCborValue::Integer, present);
    return present ? value.toInteger() : 0;
}

bool LWKeyedUnarchiver::decodeBoolForKey(const QString& key) {
    const QCborValue value = _map.value(key);
    if (value.isBool())
        return value.toBool();
    if (!value.isUndefined() && !value.isNull())
        failWithError(QStringLiteral("the value for '%1' has the wrong type").arg(key));
    return false;
}

double LWKeyedUnarchiver::decodeDoubleForKey(const QString& key) {
    const QCborValue value = _map.value(key);
    if (value.isDouble() || value.isInteger())
        return value.toDouble();
    if (!value.isUndefined() && !value.isNull())
        failWithError(QStringLiteral("the value for '%1' has the wrong type").arg(key));
    return 0;
}

QByteArray LWKeyedUnarchiver::decodeBytesForKey(const QString& key) {
    bool present = false;
    const QCborValue value = valueForKey(key, QCborValue::ByteArray, present);
    return present ? value.toByteArray() : QByteArray();
}

std::shared_ptr<LWCoding> LWKeyedUnarchiver::decodeObjectForKey(const QString& key) {
    return objectFromValue(_map.value(key));
}

QList<std::shared_ptr<LWCoding>> LWKeyedUnarchiver::decodeObjectsForKey(const QString& key) {
    return objectsFromValue(_map.value(key));
}

void LWKeyedUnarchiver::failWithError(const QString& reason) {
    if (_shared.error.isEmpty())
        _shared.error = reason;
}

bool LWKeyedUnarchiver::failed() const {
    return !_shared.error.isEmpty();
}

QString LWKeyedUnarchiver::error() const {
    return _shared.error;
}
