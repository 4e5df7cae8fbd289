#pragma once
/**
 * What the astronomical units share: the constants, angle reductions, the horizon's rows.
 */
#include "geo/nbAstroUtl.h"

#include <cmath>

inline constexpr double nbpAstroDegToRad = 0.017453292519943295;
inline constexpr double nbpAstroRadToDeg = 57.29577951308232;
inline constexpr double nbpAstroTwoPi = 6.283185307179586;

// Polar over equatorial radius, by way of the flattening: the last bits are those of the way.
inline double nbpAstroAxisRatio()
{
    return 1 - (1 - nb_Astro_plR / nb_Astro_eqR);
}

// An angle in radians brought into 0 up to two pi, two pi itself excluded.
inline double nbpAstroTurn(double rad)
{
    rad -= std::floor(rad / nbpAstroTwoPi) * nbpAstroTwoPi;
    if (rad < 0) rad += nbpAstroTwoPi; // the quotient was rounded up to the next turn
    // Of a huge angle the quotient is off by turns, and what is left means nothing.
    return rad < 0 || rad >= nbpAstroTwoPi ? 0 : rad;
}

// An angle in degrees that loops may reduce turn by turn: beyond a million a turn can be below
// the last bit, and an infinity would never end.
inline double nbpAstroLoopable(double deg)
{
    return std::fabs(deg) > 1e6 ? std::fmod(deg, 360.0) : deg;
}

// Matrix times vector; `out` must not be `v`.
inline void nbpAstroMultVec(const double* m, const double* v, double* out)
{
    out[0] = m[0] * v[0] + m[1] * v[1] + m[2] * v[2];
    out[1] = m[3] * v[0] + m[4] * v[1] + m[5] * v[2];
    out[2] = m[6] * v[0] + m[7] * v[1] + m[8] * v[2];
}

// Transpose of a matrix times vector.
inline void nbpAstroMultVecT(const double* m, const double* v, double* out)
{
    out[0] = m[0] * v[0] + m[3] * v[1] + m[6] * v[2];
    out[1] = m[1] * v[0] + m[4] * v[1] + m[7] * v[2];
    out[2] = m[2] * v[0] + m[5] * v[1] + m[8] * v[2];
}

// Earth-fixed to horizon at a place in degrees: the rows are east, north and up.
inline void nbpAstroHorizonMatrix(double lon, double lat, double* m)
{
    const double sinLon = std::sin(lon * nbpAstroDegToRad);
    const double cosLon = std::cos(lon * nbpAstroDegToRad);
    const double sinLat = std::sin(lat * nbpAstroDegToRad);
    const double cosLat = std::cos(lat * nbpAstroDegToRad);
    m[0] = -sinLon;
    m[1] = cosLon;
    m[2] = 0;
    m[3] = -sinLat * cosLon;
    m[4] = -sinLat * sinLon;
    m[5] = cosLat;
    m[6] = cosLat * cosLon;
    m[7] = cosLat * sinLon;
    m[8] = sinLat;
}
