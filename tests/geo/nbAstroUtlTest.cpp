#include "geo/nbAstroUtl.h"
#include "tests/support/support.h"

#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <limits>
#include <random>
#include <sstream>
#include <string>
#include <vector>

namespace {

constexpr double pi = 3.14159265358979323846;
constexpr double degree = pi / 180;
constexpr double arcsec = degree / 3600;

double hoursToDegrees(double h, double m, double s)
{
    return (h + m / 60 + s / 3600) * 15;
}

// 1987 April 10, 0h, the date of the examples 12.a and 22.a of Meeus, Astronomical Algorithms.
constexpr double meeusMjd = 46895.0;
constexpr double meeusJd = 2446895.5;

} // namespace

TEST(AstroTime, CenturiesCountFromEitherEpochAndAnotherOneWarns)
{
    EXPECT_DOUBLE_EQ(nbAstroCalcJulianCentury(2488070.0, 2000), 1.0);
    EXPECT_DOUBLE_EQ(nbAstroCalcJulianCentury(2433283.0 - 36525, 1950), -1.0);
    StderrCapture text;
    EXPECT_EQ(nbAstroCalcJulianCentury(2433283.0, 1900), 0.0);
    EXPECT_EQ(text.get(),
              "NB_Warn: nbAstroCalcJulianCentury() : JulianCentury 1900 is not prepared.\n");
}

TEST(AstroTime, SiderealAngleIsThatOfMeeusWithAndWithoutTheEquinoxes)
{
    // Examples 12.a and 12.b: mean at 0h and at 19h21m, apparent at 0h. Our constant has six
    // decimals of an hour, which leaves 7e-6 degree; the short nutation 1.2" of arc.
    nb_Astro_Wgs84 = 1;
    const double mean = nbAstroCalcThetaG(meeusMjd);
    const double meanEvening = nbAstroCalcThetaG(meeusMjd + 19.35 / 24);
    nb_Astro_Wgs84 = 0;
    EXPECT_NEAR(mean, hoursToDegrees(13, 10, 46.3668), 1e-5);
    EXPECT_NEAR(meanEvening, hoursToDegrees(8, 34, 57.0896), 1e-5);
    EXPECT_NEAR(nbAstroCalcThetaG(meeusMjd), hoursToDegrees(13, 10, 46.1351), 4e-4);
}

TEST(AstroTime, SiderealAngleStaysBelowAWholeTurn)
{
    for (double mjd = 40000; mjd < 70000; mjd += 0.9973 / 7) {
        const double theta = nbAstroCalcThetaG(mjd);
        ASSERT_TRUE(theta >= 0 && theta < 360) << mjd;
    }
    for (const double mjd :
         {-3364855158227061.0, -2.7e16, 1e20}) { // turns beyond a double's digits
        const double theta = nbAstroCalcThetaG(mjd);
        EXPECT_TRUE(theta >= 0 && theta < 360) << mjd;
    }
}

TEST(AstroTime, ShortEquinoxTermsFollowThePublishedOnesButForTheSignOfOne)
{
    // Example 22.a: nutation in obliquity 9.443", mean obliquity 23 26' 27.407".
    EXPECT_NEAR(nbAstroCalcDeltaEpsilon(meeusJd), 9.443 * arcsec, 0.1 * arcsec);
    EXPECT_NEAR(nbAstroCalcMeanEpsilon(meeusJd), (23 + 26 / 60.0 + 27.407 / 3600) * degree,
                0.02 * arcsec);
    // By hand: A = 11.24850, B = 35.39529 degrees; -0.00478 * 0.195063 + 0.00037 * 0.579217.
    // Taken away, the second term would give -4.13".
    EXPECT_NEAR(nbAstroCalcDeltaPhi(meeusJd), -0.00071809 * degree, 1e-7 * degree);
}

TEST(AstroEarth, SurfacePointsAndLatitudesAreThoseOfProj)
{
    std::ifstream in(NIMBEX_TEST_DATA "/earthPoints.txt");
    int points = 0;
    for (std::string line; std::getline(in, line);) {
        if (line.empty() || line[0] == '#') continue;
        double lon = 0, lat = 0, x = 0, y = 0, z = 0, geoc = 0;
        std::istringstream(line) >> lon >> lat >> x >> y >> z >> geoc;
        double ef[3];
        nbAstroLonLatToEf(lon, lat, ef);
        EXPECT_NEAR(ef[0], x, 1e-8) << line;
        EXPECT_NEAR(ef[1], y, 1e-8) << line;
        EXPECT_NEAR(ef[2], z, 1e-8) << line;
        EXPECT_NEAR(nbAstroGetGeocLat(lat), geoc, 1e-9) << line;
        EXPECT_NEAR(nbAstroGetGeogLat(geoc), lat, 1e-9) << line;
        EXPECT_NEAR(nbAstroGetLocalR(lat), std::sqrt(x * x + y * y + z * z), 1e-8) << line;
        double back[3];
        nbAstroEfToLonLatDist(ef, back);
        EXPECT_NEAR(std::remainder(back[0] - lon, 360), 0, 1e-6) << line;
        EXPECT_NEAR(back[1], lat, 1e-7) << line;
        ++points;
    }
    EXPECT_EQ(points, 12);
}

TEST(AstroEarth, PositionsComeBackFromEverywhereAndLongitudesStayWithinHalfATurn)
{
    std::mt19937 random(7);
    std::uniform_real_distribution<double> part(-1, 1);
    for (int i = 0; i < 20000; ++i) {
        // Every other point lies on the meridian of Greenwich or opposite, where rounding
        // carries the cosine of the longitude past 1.
        const double y = i % 2 ? part(random) : 0.0;
        const double ef[3] = {part(random) * 42164, y * 42164, part(random) * 42164};
        double lonLatDist[3];
        double back[3];
        nbAstroEfToLonLatDist(ef, lonLatDist);
        ASSERT_TRUE(lonLatDist[0] >= -180 && lonLatDist[0] <= 180) << i;
        nbAstroLonLatDistToEf(lonLatDist, back);
        for (int k = 0; k < 3; ++k) // an arc cosine near 1 keeps half the digits
            ASSERT_NEAR(back[k], ef[k], 2e-3) << i;
    }
    const double ef[3] = {-30000, -30000, 0};
    double ssp[2];
    nbAstroEfToSsp(ef, ssp);
    EXPECT_NEAR(ssp[0], -135, 1e-12);
    EXPECT_EQ(ssp[1], 0);
}

TEST(AstroEarth, AngleBetweenPointsIsSeenFromTheCentre)
{
    EXPECT_NEAR(nbAstroGetAng(30, 0, -60, 0), 90, 1e-12);
    EXPECT_NEAR(nbAstroGetAng(10, 90, 77, 0), 90, 1e-12);
    EXPECT_NEAR(nbAstroGetAng(0, 45, 180, 45), 180 - 2 * 44.8075740423, 1e-9); // as PROJ's table
}

TEST(AstroHorizon, AxesPointEastNorthAndUp)
{
    struct Case {
        double lon, lat, ef[3], hc[3];
    };
    const double h = std::sqrt(0.5);
    for (const Case& c : {Case{0, 0, {1, 2, 3}, {2, 3, 1}}, Case{90, 0, {1, 2, 3}, {-1, 3, 2}},
                          Case{0, 90, {1, 2, 3}, {2, -1, 3}}, Case{180, 45, {0, 0, 1}, {0, h, h}},
                          Case{180, 45, {-1, 0, 0}, {0, -h, h}}}) {
        double out[3];
        double back[3];
        nbAstroEfToHc(c.ef, c.lon, c.lat, out);
        nbAstroHcToEf(out, c.lon, c.lat, back);
        for (int i = 0; i < 3; ++i) {
            EXPECT_NEAR(out[i], c.hc[i], 1e-14) << c.lon << ' ' << c.lat;
            EXPECT_NEAR(back[i], c.ef[i], 1e-14) << c.lon << ' ' << c.lat;
        }
    }
    const double above[3] = {0, 7378.14, 0}; // 1000 km over (90, 0)
    double tc[3];
    nbAstroEfToTc(above, 90, 0, tc);
    EXPECT_NEAR(tc[2], 1000, 1e-9);
}

TEST(AstroHorizon, ZenithAndAzimuthRunFromUpAndFromNorthOverEast)
{
    struct Case {
        double hc[3], zenith, azimuth;
    };
    for (const Case& c :
         {Case{{0, 1, 1}, 45, 0}, Case{{2, 0, 0}, 90, 90}, Case{{0, -1, 0}, 90, 180},
          Case{{-1, 0, 1}, 45, 270}, Case{{-1, 1, 0}, 90, 315}, Case{{0, 0, 5}, 0, 360},
          Case{{0, 0, -5}, 180, 360}, Case{{0, 0, 0}, -9999.0, -9999.0}}) {
        double zenith = 1;
        double azimuth = 1;
        nbAstroTcToZenithAzimuth(c.hc, &zenith, &azimuth);
        EXPECT_NEAR(zenith, c.zenith, 1e-12);
        EXPECT_NEAR(azimuth, c.azimuth, 1e-12);
        if (zenith == -9999.0) continue;
        double unit[3];
        nbAstroZenithAzimuthToHcUnit(zenith, azimuth, unit);
        for (int i = 0; i < 3; ++i)
            EXPECT_NEAR(unit[i], c.hc[i] / std::hypot(c.hc[0], c.hc[1], c.hc[2]), 1e-15);
    }
}

TEST(AstroHorizon, AzimuthGuardTakesDegreesFromRadians)
{
    double hc[3];
    nbAstroZenithAzimuthToHcUnit(90, 10800, hc); // thirty turns, 60 pi: due north if mended
    EXPECT_NEAR(hc[0], std::sin(60 * pi - 360), 1e-12);
}

TEST(AstroHorizon, TwoObserversFindTheirTarget)
{
    struct Observer {
        double lon, lat;
    };
    const double target[3] = {-4000, 5200, 3100};
    double ef[3];
    for (const auto& [a, b] : {std::pair{Observer{135, 25}, Observer{120, 30}},
                               std::pair{Observer{-60, -20}, Observer{100, 80}}}) {
        double zen[2], az[2], tc[3];
        nbAstroEfToTc(target, a.lon, a.lat, tc);
        nbAstroTcToZenithAzimuth(tc, &zen[0], &az[0]);
        nbAstroEfToTc(target, b.lon, b.lat, tc);
        nbAstroTcToZenithAzimuth(tc, &zen[1], &az[1]);
        ASSERT_EQ(nbAstroGetEfByZenithAzimuth(a.lon, a.lat, zen[0], az[0], b.lon, b.lat, zen[1],
                                              az[1], ef),
                  0);
        for (int i = 0; i < 3; ++i) // arc cosines of the angles: about 1e-11 of the distance
            EXPECT_NEAR(ef[i], target[i], 1e-5);
    }
    // A line in the plane of the equator, due east from (20, 0): it alone gives estimates, two.
    const double c = std::cos(20 * degree);
    const double d = std::sin(20 * degree);
    const double ahead[3] = {6378.14 * c - 3000 * d, 6378.14 * d + 3000 * c, 0};
    double zen, az, tc[3];
    nbAstroEfToTc(ahead, 10, 30, tc);
    nbAstroTcToZenithAzimuth(tc, &zen, &az);
    ASSERT_EQ(nbAstroGetEfByZenithAzimuth(20, 0, 90, 90, 10, 30, zen, az, ef), 0);
    for (int i = 0; i < 3; ++i)
        EXPECT_NEAR(ef[i], ahead[i], 1e-5);
}

TEST(AstroHorizon, LinesWithoutACrossingAreRefused)
{
    double ef[3] = {7, 8, 9};
    EXPECT_EQ(nbAstroGetEfByZenithAzimuth(0, 0, 90, 90, 90, 0, 90, 270, ef), -1);
    EXPECT_EQ(nbAstroGetEfByZenithAzimuth(0, 0, 0, 0, 90, 0, 0, 0, ef), -1);
    // The guard of a sum: y and z of the first line are opposite, the second is vertical at the
    // pole. Five degrees on, where the two parts are rounded apart, the pair is solved.
    EXPECT_EQ(nbAstroGetEfByZenithAzimuth(0, 0, 25, 135, 90, 90, 0, 0, ef), -1);
    EXPECT_EQ(ef[0], 7);
    EXPECT_EQ(nbAstroGetEfByZenithAzimuth(0, 0, 30, 135, 90, 90, 0, 0, ef), 0);
}

TEST(AstroSky, RightAscensionAndLongitudeDifferByTheSiderealAngle)
{
    const double theta = nbAstroCalcThetaG(meeusMjd); // about 197.7
    double lon, lat, alpha, delta;
    nbAstroAlphaDeltaToLonLat(theta + 30, 44.8075740423, meeusMjd, &lon, &lat);
    EXPECT_NEAR(lon, 30, 1e-9);
    EXPECT_NEAR(lat, 45, 1e-9); // geocentric declination, geodetic latitude: PROJ's pair
    nbAstroAlphaDeltaToLonLat(10, 0, meeusMjd, &lon, &lat);
    EXPECT_NEAR(lon, 10 - theta, 1e-9); // below -180, not raised
    nbAstroLonLatToLonLat(170, 45, meeusMjd, &alpha, &delta);
    EXPECT_NEAR(alpha, 170 + theta - 360, 1e-9);
    EXPECT_NEAR(delta, 44.8075740423, 1e-9);
}

TEST(AstroSky, NumbersWithoutEndDoNotHang)
{
    const double inf = std::numeric_limits<double>::infinity();
    double a, b, ef[3];
    for (const double value : {1e300, inf, -inf, std::nan("")}) {
        nbAstroAlphaDeltaToLonLat(value, 0, meeusMjd, &a, &b);
        EXPECT_FALSE(a > 180);
        nbAstroLonLatToLonLat(value, 0, meeusMjd, &a, &b);
        EXPECT_FALSE(a >= 360);
        nbAstroGetSunPosInEf(value, ef);
        nbAstroJ2000ToEf(value, ef, std::vector<double>(3).data());
    }
}
