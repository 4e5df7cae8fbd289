/**
 * The sun from a low-order theory.
 */
#include "geo/nbAstroBase.h"
#include "geo/nbAstroUtl.h"
#include "geo/nbDate.h"

#include <array>
#include <cmath>

namespace {

constexpr double astronomicalUnit = 149597870.0; // km

// One term of the sun's longitude: amplitude * sin(a + b t), all in degrees, t in years.
struct SunTerm {
    double amplitude;
    double a;
    double b;
};

constexpr std::array sunTerms = std::to_array<SunTerm>({
    {0.02, 355.05, 719.981},
    {0.0048, 234.95, 19.341},
    {0.002, 247.1, 329.64},
    {0.0018, 297.8, 4452.67},
    {0.0018, 251.3, 0.2},
    {0.0015, 343.2, 450.37},
    {0.0013, 81.4, 225.18},
    {0.0008, 132.5, 659.29},
    {0.0007, 153.3, 90.38},
    {0.0007, 206.8, 30.35},
    {0.0006, 29.8, 337.18},
    {0.0005, 207.4, 1.5},
    {0.0005, 291.2, 22.81},
    {0.0004, 234.9, 315.56},
    {0.0004, 157.3, 299.3},
    {0.0004, 21.1, 720.02},
    {0.0003, 352.5, 1079.97},
    {0.0003, 329.7, 44.43},
});
static_assert(sunTerms.size() == 18);

double sinDeg(double degrees)
{
    return std::sin(degrees * nbpAstroDegToRad);
}

// Julian years since 2000.0 in terrestrial time. The theory counts its days in Japanese civil
// time, nine hours ahead, which its constant takes back; 0.00074... day is 64 seconds.
double yearsSince2000(double mjd)
{
    NbDateInts date;
    nbDateMjdToInts(nbDateAddMjd(mjd, 9, 'h'), &date);
    double y = static_cast<double>(date.year) - 2000;
    double m = date.month;
    if (m <= 2) {
        y -= 1;
        m += 12;
    }
    return (365 * y + 30 * m + date.day - 33.875 + std::floor(3 * (m + 1) / 5) + std::floor(y / 4) +
            date.hour / 24.0 + date.minute / 1440.0 +
            (date.second + date.millisecond / 1000.0) / 86400.0 + 0.000740740740740741) /
           365.25;
}

// Apparent ecliptic longitude, 0 to 360 degrees.
double eclipticLongitude(double t)
{
    double lambda =
        280.4603 + 360.00769 * t + (1.9146 - 0.00005 * t) * sinDeg(357.538 + 359.991 * t);
    for (const SunTerm& term : sunTerms)
        lambda += term.amplitude * sinDeg(term.a + term.b * t);
    lambda = nbpAstroLoopable(lambda);
    while (lambda > 360)
        lambda -= 360;
    while (lambda < 0) // before 2000
        lambda += 360;
    return lambda;
}

// Distance from the earth's centre, km.
double sunDistance(double t)
{
    const double q = (0.007256 - 0.0000002 * t) * sinDeg(267.54 + 359.991 * t) +
                     0.000091 * sinDeg(265.1 + 719.98 * t) + 0.00003 +
                     0.000013 * sinDeg(27.8 + 4452.67 * t) + 0.000007 * sinDeg(254 + 450.4 * t) +
                     0.000007 * sinDeg(156 + 329.6 * t);
    return std::pow(10.0, q) * astronomicalUnit;
}

} // namespace

void nbAstroGetSunPosInEf(double mjd, double* ef)
{
    const double t = yearsSince2000(mjd);
    const double lambda = eclipticLongitude(t);
    const double lambdaRad = lambda * nbpAstroDegToRad;
    const double e = (23.439291 - 0.000130042 * t) * nbpAstroDegToRad;
    constexpr double pi = nbpAstroTwoPi / 2;
    double alpha = std::atan(std::tan(lambdaRad) * std::cos(e));
    if (lambda >= 180)
        alpha += alpha < 0 ? nbpAstroTwoPi : pi;
    else if (alpha < 0)
        alpha += pi;
    if (alpha > nbpAstroTwoPi) alpha -= nbpAstroTwoPi;
    const double delta = std::asin(std::sin(e) * std::sin(lambdaRad));

    double lonLatDist[3];
    nbAstroAlphaDeltaToLonLat(alpha * nbpAstroRadToDeg, delta * nbpAstroRadToDeg, mjd,
                              &lonLatDist[0], &lonLatDist[1]);
    lonLatDist[2] = sunDistance(t);
    nbAstroLonLatDistToEf(lonLatDist, ef);
}
