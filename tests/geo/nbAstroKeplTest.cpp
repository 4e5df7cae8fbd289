#include "geo/nbAstroUtl.h"
#include "tests/support/support.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

constexpr double pi = 3.14159265358979323846;
constexpr double degree = pi / 180;
constexpr double gm = 3.986005e14;

NbAstroKepl keplOf(const double (&pos)[3], const double (&vel)[3])
{
    double k[8];
    nbAstroCartToKepl(pos, vel, k);
    return {k[0], k[1], k[2], k[3], k[4], k[5], k[6], k[7]};
}

// Rotation of a vector about an axis (0 x, 1 y, 2 z) by the right hand.
void rotate(int axis, double rad, double* v)
{
    const int j = (axis + 1) % 3;
    const int k = (axis + 2) % 3;
    const double a = v[j] * std::cos(rad) - v[k] * std::sin(rad);
    v[k] = v[j] * std::sin(rad) + v[k] * std::cos(rad);
    v[j] = a;
}

} // namespace

TEST(AstroKepl, ElementsAreThoseOfVallado)
{
    // Fundamentals of Astrodynamics and Applications, example 2-5 (GM differs by 1.5e-7).
    const NbAstroKepl k = keplOf({6524834, 6862875, 6448296}, {4901.327, 5533.756, -1976.341});
    EXPECT_NEAR(k.sma, 36127343, 100);
    EXPECT_NEAR(k.ecc, 0.832853, 2e-6);
    EXPECT_NEAR(k.inc, 87.870, 1e-3);
    EXPECT_NEAR(k.ranode, 227.898, 1e-3);
    EXPECT_NEAR(k.argPer, 53.38, 6e-3);
    EXPECT_NEAR(k.ta, 92.335, 6e-4);
    EXPECT_NEAR(std::tan(k.ea * degree / 2),
                std::sqrt((1 - 0.832853) / (1 + 0.832853)) * std::tan(92.335 * degree / 2), 1e-5);
    EXPECT_NEAR(k.ma, k.ea - 0.832853 * std::sin(k.ea * degree) / degree, 1e-3);
}

TEST(AstroKepl, PositionAndVelocityComeBackFromTheirElements)
{
    // Sun-synchronous, geostationary, transfer, half-day and steep orbits; M in all quadrants.
    for (const NbAstroKepl& orbit : {NbAstroKepl{7.2e6, 0.0011, 81.3, 250, 120, 0, 0, 0},
                                     NbAstroKepl{42164e3, 2e-4, 0.05, 95, 310, 0, 0, 0},
                                     NbAstroKepl{24.4e6, 0.5, 28.5, 10, 178, 0, 0, 0},
                                     NbAstroKepl{26.6e6, 0.35, 63.4, 359, 270, 0, 0, 0},
                                     NbAstroKepl{9e6, 0.1, 90, 45, 5, 0, 0, 0}}) {
        for (double ma = 7; ma < 360; ma += 50) {
            const double in[8] = {orbit.sma,    orbit.ecc, orbit.inc, orbit.ranode,
                                  orbit.argPer, ma,        0,         0};
            double pos[3], vel[3], out[8];
            nbAstroKeplToCart(in, pos, vel);
            // Energy by itself fixes the speed: v^2 = GM (2 / r - 1 / a).
            const double r = std::hypot(pos[0], pos[1], pos[2]);
            const double v = std::hypot(vel[0], vel[1], vel[2]);
            EXPECT_NEAR(v * v / (gm * (2 / r - 1 / orbit.sma)), 1, 1e-12);
            nbAstroCartToKepl(pos, vel, out);
            EXPECT_NEAR(out[0] / in[0], 1, 1e-12);
            EXPECT_NEAR(out[1], in[1], 1e-10);
            EXPECT_NEAR(out[2], in[2], 2e-6); // an arc sine near 90 degrees
            EXPECT_NEAR(std::remainder(out[3] - in[3], 360), 0, 1e-8);
            const double tolerance = 1e-9 / orbit.ecc; // perigee of a near-circle
            EXPECT_NEAR(std::remainder(out[4] - in[4], 360), 0, tolerance);
            EXPECT_NEAR(std::remainder(out[5] - in[5], 360), 0, tolerance);
        }
    }
}

TEST(AstroKepl, CircularElementsNeedNoIteration)
{
    // Due north-east at 30 degrees of inclination, a quarter turn past the node.
    const double kepl[8] = {8e6, 0, 30, 0, 60, 30, 0, 0};
    double pos[3], vel[3];
    StderrCapture text;
    nbAstroKeplToCart(kepl, pos, vel);
    EXPECT_EQ(text.get(), "");
    EXPECT_NEAR(pos[0], 0, 1e-8);
    EXPECT_NEAR(pos[1], 8e6 * std::sqrt(0.75), 1e-8);
    EXPECT_NEAR(pos[2], 4e6, 1e-8);
    EXPECT_NEAR(vel[0], -std::sqrt(gm / 8e6), 1e-9);
    EXPECT_NEAR(vel[1], 0, 1e-9);
    EXPECT_NEAR(vel[2], 0, 1e-9);
}

TEST(AstroKepl, ACircleHasItsPerigeeAtTheNode)
{
    // Speed 4096 m/s makes every product exact.
    const double r = gm / (4096.0 * 4096.0);
    const NbAstroKepl k = keplOf({0, r, 0}, {-4096, 0, 0});
    EXPECT_EQ(k.ecc, 0);
    EXPECT_EQ(k.argPer, 0);
    EXPECT_EQ(k.inc, 0);
    EXPECT_EQ(k.ranode, 0);
    EXPECT_NEAR(k.ta, 90, 1e-12);
    EXPECT_NEAR(k.ma, 90, 1e-12);
    EXPECT_EQ(keplOf({0, r, 0}, {4096, 0, 0}).inc, 180); // in the equator, backward
}

TEST(AstroKepl, CirclesNeverGiveNotANumber)
{
    for (int i = 0; i < 2000; ++i) {
        const double kepl[8] = {7e6 + 977.7 * i, 0, 90, 0.1 * i, 0, 0.37 * i, 0, 0};
        double pos[3], vel[3], out[8];
        nbAstroKeplToCart(kepl, pos, vel);
        nbAstroCartToKepl(pos, vel, out);
        for (const double element : out)
            ASSERT_TRUE(std::isfinite(element)) << i;
        ASSERT_NEAR(out[2], 90, 3e-6) << i;
    }
}

TEST(AstroKepl, RetrogradeOrbitsReadAsTheirSupplement)
{
    const double kepl[8] = {7.2e6, 0.01, 98.7, 40, 20, 100, 0, 0};
    double pos[3], vel[3], out[8];
    nbAstroKeplToCart(kepl, pos, vel);
    nbAstroCartToKepl(pos, vel, out);
    EXPECT_NEAR(out[2], 81.3, 1e-9);
    EXPECT_NEAR(out[3], 40, 1e-9);
}

TEST(AstroKepl, NodeOnTheYAxisReadsAsHalfATurn)
{
    // Over +y, climbing: the node is at 90 degrees, and reads 180.
    EXPECT_NEAR(keplOf({0, 7e6, 0}, {-5000, 0, 5000}).ranode, 180, 1e-12);
    EXPECT_NEAR(keplOf({0, 7e6, 0}, {-5000, 0, -5000}).ranode, 270, 1e-12);
    EXPECT_EQ(keplOf({7e6, 0, 0}, {0, 5000, 5000}).ranode, 0);
    EXPECT_NEAR(keplOf({7e6, 0, 0}, {0, 5000, -5000}).ranode, 180, 1e-12);
}

TEST(AstroKepl, PositionAndVelocityAreThoseOfVallado)
{
    // Example 2-6, by its mean anomaly.
    const double e = 0.83285;
    const double ea = 2 * std::atan(std::sqrt((1 - e) / (1 + e)) * std::tan(92.335 * degree / 2));
    const double kepl[8] = {11067790 / (1 - e * e),           e, 87.87, 227.89, 53.38,
                            (ea - e * std::sin(ea)) / degree, 0, 0};
    double pos[3], vel[3];
    nbAstroKeplToCart(kepl, pos, vel);
    const double expectedPos[3] = {6525344, 6861535, 6449125};
    const double expectedVel[3] = {4902.276, 5533.124, -1975.709};
    for (int i = 0; i < 3; ++i) {
        EXPECT_NEAR(pos[i], expectedPos[i], 50);
        EXPECT_NEAR(vel[i], expectedVel[i], 0.02);
    }
}

TEST(AstroKepl, HyperbolaAndSlowIterationAreReportedAndGoOn)
{
    {
        StderrCapture text;
        const NbAstroKepl k = keplOf({7e6, 0, 0}, {0, 12000, 0}); // e = r v^2 / GM - 1
        EXPECT_EQ(text.get(), "NB_Warn: nbAstroCartToKepl() : Eccentricity is greater than 1.0. "
                              "(=1.528848)\n");
        EXPECT_EQ(k.ma, 0);
        EXPECT_EQ(k.ea, 0);
    }
    // Near the perigee each round brings e cos E of the way: 0.97 to the 100th is 0.05.
    const double kepl[8] = {1e9, 0.99, 10, 20, 30, 0.5, 0, 0};
    double pos[3], vel[3];
    StderrCapture text;
    nbAstroKeplToCart(kepl, pos, vel);
    EXPECT_EQ(text.get(),
              "NB_Warn: nbAstroKeplToCart() : 離心近地点離角(ea)が収束しませんでした\n");
    EXPECT_TRUE(std::isfinite(pos[0]) && std::isfinite(vel[0]));
}

TEST(AstroSensor, OrbitMatrixHoldsTheOrbitsOwnDirections)
{
    // Columns: ahead, against the orbit's pole, down; turned from Tod to Ef by theta.
    const double kepl[8] = {7e6, 0, 98, 33, 250, 150, 150, 150};
    const double theta = 0.7;
    double pos[3], vel[3], m[9];
    nbAstroKeplToCart(kepl, pos, vel);
    rotate(2, -theta, pos);
    rotate(2, -theta, vel);
    nbAstroCalcMatB(theta, kepl, m);
    const double v = std::sqrt(gm / 7e6);
    for (int i = 0; i < 3; ++i) {
        const int j = (i + 1) % 3;
        const int k = (i + 2) % 3;
        const double pole = (pos[j] * vel[k] - pos[k] * vel[j]) / (7e6 * v);
        EXPECT_NEAR(m[3 * i], vel[i] / v, 1e-12);
        EXPECT_NEAR(m[3 * i + 1], -pole, 1e-12);
        EXPECT_NEAR(m[3 * i + 2], -pos[i] / 7e6, 1e-12);
    }
}

TEST(AstroSensor, AttitudeTurnsAboutZThenYThenX)
{
    double m[9];
    nbAstroCalcMatM(0.3, -0.4, 0.5, m);
    const double in[3] = {1, 2, 3};
    double turned[3] = {1, 2, 3};
    double out[3];
    rotate(2, 0.5, turned);
    rotate(1, -0.4, turned);
    rotate(0, 0.3, turned);
    nbAstroSenToEf(m, in, out);
    for (int i = 0; i < 3; ++i)
        EXPECT_NEAR(out[i], turned[i], 1e-14);

    const double swap[9] = {0, 1, 0, 1, 0, 0, 0, 0, 2};
    const double number[9] = {1, 2, 3, 4, 5, 6, 7, 8, 9};
    const double product[9] = {4, 5, 6, 1, 2, 3, 14, 16, 18};
    double bt[9];
    double btt[9];
    nbAstroCalcMatBT(swap, number, bt);
    nbAstroCalcMatBTT(swap, number, btt);
    for (int i = 0; i < 9; ++i) {
        EXPECT_EQ(bt[i], product[i]);
        EXPECT_EQ(btt[i], product[i % 3 * 3 + i / 3]);
    }
}

// A sensor at 140 degrees east, 42164 km: x north, y east, z down (its matrix to earth-fixed).
struct GeoSensor {
    double c = std::cos(140 * degree);
    double s = std::sin(140 * degree);
    double pos[3] = {42164 * c, 42164 * s, 0};
    double m[9] = {0, -s, -c, 0, c, -s, 1, 0, 0};
    double inverse[9] = {0, 0, 1, -s, c, 0, -c, -s, 0};
};

TEST(AstroSensor, LinesOfSightReachTheEarthAndComeBack)
{
    const GeoSensor geo;
    double ew, ns, lon, lat;
    // On the equator 30 degrees east: tan = R sin 30 / (r - R cos 30), and east counts down.
    ASSERT_EQ(nbAstroLonLatToLos(geo.inverse, geo.pos, 170, 0, &ew, &ns), 0);
    EXPECT_NEAR(ew, -std::atan(6378.14 * 0.5 / (42164 - 6378.14 * std::sqrt(0.75))), 1e-13);
    EXPECT_NEAR(ns, 0, 1e-13);
    ASSERT_EQ(nbAstroLosToLonLat(geo.m, geo.pos, 0, 0, &lon, &lat), 0);
    EXPECT_NEAR(lon, 140, 1e-5); // an arc cosine
    EXPECT_NEAR(lat, 0, 1e-12);

    int seen = 0;
    for (double la = -88; la <= 88; la += 8) {
        for (double lo = 61; lo <= 219; lo += 6) {
            if (nbAstroLonLatToLos(geo.inverse, geo.pos, lo, la, &ew, &ns) != 0) {
                EXPECT_EQ(ew, -9999.0);
                EXPECT_EQ(ns, -9999.0);
                continue;
            }
            EXPECT_EQ(ns > 0, la > 0);
            ASSERT_EQ(nbAstroLosToLonLat(geo.m, geo.pos, ew, ns, &lon, &lat), 0);
            ASSERT_NEAR(std::remainder(lon - lo, 360), 0, 2e-6) << lo << ' ' << la;
            ASSERT_NEAR(lat, la, 2e-6) << lo << ' ' << la;
            ++seen;
        }
    }
    EXPECT_GT(seen, 400); // most of the 621
}

TEST(AstroSensor, TheFarSideAndTheSkyHaveNoAnswer)
{
    const GeoSensor geo;
    double a = 0, b = 0;
    EXPECT_EQ(nbAstroLonLatToLos(geo.inverse, geo.pos, -40, 0, &a, &b), -1);
    EXPECT_EQ(a, -9999.0);
    EXPECT_EQ(b, -9999.0);
    EXPECT_EQ(nbAstroLosToLonLat(geo.m, geo.pos, 0.16, 0, &a, &b), -1); // the limb is at 0.1518
    EXPECT_EQ(a, -9999.0);
    EXPECT_EQ(b, -9999.0);
    EXPECT_EQ(nbAstroLosToLonLat(geo.m, geo.pos, std::nan(""), 0, &a, &b), -1);
}

TEST(AstroSensor, LookingAwayGivesThePointBehindTheEarth)
{
    const GeoSensor geo;
    double lon, lat;
    EXPECT_EQ(nbAstroLosToLonLat(geo.m, geo.pos, pi, 0, &lon, &lat), 0);
    EXPECT_NEAR(lon, -40, 1e-5);
    EXPECT_NEAR(lat, 0, 1e-9);
}
