#include "foundation/LWMath.h"

float LWMath::XisToY(float y, float a, float b) {
    return y * a / b;
}
