#include "drivers/ngac/nbNgac.h"
#include "drivers/ngacv1/nbNgacv1.h"
#include "geo/nbAstroUtl.h"
#include "tests/drivers/noaaScene.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <numbers>
#include <random>
#include <set>

namespace {

constexpr double radian = std::numbers::pi / 180;

// Kilometres between two places, along the chord.
double apart(double lon1, double lat1, double lon2, double lat2)
{
    const double x = std::cos(lat1 * radian) * std::cos(lon1 * radian) -
                     std::cos(lat2 * radian) * std::cos(lon2 * radian);
    const double y = std::cos(lat1 * radian) * std::sin(lon1 * radian) -
                     std::cos(lat2 * radian) * std::sin(lon2 * radian);
    const double z = std::sin(lat1 * radian) - std::sin(lat2 * radian);
    return 6371 * std::sqrt(x * x + y * y + z * z);
}

// A pass around a point of the orbit, given in degrees flown since the equator.
SynthNgac pass(double startArg, double nodeLon, int lines = 400)
{
    SynthNgac synth;
    synth.lines = lines;
    synth.orbit.startArg = startArg;
    synth.orbit.nodeLon = nodeLon;
    return synth;
}

TEST(NgacNavigation, AnchorsStandAtTheirPixels)
{
    // As pygac 1.7.1 reads anchors 0, 12, 25 and 50 of line 150 from this file.
    const NoaaScene scene(pass(20, 0, 300));
    const struct {
        float pixel;
        double lon, lat;
    } anchors[] = {{4, 9.4551, 25.5983},
                   {100, 0.2424, 24.7477},
                   {204, -4.2871, 24.1155},
                   {404, -17.5941, 21.4425}};
    for (const auto& a : anchors) {
        const auto place = scene.toEarth(a.pixel, 150);
        EXPECT_NEAR(place.lon, a.lon, 1e-9);
        EXPECT_NEAR(place.lat, a.lat, 1e-9);
    }
}

TEST(NgacNavigation, PlacesAreThoseOfTheOrbitAndComeBack)
{
    // Over the equator, across the date line, over the north and the south pole. Between anchors
    // the earth's curve and the growth of pixels are left out: some km, and up to a pixel of
    // 23 km beyond the outer anchors.
    for (const auto& synth :
         {pass(0, 30), pass(0, 178), pass(82, 10, 3000), pass(262, -60, 3000)}) {
        const NoaaScene scene(synth);
        ASSERT_EQ(scene.code, 0);
        for (int line = 3; line < 400; line += 23)
            for (int pixel = 0; pixel < 409; pixel += 17) {
                const auto x = static_cast<float>(pixel);
                const auto y = static_cast<float>(line) + 0.25F;
                const SynthPlace truth = synth.orbit.place(pixel, line + 0.25);
                const auto place = scene.toEarth(x, y);
                ASSERT_EQ(place.bits, 0);
                EXPECT_LT(apart(place.lon, place.lat, truth.lon, truth.lat),
                          pixel < 4 || pixel > 404    ? 23.0
                          : pixel < 30 || pixel > 378 ? 8.0
                                                      : 2.5)
                    << pixel << ' ' << line;
                // Beyond the outer anchors lines lie over each other near the pole.
                if (pixel < 4 || pixel > 404) continue;
                // The largest limits at which the search stops: 0.2 pixel, 0.5 line.
                const auto back = scene.toImage(place.lon, place.lat);
                ASSERT_EQ(back.bits, 0) << pixel << ' ' << line;
                EXPECT_NEAR(back.pixel, x, 0.2);
                EXPECT_NEAR(back.line, y, 0.5);
            }
    }
}

TEST(NgacNavigation, DateLineLeavesNoGap)
{
    // Ground track across 180: longitudes on both sides, none in between wrong.
    const auto synth = pass(0, 179.9);
    const NoaaScene scene(synth);
    std::set<bool> sides;
    for (int line = 0; line < 100; ++line)
        for (float pixel = 180; pixel < 230; pixel += 0.5F) {
            const auto place = scene.toEarth(pixel, static_cast<float>(line));
            const SynthPlace truth = synth.orbit.place(static_cast<double>(pixel), line);
            EXPECT_LT(apart(place.lon, place.lat, truth.lon, truth.lat), 1.0);
            EXPECT_LE(std::fabs(place.lon), 180);
            sides.insert(place.lon > 0);
        }
    EXPECT_EQ(sides.size(), 2U);
}

TEST(NgacNavigation, OutsideAndNoPlaceHaveTheirBits)
{
    const NoaaScene scene(pass(0, 0, 120));
    EXPECT_EQ(scene.toEarth(-0.51F, 5).bits, NB_NAV_PIXEL);
    EXPECT_EQ(scene.toEarth(408.51F, 5).bits, NB_NAV_PIXEL);
    EXPECT_EQ(scene.toEarth(5, -0.51F).bits, NB_NAV_LINE);
    EXPECT_EQ(scene.toEarth(5, 119.51F).bits, NB_NAV_LINE);
    EXPECT_EQ(scene.toEarth(-0.5F, 119.5F).bits, 0);
    EXPECT_EQ(scene.toEarth(std::nanf(""), 5).bits, NB_NAV_PIXEL);
    EXPECT_EQ(scene.toEarth(-9999.0F, -9999.0F).lon, -9999.0);
    EXPECT_EQ(scene.toImage(0, -9999.0).bits, 0); // an empty cell of a map
    EXPECT_EQ(scene.toImage(std::nan(""), 3).bits, NB_NAV_INPUT);
    EXPECT_EQ(scene.toImage(100, 60).bits, NB_NAV_CONVERGENCE); // no line near this cell
    EXPECT_EQ(scene.toImage(100, 60).pixel, -9999.0F);
    const SynthPlace beside = pass(0, 0).orbit.place(430, 60);
    EXPECT_EQ(scene.toImage(beside.lon, beside.lat).bits, NB_NAV_PIXEL);
    const SynthPlace behind = pass(0, 0).orbit.place(204, 140);
    EXPECT_EQ(scene.toImage(behind.lon, behind.lat).bits, NB_NAV_LINE);
    const SynthPlace inside = pass(0, 0).orbit.place(204, 60); // any turn of a longitude
    EXPECT_NEAR(scene.toImage(inside.lon - 720, inside.lat).line, 60, 0.1);
}

TEST(NgacNavigation, WholeOrbitIsFoundWithinTheLimitsOfTheSearch)
{
    // 13000 lines are more than an orbit, so its ends lie over each other and over many cells
    // twice. The place found need not be the one that was asked for, but it must show it.
    constexpr double pixelLimit[] = {0.1, 0.1, 0.1, 0.1, 0.1, 0.2, 0.2};
    constexpr double lineLimit[] = {0.1, 0.1, 0.1, 0.2, 0.2, 0.5, 0.5};
    SynthNgac synth = pass(137, 20, 13000);
    synth.fill = [](int, int, int) { return 0; };
    const NoaaScene scene(synth);
    std::mt19937 random(3);
    std::uniform_real_distribution<float> x(-0.5F, 408.5F);
    std::uniform_real_distribution<float> y(-0.5F, 12999.5F);
    int elsewhere = 0;
    for (int i = 0; i < 20000; ++i) {
        const float pixel = x(random), line = y(random);
        const auto place = scene.toEarth(pixel, line);
        const auto found = scene.toImage(place.lon, place.lat);
        ASSERT_EQ(found.bits, 0) << pixel << ' ' << line;
        const auto off = static_cast<std::size_t>(
            std::abs(std::clamp(static_cast<int>((pixel - 4) / 8), 0, 49) - 25) / 4);
        if (std::fabs(found.pixel - pixel) < pixelLimit[off] &&
            std::fabs(found.line - line) < lineLimit[off])
            continue;
        ++elsewhere;
        // Half a line and a fifth of the widest pixel.
        const auto shown = scene.toEarth(std::max(found.pixel, -0.5F), found.line);
        EXPECT_LT(apart(shown.lon, shown.lat, place.lon, place.lat), std::hypot(1.7, 0.2 * 23))
            << pixel << ' ' << line << ' ' << found.pixel << ' ' << found.line;
    }
    EXPECT_GT(elsewhere, 20);
    EXPECT_LT(elsewhere, 400);
}

TEST(NgacNavigation, EnvironmentChoosesBetweenTwoPasses)
{
    // The ends of a long pass: 12800 lines are some 20 degrees of an orbit more than one.
    SynthNgacv1 synth;
    synth.lines = 13000;
    synth.fill = [](int, int, int) { return 0; };
    const NoaaScene scene(synth, "?type=ngacv1");
    ASSERT_EQ(scene.code, 0);
    // One place: in the left half of the early lines, in the right half of the late ones.
    const SynthPlace place = synth.orbit.place(402, 400);
    const auto fresh = scene.toImage(place.lon, place.lat);
    EXPECT_GT(fresh.line, 12000);
    const auto shown =
        synth.orbit.place(static_cast<double>(fresh.pixel), static_cast<double>(fresh.line));
    EXPECT_LT(apart(shown.lon, shown.lat, place.lon, place.lat), 12);
    setenv("NB_NGAC_NAV_OVERLAP", "OLD", 1);
    EXPECT_NEAR(scene.toImage(place.lon, place.lat).line, 400, 1);
    // A place of the early pass alone is found with either.
    const SynthPlace alone = synth.orbit.place(300, 400);
    setenv("NB_NGAC_NAV_OVERLAP", "NEW", 1);
    EXPECT_NEAR(scene.toImage(alone.lon, alone.lat).line, 400, 1);
    setenv("NB_NGAC_NAV_OVERLAP", "old", 1);
    StderrCapture text;
    EXPECT_GT(scene.toImage(place.lon, place.lat).line, 12000);
    EXPECT_EQ(text.get(),
              "NB_Warn: nbNgacv1LLtoPL nbNgacv1LonLatHgtToPixLinInfo() : bad enviroment "
              "'NB_NGAC_NAV_OVERLAP=old'\n");
    unsetenv("NB_NGAC_NAV_OVERLAP");
}

TEST(NgacNavigation, DescendingAndAscendingPassOverOnePlaceAreBothFound)
{
    // From the orbit's top down, once round, and up to the top again: about 80 degrees north.
    SynthNgacv1 synth;
    synth.lines = 13000;
    synth.orbit.startArg = 90;
    synth.fill = [](int, int, int) { return 0; };
    const NoaaScene scene(synth, "?type=ngacv1");
    ASSERT_EQ(scene.code, 0);
    int pairs = 0;
    for (int line = 250; line <= 450; line += 50)
        for (int pixel = 60; pixel <= 340; pixel += 40) {
            const SynthPlace down = synth.orbit.place(pixel, line);
            double best = 1e9;
            double late = 0;
            for (int l = 11600; l < 12800; l += 4)
                for (int x = 20; x < 390; x += 6) {
                    const SynthPlace up = synth.orbit.place(x, l);
                    const double d = apart(up.lon, up.lat, down.lon, down.lat);
                    if (d < best) {
                        best = d;
                        late = l;
                    }
                }
            if (best > 20 || late - line < 8500) continue; // not seen again, or too soon
            ++pairs;
            setenv("NB_NGAC_NAV_OVERLAP", "NEW", 1);
            EXPECT_NEAR(scene.toImage(down.lon, down.lat).line, late, 12) << pixel << ' ' << line;
            setenv("NB_NGAC_NAV_OVERLAP", "OLD", 1);
            EXPECT_NEAR(scene.toImage(down.lon, down.lat).line, line, 1) << pixel << ' ' << line;
        }
    unsetenv("NB_NGAC_NAV_OVERLAP");
    EXPECT_GT(pairs, 5);
}

TEST(NgacNavigation, ShiftIsAddedOnBothWays)
{
    // Deliberate: there and back is twice the shift.
    const NoaaScene scene(pass(0, 0));
    const auto before = scene.toEarth(203, 104);
    scene.shift(3, -4);
    const auto moved = scene.toEarth(200, 108);
    EXPECT_EQ(moved.lon, before.lon);
    EXPECT_EQ(moved.lat, before.lat);
    const auto back = scene.toImage(moved.lon, moved.lat);
    EXPECT_NEAR(back.pixel, 206, 0.1);
    EXPECT_NEAR(back.line, 100, 0.1);
}

TEST(NgacNavigation, TimeRunsAlongTheLineAndBackOnTheLastButOne)
{
    // Deliberate: between the last two lines the time falls. Lines are half a second apart.
    const NoaaScene scene(pass(0, 0, 120));
    const double start = nbNgacDateToMjd(2002, 187, 68640000);
    const auto seconds = [&](float pixel, float line) {
        return (nbpNgacGetScanTime(scene.p(), pixel, line) - start) * 86400;
    };
    EXPECT_NEAR(seconds(0, 10), 5.0, 1e-5); // an MJD of today resolves half a microsecond
    EXPECT_NEAR(seconds(204, 10.9F), 5.25, 1e-5);
    EXPECT_NEAR(seconds(204, 118), 58.75, 1e-5);
    EXPECT_NEAR(seconds(0, 119), 59.0, 1e-5); // the last line belongs to the one before
    // the last line's time holds beyond it, where a found place may lie by part of a line
    EXPECT_NEAR(seconds(0, 121), 59.0, 1e-5);
}

TEST(NgacNavigation, PointInfoTakesTheAnglesOfTheAnchors)
{
    const auto synth = pass(0, 0);
    const NoaaScene scene(synth);
    NbPointInfo info{};
    const auto place = scene.toEarth(300, 104.5F, &info);
    EXPECT_NEAR(info.sunZenith, 60 - 0.5 * (300 - 4) / 8, 1e-9); // half a degree an anchor
    EXPECT_NEAR(info.satZenith, synth.orbit.satZenith(300), 0.05);
    EXPECT_NEAR(std::remainder(info.sunAzimuth - info.satAzimuth - 120, 360), 0, 1e-9);
    EXPECT_NEAR(info.time, nbpNgacGetScanTime(scene.p(), 300, 104.5F), 1e-12);
    // The slant range of that zenith angle, by the cosine rule on a sphere of the local radius.
    const double r = nbAstroGetLocalR(place.lat);
    const double c = std::cos(info.satZenith * radian) * r;
    EXPECT_NEAR(info.satDistance, std::sqrt(c * c + 850 * (2 * r + 850)) - c, 12);

    // Around the nadir the relative azimuth jumps from -60 to 120: the mixture is one of the
    // two, and not the 30 degrees in their middle.
    scene.toEarth(200.5F, 104, &info);
    EXPECT_NEAR(std::remainder(info.sunAzimuth - info.satAzimuth + 60, 360), 0, 1e-6);

    // The same point by its place.
    NbPointInfo again{};
    const auto q = scene.toImage(place.lon, place.lat, 0, &again);
    EXPECT_EQ(q.bits, 0);
    EXPECT_NEAR(again.sunZenith, 60 - 0.5 * (300 - 4) / 8, 0.01);
}

TEST(NgacNavigation, SatelliteStandsOverTheMiddleOfTheFirstLine)
{
    const auto synth = pass(40, 70);
    const NoaaScene scene(synth);
    double position[3], attitude[3], lonLatDist[3];
    ASSERT_EQ(scene.object.GetSatPosEf(scene.p(), 0, position), 0);
    nbAstroEfToLonLatDist(position, lonLatDist);
    const SynthPlace nadir = synth.orbit.place(204, 0);
    EXPECT_NEAR(lonLatDist[0], nadir.lon, 1e-4);
    EXPECT_NEAR(lonLatDist[1], nadir.lat, 1e-4);
    EXPECT_NEAR(lonLatDist[2], (nbAstroGetLocalR(nadir.lat) + 850) * 1000, 20);
    ASSERT_EQ(scene.object.GetSatAtt(scene.p(), 0, attitude), 0);
    EXPECT_NEAR(attitude[0], 0.111 * radian, 1e-9); // 11 + 100 thousandths of a degree
    EXPECT_NEAR(attitude[1], -0.178 * radian, 1e-9);
    EXPECT_NEAR(attitude[2], 0.267 * radian, 1e-9);
}

TEST(NgacNavigation, HeightIsWarnedOfOnceForTheProcess)
{
    const NoaaScene one(pass(0, 0)), two(pass(0, 0));
    StderrCapture text;
    for (const NoaaScene* scene : {&one, &two})
        scene->toImage(0, 3, 1000);
    EXPECT_EQ(text.get(), "NB_Warn: nbNgacLonLatHgtToPixLinInfo() : height is not support\n");
}

TEST(NgacSettings, GapsAreRefusedAndAttitudeCannotBeSet)
{
    const NoaaScene scene(pass(0, 0, 10));
    const double zero[3] = {0, 0, 0};
    StderrCapture text;
    EXPECT_EQ(scene.object.SetStopGap(scene.p(), 3), -1);
    EXPECT_EQ(scene.object.ResetAtt(scene.p(), 0, zero, 1), 0);
    EXPECT_EQ(text.get(),
              "NB_Warn: nbNgacSetStopGap() : NOAA GAC はエラーライン補完処理に対応していません\n"
              "nbNgacResetAtt() : このデータには対応していません。\n");
}

} // namespace
