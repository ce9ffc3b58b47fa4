#pragma once

#include <QString>

class LWKeyedArchiver;

// An object that can be written into a keyed archive. Reading it back goes
// through a decoder registered by class name with LWKeyedUnarchiver.
class LWCoding {
public:
    virtual ~LWCoding();

    // The name stored under "$class"; the key of the decoder that reads it back.
    virtual QString classNameForCoder() const = 0;
    // Writes the object's keys. Keys beginning with "$" are reserved.
    virtual void encodeWithCoder(LWKeyedArchiver& coder) const = 0;
};
