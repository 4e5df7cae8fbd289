/**
 * Classical orbital elements, in metres and seconds.
 */
#include "geo/nbAstroBase.h"
#include "geo/nbAstroUtl.h"
#include "geo/nbVector.h"
#include "util/nbLogFormat.h"

#include <cmath>

namespace {

constexpr double gm = 398600500000000.0; // of the earth, m^3/s^2
constexpr double pi = nbpAstroTwoPi / 2;

// A position and velocity with the products that every element is made of.
struct OrbitState {
    double r[3]; // m
    double v[3]; // m/s
    double h[3]; // r x v
    double rMag;
    double r2; // squared lengths
    double v2;
    double rv; // r . v
    double a;  // sin i sin u, u the argument of latitude
    double b;  // sin i cos u
};

OrbitState makeState(const double* pos, const double* vel)
{
    OrbitState s{};
    for (int i = 0; i < 3; ++i) {
        s.r[i] = pos[i];
        s.v[i] = vel[i];
    }
    nbVectorOuterProduct(s.r, s.v, s.h);
    s.rMag = nbVectorMag(s.r);
    s.r2 = nbVectorMag2(s.r);
    s.v2 = nbVectorMag2(s.v);
    s.rv = nbVectorInnerProduct(s.r, s.v);
    s.a = s.r[2] / s.rMag;
    s.b = (s.rMag * s.v[2] - s.rv * s.r[2] / s.rMag) / nbVectorMag(s.h);
    return s;
}

double calcSma(const OrbitState& s)
{
    return s.rMag / (2 - s.rMag * s.v2 / gm);
}

// Semi-latus rectum.
double calcP(const OrbitState& s)
{
    return (s.r2 * s.v2 - s.rv * s.rv) / gm;
}

double calcEcc(const OrbitState& s, double sma)
{
    const double square = 1 - calcP(s) / sma;
    return square < 0 ? 0 : std::sqrt(square); // below 0 by rounding only, in a circle
}

// Deliberate: the arc sine knows no angle above 90 degrees, so that a retrograde orbit reads as
// its supplement. Mended, NOAA and other sun-synchronous orbits change their inclination.
double calcInc(const OrbitState& s)
{
    const double sine = std::sqrt(s.a * s.a + s.b * s.b);
    double inc = std::asin(sine > 1 ? 1 : sine); // above 1 by rounding, over the poles
    if (inc < 0) inc += pi;
    if (inc != 0) return inc;
    if (s.h[2] > 0) return 0;
    if (s.h[2] < 0) return pi;
    nbpLogWarn("Internal ERROR : %s  H=0\n", "calcInc()");
    return 0;
}

double calcRanode(const OrbitState& s)
{
    const double hx = s.h[0];
    const double hy = s.h[1];
    if (hx == 0 && hy == 0) return 0;
    // Deliberate: the node of an orbit with hy 0 and hx above 0 lies at half a circle, where
    // geometry has a quarter. Mended, only this one orientation changes.
    if (hy == 0) return hx > 0 ? pi : 3 * pi / 2;
    if (hx == 0) return hy < 0 ? 0 : pi;
    return nbpAstroTurn(std::atan2(hx, -hy));
}

// Argument of latitude.
double calcU(const OrbitState& s)
{
    if (s.b != 0) return std::atan2(s.a, s.b);
    if (s.a > 0) return pi / 2;
    if (s.a < 0) return 3 * pi / 2;
    return std::atan2(s.r[1], s.r[0]); // in the equator, from the equinox
}

double calcTa(const OrbitState& s)
{
    const double p = calcP(s);
    const double ta = p - s.rMag != 0 ? std::atan2(s.rv * std::sqrt(p / gm), p - s.rMag) : calcU(s);
    return nbpAstroTurn(ta);
}

double calcEa(double ecc, double ta)
{
    return nbpAstroTurn(2 * std::atan(std::sqrt((1 - ecc) / (1 + ecc)) * std::tan(ta / 2)));
}

double calcMa(double ecc, double ea)
{
    return nbpAstroTurn(ea - ecc * std::sin(ea));
}

double calcArgPer(const OrbitState& s, double ecc, double ta)
{
    return ecc == 0 ? 0 : nbpAstroTurn(calcU(s) - ta);
}

// Eccentric anomaly of a mean anomaly, by direct iteration to the last bit. Each round leaves
// e cos E of the error, so long orbits near their perigee do not get there in a hundred; in few
// others the last bit keeps alternating. Both are reported, and the last value stands.
double solveKepler(double ma, double ecc)
{
    double ea = ma;
    for (int round = 0; round < 100; ++round) {
        const double next = ma + ecc * std::sin(ea);
        const bool settled = std::fabs(next - ea) < 1e-24;
        ea = next;
        if (settled) return ea;
    }
    nbpLogWarn("%s : 離心近地点離角(ea)が収束しませんでした\n", "nbAstroKeplToCart()");
    return ea;
}

} // namespace

void nbAstroCartToKepl(const double* pos, const double* vel, double* kepl)
{
    const OrbitState s = makeState(pos, vel);
    const double sma = calcSma(s);
    const double ecc = calcEcc(s, sma);
    const double ta = calcTa(s);
    double ea = 0;
    double ma = 0;
    if (ecc > 1) {
        nbpLogWarn("%s : Eccentricity is greater than 1.0. (=%f)\n", "nbAstroCartToKepl()", ecc);
    } else {
        ea = calcEa(ecc, ta);
        ma = calcMa(ecc, ea);
    }
    kepl[0] = sma;
    kepl[1] = ecc;
    kepl[2] = calcInc(s) * nbpAstroRadToDeg;
    kepl[3] = calcRanode(s) * nbpAstroRadToDeg;
    kepl[4] = calcArgPer(s, ecc, ta) * nbpAstroRadToDeg;
    kepl[5] = ma * nbpAstroRadToDeg;
    kepl[6] = ta * nbpAstroRadToDeg;
    kepl[7] = ea * nbpAstroRadToDeg;
}

void nbAstroKeplToCart(const double* kepl, double* pos, double* vel)
{
    const double sma = kepl[0];
    const double ecc = kepl[1];
    const double inc = kepl[2] * nbpAstroDegToRad;
    const double ranode = kepl[3] * nbpAstroDegToRad;
    const double argPer = kepl[4] * nbpAstroDegToRad;
    const double ma = kepl[5] * nbpAstroDegToRad;
    const double ea = ecc != 0 ? solveKepler(ma, ecc) : ma;

    const double r = sma * (1 - ecc * std::cos(ea));
    const double w = std::sqrt(1 - ecc * ecc);
    const double n = std::sqrt(sma * gm);
    const double vr = ecc * std::sin(ea) * n / r; // radial rate
    const double vt = w * n / r;                  // transverse rate
    const double f = ecc != 0 ? std::atan2(std::sin(ea) * w, std::cos(ea) - ecc) : ma;
    const double u = f + argPer;
    const double c = std::cos(u);
    const double s = std::sin(u);
    const double sinO = std::sin(ranode);
    const double cosO = std::cos(ranode);
    const double sinI = std::sin(inc);
    const double cosI = std::cos(inc);
    const double x = cosO * c - s * sinO * cosI;
    const double y = sinO * c + cosI * cosO * s;
    pos[0] = r * x;
    pos[1] = r * y;
    pos[2] = r * s * sinI;
    vel[0] = x * vr - (sinO * cosI * c + cosO * s) * vt;
    vel[1] = y * vr - (sinO * s - c * cosO * cosI) * vt;
    vel[2] = sinI * c * vt + s * sinI * vr;
}
