#include "drivers/rdat/nbRdatSimplex.h"
#include "geo/nbAstroUtl.h"
#include "tests/drivers/rdatScene.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

namespace {

double to360(double lon)
{
    return lon < 0 ? lon + 360 : lon;
}

// Off by this much at most: the equation of the equinoxes that the library takes differs by up to
// 2.4 arcseconds from the published one, which is 0.035 pixel of 2 km; the rest is float angles.
constexpr double placeTolerance = 0.0008; // degree

TEST(RdatPlaces, AKnownEarthComesBackAtTheRightPlace)
{
    for (const bool south : {false, true})
        for (const double north : {0.09, -0.03}) {
            // An attitude that moves the picture by some pixels each way, and turns it.
            const SynthRdat synth{.northRad = north,
                                  .southUp = south,
                                  .attitude = {1e-4, -2e-4, 3e-3},
                                  .fluctuation = {5e-5, -3e-5},
                                  .coregistration = {-4e-5, 6e-5}};
            const RdatScene scene(synth);
            ASSERT_EQ(scene.code, 0);
            for (int line = 0; line < 200; line += 13)
                for (int column = 0; column < 300; column += 17) {
                    const auto truth = synth.place(column, line);
                    const auto at =
                        scene.toEarth(static_cast<float>(column), static_cast<float>(line));
                    ASSERT_NEAR(to360(at.lon), truth.lon, placeTolerance) << column << ' ' << line;
                    ASSERT_NEAR(at.lat, truth.lat, placeTolerance) << column << ' ' << line;
                }
            // Between pixels, from the earth.
            for (int line = 1; line < 199; line += 7)
                for (int column = 1; column < 299; column += 11) {
                    const auto truth = synth.place(column + 0.3, line - 0.4);
                    const auto at = scene.toImage(truth.lon, truth.lat);
                    ASSERT_NEAR(at.pixel, column + 0.3, 0.1) << column << ' ' << line;
                    ASSERT_NEAR(at.line, line - 0.4, 0.1) << column << ' ' << line;
                }
        }
}

TEST(RdatPlaces, ForwardAndInverseAgreeUpToTheLimb)
{
    // The limb crosses the image: its northern third misses the earth.
    const SynthRdat synth{.northRad = 0.148};
    const RdatScene scene(synth);
    int onEarth = 0;
    int lost = 0;
    for (int line = 0; line < 200; line += 3)
        for (int column = 0; column < 300; column += 5) {
            const auto x = static_cast<float>(column);
            const auto y = static_cast<float>(line);
            const auto place = scene.toEarth(x, y);
            ASSERT_EQ(place.lat > -9000, synth.place(column, line).onEarth)
                << column << ' ' << line;
            if (place.lat < -9000) continue;
            ++onEarth;
            const auto at = scene.toImage(place.lon, place.lat);
            if (at.pixel == -9999.0F) {
                ++lost;
                continue;
            }
            ASSERT_NEAR(at.pixel, x, 0.1) << column << ' ' << line;
            ASSERT_NEAR(at.line, y, 0.1) << column << ' ' << line;
        }
    EXPECT_GT(onEarth, 2000);
    // A place is the last float of an angle off that of the file's bounds: the easternmost or the
    // northernmost pixel itself may lie outside them.
    EXPECT_LE(lost, 2);
}

TEST(RdatPlaces, OutsideTheImageAndItsBoundsThereIsNone)
{
    const RdatScene scene{SynthRdat{}};
    EXPECT_EQ(scene.toEarth(300, 10).lon, -9999.0);
    EXPECT_EQ(scene.toEarth(300, 10).bits, 1);
    EXPECT_EQ(scene.toEarth(10, -9999.0F).lat, -9999.0);
    EXPECT_EQ(scene.toImage(140, -20).pixel, -9999.0F); // the scan lies in the north
    EXPECT_EQ(scene.toImage(140, -20).bits, -1);
    const double lon[3] = {140, 136, -9999};
    const double lat[3] = {-20, 33, 33};
    float pixel[3];
    float line[3];
    EXPECT_EQ(
        scene.object.LonLatHgtToPixLinInfo(scene.p(), lon, lat, nullptr, pixel, line, nullptr, 3),
        2);
    EXPECT_GT(pixel[1], 0);
    EXPECT_EQ(pixel[2], -9999.0F);
}

TEST(RdatLos, ThePointInTheInertialFrameIsTheSamePlace)
{
    const RdatScene scene{SynthRdat{}};
    double first = 0;
    double second = 0;
    ASSERT_EQ(nbpRdatPixLinToLos(scene.p(), 120, 70, &first, &second), 0);
    const double radii[2] = {6378.14, 6356.755};
    double j2000[3];
    ASSERT_EQ(nbpRdatCalcPointOnEarthJ2k(scene.p(), 120, radii, first, second, j2000), 0);
    NbPointInfo info{};
    const auto truth = scene.toEarth(120, 70, &info);
    double ef[3];
    double place[2];
    nbAstroJ2000ToEf(info.time, j2000, ef);
    nbAstroEfToLonLat(ef, &place[0], &place[1]);
    // The pole of 2020 lies 0.11 degree from that of J2000, and the ellipsoid with it: 22 km x
    // sin(2 lat) / 2 of height, turned by 0.002, is below 50 m.
    EXPECT_NEAR(place[0], truth.lon, 1e-3);
    EXPECT_NEAR(place[1], truth.lat, 1e-3);
    // Beside the earth, the point nearest to its centre: 35786 km off, 0.2 radians from nadir.
    ASSERT_EQ(nbpRdatCalcPointOnEarthJ2k(scene.p(), 120, radii, 0.2, 0, j2000), 0);
    EXPECT_NEAR(std::hypot(j2000[0], j2000[1], j2000[2]), 42166.2 * std::sin(0.2), 1e-6);
}

// A turn of the instrument taken off is the satellite's turn the other way.
TEST(RdatLos, MisalignmentTurnsAgainstTheAttitude)
{
    constexpr double angle = 1e-4; // 1.8 pixels
    for (const bool estimated : {false, true})
        for (std::size_t i = 0; i < 3; ++i) {
            SynthRdat aligned;
            aligned.attitude[i] = -angle;
            SynthRdat synth;
            if (estimated) {
                synth.distortionMode = 1;
                synth.distortion[i] = angle;
            } else {
                synth.misalignment[i] = angle;
            }
            const auto at = RdatScene(synth).toEarth(280, 10);
            const auto truth = aligned.place(280, 10);
            const auto plain = SynthRdat{}.place(280, 10);
            EXPECT_NEAR(to360(at.lon), truth.lon, 0.0012) << i; // second order: 1 %
            EXPECT_NEAR(at.lat, truth.lat, 0.0012) << i;
            EXPECT_GT(std::hypot(plain.lon - truth.lon, plain.lat - truth.lat), 0.003) << i;
        }
}

TEST(RdatLos, DistortionByPolynomialAndByTableIsTakenOff)
{
    const SynthRdat plain;
    const auto los = plain.place(250, 20);
    const double e = los.east;
    const double n = los.north;
    SynthRdat polynomial = plain;
    polynomial.distortionMode = 2;
    const double c[12] = {1e-5,  3e-4, 2e-4,  4e-3, -2e-3, 3e-3,
                          -2e-5, 1e-4, -5e-4, 5e-3, 7e-3,  6e-3};
    std::copy(c, c + 12, polynomial.distortion + 12);
    SynthRdat table = plain;
    table.distortionMode = 3;
    table.distortion[10] = 3e-5;
    table.distortion[11] = -4e-5;
    double first = 0;
    double second = 0;
    ASSERT_EQ(nbpRdatPixLinToLos(RdatScene(polynomial).p(), 250, 20, &first, &second), 0);
    // Mirror angles are floats: half of 7e-9.
    EXPECT_NEAR(
        first, n - (c[5] * e * e + c[4] * n * n + c[3] * e * n + c[2] * e + c[1] * n + c[0]), 1e-8);
    EXPECT_NEAR(second,
                e - (c[11] * e * e + c[10] * n * n + c[9] * e * n + c[8] * e + c[7] * n + c[6]),
                1e-8);
    ASSERT_EQ(nbpRdatPixLinToLos(RdatScene(table).p(), 250, 20, &first, &second), 0);
    EXPECT_NEAR(first, n - 3e-5, 1e-8);
    EXPECT_NEAR(second, e + 4e-5, 1e-8);
}

TEST(RdatTimes, ColumnsTakeTheClockOrTheObservation)
{
    for (const int clocks : {0, 1, 5}) {
        const SynthRdat synth{.clockCount = clocks};
        const RdatScene scene(synth);
        // One count is no clock; the observation is then 3 s longer at each end. 37 s are taken
        // off as a float of a day: 2 microseconds.
        const double extra = clocks == 1 ? 3 : 0;
        for (const float pixel : {0.0F, 100.0F, 299.0F}) {
            NbPointInfo info{};
            scene.toEarth(pixel, 5, &info);
            const double seconds = static_cast<double>(pixel) / 299 * (8 + 2 * extra) - extra;
            EXPECT_NEAR((info.time - synth.startMjd) * 86400, seconds, 2e-5) << clocks << pixel;
            EXPECT_NEAR(info.satDistance, 37000, 1500);
        }
    }
}

TEST(RdatSettings, HeldTablesLeaveTheSatelliteBehindTheTurningEarth)
{
    const Setting held(&ipfhMode, 1);
    const SynthRdat synth;
    const RdatScene scene(synth);
    // The first orbit record is 1 s before the scan and the last column 8 s in it; the earth
    // turns by 15.041 arcseconds a second.
    const auto truth = synth.place(299, 50);
    EXPECT_NEAR(to360(scene.toEarth(299, 50).lon), truth.lon - 9 * 15.041 / 3600, placeTolerance);
}

TEST(RdatSettings, TheDistortionsAnglesAddToTheAttitude)
{
    const Setting added(&distAttMode, 1);
    SynthRdat synth;
    synth.distortion[33] = 2e-4;
    synth.distortion[34] = -1e-4;
    SynthRdat turned;
    turned.attitude[0] = 2e-4;
    turned.attitude[1] = -1e-4;
    const RdatScene scene(synth);
    const auto at = scene.toEarth(150, 100);
    const auto truth = turned.place(150, 100);
    EXPECT_NEAR(to360(at.lon), truth.lon, placeTolerance);
    EXPECT_NEAR(at.lat, truth.lat, placeTolerance);
    double attitude[3];
    ASSERT_EQ(scene.object.GetSatAtt(scene.p(), 0, attitude), 0);
    EXPECT_NEAR(attitude[0], 2e-4, 1e-15);
}

TEST(RdatSettings, TheSatelliteStandsWhereItIs)
{
    const RdatScene scene{SynthRdat{}};
    double position[3];
    ASSERT_EQ(scene.object.GetSatPosEf(scene.p(), 0, position), 0);
    double lonLatDist[3];
    nbAstroEfToLonLatDist(position, lonLatDist);
    EXPECT_NEAR(lonLatDist[0], 140.7, placeTolerance);
    EXPECT_NEAR(lonLatDist[1], 0, 3e-5); // published nutation cut at 0.1 arcsecond
    EXPECT_NEAR(lonLatDist[2], 42166.2, 1e-6);
}

TEST(RdatSimplex, FindsTheLowestPoint)
{
    NbRdatVertex v[3] = {{{50, 49.9}}, {{49.9, 50.1}}, {{50.1, 50.1}}};
    NbRdatPoint best;
    ASSERT_TRUE(nbpRdatSimplex(
        v, 100, 100,
        [](const NbRdatPoint& p) {
            return std::pow(p.pixel - 50.37, 2) + 3 * std::pow(p.line - 49.58, 2);
        },
        &best));
    EXPECT_NEAR(best.pixel, 50.37, 0.002);
    EXPECT_NEAR(best.line, 49.58, 0.002);
}

// Down a slope for ever, and along the image: the triangle grows eastward and keeps its line.
TEST(RdatSimplex, GivesUpAfterThreeHundredRounds)
{
    NbRdatVertex v[3] = {{{50, 50}}, {{50, 51}}, {{49, 50.5}}};
    NbRdatPoint best;
    int calls = 0;
    EXPECT_FALSE(nbpRdatSimplex(
        v, 100, 100,
        [&](const NbRdatPoint& p) {
            ++calls;
            return -p.pixel;
        },
        &best));
    EXPECT_GE(calls, 3 + 300);
    EXPECT_LE(calls, 3 + 300 * 2); // at most two a round
}

// Deliberate: on a plain nothing is better, so the triangle shrinks from 0.2236 in 8 rounds to
// below 0.001. A round is the reflection and the contraction; shrunk vertices are not asked again.
TEST(RdatSimplex, ShrunkVerticesKeepTheirValues)
{
    NbRdatVertex v[3] = {{{50, 49.9}}, {{49.9, 50.1}}, {{50.1, 50.1}}};
    NbRdatPoint best;
    int calls = 0;
    EXPECT_TRUE(nbpRdatSimplex(
        v, 100, 100,
        [&](const NbRdatPoint&) {
            ++calls;
            return 1.0;
        },
        &best));
    EXPECT_EQ(calls, 3 + 8 * 2);
}

} // namespace
