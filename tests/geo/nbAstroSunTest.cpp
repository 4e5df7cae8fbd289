#include "geo/nbAstroUtl.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

namespace {

constexpr double pi = 3.14159265358979323846;
constexpr double degree = pi / 180;
constexpr double astronomicalUnit = 149597870.0; // km

struct SunPlace {
    double alpha, delta; // degrees
    double distance;     // astronomical units
};

SunPlace sunOf(double mjd)
{
    double ef[3];
    double tod[3];
    nbAstroGetSunPosInEf(mjd, ef);
    nbAstroEfToTod(mjd, ef, tod);
    const double d = std::hypot(tod[0], tod[1], tod[2]);
    double alpha = std::atan2(tod[1], tod[0]) / degree;
    if (alpha < 0) alpha += 360;
    return {alpha, std::asin(tod[2] / d) / degree, d / astronomicalUnit};
}

// The low-precision formulas of the Astronomical Almanac (page C24): 0.01 degree from 1950 to
// 2050.
SunPlace almanacSun(double mjd)
{
    const double n = mjd + 64 / 86400.0 - 51544.5;
    const double g = (357.528 + 0.9856003 * n) * degree;
    const double lambda =
        (280.460 + 0.9856474 * n + 1.915 * std::sin(g) + 0.020 * std::sin(2 * g)) * degree;
    const double e = (23.439 - 0.0000004 * n) * degree;
    double alpha = std::atan2(std::cos(e) * std::sin(lambda), std::cos(lambda)) / degree;
    if (alpha < 0) alpha += 360;
    return {alpha, std::asin(std::sin(e) * std::sin(lambda)) / degree,
            1.00014 - 0.01671 * std::cos(g) - 0.00014 * std::cos(2 * g)};
}

} // namespace

TEST(AstroSun, OctoberOf1992IsThatOfMeeus)
{
    // Example 25.b, 0h dynamical time, 59 seconds ahead: 13h 13m 30.749s, -7 47' 01.74",
    // 0.99760775. The theory is good to 0.003 degree.
    const SunPlace sun = sunOf(48908.0 - 59 / 86400.0);
    EXPECT_NEAR(sun.alpha, 198.378121, 0.003);
    EXPECT_NEAR(sun.delta, -7.783817, 0.003);
    EXPECT_NEAR(sun.distance, 0.99760775, 3e-5);
}

TEST(AstroSun, SubsolarPointFollowsTheEquationOfTime)
{
    // Example 28.b: the equation of time is 13m 42.6s at that time, so the sun stood over
    // 180 degrees east less 3.4275.
    double ef[3];
    double lon, lat;
    nbAstroGetSunPosInEf(48908.0, ef);
    nbAstroEfToLonLat(ef, &lon, &lat);
    EXPECT_NEAR(lon, 180 - 3.4275, 0.005);
    EXPECT_NEAR(nbAstroGetGeocLat(lat), -7.784, 0.005);
}

TEST(AstroSun, FollowsTheAlmanacFrom1978To2030)
{
    double worst = 0;
    for (double mjd = 43509; mjd < 62503; mjd += 0.37) {
        const SunPlace sun = sunOf(mjd);
        const SunPlace almanac = almanacSun(mjd);
        const double dAlpha =
            std::remainder(sun.alpha - almanac.alpha, 360) * std::cos(almanac.delta * degree);
        worst = std::max(worst, std::hypot(dAlpha, sun.delta - almanac.delta));
        ASSERT_LT(worst, 0.015) << mjd;
        ASSERT_NEAR(sun.distance, almanac.distance, 1.5e-4) << mjd;
    }
}
