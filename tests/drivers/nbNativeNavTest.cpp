#include "sat/nbNavInfo.h"
#include "tests/drivers/nativeScene.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>

namespace {

// proj 9.1.1: +proj=geos +h=35785831 +lon_0=0 +a=6378169 +b=6356583.8 +sweep=y, its metres divided
// by h: radians, times 781648343 / 65536 columns west and lines north of 1855 for VIS/IR, times
// 2344944937 / 65536 of 5566 for HRV; in the grid that begins in the south-east.
constexpr struct {
    double lon, lat, pixel, line, pixelHrv, lineHrv;
} points[] = {
    {0, 0, 1855.0000, 1855.0000, 5566.0000, 5566.0000},
    {0, 50, 1855.0000, 3370.7557, 5566.0000, 10113.2668},
    {10, 20, 1512.6127, 2566.8575, 4538.8381, 7701.5724},
    {-30, 45, 2558.4999, 3245.3503, 7676.4997, 9737.0508},
    {35, -60, 1302.3002, 208.4033, 3907.9005, 626.2101},
    {60, 5, 182.6211, 2022.2472, 548.8636, 6067.7415},
    {-55, -10, 3437.2783, 1517.7886, 10312.8348, 4554.3658},
    {-74.5, 3, 3650.5706, 1951.6256, 10952.7116, 5855.8767},
};
// The format's figures of the earth are rounded to six digits: up to 1e-3 pixel at the limb in
// VIS/IR, three times that in HRV.
constexpr double tolerance = 2e-3;

TEST(NativeNavigation, AgreesWithAnIndependentGeostationaryProjection)
{
    for (const double subLon : {0.0, 41.5, 179.0})
        for (int origin = 0; origin < 4; ++origin) {
            NativeScene scene(SynthNative{
                .subLon = static_cast<float>(subLon), .origin = origin, .hrvOrigin = origin});
            ASSERT_EQ(scene.code, 0);
            // A grid that begins in the west, or in the north, counts the other way.
            const double e = origin == 0 || origin == 1 ? -1 : 1;
            const double s = origin == 0 || origin == 3 ? -1 : 1;
            for (const char* channel : {"IR1", "HRV"}) {
                ASSERT_EQ(scene.select(channel), 10001);
                const bool hrv = channel[0] == 'H';
                const double centre = hrv ? 5566 : 1855;
                for (const auto& p : points) {
                    const auto there = scene.toImage(p.lon + subLon, p.lat);
                    EXPECT_EQ(there.bits, 0);
                    const double pixel = hrv ? p.pixelHrv : p.pixel;
                    const double line = hrv ? p.lineHrv : p.line;
                    const double wide = hrv ? 3 * tolerance : tolerance;
                    EXPECT_NEAR(there.pixel, centre + e * (pixel - centre), wide) << p.lon;
                    EXPECT_NEAR(there.line, centre + s * (line - centre), wide) << p.lon;
                    // Of float precision; 74.5 degrees off the centre a pixel is 10 times as wide.
                    const auto back = scene.toEarth(there.pixel, there.line);
                    const double lon = p.lon + subLon > 180 ? p.lon + subLon - 360 : p.lon + subLon;
                    EXPECT_NEAR(back.lon, lon, 2e-4);
                    EXPECT_NEAR(back.lat, p.lat, 2e-4);
                }
            }
        }
}

TEST(NativeNavigation, TheWindowOfHighResolutionMovesAFileThatBeginsWithIt)
{
    // Trailer: lower window from line 5 to 40 and column 7 to 50.
    const NativeScene alone(SynthNative{.channels = {11}});
    const NativeScene other(SynthNative{.channels = {11}}); // a second file counts for itself
    NativeScene several(SynthNative{});
    ASSERT_EQ(several.select("HRV"), 10001);
    for (const NativeScene* scene : {&alone, &other}) {
        const auto centre = scene->toImage(0, 0);
        EXPECT_EQ(centre.pixel, 5566.0F - 7);
        EXPECT_EQ(centre.line, 5566.0F - 5);
    }
    // Deliberate: not in a file that begins with another channel.
    EXPECT_EQ(several.toImage(0, 0).pixel, 5566.0F);
    // The window's first line and column follow the grid's origin.
    const struct {
        int origin;
        float column, line;
    } corners[] = {{0, 50, 40}, {1, 50, 5}, {2, 7, 5}, {3, 7, 40}};
    for (const auto& c : corners) {
        const NativeScene scene(SynthNative{.channels = {11}, .hrvOrigin = c.origin});
        EXPECT_EQ(scene.toImage(0, 0).pixel, 5566.0F - c.column);
        EXPECT_EQ(scene.toImage(0, 0).line, 5566.0F - c.line);
    }
}

TEST(NativeNavigation, PointsWithoutAPlaceCarryTheirBits)
{
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double inf = std::numeric_limits<double>::infinity();
    NativeScene scene(SynthNative{});
    const struct {
        double lon, lat;
        int bits;
    } cases[] = {{-9999, 0, 1}, {0, -9999, 1}, {0, 90.1, 1}, {nan, 0, 1}, {0, nan, 1},
                 {inf, 0, 1},   {180, 0, 16},  {82, 0, 16},  {0, 90, 16}, {1e300, 0, 0}};
    for (const auto& c : cases) {
        const auto p = scene.toImage(c.lon, c.lat);
        if (c.lon == 1e300) continue; // somewhere, without a hang
        EXPECT_EQ(p.bits, c.bits) << c.lon << ' ' << c.lat;
        EXPECT_EQ(p.pixel, -9999.0F);
        EXPECT_EQ(p.line, -9999.0F);
    }
    // The image does not limit positions. On the equator the satellite stands above the horizon
    // of a place up to arccos(r / 42164): 81.30 degrees on the ground, 81.16 at 100 km.
    EXPECT_EQ(scene.toImage(81.2, 0).bits, 0);
    EXPECT_EQ(scene.toImage(81.2, 0, 100000).bits, 16);
    EXPECT_EQ(scene.toImage(81.1, 0, 100000).bits, 0);
    double lon[2] = {0, 180}, lat[2] = {0, 0};
    float pixel[2], line[2];
    EXPECT_EQ(
        scene.object.LonLatHgtToPixLinInfo(scene.p(), lon, lat, nullptr, pixel, line, nullptr, 2),
        16);
    EXPECT_EQ(pixel[0], 1855.0F);
    // Off the earth the other way: marks, and a good result all the same.
    const float far = std::numeric_limits<float>::infinity();
    for (const float at : {-9999.0F, 0.0F, far, std::nanf("")}) {
        const auto off = scene.toEarth(at, 0);
        EXPECT_EQ(off.bits, 0);
        EXPECT_EQ(off.lon, -9999.0);
        EXPECT_EQ(off.lat, -9999.0);
    }
}

TEST(NativeNavigation, ManyPointsAtOnceAreThoseOfOneByOne)
{
    const NativeScene scene(SynthNative{.subLon = 9.5F});
    // Pixels and lines that repeat, also across points off the earth and what is no number.
    const float pixel[] = {900, 900, 2400, -9999, 900, std::nanf(""), 900, 2400};
    const float line[] = {700, 2100, 2100, 2100, 2100, 2100, std::nanf(""), 700};
    double lon[8], lat[8];
    EXPECT_EQ(scene.object.PixLinToLonLatInfo(scene.p(), pixel, line, lon, lat, nullptr, 8), 0);
    for (int i = 0; i < 8; ++i) {
        const auto alone = scene.toEarth(pixel[i], line[i]);
        EXPECT_EQ(lon[i], alone.lon) << i;
        EXPECT_EQ(lat[i], alone.lat) << i;
        EXPECT_EQ(lat[i] == -9999, i == 3 || i == 5 || i == 6) << i;
    }
    float there[2][8];
    scene.object.LonLatHgtToPixLinInfo(scene.p(), lon, lat, nullptr, there[0], there[1], nullptr,
                                       8);
    for (int i = 0; i < 8; ++i)
        EXPECT_EQ(there[0][i], scene.toImage(lon[i], lat[i]).pixel) << i;
}

TEST(NativeNavigation, TheDateLineIsAt180)
{
    for (const float subLon : {180.0F, -180.0F}) {
        const NativeScene scene(SynthNative{.subLon = subLon});
        EXPECT_EQ(scene.toEarth(1855, 1855).lon, 180.0);
        EXPECT_EQ(scene.toImage(-180, 0).pixel, 1855.0F);
        EXPECT_EQ(scene.toImage(180, 0).pixel, 1855.0F);
    }
}

TEST(NativeNavigation, RawPositionsAreThoseOfTheSlot)
{
    NativeScene scene(SynthNative{.subLon = 9.5F, .hrvOrigin = 1});
    NativeScene other(SynthNative{.subLon = 9.5F, .hrvOrigin = 1});
    const NbSatRawNav& raw = nbpNativeRawNav;
    for (const char* channel : {"VIS", "HRV"}) {
        ASSERT_EQ(scene.select(channel), 10001);
        EXPECT_EQ(raw.same(scene.p(), other.p()), channel[0] == 'V');
        std::vector<double> lon, lat;
        for (double y = -95; y <= 95; y += 2.5)
            for (double x = -180; x <= 180; x += 2.5) {
                lon.push_back(x);
                lat.push_back(y);
            }
        EXPECT_GT(expectRawIsTheSlot(raw, scene, scene, lon, lat), 1000);
    }
}

// The image is the south-eastern corner of the disk, where no earth is; a grid that counts from
// the middle would not be the real one. So geometry is asked for at positions of the image.
TEST(NativeNavigation, GeometryHasTheTimeOfTheLine)
{
    SynthNative synth;
    synth.patches = {{synth.packetOffset(8, 7) + 38 + 16, {std::byte{9}}}}; // line 7 says 9
    NativeScene scene(synth);
    ASSERT_EQ(scene.select("IR1"), 10001);
    const auto timeAt = [&](float line) {
        NbPointInfo info{};
        info.time = 1;
        scene.toEarth(3, line, &info);
        return info.time;
    };
    // 2020-08-02 is MJD 59063; line 1 is taken at 900 s, each next one 0.2 s later.
    const double second = 1.0 / 86400;
    for (const float line : {0.0F, 4.4F, 5.0F, 18.0F}) {
        const double expected = 59063 + (900 + 0.2 * std::floor(line + 0.5)) * second;
        EXPECT_NEAR(timeAt(line), expected, 1e-8) << line; // half a millisecond is 6e-9
    }
    StderrCapture err;
    for (const float line : {6.0F, 6.2F}) // the line that is another one
        EXPECT_EQ(timeAt(line), 1.0);
    EXPECT_EQ(err.get(), "NB_Error: nbpNativeReadOneLine(): Line number errore\n");
    for (const float line : {-1.0F, 19.0F, 20.0F, 1e9F, -1e9F, std::nanf("")})
        EXPECT_EQ(timeAt(line), 1.0) << line;
    // Reading lines does not change their times.
    EXPECT_EQ(scene.count(3, 5), SynthNative::defaultCount(8, 3, 6));
    EXPECT_NEAR(timeAt(5), 59063 + 901 * second, 1e-8);
    // Before 1958 there are no times.
    NativeScene early(SynthNative{.day = 0, .startMs = 0});
    NbPointInfo info{};
    info.time = 1;
    early.toEarth(3, 0, &info);
    EXPECT_EQ(info.time, 1.0);
    early.toEarth(3, 1, &info);
    EXPECT_NEAR(info.time, 36204 + 0.2 * second, 1e-8);
}

TEST(NativeNavigation, TheSatelliteStandsAboveItsLongitude)
{
    // The window's corner lies near the sub-satellite point, so that the image sees the earth.
    SynthNative synth{.channels = {11}, .subLon = 41.5F};
    synth.coverage = {20, 20, 20, 20, 5551, 5610, 5551, 5594, 0, 0, 0, 0};
    const NativeScene scene(synth);
    double position[3], attitude[3] = {1, 1, 1};
    EXPECT_EQ(scene.object.GetSatPosEf(scene.p(), 0, position), 0);
    // 42164 km above the equator.
    EXPECT_NEAR(position[0], 42164 * std::cos(41.5 * M_PI / 180), 1e-3);
    EXPECT_NEAR(position[1], 42164 * std::sin(41.5 * M_PI / 180), 1e-3);
    EXPECT_NEAR(position[2], 0, 1e-3);
    EXPECT_EQ(scene.object.GetSatAtt(scene.p(), 0, attitude), 0);
    EXPECT_EQ(attitude[0] + attitude[1] + attitude[2], 0);
    NbPointInfo info{};
    const auto centre = scene.toImage(41.5, 0, 0, &info);
    EXPECT_EQ(centre.pixel, 15.0F); // 5566 - 5551
    EXPECT_EQ(centre.line, 15.0F);
    EXPECT_NEAR(info.time, 59063 + 903.0 / 86400, 1e-8);
    EXPECT_NEAR(info.satZenith, 0, 1e-4);
    EXPECT_NEAR(info.satDistance, 42164 - 6378.14, 1e-2);
    // A place without a position has no geometry.
    NbPointInfo untouched{};
    untouched.time = 1;
    scene.toImage(230, 0, 0, &untouched);
    EXPECT_EQ(untouched.time, 1.0);
}

} // namespace
