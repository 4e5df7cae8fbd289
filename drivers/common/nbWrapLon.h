#pragma once
/**
 * Longitudes brought into a range by whole turns. Degrees.
 */
#include "util/nbNumber.h"

#include <cmath>

// Beyond it the turns are taken off at once.
inline constexpr double lonManyRounds = 1e6;

// Both ends belong to the range, which is a turn wide.
inline double nbpWrapLon(double lon, double low = -180, double high = 180)
{
    if (std::abs(lon) > lonManyRounds) lon = std::fmod(lon, 360.0);
    while (lon > high)
        lon -= 360;
    while (lon < low)
        lon += 360;
    return lon;
}

// What becomes of -180 itself.
enum class NbLonWest { stays, becomes180 };

// Into -180 to 180. Deliberate: a longitude that needs wrapping goes through a float at each step
// and keeps only its precision, about 1e-5 degree. In double, points west of the date line would
// move a little against those east of it that stay as they are. Some drivers make 180 of -180 and
// some do not; to make them alike moves the points of one meridian around the earth.
template <NbLonWest west>
double nbpWrapLonFloat(double lon)
{
    float f = nbpToFloat(lon);
    if (std::abs(f) > static_cast<float>(lonManyRounds)) lon = f = std::fmod(f, 360.0F);
    while (f > 180.0F)
        lon = f = f - 360.0F;
    while (west == NbLonWest::stays ? f < -180.0F : f <= -180.0F)
        lon = f = f + 360.0F;
    return lon;
}
