/**
 * Precession, nutation and the changes between inertial and earth-fixed frames.
 */
#include "geo/nbAstroBase.h"
#include "geo/nbAstroNutation.h"
#include "geo/nbAstroUtl.h"
#include "geo/nbMatrix.h"
#include "util/nbLogFormat.h"

#include <cmath>
#include <cstdio>
#include <span>

namespace {

struct Nutation {
    double longitude; // radians
    double obliquity;
};

constexpr double arcsecToRad(double arcsec)
{
    return arcsec / 3600 * nbpAstroDegToRad;
}

// A series at T, its five arguments in radians.
Nutation sumSeries(std::span<const NbpNutationTerm> terms, const double* arguments, double t)
{
    double longitude = 0;
    double obliquity = 0;
    for (const NbpNutationTerm& term : terms) {
        double angle = 0;
        for (int i = 0; i < 5; ++i)
            angle += term.n[i] * arguments[i];
        longitude += (term.sine + term.sineT * t) * std::sin(angle);
        if (term.cosine != 0) obliquity += (term.cosine + term.cosineT * t) * std::cos(angle);
    }
    return {arcsecToRad(longitude), arcsecToRad(obliquity)};
}

// The chain of 1950. Its time is d, days from 1900 January 0.5.

double daysFrom1900(double jd)
{
    return (jd - 2400000.5) - 15019.5;
}

// Besselian centuries from 1950.
double calcBesselianYear(double jd)
{
    const double t = daysFrom1900(jd) / 36525;
    return t * 1.000021359028 - 0.5000085837 + 8.402778e-09 * (t * t);
}

void matrixZ(double a, double* m)
{
    const double s = std::sin(a);
    const double c = std::cos(a);
    const double rows[9] = {c, s, 0, -s, c, 0, 0, 0, 1};
    nbCopyMat(rows, 3, 3, m);
}

void matrixX(double a, double* m)
{
    const double s = std::sin(a);
    const double c = std::cos(a);
    const double rows[9] = {1, 0, 0, 0, c, s, 0, -s, c};
    nbCopyMat(rows, 3, 3, m);
}

void matrixY(double a, double* m)
{
    const double s = std::sin(a);
    const double c = std::cos(a);
    const double rows[9] = {c, 0, s, 0, 1, 0, -s, 0, c};
    nbCopyMat(rows, 3, 3, m);
}

// a times b times c.
void multThree(const double* a, const double* b, const double* c, double* out)
{
    double ab[9];
    nbMultMat(a, b, 3, 3, 3, ab);
    nbMultMat(ab, c, 3, 3, 3, out);
}

// Mean equator of date to that of 1950 (Newcomb).
void calcPrecession(double jd, double* p)
{
    const double b = calcBesselianYear(jd);
    const double b2 = b * b;
    const double b3 = b2 * b;
    const double zeta = arcsecToRad(2304.948 * b + 0.302 * b2 + 0.0179 * b3);
    const double z = arcsecToRad(2304.948 * b + 1.093 * b2 + 0.0192 * b3);
    const double theta = arcsecToRad(2004.255 * b - 0.426 * b2 - 0.0416 * b3);
    double left[9];
    double middle[9];
    double right[9];
    matrixZ(zeta, left);
    matrixY(theta, middle);
    matrixZ(z, right);
    multThree(left, middle, right, p);
}

// By cofactors. A matrix without an inverse is logged and leaves `inv` as it was.
bool calcReverseMatrix3(const double* m, double* inv)
{
    const double c0 = m[4] * m[8] - m[5] * m[7];
    const double c1 = m[5] * m[6] - m[3] * m[8];
    const double c2 = m[3] * m[7] - m[4] * m[6];
    const double determinant = m[0] * c0 + m[1] * c1 + m[2] * c2;
    if (determinant > -1e-07 && determinant < 1e-07) {
        nbpLogError("%s : Determinant is (nearly) zero\n", "calcReverseMatrix3()");
        return false;
    }
    inv[0] = c0 / determinant;
    inv[1] = (m[2] * m[7] - m[1] * m[8]) / determinant;
    inv[2] = (m[1] * m[5] - m[2] * m[4]) / determinant;
    inv[3] = c1 / determinant;
    inv[4] = (m[0] * m[8] - m[2] * m[6]) / determinant;
    inv[5] = (m[2] * m[3] - m[0] * m[5]) / determinant;
    inv[6] = c2 / determinant;
    inv[7] = (m[1] * m[6] - m[0] * m[7]) / determinant;
    inv[8] = (m[0] * m[4] - m[1] * m[3]) / determinant;
    return true;
}

// Mean to true equator and equinox of date.
void calcNutation(double jd, double* n)
{
    const double d = daysFrom1900(jd);
    const double d2 = d * d;
    const double d3 = d2 * d;
    const double t = d / 36525;
    // In the order of the series: l, l', F, D, W.
    const double arguments[5] = {
        (296.104608 + 13.0649924465 * d + 6.89e-12 * d2 + 2.95e-19 * d3) * nbpAstroDegToRad,
        (358.475833 + 0.9856002669 * d - 1.12e-13 * d2 - 6.8e-20 * d3) * nbpAstroDegToRad,
        (11.250889 + 13.229350449 * d - 2.407e-12 * d2 - 7e-21 * d3) * nbpAstroDegToRad,
        (350.737486 + 12.1907491914 * d - 1.076e-12 * d2 + 3.9e-20 * d3) * nbpAstroDegToRad,
        (259.183275 - 0.0529539222 * d + 1.557e-12 * d2 + 4.6e-20 * d3) * nbpAstroDegToRad,
    };
    const Nutation nutation = sumSeries(nbpNutation1964, arguments, t);
    const double e = (23.452294 - 0.0130125 * t - 1.64e-06 * (t * t) + 5.03e-07 * (t * t * t)) *
                     nbpAstroDegToRad;
    double a[9];
    double b[9];
    double c[9];
    matrixX(e, a);
    matrixZ(-nutation.longitude, b);
    matrixX(-(e + nutation.obliquity), c);
    multThree(c, b, a, n);
}

// The chain of J2000. Its time is T, Julian centuries from J2000.

double centuriesFrom2000(double mjd)
{
    return nbAstroCalcJulianCentury(nbAstroConvMjdToJd(mjd), 2000);
}

double calcZeta(double t)
{
    return arcsecToRad(2306.2181 * t + 0.30188 * (t * t) + 0.017998 * (t * t * t));
}

double calcZ(double t)
{
    return arcsecToRad(2306.2181 * t + 1.09468 * (t * t) + 0.018203 * (t * t * t));
}

double calcTheta(double t)
{
    return arcsecToRad(2004.3109 * t - 0.42665 * (t * t) - 0.041833 * (t * t * t));
}

// Mean equator of J2000 to that of date (IAU 1976).
void calcPrecessionJ2kToMod(double mjd, double* p)
{
    const double t = centuriesFrom2000(mjd);
    const double zeta = calcZeta(t);
    const double z = calcZ(t);
    const double theta = calcTheta(t);
    const double sinZeta = std::sin(zeta);
    const double cosZeta = std::cos(zeta);
    const double sinZ = std::sin(z);
    const double cosZ = std::cos(z);
    const double sinTheta = std::sin(theta);
    const double cosTheta = std::cos(theta);
    p[0] = cosZ * cosTheta * cosZeta - sinZ * sinZeta;
    p[1] = -cosZ * cosTheta * sinZeta - sinZ * cosZeta;
    p[2] = -cosZ * sinTheta;
    p[3] = sinZ * cosTheta * cosZeta + cosZ * sinZeta;
    p[4] = -sinZ * cosTheta * sinZeta + cosZ * cosZeta;
    p[5] = -sinZ * sinTheta;
    p[6] = sinTheta * cosZeta;
    p[7] = -sinTheta * sinZeta;
    p[8] = cosTheta;
}

// Node of the moon; sun's mean longitude and perigee; moon's perigee and mean longitude.
// Each in radians.

double calcOmega(double t)
{
    return (125.044555 - 36525 * 0.05295376277 * t + 0.0020756 * (t * t)) * nbpAstroDegToRad;
}

double calcL(double t)
{
    return (280.466457 + 36525 * 0.98564735800624 * t + 0.0003032 * (t * t)) * nbpAstroDegToRad;
}

double calcGamma(double t)
{
    return (282.937348 + 36525 * 4.707624e-05 * t + 0.0004569 * (t * t)) * nbpAstroDegToRad;
}

double calcGammaD(double t)
{
    return (83.353243 + 36525 * 0.11140352394 * t - 0.0103217 * (t * t)) * nbpAstroDegToRad;
}

double calcMoonEclipticLon(double t)
{
    return (218.316646 + 36525 * 13.17639647564 * t - 0.0014664 * (t * t)) * nbpAstroDegToRad;
}

// Mean obliquity of the ecliptic.
double calcEpsilon(double t)
{
    return (23.43929 + (-46.815 * t - 0.00059 * (t * t) + 0.001813 * (t * t * t)) / 3600) *
           nbpAstroDegToRad;
}

// Mean to true equator and equinox of date, to second order in the small angles.
void calcNutationJ2kModToTod(double mjd, double* n)
{
    const double t = centuriesFrom2000(mjd);
    const double arguments[5] = {calcOmega(t), calcL(t), calcGamma(t), calcGammaD(t),
                                 calcMoonEclipticLon(t)};
    const Nutation nutation = sumSeries(nbpNutation1980, arguments, t);
    const double e = calcEpsilon(t);
    const double p = nutation.longitude;
    const double q = nutation.obliquity;
    const double s = std::sin(e);
    const double c = std::cos(e);
    n[0] = 1 - p * p / 2;
    n[1] = -p * c;
    n[2] = -p * s;
    n[3] = (c - q * s) * p;
    n[4] = 1 - q * q / 2 - p * p * (c * c) / 2;
    n[5] = -q - p * p * c * s / 2;
    n[6] = (s + q * c) * p;
    n[7] = q - p * p * c * s / 2;
    n[8] = 1 - q * q / 2 - p * p * (s * s) / 2;
}

bool calcNutationJ2kTodToMod(double mjd, double* n)
{
    double forward[9];
    double inverse[9];
    calcNutationJ2kModToTod(mjd, forward);
    if (nbInvMat(forward, 3, inverse) != 0) {
        std::fputs("ERROR : calcNutationJ2kTodToMod() failed.\n", stderr);
        return false;
    }
    nbCopyMat(inverse, 3, 3, n);
    return true;
}

// Mean equator of 1950 to Tod. False: the precession has no inverse, `m` is as it was.
bool calcNp(double mjd, double* m)
{
    const double jd = nbAstroConvMjdToJd(mjd);
    double p[9];
    double inverse[9];
    double n[9];
    calcPrecession(jd, p);
    if (!calcReverseMatrix3(p, inverse)) return false;
    calcNutation(jd, n);
    nbMultMat(n, inverse, 3, 3, 3, m);
    return true;
}

} // namespace

void nbAstroCalcNpMatrix(double mjd, double* m)
{
    calcNp(mjd, m);
}

void nbAstroCalcNpMatrixJ2k(double mjd, double* m)
{
    double p[9];
    double n[9];
    calcPrecessionJ2kToMod(mjd, p);
    calcNutationJ2kModToTod(mjd, n);
    nbMultMat(n, p, 3, 3, 3, m);
}

void nbAstroTodToEf(double mjd, const double* in, double* out)
{
    const double theta = nbAstroCalcThetaG(mjd) * nbpAstroDegToRad;
    const double s = std::sin(theta);
    const double c = std::cos(theta);
    out[0] = c * in[0] + s * in[1];
    out[1] = -s * in[0] + c * in[1];
    out[2] = in[2];
}

void nbAstroEfToTod(double mjd, const double* in, double* out)
{
    const double theta = nbAstroCalcThetaG(mjd) * nbpAstroDegToRad;
    const double s = std::sin(theta);
    const double c = std::cos(theta);
    out[0] = c * in[0] - s * in[1];
    out[1] = s * in[0] + c * in[1];
    out[2] = in[2];
}

void nbAstro50mToTod(double mjd, const double* in, double* out)
{
    double m[9];
    if (calcNp(mjd, m)) nbpAstroMultVec(m, in, out);
}

void nbAstroTodTo50m(double mjd, const double* in, double* out)
{
    double m[9];
    double inverse[9];
    if (calcNp(mjd, m) && calcReverseMatrix3(m, inverse)) nbpAstroMultVec(inverse, in, out);
}

void nbAstro50mToEf(double mjd, const double* in, double* out)
{
    double m[9];
    double tod[3];
    if (!calcNp(mjd, m)) return;
    nbpAstroMultVec(m, in, tod);
    nbAstroTodToEf(mjd, tod, out);
}

void nbAstroEfTo50m(double mjd, const double* in, double* out)
{
    double tod[3];
    nbAstroEfToTod(mjd, in, tod);
    nbAstroTodTo50m(mjd, tod, out);
}

void nbAstroJ2000ToTod(double mjd, const double* in, double* out)
{
    double p[9];
    double n[9];
    double mod[3];
    calcPrecessionJ2kToMod(mjd, p);
    nbpAstroMultVec(p, in, mod);
    calcNutationJ2kModToTod(mjd, n);
    nbpAstroMultVec(n, mod, out);
}

void nbAstroTodToJ2000(double mjd, const double* in, double* out)
{
    double p[9];
    double n[9];
    double mod[3];
    if (!calcNutationJ2kTodToMod(mjd, n)) return;
    nbpAstroMultVec(n, in, mod);
    calcPrecessionJ2kToMod(mjd, p);
    nbpAstroMultVecT(p, mod, out); // its transpose: calcPrecessionModToJ2k
}

void nbAstroJ2000ToEf(double mjd, const double* in, double* out)
{
    double tod[3];
    nbAstroJ2000ToTod(mjd, in, tod);
    nbAstroTodToEf(mjd, tod, out);
}

void nbAstroEfToJ2000(double mjd, const double* in, double* out)
{
    double tod[3];
    nbAstroEfToTod(mjd, in, tod);
    nbAstroTodToJ2000(mjd, tod, out);
}
