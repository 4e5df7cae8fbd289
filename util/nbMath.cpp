#include "util/nbMath.h"

#include <cmath>

double nbMathRound(double x, int digits)
{
    const double step = std::pow(10.0, digits + 1.0);
    const double v = x / step;
    const double up = std::ceil(v) - v;
    // Deliberate: two thresholds, so -2.55 becomes -2 and 2.45 becomes 2. With one for both signs
    // levels that are looked up from negative values move by one.
    const bool down = x >= 0 ? up > 0.5 : up >= 0.6;
    return step * (down ? std::floor(v) : std::ceil(v));
}
