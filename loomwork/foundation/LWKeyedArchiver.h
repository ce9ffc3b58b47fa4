#pragma once

#include "foundation/LWCoding.h"

#include <QByteArray>
#include <QCborMap>
#include <QList>
#include <QString>

// Writes objects as a keyed archive over CBOR. The archive is a map
//   {"$archiver": "LWKeyedArchiver", "$version": 1, "$top": <root>}
// where an object is a map holding its class name under "$class" and its keys,
// a list of objects is an array, and a missing object is null.
class LWKeyedArchiver {
public:
    static QByteArray archivedDataWithRootObject(const LWCoding* object);
    static QByteArray archivedDataWithRootObjects(const QList<const LWCoding*>& objects);

    // A null string is stored as null, so that it reads back as null.
    void encodeString(const QString& value, const QString& key);
    void encodeInteger(qint64 value, const QString& key);
    void encodeBool(bool value, const QString& key);
    void encodeDouble(double value, const QString& key);
    void encodeBytes(const QByteArray& value, const QString& key);
    // A null object is stored as null.
    void encodeObject(const LWCoding* object, const QString& key);
    void encodeObjects(const QList<const LWCoding*>& objects, const QString& key);

    static const QString archiverName;
    static constexpr qint64 version = 1;

private:
    LWKeyedArchiver() = default;
    void set(const QString& key, const QCborValue& value);
    static QCborValue valueForObject(const LWCoding* object);
    static QCborValue valueForObjects(const QList<const LWCoding*>& objects);
    static QByteArray archive(const QCborValue& top);

    QCborMap _map;
};
