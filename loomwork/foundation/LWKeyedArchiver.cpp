#include "foundation/LWKeyedArchiver.h"

#include <QCborArray>
#include <QCborValue>

const QString LWKeyedArchiver::archiverName = QStringLiteral("LWKeyedArchiver");

QByteArray LWKeyedArchiver::archivedDataWithRootObject(const LWCoding* object) {
    return archive(valueForObject(object));
}

QByteArray LWKeyedArchiver::archivedDataWithRootObjects(const QList<const LWCoding*>& objects) {
    return archive(valueForObjects(objects));
}

QByteArray LWKeyedArchiver::archive(const QCborValue& top) {
    QCborMap root;
    root.insert(QStringLiteral("$archiver"), archiverName);
    root.insert(QStringLiteral("$version"), version);
    root.insert(QStringLiteral("$top"), top);
    return root.toCborValue().toCbor();
}

QCborValue LWKeyedArchiver::valueForObject(const LWCoding* object) {
    if (!object)
        return QCborValue(nullptr);
    LWKeyedArchiver coder;
    object->encodeWithCoder(coder);
    coder._map.insert(QStringLiteral("$class"), object->classNameForCoder());
    return coder._map;
}

QCborValue LWKeyedArchiver::valueForObjects(const QList<const LWCoding*>& objects) {
    QCborArray array;
    for (const LWCoding* object : objects)
        array.append(valueForObject(object));
    return array;
}

void LWKeyedArchiver::set(const QString& key, const QCborValue& value) {
    // "$" keys belong to the archive itself; an object cannot overwrite them.
    Q_ASSERT(!key.startsWith(QLatin1Char('$')));
    if (key.startsWith(QLatin1Char('$')))
        return;
    _map.insert(key, value);
}

void LWKeyedArchiver::encodeString(const QString& value, const QString& key) {
    set(key, value.isNull() ? QCborValue(nullptr) : QCborValue(value));
}

void LWKeyedArchiver::encodeInteger(qint64 value, const QString& key) {
    set(key, value);
}

void LWKeyedArchiver::encodeBool(bool value, const QString& key) {
    set(key, value);
}

void LWKeyedArchiver::encodeDouble(double value, const QString& key) {
    set(key, value);
}

void LWKeyedArchiver::encodeBytes(const QByteArray& value, const QString& key) {
    set(key, value.isNull() ? QCborValue(nullptr) : QCborValue(value));
}

void LWKeyedArchiver::encodeObject(const LWCoding* object, const QString& key) {
    set(key, valueForObject(object));
}

void LWKeyedArchiver::encodeObjects(const QList<const LWCoding*>& objects, const QString& key) {
    set(key, valueForObjects(objects));
}
