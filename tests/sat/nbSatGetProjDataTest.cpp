#include "sat/nbSatGetProjData.h"
#include "sat/nbSat.h"
#include "sat/nbSatElem.h"
#include "sat/nbSatMgetProjData.h"
#include "sat/nbSatNav.h"
#include "sat/nbSatSetLut.h"
#include "tests/sat/fakeDriver.h"
#include "tests/support/support.h"
#include "tests/synth/synthHisd.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <random>
#include <vector>

namespace {

constexpr std::uint8_t nobody = 255;

// A latitude-longitude grid whose cell (0, 0) is centred on (west, north).
NbProjPara grid(double west, double north, double step, int columns, int rows, int rough)
{
    NbProjPara p{};
    p.prjType = NB_PROJ_GRID;
    p.baseLon = west;
    p.baseLat = north;
    p.stepX = p.stepY = step;
    p.xNum = columns;
    p.yNum = rows;
    p.roughX = p.roughY = rough;
    return p;
}

struct Planes {
    std::vector<std::int16_t> out;
    std::vector<double> info;
    std::vector<std::uint8_t> owner;
    int result = 0;
};

// One call on all linked objects, with every plane.
Planes project(NbSatObject* object, NbProjPara p, int mode = 0, int infoSel = 0)
{
    const auto cells = static_cast<std::size_t>(p.xNum) * static_cast<std::size_t>(p.yNum);
    Planes planes{std::vector<std::int16_t>(cells, -77), std::vector<double>(cells, -77),
                  std::vector<std::uint8_t>(cells, 77), 0};
    const auto linked = object->objectNum;
    if (linked == 1) object->objectNum = 0; // otherwise a lone object fills no extra planes
    planes.result = nbSatGetI2ProjData(object, &p, planes.out.data(), mode, infoSel,
                                       planes.info.data(), planes.owner.data());
    object->objectNum = linked;
    return planes;
}

NbSatObject opened(FakeImage& image)
{
    NbSatObject object = image.open();
    nbSatSetElems(&object, "IR1");
    return object;
}

// The lattice on an affine navigation is exact but for float rounding; cells stand a quarter
// pixel off the borders between pixels, so every sample must be the very same.
TEST(ProjData, LatticeOfAnyRoughnessGivesTheSamplesOfTheExactWalk)
{
    FakeImage image{.pixels = 60, .lines = 50};
    image.count = [](int pixel, int line) { return pixel + 100 * line; };
    NbSatObject object = opened(image);
    for (const int columns : {2, 7, 8, 31, 80})
        for (const auto& [gx, gy] :
             {std::pair{6, 6}, std::pair{1, 6}, std::pair{5, 2}, std::pair{100, 3}}) {
            NbProjPara p = grid(139.0 + 0.125, 11.0 + 0.125, 0.5, columns, 43, 1);
            const Planes exact = project(&object, p);
            p.roughX = gx;
            p.roughY = gy;
            const Planes rough = project(&object, p);
            EXPECT_EQ(rough.out, exact.out) << columns << " columns, lattice " << gx << " x " << gy;
            EXPECT_EQ(rough.owner, exact.owner);
        }
    // by hand: cell (4, 3) stands at 141.125 E, 9.625 N: pixel 2.25, line 0.75
    EXPECT_EQ(project(&object, grid(139.125, 11.125, 0.5, 31, 43, 6)).out[3 * 31 + 4], 102);
    nbSatCloseObject(&object);
}

TEST(ProjData, EarthsEdgeIsFoundToTheCell)
{
    FakeImage image{.pixels = 200, .lines = 200};
    image.hiddenEarth = [](double lon, double lat) {
        return std::hypot(lon - 190, lat + 40) > 33.3 ? NB_NAV_LIMB : 0;
    };
    NbSatObject object = opened(image);
    NbProjPara p = grid(150.1, 0.1, 0.5, 170, 171, 1);
    const Planes exact = project(&object, p);
    p.roughX = p.roughY = 6;
    const Planes rough = project(&object, p);
    EXPECT_EQ(rough.owner, exact.owner);
    EXPECT_EQ(std::count(exact.owner.begin(), exact.owner.end(), nobody),
              std::count(exact.out.begin(), exact.out.end(), -1));
    nbSatCloseObject(&object);
}

TEST(ProjData, GridOffTheEarthIsMissingAndNobodys)
{
    FakeImage image;
    NbSatObject object = opened(image);
    for (const int rough : {1, 6}) {
        const Planes planes = project(&object, grid(0, 0, 0.1, 20, 20, rough));
        EXPECT_GE(planes.result, 0);
        EXPECT_EQ(planes.out, std::vector<std::int16_t>(400, -1));
        EXPECT_EQ(planes.owner, std::vector<std::uint8_t>(400, nobody));
    }
    nbSatCloseObject(&object);
}

TEST(ProjData, AzimuthsTurnOverAt360BetweenLatticePoints)
{
    FakeImage image{.pixels = 60, .lines = 60};
    // 350 degrees at pixel 0, 10 more each pixel: 0 at pixel 1
    image.info = [](float pixel, float, double, double) {
        NbPointInfo point{};
        point.sunAzimuth = std::fmod(350.0 + 10.0 * static_cast<double>(pixel), 360.0);
        point.sunZenith = point.sunAzimuth;
        return point;
    };
    NbSatObject object = opened(image);
    const NbProjPara p = grid(140, 10, 0.25, 41, 41, 4); // lattice points on every other pixel
    const Planes azimuth = project(&object, p, 0, 5);
    EXPECT_NEAR(azimuth.info[1], 355, 1e-9);
    EXPECT_NEAR(azimuth.info[3], 5, 1e-9);
    const Planes zenith = project(&object, p, 0, 4); // no angle that turns: 350 down to 10
    EXPECT_NEAR(zenith.info[1], 350 - 340.0 / 4, 1e-9);
    nbSatCloseObject(&object);
}

NbPointInfo pointAt(double mjd, double satZenith, double sunZenith)
{
    NbPointInfo point{};
    point.time = mjd;
    point.satZenith = satZenith;
    point.sunZenith = sunZenith;
    return point;
}

// Two images over each other by half; in the common columns the mode decides.
struct OverlapCase {
    int mode;
    bool laterWins;
    const char* why;
};

TEST(ProjData, OverlapModesChooseTheWinner)
{
    FakeImage first{.pixels = 40, .lines = 20};
    FakeImage second{.pixels = 40, .lines = 20};
    second.lon0 = 150;
    first.count = [](int, int) { return 100; };
    second.count = [](int, int) { return 200; };
    first.info = [](float, float, double, double) { return pointAt(59000.5, 20, 1); };
    second.info = [](float, float, double, double) { return pointAt(59000.25, 30, 2); };
    NbSatObject objects[2] = {opened(first), opened(second)};
    for (int i = 0; i < 2; ++i) {
        objects[i].objectNum = 2;
        objects[i].objectIndex = static_cast<std::int16_t>(i);
    }
    objects[0].startTime[0] = 2021; // the first file is a year later
    for (const OverlapCase& c : {
             OverlapCase{0, false, "first object alone"},
             OverlapCase{1, false, "latest file"},
             OverlapCase{2, true, "earliest file"},
             OverlapCase{3, false, "latest point"},
             OverlapCase{4, true, "earliest point"},
             OverlapCase{5, true, "same resolution: the later object"},
             OverlapCase{6, true, "same resolution: the later object"},
             OverlapCase{7, false, "smallest sample"},
             OverlapCase{8, true, "largest sample"},
             OverlapCase{9, false, "smallest satellite zenith angle"},
             OverlapCase{10, true, "largest satellite zenith angle"},
         })
        for (const int rough : {1, 6}) {
            // columns at 0.5 degree: 0 to 19 first alone, 20 to 39 both, 40 to 59 second alone
            const Planes planes = project(objects, grid(140.1, 9.9, 0.5, 60, 10, rough), c.mode, 4);
            const std::size_t row = 5 * 60;
            EXPECT_EQ(planes.owner[row + 5], 0) << c.why;
            EXPECT_EQ(planes.owner[row + 30], c.laterWins ? 1 : 0) << c.why << ", " << rough;
            EXPECT_EQ(planes.out[row + 30], c.laterWins ? 200 : 100) << c.why;
            EXPECT_DOUBLE_EQ(planes.info[row + 30], c.laterWins ? 2 : 1) << c.why;
            EXPECT_EQ(planes.owner[row + 50], c.mode == 0 ? nobody : 1) << c.why;
        }
    for (NbSatObject& object : objects)
        nbSatCloseObject(&object);
}

TEST(ProjData, FileTimesThatAreOneFloatAreEqualAndTheLaterObjectTakesTheCell)
{
    FakeImage image;
    NbSatObject objects[2] = {opened(image), opened(image)};
    objects[0].objectNum = objects[1].objectNum = 2;
    objects[1].objectIndex = 1;
    // 20200801031000 and 20200801030000 round to the same float: its unit there is 2^20.
    objects[0].startTime[4] = 10;
    EXPECT_EQ(project(objects, grid(141, 9, 0.5, 10, 10, 6), 1).owner[0], 1);
    for (NbSatObject& object : objects)
        nbSatCloseObject(&object);
}

TEST(ProjData, WrongArgumentsAreRefused)
{
    FakeImage image;
    NbSatObject object = opened(image);
    NbProjPara p = grid(141, 9, 0.5, 10, 10, 0);
    std::vector<std::int16_t> out(100);
    EXPECT_GE(nbSatGetI2ProjData(&object, &p, out.data(), 0, 0, nullptr, nullptr), 0);
    EXPECT_EQ(p.roughX, 1); // 0 counts as 1, in the record too
    EXPECT_EQ(p.roughY, 1);

    object.objectNum = 0;
    {
        StderrCapture text;
        EXPECT_EQ(nbSatGetI2ProjData(&object, &p, out.data(), 11, 0, nullptr, nullptr), -1);
        EXPECT_EQ(nbSatGetI2ProjData(&object, &p, out.data(), 0, 11, nullptr, nullptr), -1);
        p.roughX = -1;
        EXPECT_EQ(nbSatGetI2ProjData(&object, &p, out.data(), 0, 0, nullptr, nullptr), -1);
        EXPECT_EQ(text.get(), "NB_Error: nbSatGetI2ProjData() : 重ねあわせモード 11 は不正です \n"
                              "NB_Error: nbSatGetI2ProjData() : ナビゲーション情報 11 は不正です \n"
                              "NB_Error: nbSatGetI2ProjData() : NbProjPara Parameter Error! \n");
    }
    object.objectNum = 1; // a plain object does not look at the mode
    p.roughX = 6;
    EXPECT_GE(nbSatGetI2ProjData(&object, &p, out.data(), 11, 11, nullptr, nullptr), 0);
    p.baseLat = 91;
    StderrCapture text;
    EXPECT_EQ(nbSatGetI2ProjData(&object, &p, out.data(), 0, 0, nullptr, nullptr), -1);
    EXPECT_EQ(text.get(),
              "NB_Error: nbSatGetI2ProjData() : nbProjXYToLonLat() Error! return [-1]\n");
    nbSatCloseObject(&object);
}

TEST(ProjData, ElementOfSeveralValuesIsRefusedAndNothingWritten)
{
    FakeImage image;
    NbSatObject object = image.open();
    nbSatSetElems(&object, "IR1_P"); // two values per pixel
    NbProjPara p = grid(141, 9, 0.5, 10, 10, 6);
    std::vector<std::int16_t> out(100, -77);
    StderrCapture text;
    EXPECT_EQ(nbSatGetI2ProjData(&object, &p, out.data(), 0, 0, nullptr, nullptr), -1);
    EXPECT_NE(text.get().find("2 values per pixel"), std::string::npos);
    EXPECT_EQ(out, std::vector<std::int16_t>(100, -77));
    nbSatCloseObject(&object);
}

// A grid of 8 columns and rows has a last lattice cell of a single map cell.
TEST(ProjData, ALatticeCellOfOneMapCellAtAnEdgeIsReportedAndRight)
{
    FakeImage image;
    image.hiddenEarth = [](double lon, double lat) {
        return lon > 144.7 && lat < 6.3 ? NB_NAV_LIMB : 0; // the last cell alone
    };
    NbSatObject object = opened(image);
    StderrCapture text;
    const Planes planes = project(&object, grid(141.3, 9.7, 0.5, 8, 8, 6));
    EXPECT_EQ(text.get(), "NB_Error: nbSatGetProjData nbSatGetI2ProjData() : INTERNAL BUG !! \n");
    EXPECT_EQ(std::count(planes.owner.begin(), planes.owner.end(), nobody), 1);
    EXPECT_EQ(planes.owner.back(), nobody);
    nbSatCloseObject(&object);
}

// ---- lists of segments -------------------------------------------------------------------------

// The objects of a list, closed one by one at the end.
struct OpenList {
    std::array<NbSatObject, 10> objects{};
    int count = 0;
    TempDir dir;

    OpenList(const SynthHisd& disk, int segments, const char* element)
    {
        std::string list;
        for (const SynthHisd& segment : disk.split(segments)) {
            const std::string path = dir / ("s" + std::to_string(count++) + ".dat");
            segment.write(path);
            list += path + " ";
        }
        EXPECT_EQ(nbSatOpenObject(objects.data(), list.c_str()), 0);
        nbSatSetElems(objects.data(), element);
    }
    ~OpenList()
    {
        for (NbSatObject& object : objects)
            if (object.fileFormatId != 0) nbSatCloseObject(&object);
    }
    // Makes the library navigate point by point: it knows raw positions by the format's number.
    void plain(bool on)
    {
        for (int i = 0; i < count; ++i)
            objects[static_cast<std::size_t>(i)].fileFormatId = on ? NB_FORMAT_MTP : NB_FORMAT_HISD;
    }
};

// Grids of any kind around a place seen from 140.7 E, some across the limb, some coarse enough
// that a lattice cell spans many segments.
NbProjPara randomGrid(std::mt19937& random)
{
    const auto draw = [&](double low, double high) {
        return std::uniform_real_distribution<double>(low, high)(random);
    };
    const auto pick = [&](int low, int high) {
        return std::uniform_int_distribution<int>(low, high)(random);
    };
    NbProjPara p{};
    p.prjType = static_cast<std::int16_t>(pick(1, 5));
    p.ellipsoid = static_cast<std::int16_t>(pick(0, 3) == 0);
    p.xNum = pick(2, 140);
    p.yNum = pick(2, 140);
    p.roughX = pick(1, 9);
    p.roughY = pick(2, 9);
    p.baseX = static_cast<float>(pick(0, p.xNum));
    p.baseY = static_cast<float>(pick(0, p.yNum));
    p.baseLon = draw(70, 180);
    p.baseLat = draw(-70, 70);
    p.stdLon = p.prjType == NB_PROJ_DISK ? draw(100, 180) : p.baseLon + draw(-10, 10);
    p.stdLat1 = p.prjType == NB_PROJ_DISK ? draw(-20, 20) : draw(-90, 90);
    if (p.prjType == NB_PROJ_PS && pick(0, 1) == 0) p.stdLat1 = pick(0, 1) == 0 ? 90 : -90;
    if (p.prjType == NB_PROJ_LAMB) {
        p.stdLat1 = draw(20, 60);
        p.stdLat2 = draw(0, 1) < 0.5 ? p.stdLat1 : draw(20, 60);
    }
    p.stdLon = p.stdLon > 180 ? p.stdLon - 360 : p.stdLon;
    p.height = draw(500, 40000);
    const double step = std::pow(10.0, draw(-1.3, 0.6)); // 0.05 to 4 degrees
    p.stepX = p.prjType == NB_PROJ_GRID ? step : step * 111;
    p.stepY = p.stepX * draw(0.5, 2);
    return p;
}

TEST(ProjData, PassingOverCellsOffASegmentChangesNothing)
{
    std::mt19937 random(20200801);
    const SynthHisd disk{.columns = 550, .diskLines = 550};
    for (const int segments : {1, 3, 10}) {
        OpenList list(disk, segments, "B13");
        for (int i = 0; i < 120; ++i) {
            const NbProjPara p = randomGrid(random);
            const int mode = segments == 1 ? 0 : 1 + i % 2;
            const int infoSel = i % 5 == 0 ? 2 + i % 9 : 0;
            list.plain(false);
            const Planes quick = project(list.objects.data(), p, mode, infoSel);
            list.plain(true);
            const Planes plain = project(list.objects.data(), p, mode, infoSel);
            list.plain(false);
            ASSERT_EQ(quick.result, plain.result);
            ASSERT_EQ(quick.out, plain.out)
                << "type " << p.prjType << " grid " << i << " of " << segments << " segments";
            ASSERT_EQ(quick.owner, plain.owner);
            for (std::size_t k = 0; k < quick.info.size(); ++k)
                ASSERT_TRUE(quick.owner[k] == nobody || quick.info[k] == plain.info[k]);
        }
    }
}

TEST(ProjData, SegmentsGiveThePictureOfTheWholeDisk)
{
    const SynthHisd disk{.columns = 550, .diskLines = 550};
    OpenList whole(disk, 1, "B13");
    OpenList parts(disk, 10, "B13");
    for (const int rough : {1, 6}) {
        const NbProjPara p = grid(60.03, 85.02, 0.41, 400, 400, rough); // across the whole limb
        const Planes one = project(whole.objects.data(), p);
        const Planes ten = project(parts.objects.data(), p, 1);
        std::size_t covered = 0;
        std::size_t differing = 0;
        for (std::size_t i = 0; i < one.out.size(); ++i) {
            covered += one.owner[i] != nobody;
            differing += one.out[i] != ten.out[i];
        }
        EXPECT_GT(covered, 60000U);
        // Exact positions agree everywhere; on a lattice, cells at a segment's edge are exact in
        // the list and bilinear in the whole disk, which moves a few across a pixel border.
        if (rough == 1)
            EXPECT_EQ(differing, 0U);
        else
            EXPECT_LT(static_cast<double>(differing), 0.02 * static_cast<double>(covered));
    }
}

TEST(ProjData, LatticeOfSixFollowsTheExactWalkAcrossTheLimb)
{
    OpenList disk(SynthHisd{.columns = 1100, .diskLines = 1100}, 1, "B13");
    NbSatObject* object = disk.objects.data();
    NbProjPara p = grid(60, 80, 0.1, 800, 800, 1);
    const Planes exact = project(object, p);
    p.roughX = p.roughY = 6;
    const Planes rough = project(object, p);
    std::size_t covered = 0;
    std::size_t otherOwner = 0;
    std::size_t otherSample = 0;
    for (std::size_t i = 0; i < exact.out.size(); ++i) {
        covered += exact.owner[i] != nobody;
        otherOwner += exact.owner[i] != rough.owner[i];
        otherSample += exact.out[i] != rough.out[i];
    }
    EXPECT_GT(covered, 300000U);
    EXPECT_EQ(otherOwner, 0U);
    // A bilinear position is off by some thousandths of a pixel inland, and more at the limb.
    EXPECT_LT(static_cast<double>(otherSample), 0.02 * static_cast<double>(covered));
}

TEST(ProjDataZoom, SegmentsMakeOnePictureAndAMissingSampleIsNotCovered)
{
    const SynthHisd disk{.columns = 110, .diskLines = 110};
    OpenList parts(disk, 2, "B13");
    NbProjPara p{};
    p.prjType = NB_PROJ_ZOOM;
    p.baseX = 30;
    p.baseY = 40;
    p.stepX = 50;
    p.stepY = 30;
    p.xNum = 50;
    p.yNum = 30;
    const Planes planes = project(parts.objects.data(), p, 1);
    ASSERT_GE(planes.result, 0);
    for (const auto& [x, y] :
         {std::pair{0, 0}, std::pair{20, 14}, std::pair{20, 15}, std::pair{49, 29}}) {
        // pixel x + 30, line y + 40 of the disk, 0-based; the second file starts at line 55
        const std::size_t at = static_cast<std::size_t>(y * 50 + x);
        EXPECT_EQ(planes.out[at], disk.defaultCount(x + 31, y + 41)) << x << ", " << y;
        EXPECT_EQ(planes.owner[at], y < 15 ? 0 : 1);
    }
    // Without times or angles of its cells a zoom has nothing to compare: the later file wins
    // what both cover, whatever its samples.
    OpenList twice(disk, 1, "B13");
    ASSERT_EQ(nbSatOpenObject(&twice.objects[1], twice.objects[0].fileName), 0);
    nbSatSetElems(&twice.objects[1], "B13");
    twice.objects[0].objectNum = 2;
    twice.objects[1].objectIndex = 1;
    for (const int mode : {3, 4, 5, 6, 9, 10})
        EXPECT_EQ(project(twice.objects.data(), p, mode).owner[0], 1) << mode;

    p.xNum = 40000;
    StderrCapture text;
    EXPECT_EQ(nbSatGetI2ProjData(parts.objects.data(), &p, nullptr, 1, 0, nullptr, nullptr), -1);
    EXPECT_NE(text.get().find("40000"), std::string::npos);
}

// A driver may leave the cells off its image as it finds them.
TEST(ProjDataZoom, CellsOffTheImageAreMissing)
{
    FakeImage images[2] = {{.lines = 30}, {.lines = 10}};
    NbSatObject objects[2];
    for (int i = 0; i < 2; ++i) {
        images[i].count = [i](int, int) { return 100 + i; };
        images[i].slots.GetI2ZoomData = [](void* p, const NbZoomRect* rect, std::int16_t* out) {
            const auto& image = *static_cast<FakeImage*>(p);
            for (int y = 0; y < rect->outHeight && rect->startLine + y < image.lines; ++y)
                std::fill_n(out + y * rect->outWidth, rect->outWidth - 5, image.count(0, 0));
            return 0;
        };
        objects[i] = opened(images[i]);
        objects[i].objectIndex = static_cast<std::int16_t>(i);
    }
    NbProjPara p{};
    p.prjType = NB_PROJ_ZOOM;
    p.stepX = p.stepY = 40;
    p.xNum = p.yNum = 40;
    objects[0].objectNum = 2;
    const Planes merged = project(objects, p, 1);
    for (const auto& [x, y, count, owner] :
         {std::array{0, 9, 101, 1}, std::array{34, 10, 100, 0}, std::array{0, 30, -1, 255},
          std::array{35, 0, -1, 255}}) {
        const std::size_t at = static_cast<std::size_t>(y * 40 + x);
        EXPECT_EQ(merged.out[at], count) << x << ", " << y;
        EXPECT_EQ(merged.owner[at], owner) << x << ", " << y;
    }
    for (NbSatObject& object : objects)
        nbSatCloseObject(&object);
}

TEST(ProjData, InformationNeedsNoOwnerPlane)
{
    FakeImage image;
    image.info = [](float, float, double, double) { return pointAt(59000.5, 20, 42); };
    NbSatObject object = opened(image);
    object.objectNum = 0;
    for (const int rough : {1, 6}) {
        NbProjPara p = grid(140.1, 9.9, 0.5, 20, 20, rough);
        std::vector<std::int16_t> out(400);
        std::vector<double> info(400);
        EXPECT_GE(nbSatGetI2ProjData(&object, &p, out.data(), 0, 4, info.data(), nullptr), 0);
        EXPECT_NEAR(std::ranges::min(info), 42, 1e-9) << rough;
        EXPECT_NEAR(std::ranges::max(info), 42, 1e-9) << rough;
    }
    nbSatCloseObject(&object);
}

// A conversion gives them a level, which is not to win as the smallest or the later one.
TEST(ProjData, MissingSamplesDoNotCompeteAfterALevelConversion)
{
    for (const char* const element : {"IR1", "IR1_T", "IR1_X"}) {
        FakeImage images[2];
        images[0].count = [](int, int) { return 100; };
        images[1].count = [](int, int) { return -1; };
        images[0].errorValue = images[1].errorValue = -1;
        NbSatObject objects[2] = {images[0].open(), images[1].open()};
        objects[0].objectNum = 2;
        objects[1].objectIndex = 1;
        nbSatSetElems(objects, element);
        const float x[] = {0, 500};
        const std::int16_t y[] = {0, 255};
        ASSERT_EQ(nbSatSetLutByTable(objects, x, y, 2, 0), 0);
        NbProjPara crop{};
        crop.prjType = NB_PROJ_ZOOM;
        crop.stepX = crop.stepY = 20;
        crop.xNum = crop.yNum = 20;
        const NbProjPara map = grid(140.1, 9.9, 0.5, 20, 20, 1);
        for (const auto& [para, mode] : {std::pair{map, 7}, {map, 8}, {crop, 1}, {crop, 7}}) {
            const Planes planes = project(objects, para, mode);
            EXPECT_GT(planes.out[0], 0) << element << ", mode " << mode;
            EXPECT_EQ(planes.owner[0], 0) << element << ", mode " << mode;
        }
        for (NbSatObject& object : objects)
            nbSatCloseObject(&object);
    }
}

TEST(MgetProjData, FilesAreSortedOpenedAndLaidOverEachOther)
{
    const SynthHisd disk{.columns = 110, .diskLines = 110};
    TempDir dir;
    std::vector<std::string> paths;
    for (const SynthHisd& segment : disk.split(2)) {
        paths.push_back(dir / ("part" + std::to_string(paths.size())));
        segment.write(paths.back());
    }
    writeText(dir / "junk", "not an image\n");
    NbSatObject like{};
    ASSERT_EQ(nbSatOpenObject(&like, paths[0].c_str()), 0);
    nbSatSetElems(&like, "B13");
    // A blank in a name does not make it a list of two files.
    const std::string blank = dir / "part one";
    writeFile(blank, readFile(paths[1]));
    char names[3][256];
    std::strcpy(names[0], blank.c_str());
    std::strcpy(names[1], (dir / "junk").c_str());
    std::strcpy(names[2], paths[0].c_str());
    char* list[3] = {names[0], names[1], names[2]};

    NbProjPara p = grid(120.2, 20.1, 1.0, 40, 40, 1);
    std::vector<std::int16_t> out(1600, -77);
    std::vector<NbPointInfo> info(1600);
    {
        StderrCapture quiet; // the file that is none is reported
        EXPECT_EQ(nbSatMgetI2ProjData(&like, list, 3, 3, &p, out.data(), info.data()), 2);
    }
    OpenList whole(disk, 1, "B13");
    EXPECT_EQ(out, project(whole.objects.data(), p).out);
    EXPECT_GT(info[1599].time, info[0].time); // scanned from north to south
    EXPECT_GT(info[0].time, 59062.0);

    StderrCapture text;
    EXPECT_EQ(nbSatMgetI2ProjData(&like, list, 3, 3, &p, nullptr, nullptr), -1);
    EXPECT_EQ(text.get(), "NB_Error: nbSatGetProjData nbSatMgetI2ProjData() :  "
                          "データ格納用の配列が確保されていません\n");
    nbSatCloseObject(&like);
}

} // namespace
