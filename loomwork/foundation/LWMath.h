#pragma once

class LWMath {
public:
    // The x for which x : y = a : b, that is y * a / b in single precision
    // (b = 0 gives infinity or NaN, as the division does).
    static float XisToY(float y, float a, float b);
};
