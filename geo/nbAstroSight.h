#pragma once
/**
 * Where lines of sight of a sensor meet the earth. The pieces without sines are for loops, which
 * turn them into vector code; what is fixed for a satellite's place is given, so that it can be
 * computed once.
 */
#include "geo/nbAstroBase.h"
#include "geo/nbVec3.h"

#include <cmath>

// The point that a line of sight meets.
struct NbAstroMeeting {
    NbVec3 p; // earth-fixed, in equatorial radii
    double discriminant;
    double away; // above 0: the line leaves the earth there

    // False also for what is no number.
    bool good() const { return !(discriminant < 0) && away <= 0; }
};

/**
 * @param m    sensor to earth-fixed, 9 values by [i]
 * @param s    the satellite, in equatorial radii
 * @param c    s on the ellipsoid, from nbpAstroOnEllipsoid
 * @param f    axis ratio
 * @param sen  line of sight in the sensor frame
 */
template <class Matrix>
NbAstroMeeting nbpAstroMeet(const Matrix& m, const NbVec3& s, double c, double f, const NbVec3& sen)
{
    const NbVec3 v = {m[0] * sen.x + m[1] * sen.y + m[2] * sen.z,
                      m[3] * sen.x + m[4] * sen.y + m[5] * sen.z,
                      m[6] * sen.x + m[7] * sen.y + m[8] * sen.z};
    // s + t v on the ellipsoid: a t^2 + 2 b t + c = 0.
    const double a = v.x * v.x + v.y * v.y + (v.z / f) * (v.z / f);
    const double b = v.x * s.x + v.y * s.y + v.z * s.z / (f * f);
    const double discriminant = b * b - a * c;
    const double t = (-b - std::sqrt(discriminant)) / a;
    const NbVec3 p = {t * v.x + s.x, t * v.y + s.y, t * v.z + s.z};
    // Deliberate: the test looks at the point and not at the sign of t, so that a sensor that
    // looks away from the earth gets the point behind it. Mended, such a line is a miss.
    return {p, discriminant, nbpInner(p, v)};
}

// Below 0 inside, above 0 outside.
inline double nbpAstroOnEllipsoid(const NbVec3& s, double f)
{
    return s.x * s.x + s.y * s.y + (s.z / f) * (s.z / f) - 1;
}

// Earth-fixed km in equatorial radii.
inline NbVec3 nbpAstroInRadii(const double* km)
{
    return {km[0] / nb_Astro_eqR, km[1] / nb_Astro_eqR, km[2] / nb_Astro_eqR};
}

// Line of sight in the sensor frame, from the sines and cosines of its two angles.
inline NbVec3 nbpAstroSensor(double sinEw, double cosEw, double sinNs, double cosNs)
{
    return {sinNs, -sinEw * cosNs, cosEw * cosNs};
}

// Geodetic of a geocentric latitude, degrees; f is the axis ratio.
inline double nbpAstroGeogLat(double lat, double f)
{
    return std::atan(std::tan(lat * nbpAstroDegToRad) / (f * f)) * nbpAstroRadToDeg;
}

// Longitude and geodetic latitude of an earth-fixed point in degrees, from the point's distance
// and the geocentric latitude's sine.
inline void nbpAstroPlace(const NbVec3& p, double distance, double sine, double f, double* lon,
                          double* lat)
{
    const double g = std::asin(sine);
    // On the meridian of Greenwich rounding carries the quotient past 1, where there is no
    // angle.
    double c = p.x / (std::cos(g) * distance);
    if (c > 1) c = 1;
    if (c < -1) c = -1;
    double rad = std::acos(c);
    if (p.y < 0) rad = nbpAstroTwoPi - rad;
    const double degrees = rad * nbpAstroRadToDeg;
    *lon = degrees > 180 ? degrees - 360 : degrees;
    *lat = nbpAstroGeogLat(g * nbpAstroRadToDeg, f);
}

inline void nbpAstroPlace(const NbVec3& p, double f, double* lon, double* lat)
{
    const double distance = std::sqrt(nbpInner(p, p));
    nbpAstroPlace(p, distance, p.z / distance, f, lon, lat);
}
