/**
 * Orbit and attitude matrices, and the line of sight of a sensor to the earth and back.
 */
#include "geo/nbAstroBase.h"
#include "geo/nbAstroSight.h"
#include "geo/nbAstroUtl.h"
#include "geo/nbMatrix.h"

#include <cmath>

void nbAstroCalcMatB(double thetaRad, const double* kepl, double* m)
{
    const double i = kepl[2] * nbpAstroDegToRad;            // inclination
    const double o = kepl[3] * nbpAstroDegToRad - thetaRad; // node from Greenwich
    double u = (kepl[4] + kepl[6]) * nbpAstroDegToRad;      // argument of latitude
    if (u > nbpAstroTwoPi) u -= nbpAstroTwoPi;
    const double sinI = std::sin(i);
    const double cosI = std::cos(i);
    const double sinO = std::sin(o);
    const double cosO = std::cos(o);
    const double sinU = std::sin(u);
    const double cosU = std::cos(u);
    m[0] = -sinU * cosO - sinO * cosU * cosI;
    m[1] = -sinO * sinI;
    m[2] = sinO * sinU * cosI - cosO * cosU;
    m[3] = cosO * cosU * cosI - sinU * sinO;
    m[4] = cosO * sinI;
    m[5] = -sinO * cosU - cosO * sinU * cosI;
    m[6] = cosU * sinI;
    m[7] = -cosI;
    m[8] = -sinU * sinI;
}

void nbAstroCalcMatM(double a, double b, double c, double* m)
{
    const double sinA = std::sin(a);
    const double cosA = std::cos(a);
    const double sinB = std::sin(b);
    const double cosB = std::cos(b);
    const double sinC = std::sin(c);
    const double cosC = std::cos(c);
    m[0] = cosB * cosC;
    m[1] = -cosB * sinC;
    m[2] = sinB;
    m[3] = cosC * sinB * sinA + cosA * sinC;
    m[4] = cosA * cosC - sinB * sinA * sinC;
    m[5] = -sinA * cosB;
    m[6] = sinC * sinA - cosC * cosA * sinB;
    m[7] = cosA * sinB * sinC + sinA * cosC;
    m[8] = cosA * cosB;
}

void nbAstroCalcMatBT(const double* b, const double* t, double* m)
{
    nbMultMat(b, t, 3, 3, 3, m);
}

void nbAstroCalcMatBTT(const double* b, const double* t, double* m)
{
    double bt[9];
    nbMultMat(b, t, 3, 3, 3, bt);
    nbTransMat(bt, 3, 3, m);
}

void nbAstroLosToSen(double ew, double ns, double* sen)
{
    sen[0] = std::sin(ns);
    sen[1] = -std::sin(ew) * std::cos(ns);
    sen[2] = std::cos(ew) * std::cos(ns);
}

void nbAstroSenToLos(const double* sen, double* ew, double* ns)
{
    *ew = -std::atan(sen[1] / sen[2]);
    *ns = std::atan(sen[0] / std::sqrt(sen[2] * sen[2] + sen[1] * sen[1]));
}

void nbAstroSenToEf(const double* m, const double* sen, double* ef)
{
    nbpAstroMultVec(m, sen, ef);
}

void nbAstroEfToSen(const double* m, const double* ef, double* sen)
{
    nbpAstroMultVec(m, ef, sen);
}

int nbAstroLonLatToLos(const double* m, const double* satPos, double lon, double lat, double* ew,
                       double* ns)
{
    const double f = nbpAstroAxisRatio();
    double g[3]; // the point, then everything in equatorial radii
    nbAstroLonLatToEf(lon, lat, g);
    double d[3];
    for (int i = 0; i < 3; ++i) {
        g[i] /= nb_Astro_eqR;
        d[i] = g[i] - satPos[i] / nb_Astro_eqR;
    }
    // The normal of the ellipsoid at g against the line of sight.
    if (d[0] * g[0] + d[1] * g[1] + d[2] * g[2] / (f * f) <= 0) {
        double sen[3];
        nbAstroEfToSen(m, d, sen);
        nbAstroSenToLos(sen, ew, ns);
        return 0;
    }
    *ew = -9999.0;
    *ns = -9999.0;
    return -1;
}

int nbAstroLosToLonLat(const double* m, const double* satPos, double ew, double ns, double* lon,
                       double* lat)
{
    *lon = -9999.0;
    *lat = -9999.0;
    double sen[3];
    nbAstroLosToSen(ew, ns, sen);
    const double f = nbpAstroAxisRatio();
    const NbVec3 s = nbpAstroInRadii(satPos);
    const NbAstroMeeting at = nbpAstroMeet(m, s, nbpAstroOnEllipsoid(s, f), f, nbpVec3(sen));
    if (!at.good()) return -1;
    double p[3];
    nbpPut(at.p, p);
    nbAstroEfToLonLat(p, lon, lat);
    return 0;
}
