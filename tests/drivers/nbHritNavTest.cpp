#include "sat/nbSat.h"
#include "tests/drivers/hritScene.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

const double nan = std::numeric_limits<double>::quiet_NaN();

// An image whose raster is left out: it reads as zeros.
SynthHrit plane(const char* projection, int columns, int lines, int factor, int coff, int loff)
{
    return {.projection = projection,
            .columns = columns,
            .imageLines = lines,
            .cfac = factor * 65536,
            .lfac = factor * 65536,
            .coff = coff,
            .loff = loff,
            .image = {std::byte{0}}};
}
SynthHrit realDisk()
{
    SynthHrit disk = plane("GEOS(140.00)", 2200, 2200, 0, 1100, 1100);
    disk.cfac = disk.lfac = 8170135;
    return disk;
}

struct Point {
    double lon, lat, pixel, line;
};
void check(const HritScene& scene, std::span<const Point> points, double back)
{
    for (const Point& p : points) {
        const auto there = scene.toImage(p.lon, p.lat);
        EXPECT_EQ(there.bits, 0) << p.lon << ' ' << p.lat;
        // Half a float step at 2000 is 6e-5; the figures have six digits.
        EXPECT_NEAR(there.pixel, p.pixel, 1e-4) << p.lon << ' ' << p.lat;
        EXPECT_NEAR(there.line, p.line, 1e-4) << p.lon << ' ' << p.lat;
        EXPECT_EQ(scene.toImage(p.lon + 360, p.lat).bits, 0);
        const auto place = scene.toEarth(there.pixel, there.line);
        EXPECT_NEAR(std::remainder(place.lon - p.lon, 360), 0, back) << p.lon << ' ' << p.lat;
        EXPECT_NEAR(place.lat, p.lat, back) << p.lon << ' ' << p.lat;
    }
}

TEST(HritDisk, AgreesWithAnIndependentGeostationaryProjection)
{
    // proj 9.1.1: +proj=geos +h=35785831 +lon_0=140 +a=6378169 +b=6356583.8 +sweep=y, its metres
    // divided by h, in degrees times 8170135 / 65536, from pixel 1099.
    const Point points[] = {
        {140, 0, 1099, 1099},
        {140, 35, 1099, 397.739851},
        {139.75, 35.68, 1094.628209, 386.791390},
        {-160, 21.3, 2032.024872, 683.446355},
        {179.9, -40, 1681.342947, 1851.993274},
        {-179.9, -40, 1683.593399, 1851.760437},
        {95, 5, 251.080829, 995.049733},
        {133, -25.5, 961.433273, 1632.745605},
        {140, 80, 1099, 18.243382},
        {80.2, 20, 158.950429, 707.321017},
    };
    const HritScene scene(realDisk());
    ASSERT_EQ(scene.code, 0);
    check(scene, points, 3e-4); // float positions, stretched toward the limb
}

TEST(HritPolar, AgreesWithAnIndependentStereographicProjection)
{
    // proj 9.1.1: +proj=stere +lat_0=90 (or -90) +lon_0=130 +R=0.5, times 900; the south has its
    // plane upside down.
    const Point north[] = {
        {140, 60, 340.876000, 256.490598},
        {100, 30, 39.192379, 469},
        {-170, 45.5, 617.870312, 203.099861},
        {139, 89, 300.228665, 26.757483},
    };
    const Point south[] = {
        {140, -60, 340.876000, 256.490598},
        {100, -30, 39.192379, 469},
        {-170, -45.5, 617.870312, 203.099861},
    };
    check(HritScene(plane("POLAR(N,130.00)", 900, 700, 900, 300, 20)), north, 1e-4);
    check(HritScene(plane("POLAR(N,490.00)", 900, 700, 900, 300, 20)), north, 1e-4);
    check(HritScene(plane("POLAR(S,130.00)", 900, 700, 900, 300, 20)), south, 1e-4);
    check(HritScene(plane("POLAR(s,-230.00)", 900, 700, 900, 300, 20)), south, 1e-4);
}

TEST(HritPolar, LongitudesAboveThePoleLieOpposite)
{
    // Deliberate. Above the pole lies the longitude 130 + 180; the way back says 130 + 360.
    const HritScene scene(plane("POLAR(N,130.00)", 900, 700, 900, 300, 300));
    const auto p = scene.toImage(-50, 80);
    EXPECT_EQ(p.bits, 0);
    EXPECT_LT(p.line, 299);
    EXPECT_NEAR(scene.toEarth(p.pixel, p.line).lon, 490, 1e-3);
}

TEST(HritMercator, AgreesWithAnIndependentMercator)
{
    // proj 9.1.1: +proj=merc +R=1 +lon_0=180, times 500 / pi, from longitude 0.
    const Point points[] = {
        {140, 0, 388.888889, 299},
        {100, 30, 277.777778, 211.575212},
        {-170, 45.5, 527.777778, 156.752206},
        {0.5, -60.25, 1.388889, 509.994527},
        {-0.5, 70, 998.611111, 22.800099},
    };
    // The way back has pi in eight digits: 2e-8 of 211 lines of 500 / pi is 3e-6 degree.
    check(HritScene(plane("MERCATOR", 1000, 600, 500, 1, 300)), points, 2e-4);
}

TEST(HritNavigation, PositionsOffTheFileHaveTheirBits)
{
    SynthHrit disk = realDisk();
    disk.firstLine = 1001;
    disk.lines = 100;
    disk.columns = 1500;
    const HritScene scene(disk);
    EXPECT_EQ(scene.toImage(140, 0).bits, 0);
    EXPECT_EQ(scene.toImage(140, 35).bits, NB_NAV_LINE);
    EXPECT_EQ(scene.toImage(170, 0).bits, NB_NAV_PIXEL);
    EXPECT_EQ(scene.toImage(170, 35).bits, NB_NAV_LINE | NB_NAV_PIXEL);
    EXPECT_EQ(scene.toImage(-40, 0).bits, NB_NAV_LIMB);
    EXPECT_EQ(scene.toImage(-9999, 0).bits, NB_NAV_INPUT);
    EXPECT_EQ(scene.toImage(nan, 0).bits, NB_NAV_INPUT);
    EXPECT_EQ(scene.toImage(140, 90.5).bits, NB_NAV_INPUT);
    EXPECT_EQ(scene.toImage(140, 35).pixel, -9999.0F);
    const auto good = scene.toEarth(1099, 1000);
    EXPECT_NEAR(good.lon, 140, 1e-6);
    for (const auto& [pixel, line] : {std::pair{-0.6F, 1050.F},
                                      {1499.5F, 1050.F},
                                      {700.F, 999.4F},
                                      {700.F, 1099.5F},
                                      {10.F, 1050.F},
                                      {-9999.F, -9999.F}}) {
        // Deliberate: no bit says so.
        const auto bad = scene.toEarth(pixel, line);
        EXPECT_EQ(bad.lon, -9999) << pixel << ' ' << line;
        EXPECT_EQ(bad.lat, -9999);
        EXPECT_EQ(bad.bits, 0);
    }
}

TEST(HritNavigation, HeightLiftsAPointOnTheDiskOnly)
{
    // On the equator 30 degrees east: x = atan(r sin d / (Rs - r cos d)), r = 6378.169 km.
    const HritScene scene(realDisk());
    for (const double height : {0.0, 15000.0}) {
        const double r = 6378.169 + height / 1000;
        const double x = std::atan2(r * 0.5, 42164.0 - r * std::sqrt(0.75)) * 57.29577951308232;
        EXPECT_NEAR(scene.toImage(170, 0, height).pixel, 1099 + x * 8170135 / 65536, 2e-4);
    }
    const HritScene flat(plane("MERCATOR", 1000, 600, 500, 1, 300));
    EXPECT_EQ(flat.toImage(140, 40, 15000).line, flat.toImage(140, 40).line);
}

TEST(HritNavigation, TheDateLineIsAFloatAndLiesEast)
{
    // With the satellite over 180 the image's centre is at 180, never at -180.
    SynthHrit disk = realDisk();
    disk.projection = "GEOS(-180.00)";
    EXPECT_EQ(HritScene(disk).toEarth(1099, 1099).lon, 180);
    disk.projection = "GEOS(180.00)";
    const HritScene scene(disk);
    const double east = scene.toEarth(1300, 900).lon; // beyond 180, so it was wrapped
    EXPECT_LT(east, -170);
    EXPECT_EQ(east, static_cast<double>(static_cast<float>(east)));
}

TEST(HritNavigation, GeometryIsThatOfTheNominalSatellite)
{
    SynthHrit disk = realDisk();
    disk.times = "LINE:=1\rTIME:=53948.125\rLINE:=2200\rTIME:=53948.145\r";
    const HritScene scene(disk);
    const double lon[2] = {140, -40};
    const double lat[2] = {0, 0};
    float pixel[2];
    float line[2];
    NbPointInfo info[2] = {};
    info[1].time = -7;
    scene.object.LonLatHgtToPixLinInfo(scene.p(), lon, lat, nullptr, pixel, line, info, 2);
    EXPECT_NEAR(info[0].satZenith, 0, 1e-3);
    EXPECT_NEAR(info[0].satDistance, 42164 - 6378.14, 0.01);
    EXPECT_NEAR(info[0].time, 53948.135, 1e-4);
    EXPECT_EQ(info[1].time, -7); // hidden: untouched
    // Metres, where other drivers have km.
    double position[3];
    EXPECT_EQ(scene.object.GetSatPosEf(scene.p(), 0, position), 0);
    EXPECT_NEAR(position[0], 42164000 * std::cos(140 * 0.017453292519943295), 0.01);
    EXPECT_NEAR(position[2], 0, 0.01);
    double attitude[3] = {1, 1, 1};
    EXPECT_EQ(scene.object.GetSatAtt(scene.p(), 0, attitude), 0);
    EXPECT_EQ(attitude[0] + attitude[1] + attitude[2], 0);
    StderrCapture err;
    EXPECT_EQ(scene.object.ResetAtt(scene.p(), 0, attitude, 0), 0);
    EXPECT_EQ(err.get(), "nbHritResetAtt() : このデータには対応していません。\n");
}

TEST(HritRawPositions, GiveWhatEachSegmentNavigates)
{
    const std::vector<SynthHrit> parts = SynthHrit{.columns = 220, .imageLines = 220}.split(2, 8);
    const HritScene a(parts[0]);
    const HritScene b(parts[1]);
    EXPECT_NE(nbpHritRawNav.same(a.p(), b.p()), 0);
    EXPECT_EQ(nbpHritRawNav.same(a.p(), HritScene({.columns = 222, .imageLines = 220}).p()), 0);
    std::vector<double> lon, lat;
    for (double y = -91; y < 92; y += 3.5)
        for (double x = 50; x < 240; x += 6.5) {
            lon.push_back(x);
            lat.push_back(y);
        }
    for (const HritScene* scene : {&a, &b})
        EXPECT_GT(expectRawIsTheSlot(nbpHritRawNav, a, *scene, lon, lat), 200);
    float box[4];
    nbpHritRawNav.bounds(b.p(), box);
    EXPECT_EQ(box[2], 109.5F);
    EXPECT_EQ(box[3], 219.5F);
}

TEST(HritRawPositions, AreThereForTheDiskOnly)
{
    const TempFile disk(SynthHrit{}.bytes());
    const TempFile flat(plane("MERCATOR", 100, 60, 50, 1, 30).bytes());
    NbSatObject object{};
    ASSERT_EQ(nbSatOpenObject(&object, disk.path("?type=hrit").c_str()), 0);
    EXPECT_EQ(nbpSatRawNav(&object), &nbpHritRawNav);
    nbSatCloseObject(&object);
    ASSERT_EQ(nbSatOpenObject(&object, flat.path().c_str()), 0);
    EXPECT_EQ(nbpSatRawNav(&object), nullptr);
    nbSatCloseObject(&object);
}

} // namespace
