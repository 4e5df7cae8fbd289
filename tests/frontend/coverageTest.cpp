#include "frontend/coverage.h"
#include "frontend/fetch.h"
#include "frontend/mapGrid.h"
#include "sat/nbSat.h"
#include "sat/nbSatElem.h"
#include "sat/nbSatNav.h"
#include "sat/nbSatProj.h"
#include "tests/sat/fakeDriver.h"
#include "tests/support/support.h"

#include <cmath>
#include <gtest/gtest.h>

namespace {

NbProjPara gridOf(double west, double north, double step, int columns, int rows)
{
    NbProjPara map = defaultMap(2);
    map.baseLon = west;
    map.baseLat = north;
    map.stepX = map.stepY = step;
    map.xNum = columns;
    map.yNum = rows;
    map.roughX = map.roughY = 1;
    return map;
}

std::string text(const NbCoveredPoint& p)
{
    char buffer[128];
    std::snprintf(buffer, sizeof buffer, "pixel %g line %g object %d lon %g lat %g",
                  static_cast<double>(p.pixel), static_cast<double>(p.line), p.object, p.lon,
                  p.lat);
    return buffer;
}

// The image covers 139.75 to 159.75 E and 10.25 N to 4.75 S with half a degree a pixel; of the
// grid 135 to 145 E, 12 to 8 N that leaves columns from 140 on and rows from 10 on.
TEST(Coverage, FourPointsWidestRowAndEdgeTimesOfACorner)
{
    FakeImage image;
    NbSatObject object = image.open();
    NbProjPara map = gridOf(135, 12, 1, 11, 5);
    NbCoverage coverage;
    ASSERT_TRUE(probeCoverage({&object, 1}, map, coverage));
    EXPECT_EQ(text(coverage.points[0]), "pixel 0 line 0 object 0 lon 140 lat 10");
    EXPECT_EQ(text(coverage.points[1]), "pixel 10 line 4 object 0 lon 145 lat 8");
    EXPECT_EQ(text(coverage.points[2]), "pixel 0 line 4 object 0 lon 140 lat 8");
    EXPECT_EQ(text(coverage.points[3]), "pixel 10 line 0 object 0 lon 145 lat 10");
    EXPECT_EQ(coverage.widest, 11);
    EXPECT_EQ(coverage.smallestLine(), 0); // the first of 0 and 3
    EXPECT_EQ(coverage.largestLine(), 1);

    // A second a line from 03:00 on: line 0 on the east edge, line 4 on the south edge.
    const NbObservationTimes times = edgeTimes({&object, 1}, map, coverage);
    EXPECT_EQ(times.start.hour, 3);
    EXPECT_EQ(times.start.minute * 60 + times.start.second, 0);
    EXPECT_EQ(times.end.minute * 60 + times.end.second, 4);
}

TEST(Coverage, EdgesOffTheImageTakeTheTimesOfTheFile)
{
    FakeImage image;
    NbSatObject object = image.open(); // 03:00:00 to 03:10:00
    NbProjPara map = gridOf(130, 20, 1, 41, 41);
    NbCoverage coverage;
    ASSERT_TRUE(probeCoverage({&object, 1}, map, coverage));
    const NbObservationTimes times = edgeTimes({&object, 1}, map, coverage);
    EXPECT_EQ(times.start.minute, 0);
    EXPECT_EQ(times.end.minute, 10);
    EXPECT_EQ(times.end.millisecond, 0);
}

// One cell a call, in the order in which the four points are defined.
struct PlainWalk {
    std::span<NbSatObject> objects;
    NbProjPara& map;

    bool at(double lon, double lat, NbCoveredPoint& hit)
    {
        for (std::size_t k = 0; k < objects.size(); ++k) {
            float pixel = 0;
            float line = 0;
            nbSatLonLatToPixLin(&objects[k], &lon, &lat, &pixel, &line, 1);
            if (pixel == -9999.0F || line == -9999.0F) continue;
            hit = {pixel, line, static_cast<int>(k), lon, lat};
            return true;
        }
        return false;
    }
    bool cell(int column, int row, NbCoveredPoint& hit)
    {
        const float x = static_cast<float>(column);
        const float y = static_cast<float>(row);
        double lon = 0;
        double lat = 0;
        nbProjXYToLonLat(&x, &y, &lon, &lat, 1, &map);
        return at(lon, lat, hit);
    }
    bool points(NbCoverage& out)
    {
        const int nx = map.xNum;
        const int ny = map.yNum;
        const bool grid = map.prjType == NB_PROJ_GRID;
        const NbGridEdges e = gridEdges(map);
        const auto lonW = [&](int i) { return e.west + i * map.stepX; };
        const auto lonE = [&](int i) { return e.east - i * map.stepX; };
        const auto latN = [&](int j) { return e.north - j * map.stepY; };
        const auto latS = [&](int j) { return e.south + j * map.stepY; };
        const auto walk = [](int outer, int inner, auto&& hit) {
            for (int o = 0; o < outer; ++o)
                for (int i = 0; i < inner; ++i)
                    if (hit(o, i)) return true;
            return false;
        };
        auto& p = out.points;
        if (grid) {
            for (int j = 0; j < ny; ++j) {
                NbCoveredPoint west;
                NbCoveredPoint east;
                const bool any =
                    walk(1, nx, [&](int, int i) { return at(lonW(i), latN(j), west); });
                walk(1, nx, [&](int, int i) { return at(lonE(i), latN(j), east); });
                out.widest = std::max(out.widest, any ? east.pixel - west.pixel + 1 : 1.0F);
            }
            walk(ny, nx, [&](int o, int i) { return at(lonE(i), latS(o), p[1]); });
            walk(nx, ny, [&](int o, int i) { return at(lonW(o), latS(i), p[2]); });
            walk(nx, ny, [&](int o, int i) { return at(lonE(o), latN(i), p[3]); });
            return walk(ny, nx, [&](int o, int i) { return at(lonW(i), latN(o), p[0]); });
        }
        walk(nx, ny, [&](int o, int i) { return cell(nx - 1 - o, i, p[1]); });
        walk(nx, ny, [&](int o, int i) { return cell(o, ny - 1 - i, p[2]); });
        walk(ny, nx, [&](int o, int i) { return cell(nx - 1 - i, ny - 1 - o, p[3]); });
        return walk(ny, nx, [&](int o, int i) { return cell(i, o, p[0]); });
    }
};

TEST(Coverage, RunsOfCellsGiveWhatSingleCellsGive)
{
    const auto outside = [](double lon, double lat, double lon0, double lat0, double radius) {
        return std::hypot(lon - lon0, lat - lat0) > radius ? NB_NAV_LIMB : 0;
    };
    FakeImage whole{.pixels = 2000,
                    .lines = 2000,
                    .lon0 = 100,
                    .lat0 = 60,
                    .lonPerPixel = 0.03,
                    .latPerLine = -0.03};
    FakeImage disk = whole;
    disk.hiddenEarth = [&](double lon, double lat) { return outside(lon, lat, 131, 29, 9.3); };
    FakeImage dot = whole;
    dot.hiddenEarth = [&](double lon, double lat) { return outside(lon, lat, 138, 21, 0.07); };
    FakeImage mirrored = disk;
    mirrored.lon0 = 160;
    mirrored.lonPerPixel = -0.03;
    mirrored.lat0 = 0;
    mirrored.latPerLine = 0.03;
    FakeImage nothing = whole;
    nothing.hiddenEarth = [](double, double) { return NB_NAV_LIMB; };

    std::vector<std::vector<FakeImage*>> lists = {
        {&whole}, {&disk}, {&dot}, {&mirrored}, {&nothing}, {&dot, &disk, &mirrored}};
    for (std::size_t l = 0; l < lists.size(); ++l) {
        std::vector<NbSatObject> objects;
        for (FakeImage* image : lists[l])
            objects.push_back(image->open());
        NbProjPara grid = gridOf(120, 35, 0.1, 700, 170);
        NbProjPara mercator = defaultMap(3);
        for (NbProjPara* map : {&grid, &mercator}) {
            NbCoverage plain;
            NbCoverage runs;
            PlainWalk walk{objects, *map};
            EXPECT_EQ(probeCoverage(objects, *map, runs), walk.points(plain)) << "list " << l;
            if (lists[l][0] == &nothing) continue;
            EXPECT_EQ(runs.widest, plain.widest) << "list " << l;
            for (std::size_t k = 0; k < 4; ++k)
                EXPECT_EQ(text(runs.points[k]), text(plain.points[k])) << "list " << l;
        }
    }
}

TEST(Coverage, ACoveredGridCostsAFewNavigationsARow)
{
    FakeImage image{.pixels = 3000,
                    .lines = 3000,
                    .lon0 = 100,
                    .lat0 = 60,
                    .lonPerPixel = 0.02,
                    .latPerLine = -0.02};
    int navigated = 0;
    image.hiddenEarth = [&](double, double) { return ++navigated, 0; };
    NbSatObject object = image.open();
    NbProjPara map = gridOf(110, 50, 0.01, 1000, 1000);
    NbCoverage coverage;
    ASSERT_TRUE(probeCoverage({&object, 1}, map, coverage));
    EXPECT_LE(navigated, 5 * 1000);
}

// A zenith angle of 60 degrees halves the cosine.
TEST(SunAdjustment, DividesByTheCosineAndTheGlintTerm)
{
    const struct {
        int level;
        int owner;
        double zenith;
        double glint;
        int expected;
    } rows[] = {
        {100, 0, 60, -1, 199},   // cos is just above 0.5: 199.99... is cut
        {100, 0, 0, -1, 100},    //
        {100, 0, 80, -1, 333},   // cos 0.17 counts as 0.3
        {100, 0, 90, -1, 100},   // no sun
        {900, 0, 60, -1, 1023},  // the top level
        {-1, 0, 60, -1, -1},     // missing
        {100, 255, 60, -1, 100}, // nobody's
        {100, 0, 0, 0, 60},      // c = 1 / (1.6 - 1)
        {100, 0, 0, 52, 98},     // cos 52 = 0.61566: c = 1 / 0.98434, 98.43
        {100, 0, 0, 53, 100},    //
    };
    for (const auto& row : rows) {
        std::int16_t cell = static_cast<std::int16_t>(row.level);
        const auto owner = static_cast<std::uint8_t>(row.owner);
        const std::span<const double> glint(&row.glint, row.glint < 0 ? 0 : 1);
        divideBySunHeight({&cell, 1}, {&owner, 1}, {&row.zenith, 1}, glint, 1024);
        EXPECT_EQ(cell, row.expected) << row.level << " at " << row.zenith << ", " << row.glint;
    }
}

struct FetchTest : testing::Test {
    FetchTest()
    {
        image.count = [](int pixel, int line) { return pixel + line; };
        image.info = [](float, float line, double, double) {
            NbPointInfo point{};
            point.sunZenith = line < 5 ? 0 : 75; // cos 75 = 0.2588 counts as 0.3
            point.glintAngle = 180;
            return point;
        };
        object = image.open();
        nbSatSetElems(&object, "IR1");
    }
    ~FetchTest() override { nbSatCloseObject(&object); }
    FakeImage image;
    NbSatObject object;
    NbSettings settings;
};

TEST_F(FetchTest, StripsJoinWithoutASeam)
{
    // Cells on the pixels of the image: column 0 to 9, row 0 to 9, from half a row below.
    for (const int strips : {1, 3, -3, 10, 11, -2147483647 - 1}) {
        NbProjPara map = gridOf(140, 0, 0.5, 10, 10);
        map.baseY = 20.5; // row 20.5 is at the equator
        map.baseLat = -0.25;
        settings.sunAdjust = strips;
        std::vector<std::int16_t> cells(100, -7);
        ASSERT_GE(fetchLevels({&object, 1}, map, settings, cells), 0);
        for (int row = 0; row < 10; ++row)
            for (int column = 0; column < 10; ++column) {
                const int level = column + row;
                const int expected = row < 5 ? level : static_cast<int>(level / 0.3);
                EXPECT_EQ(cells[static_cast<std::size_t>(10 * row + column)], expected)
                    << strips << " strips, row " << row << ", column " << column;
            }
        EXPECT_EQ(map.yNum, 10);
        EXPECT_EQ(map.baseY, 20); // cut to a whole number
        EXPECT_EQ(object.objectNum, 1);
    }
}

TEST_F(FetchTest, ACropTakesItsAnglesFromTheImage)
{
    NbProjPara map = defaultMap(-1);
    map.xNum = map.yNum = 10;
    settleCrop(map, 40, 30);
    nbSatSetNavToProj(&object, &map);
    settings.sunAdjust = 4;
    std::vector<std::int16_t> cells(100);
    ASSERT_GE(fetchLevels({&object, 1}, map, settings, cells), 0);
    EXPECT_EQ(cells[44], 8);
    EXPECT_EQ(cells[66], 40); // 12 / 0.3
}

TEST_F(FetchTest, CellsOffTheImageAreMarkedFromVersion11On)
{
    image.errorValue = 1000;
    nbSatSetElems(&object, "IR1");
    NbProjPara map = gridOf(139, 10, 0.5, 4, 2); // two columns west of the image
    std::vector<std::int16_t> cells(8);
    settings.versionCode = 11;
    ASSERT_GE(fetchLevels({&object, 1}, map, settings, cells), 0);
    EXPECT_EQ(cells, (std::vector<std::int16_t>{-1, -1, 0, 1, -1, -1, 1, 2}));
}

} // namespace
