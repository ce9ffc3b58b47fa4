#include "foundation/LWCoding.h"

LWCoding::~LWCoding() = default;
