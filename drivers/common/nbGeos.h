#pragma once
/**
 * The normalised geostationary view: scan angles of a satellite above the equator to the earth
 * and back (CGMS 03, LRIT/HRIT Global Specification, section 4.4). Angles are radians here; the
 * scaling to pixels, the tests of range and their order are the driver's.
 */
#include <cmath>

struct NbGeosPara {
    double distance;    // earth centre to satellite, km
    double polarRadius; // km
    double e2;          // (equatorial^2 - polar^2) / equatorial^2
    double flattening2; // equatorial^2 / polar^2
    double slant;       // distance^2 - equatorial^2, km^2
};

// A point of the earth in its meridian plane, km from the centre: r cos c and r sin c with its
// geocentric latitude c and distance r from the centre.
struct NbGeosMeridian {
    double axis;  // distance from the earth's axis
    double north; // above the equator
};

// `ratio` is polar^2 / equatorial^2, which files round by themselves. Height in km.
inline NbGeosMeridian nbpGeosMeridian(const NbGeosPara& geos, double ratio, double latRad,
                                      double heightKm)
{
    const double c = std::atan(ratio * std::tan(latRad));
    const double cosC = std::cos(c);
    const double r = heightKm + geos.polarRadius / std::sqrt(1.0 - geos.e2 * (cosC * cosC));
    return {.axis = r * cosC, .north = r * std::sin(c)};
}

// What the satellite sees of a point.
struct NbGeosSight {
    double r1, r2, r3; // satellite to point: toward the centre, west, north; km
    double limb;       // km^2; above 0: the point lies behind the limb
};

// cosD, sinD of the longitude east of the satellite's.
inline NbGeosSight nbpGeosSight(const NbGeosPara& geos, const NbGeosMeridian& point, double cosD,
                                double sinD)
{
    NbGeosSight s;
    s.r1 = geos.distance - point.axis * cosD;
    s.r2 = -point.axis * sinD;
    s.r3 = point.north;
    s.limb = s.r3 * s.r3 + s.r2 * s.r2 + (s.r1 - geos.distance) * s.r1;
    return s;
}

// Scan angles of a point: x east, y south.
inline double nbpGeosAngleX(const NbGeosSight& s)
{
    return std::atan2(-s.r2, s.r1);
}
inline double nbpGeosAngleY(const NbGeosSight& s)
{
    return std::asin(-s.r3 / std::sqrt(s.r1 * s.r1 + s.r2 * s.r2 + s.r3 * s.r3));
}

// Where a line of sight meets the earth.
struct NbGeosHit {
    bool meets;        // false: it passes the earth by, and nothing else is set
    double s1, s2, s3; // the point from the earth's centre: to the satellite, east, north; km
    bool front;        // on the satellite's side of the limb
};

inline NbGeosHit nbpGeosHit(const NbGeosPara& geos, double cosX, double sinX, double cosY,
                            double sinY)
{
    NbGeosHit hit{};
    const double along = geos.distance * cosX * cosY;
    const double g = cosY * cosY + geos.flattening2 * (sinY * sinY);
    const double d = along * along - g * geos.slant;
    if (!(d >= 0)) return hit;
    const double sn = (along - std::sqrt(d)) / g;
    hit.meets = true;
    hit.s1 = geos.distance - sn * cosX * cosY;
    hit.s2 = sn * sinX * cosY;
    hit.s3 = -sn * sinY;
    hit.front = !((geos.distance - hit.s1) * hit.s1 - hit.s2 * hit.s2 - hit.s3 * hit.s3 < 0);
    return hit;
}

// Longitude east of the satellite's and geodetic latitude of a hit.
inline double nbpGeosLonRad(const NbGeosHit& hit)
{
    return std::atan2(hit.s2, hit.s1);
}
inline double nbpGeosLatRad(const NbGeosPara& geos, const NbGeosHit& hit)
{
    return std::atan(hit.s3 * geos.flattening2 / std::sqrt(hit.s1 * hit.s1 + hit.s2 * hit.s2));
}
