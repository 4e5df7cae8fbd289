#include "tests/drivers/hisdScene.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>
#include <random>

namespace {

constexpr double radian = std::numbers::pi / 180;
const double nan = std::numeric_limits<double>::quiet_NaN();

// The disk of 5500 lines. Its raster is of zeros.
SynthHisd realDisk()
{
    return {.columns = 5500,
            .diskLines = 5500,
            .cfac = 20466275,
            .lfac = 20466275,
            .coff = 2750.5F,
            .loff = 2750.5F,
            .lineTimes = {{1, 59062.125}, {5500, 59062.132}},
            .fill = [](int, std::span<std::uint16_t> counts) { std::ranges::fill(counts, 0); },
            .cutAt = 4096};
}

TEST(HisdNavigation, AgreesWithAnIndependentGeostationaryProjection)
{
    // proj 9.1.1: +proj=geos +h=35785863 +lon_0=140.7 +a=6378137 +b=6356752.3 +sweep=y, its
    // metres divided by h, in degrees times 20466275 / 65536, from pixel 2749.5.
    const struct {
        double lon, lat, pixel, line;
    } points[] = {
        {140.7, 0, 2749.5, 2749.5},
        {140.7, 35, 2749.5, 992.756396},
        {139.75, 35.68, 2707.888077, 965.366102},
        {-160, 21.3, 5073.917226, 1706.716998},
        {179.9, -40, 4188.335824, 4637.863944},
        {-179.9, -40, 4194.053117, 4637.287349},
        {95, 5, 603.037569, 2489.508797},
        {133, -25.5, 2370.739530, 4086.225331},
        {140.7, 80, 2749.5, 42.122530},
        {151.2, -33.87, 3217.199650, 4455.224933},
        {80.2, 20, 382.109475, 1769.965138},
    };
    const HisdScene scene(realDisk());
    ASSERT_EQ(scene.code, 0);
    for (const auto& p : points) {
        // Half a float step at 4000 is 1.2e-4; the projection's figures have six digits.
        const auto there = scene.toImage(p.lon, p.lat);
        EXPECT_EQ(there.bits, 0);
        EXPECT_NEAR(there.pixel, p.pixel, 2.5e-4) << p.lon << ' ' << p.lat;
        EXPECT_NEAR(there.line, p.line, 2.5e-4) << p.lon << ' ' << p.lat;
        // A position of float precision is 1e-5 degree at the centre and more toward the limb.
        const auto back = scene.toEarth(there.pixel, there.line);
        EXPECT_EQ(back.bits, 0);
        EXPECT_NEAR(back.lon, p.lon, 2e-4) << p.lon << ' ' << p.lat;
        EXPECT_NEAR(back.lat, p.lat, 2e-4) << p.lon << ' ' << p.lat;
        EXPECT_EQ(scene.toImage(p.lon + 360, p.lat).pixel, there.pixel);
    }
}

TEST(HisdNavigation, ManyPointsAtOnceAreThoseOfOneByOne)
{
    // Rows of one latitude, columns of one longitude, and points between that are none.
    const HisdScene scene({.columns = 220, .diskLines = 220});
    std::vector<double> lon, lat, height;
    for (int y = -9; y <= 9; ++y)
        for (int x = -9; x <= 9; ++x) {
            lon.push_back(x == 3 ? -9999.0 : x == 4 ? nan : 140.7 + 9 * x);
            lat.push_back(y == 2 && x == 0 ? nan : y == 5 ? 90.5 : 9.0 * y);
            height.push_back(x % 2 == 0 ? 12000 : 0);
        }
    const int n = static_cast<int>(lon.size());
    std::vector<float> pixel(lon.size()), line(lon.size());
    const int bits = scene.object.LonLatHgtToPixLinInfo(
        scene.p(), lon.data(), lat.data(), height.data(), pixel.data(), line.data(), nullptr, n);
    std::vector<double> backLon(lon.size()), backLat(lon.size());
    scene.object.PixLinToLonLatInfo(scene.p(), pixel.data(), line.data(), backLon.data(),
                                    backLat.data(), nullptr, n);
    int each = 0;
    for (std::size_t i = 0; i < lon.size(); ++i) {
        const auto one = scene.toImage(lon[i], lat[i], height[i]);
        each |= one.bits;
        EXPECT_EQ(pixel[i], one.pixel);
        EXPECT_EQ(line[i], one.line);
        EXPECT_EQ(backLon[i], scene.toEarth(pixel[i], line[i]).lon);
        EXPECT_EQ(backLat[i], scene.toEarth(pixel[i], line[i]).lat);
    }
    EXPECT_EQ(bits, each);
    EXPECT_EQ(bits, NB_NAV_INPUT | NB_NAV_LIMB);
}

TEST(HisdNavigation, HeightLiftsAPointAwayFromTheCentre)
{
    // On the equator 30 degrees east: x = atan(r sin d / (Rs - r cos d)).
    const HisdScene scene(realDisk());
    for (const double height : {0.0, 15000.0}) {
        const double r = 6378.137 + height / 1000;
        const double x = std::atan2(r * 0.5, 42164.0 - r * std::cos(30 * radian)) / radian;
        EXPECT_NEAR(scene.toImage(170.7, 0, height).pixel, 2749.5 + x * 20466275 / 65536, 2.5e-4);
    }
}

TEST(HisdNavigation, BordersOfTheFileAreHalfAPixelOut)
{
    // The sub-satellite point stands at coff, loff exactly, so these place it.
    const struct {
        float coff, loff;
        int bits;
    } cases[] = {
        {0.5F, 60, 0},
        {std::nextafter(0.5F, 0.0F), 60,
         NB_NAV_PIXEL}, // minus 1 it rounds to -0.5, which is inside
        {std::nextafter(110.5F, 0.0F), 60, 0},
        {110.5F, 60, NB_NAV_PIXEL},
        {60, 40.5F, 0},
        {60, std::nextafter(40.5F, 0.0F), NB_NAV_LINE},
        {60, std::nextafter(70.5F, 0.0F), 0},
        {60, 70.5F, NB_NAV_LINE},
        {-3, 71, NB_NAV_LINE | NB_NAV_PIXEL},
    };
    for (const auto& c : cases) {
        const HisdScene scene({.firstLine = 41, .lines = 30, .coff = c.coff, .loff = c.loff});
        const auto p = scene.toImage(140.7, 0);
        EXPECT_EQ(p.bits, c.bits) << c.coff << ' ' << c.loff;
        EXPECT_EQ(p.pixel, c.bits == 0 ? c.coff - 1 : -9999.0F);
        EXPECT_EQ(p.line, c.bits == 0 ? c.loff - 1 : -9999.0F);
        double lon = 140.7, lat = 0;
        float pixel = 0, line = 0, limb = 0;
        nbpHisdRawNav.position(scene.p(), &lon, &lat, &pixel, &line, &limb, 1);
        nbpHisdRawNav.limit(scene.p(), &pixel, &line, &limb, 1);
        EXPECT_EQ(pixel, p.pixel) << c.coff << ' ' << c.loff;
        EXPECT_EQ(line, p.line) << c.coff << ' ' << c.loff;
    }
}

TEST(HisdNavigation, WhatIsNoPlaceHasNoPosition)
{
    const HisdScene scene({});
    const struct {
        double lon, lat;
        int bits;
    } cases[] = {{-9999, 0, 1}, {140, -9999, 1}, {140, 90.01, 1},
                 {140, nan, 1}, {nan, 0, 1},     {HUGE_VAL, 0, 1},
                 {-40, 0, 16},  {140.7, 82, 16}, {140.7 + 82, 0, 16}};
    for (const auto& c : cases) {
        const auto p = scene.toImage(c.lon, c.lat);
        EXPECT_EQ(p.bits, c.bits) << c.lon << ' ' << c.lat;
        EXPECT_EQ(p.pixel, -9999.0F);
        EXPECT_EQ(p.line, -9999.0F);
    }
    for (const float pixel : {0.0F, -9999.0F, std::nanf(""), 1e30F}) {
        const auto e = scene.toEarth(pixel, 0);
        EXPECT_NE(e.bits, 0) << pixel;
        EXPECT_EQ(e.lon, -9999.0);
        EXPECT_EQ(e.lat, -9999.0);
    }
}

TEST(HisdNavigation, AWrappedLongitudeHasTheStepsOfAFloat)
{
    const HisdScene scene({});
    const auto west = scene.toEarth(30, 54.5F);
    EXPECT_NE(west.lon, static_cast<double>(static_cast<float>(west.lon)));
    const auto east = scene.toEarth(104, 54.5F);
    ASSERT_EQ(east.bits, 0);
    EXPECT_LT(east.lon, -140);
    EXPECT_EQ(east.lon, static_cast<double>(static_cast<float>(east.lon)));
}

TEST(HisdRawPositions, LimitedTheyAreTheSlots)
{
    // Two segments of one disk and one whose projection differs in a last bit.
    const SynthHisd upper{.columns = 200, .diskLines = 220, .firstLine = 1, .lines = 110};
    SynthHisd lower = upper;
    lower.firstLine = 111;
    SynthHisd other = lower;
    other.coff = std::nextafter(100.5F, 200.0F);
    const HisdScene a(upper), b(lower), c(other);
    EXPECT_NE(nbpHisdRawNav.same(a.p(), b.p()), 0);
    EXPECT_EQ(nbpHisdRawNav.same(a.p(), c.p()), 0);

    std::mt19937 random(7);
    std::uniform_real_distribution<double> longitude(-400, 400), latitude(-92, 92);
    constexpr int n = 4000;
    std::vector<double> lon(n), lat(n);
    for (int i = 0; i < n; ++i) {
        lon[static_cast<std::size_t>(i)] = i % 50 == 0 ? nan : longitude(random);
        lat[static_cast<std::size_t>(i)] = latitude(random);
    }
    for (const HisdScene* scene : {&a, &b}) // the raw positions of one segment serve the other
        EXPECT_GT(expectRawIsTheSlot(nbpHisdRawNav, a, *scene, lon, lat), 300);
    std::vector<float> pixel(n), line(n), limb(n);
    nbpHisdRawNav.position(a.p(), lon.data(), lat.data(), pixel.data(), line.data(), limb.data(),
                           n);
    for (std::size_t i = 0; i < n; ++i) {
        const bool place = std::isfinite(lon[i]) && std::abs(lat[i]) <= 90;
        EXPECT_EQ(std::isnan(pixel[i]), !place);
        EXPECT_EQ(std::isnan(line[i]), !place);
        EXPECT_EQ(std::isnan(limb[i]), !place);
    }
}

TEST(HisdRawPositions, TheLimbIsSmoothAcrossItsZero)
{
    // |P|^2 - P.S on the equator: r^2 - r Rs cos d, zero where cos d = r / Rs.
    const HisdScene scene({});
    for (const double d : {60.0, 80.0, 81.2, 81.4, 90.0, 120.0}) {
        double lon = 140.7 - d, lat = 0;
        float pixel = 0, line = 0, limb = 0;
        nbpHisdRawNav.position(scene.p(), &lon, &lat, &pixel, &line, &limb, 1);
        const double expected =
            6378.137 * (6378.137 - 42164.0 * std::cos(d * radian)); // steps of 16 km^2 at 2e8
        EXPECT_NEAR(limb, expected, 32.0) << d;
        EXPECT_TRUE(std::isfinite(pixel) && std::isfinite(line));
    }
}

// Times in whole days keep the arithmetic exact. Positions count from 1.5 here, so (1, 15) is the
// first column of line 15.
SynthHisd timed(int firstLine, std::vector<SynthHisd::LineTime> times)
{
    return {.firstLine = firstLine, .lineTimes = std::move(times)};
}

TEST(HisdScanTime, LinearBetweenTheEntriesAndAlongTheLine)
{
    const HisdScene scene(timed(1, {{10, 100.0}, {20, 110.0}, {110, 200.0}}));
    const struct {
        float pixel, line;
        double time;
    } cases[] = {
        {1, 10, 100.0},        {1, 15, 105.0},           {56, 15, 105.5},
        {56.9F, 15.9F, 105.5}, {56, 20, 110.5},          {1, 65, 155.0},
        {1, 110, 200.0},       {56, 110, 200.5}, // the last line goes by the one before
        {0.9F, 15, -1.0},      {111, 15, -1.0},          {1, 9, -1.0},
        {1, 111, -1.0},        {1, std::nanf(""), -1.0}, {1e30F, 15, -1.0},
    };
    for (const auto& c : cases)
        EXPECT_DOUBLE_EQ(nbpHisdGetScanTime(scene.p(), c.pixel, c.line), c.time)
            << c.pixel << ' ' << c.line;
    EXPECT_DOUBLE_EQ(nbpHisdGetEndTime(scene.p()), 200 + 109.0 / 110);
}

TEST(HisdScanTime, TheLastLineOfALaterSegmentHasNone)
{
    const HisdScene scene(timed(51, {{51, 100.0}, {110, 159.0}}));
    EXPECT_DOUBLE_EQ(nbpHisdGetScanTime(scene.p(), 56, 109), 158.5);
    EXPECT_DOUBLE_EQ(nbpHisdGetScanTime(scene.p(), 56, 110), -3.0);
    EXPECT_DOUBLE_EQ(nbpHisdGetEndTime(scene.p()), -3.0);
    // Line 60 is the number of lines in the file; in front of the first entry there is nothing.
    const HisdScene first(timed(51, {{60, 100.0}, {110, 150.0}}));
    EXPECT_DOUBLE_EQ(nbpHisdGetScanTime(first.p(), 56, 60), -3.0);
    EXPECT_DOUBLE_EQ(nbpHisdGetScanTime(first.p(), 56, 61), 101.5);
}

TEST(HisdScanTime, ATableOutOfOrderIsWalkedFromItsStart)
{
    const HisdScene scene(timed(1, {{10, 100.0}, {40, 130.0}, {20, 110.0}, {110, 200.0}}));
    EXPECT_DOUBLE_EQ(nbpHisdGetScanTime(scene.p(), 1, 30), 120.0); // between 10 and 40
    EXPECT_DOUBLE_EQ(nbpHisdGetScanTime(scene.p(), 1, 45), 135.0); // between 20 and 110
    const HisdScene backward(timed(1, {{110, 100.0}, {10, 130.0}}));
    EXPECT_DOUBLE_EQ(nbpHisdGetScanTime(backward.p(), 1, 50), -1.0);
    const HisdScene unset(timed(1, {{10, -1.0}, {110, 130.0}}));
    EXPECT_DOUBLE_EQ(nbpHisdGetScanTime(unset.p(), 1, 10), -3.0);
}

NbPointInfo infoAt(const HisdScene& scene, double lon, double lat)
{
    NbPointInfo info{};
    info.satDistance = -7;
    scene.toImage(lon, lat, 0, &info);
    return info;
}

TEST(HisdPointInfo, IsSeenFromTheNadirOfTheFile)
{
    const HisdScene scene({.distance = 42166.2, .nadirLon = 140.7, .nadirLat = 0});
    const NbPointInfo below = infoAt(scene, 140.7, 0);
    EXPECT_NEAR(below.satZenith, 0, 1e-3);
    EXPECT_NEAR(below.satDistance, 42166.2 - 6378.14, 0.01);
    EXPECT_NEAR(below.time, 59062.0 + (3 * 3600 + 310.0) / 86400, 6.0 / 86400);
    EXPECT_EQ(infoAt(scene, -40, 0).satDistance, -7); // hidden: left as it was
    // The same from the image.
    NbPointInfo info{};
    scene.toEarth(54.5F, 54.5F, &info);
    EXPECT_NEAR(info.satDistance, 42166.2 - 6378.14, 0.01);
}

TEST(HisdPointInfo, AnUnknownNadirIsReplacedCrosswise)
{
    // Both unknown: latitude 140.7 (the longitude's value), which by its tangent is -39.3 and
    // geocentric -39.112 (tan times (6356.755 / 6378.14)^2), longitude 0, block 3's distance.
    const HisdScene scene({.distance = -1e10, .nadirLon = -1e10, .nadirLat = -1e10});
    const double cosine = std::cos(39.112 * radian) * std::cos(140.7 * radian);
    const double square = 42164.0 * 42164.0 + 6378.14 * 6378.14 - 2 * 42164.0 * 6378.14 * cosine;
    EXPECT_NEAR(infoAt(scene, 140.7, 0).satDistance, std::sqrt(square), 0.5);
}

TEST(HisdSatellite, PositionAttitudeAndItsReset)
{
    double ef[3];
    const HisdScene known({.actualSubLon = 140.7105, .actualSubLat = 0, .distance = 42166.2});
    EXPECT_EQ(known.object.GetSatPosEf(known.p(), 0, ef), 0);
    EXPECT_NEAR(ef[0], 42166.2 * std::cos(140.7105 * radian), 1e-6);
    EXPECT_NEAR(ef[1], 42166.2 * std::sin(140.7105 * radian), 1e-6);
    EXPECT_NEAR(ef[2], 0, 1e-6);
    const HisdScene unknown({.actualSubLon = -1e10, .actualSubLat = -1e10, .distance = -1e10});
    unknown.object.GetSatPosEf(unknown.p(), 0, ef);
    EXPECT_NEAR(ef[0], 42164.0 * std::cos(140.7 * radian), 1e-6);
    EXPECT_NEAR(ef[1], 42164.0 * std::sin(140.7 * radian), 1e-6);

    double attitude[3] = {1, 2, 3};
    EXPECT_EQ(known.object.GetSatAtt(known.p(), 0, attitude), 0);
    EXPECT_EQ(attitude[0] + attitude[1] + attitude[2], 0);
    StderrCapture err;
    EXPECT_EQ(known.object.ResetAtt(known.p(), 0, attitude, 1), 0);
    EXPECT_EQ(err.get(), "nbHisdResetAtt() : このデータには対応していません。\n");
}

} // namespace
