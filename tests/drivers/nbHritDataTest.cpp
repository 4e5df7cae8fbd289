#include "sat/nbSat.h"
#include "sat/nbSatElem.h"
#include "sat/nbSatGetProjData.h"
#include "tests/drivers/hritScene.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

// 20 lines of 12 columns; the count of line l and column c, both from 1, is 20 l + c.
void numbered(int line, std::span<std::uint16_t> counts)
{
    for (std::size_t i = 0; i < counts.size(); ++i)
        counts[i] = static_cast<std::uint16_t>(20 * line + static_cast<int>(i) + 1);
}
SynthHrit raster(const char* comp = "-")
{
    return {.columns = 12, .imageLines = 20, .coff = 6, .loff = 10, .comp = comp, .fill = numbered};
}

TEST(HritSample, NearestPixelsOfTheSegmentAreRead)
{
    SynthHrit synth = raster();
    synth.firstLine = 8;
    synth.lines = 5; // lines 8 to 12
    const HritScene scene(synth);
    EXPECT_EQ(scene.count(0, 7), 161);
    EXPECT_EQ(scene.count(-0.5F, 6.5F), 161);
    EXPECT_EQ(scene.count(11.49F, 11.49F), 252);
    for (const auto& [pixel, line] : {std::pair{-0.51F, 8.F},
                                      {11.5F, 8.F},
                                      {3.F, 6.49F},
                                      {3.F, 11.5F},
                                      {3.F, -1e30F},
                                      {0.F / 0.F, 8.F}}) {
        EXPECT_EQ(scene.count(pixel, line), -1) << pixel << ' ' << line;
        EXPECT_EQ(scene.result, 0);
    }
}

TEST(HritSample, CountsAreTestedAsSignedNumbers)
{
    SynthHrit synth = raster();
    synth.fill = [](int, std::span<std::uint16_t> counts) {
        std::ranges::copy(std::vector<std::uint16_t>{0, 1023, 1024, 32767, 32768, 65535},
                          counts.begin());
    };
    HritScene scene(synth);
    EXPECT_EQ(scene.row(3, 6), (Row{0, 1023, -1, -1, -1, -1}));
    scene.value(0, 3);
    EXPECT_EQ(scene.result, -1);
    ASSERT_EQ(scene.select("IR1"), 10001);
    scene.value(0, 3);
    EXPECT_EQ(scene.result, -1);
    ASSERT_EQ(scene.select("IR1_T"), 20001);
    EXPECT_EQ(scene.values({0, 1, 2}, {3, 3, 3}), (std::vector<float>{330, 130, -1}));
    EXPECT_EQ(scene.result, 0);
}

TEST(HritSample, WholeShiftsMoveColumnsAtTheSampleAndLinesAtTheReading)
{
    // The centre lies at column 3 and line 8 in all lines, against 6 and 10 in the header.
    HritScene scene(raster("LINE:=1\rCOFF:=3.0\rLOFF:=8.0\r"));
    EXPECT_EQ(scene.count(7, 9), 20 * 8 + 5); // 3 columns and 2 lines before line 10, column 8
    EXPECT_EQ(scene.count(7, 0), 20 * 1 + 5); // not above the first line
    EXPECT_EQ(scene.count(2, 9), -1);         // column 0
    EXPECT_EQ(scene.count(14, 9), 20 * 8 + 12);
    // The user's shift adds to the header's centre. Lines in memory stay as they are.
    scene.shift(1, 1);
    EXPECT_EQ(scene.count(7, 9), 20 * 8 + 4);
    EXPECT_EQ(scene.count(7, 10), 20 * 8 + 4); // line 11, 3 before it
}

TEST(HritSample, AFractionOfALineCountsAtTheFirstReading)
{
    // Lines are shifted by 0.4. A slot is read at the position that asks for it first.
    const char* comp = "LINE:=1\rCOFF:=6.0\rLOFF:=9.6\r";
    const HritScene centre(raster(comp));
    EXPECT_EQ(centre.count(0, 5), 121);    // line 6
    EXPECT_EQ(centre.count(0, 4.6F), 121); // in memory
    const HritScene early(raster(comp));
    EXPECT_EQ(early.count(0, 4.6F), 101); // 4.6 - 0.4 is nearest to index 4
    EXPECT_EQ(early.count(0, 5), 101);
}

TEST(HritSample, CentresBetweenTableLinesAreLinear)
{
    // Columns are shifted by 0 up to line 5, by 4 from line 9 on, between them by 1, 2, 3.
    const HritScene scene(
        raster("LINE:=9\rCOFF:=2.0\rLOFF:=10.0\rLINE:=5\rCOFF:=6.0\rLOFF:=10.0\r"));
    const int shifts[] = {0, 0, 0, 0, 0, 1, 2, 3, 4, 4, 4};
    for (int i = 0; i < 11; ++i)
        EXPECT_EQ(scene.count(8, static_cast<float>(i)), 20 * (i + 1) + 9 - shifts[i]) << i;
}

TEST(HritZoom, RowsAndColumnsAreInIntegers)
{
    SynthHrit synth = raster("LINE:=1\rCOFF:=5.0\rLOFF:=10.0\r"); // columns one to the left
    synth.firstLine = 3;
    synth.lines = 6; // lines 3 to 8
    HritScene scene(synth);
    EXPECT_EQ(scene.zoom({1, 3, 4, 2, 2, 2}), (Row{81, 83, 101, 103}));
    EXPECT_EQ(scene.zoom({0, 0, 2, 4, 2, 4}), (Row{-1, -1, -1, -1, -1, 61, -1, 81}));
    // Past the right edge: two of four columns are left, and two of four outputs.
    EXPECT_EQ(scene.zoom({10, 7, 4, 2, 4, 2}), (Row{170, 171, -1, -1, -1, -1, -1, -1}));
    // The whole width and the height up to the last line by default: line 8 * 1 / 2 + 1.
    EXPECT_EQ(scene.zoom({0, 0, 0, 0, 3, 2}), (Row{-1, -1, -1, -1, 104, 108}));
    ASSERT_EQ(scene.select("IR1_T"), 20001);
    const auto out = scene.zoomValues({0, 2, 2, 1, 2, 1});
    ASSERT_EQ(scene.result, 0);
    EXPECT_EQ(out[0], -1);
    EXPECT_NEAR(out[1], 330 - 200.0 * 61 / 1023, 0.006); // the table has two decimals
}

// A disk of 110 columns whose line l has the count 5 l, but for runs of error counts in some lines.
struct Damage {
    int line;  // from 1
    int count; // of error counts from column 41 on
};
SynthHrit damaged(const char* annotation, std::vector<Damage> damages, std::string quality = "-",
                  int errorCount = 1023)
{
    SynthHrit synth;
    synth.annotation = annotation;
    synth.quality = std::move(quality);
    synth.fill = [damages, errorCount](int line, std::span<std::uint16_t> counts) {
        std::ranges::fill(counts, static_cast<std::uint16_t>(5 * line));
        for (const Damage& d : damages)
            if (d.line == line)
                std::fill_n(counts.begin() + 40, d.count, static_cast<std::uint16_t>(errorCount));
    };
    return synth;
}

TEST(HritRepair, RunsOfTwentyFiveErrorCountsAreBlocksAndTwentyFourAreNot)
{
    const HritScene scene(damaged("IR1 MTSAT2", {{50, 24}, {60, 25}}));
    scene.object.SetStopGap(scene.p(), 2);
    EXPECT_EQ(scene.row(49, 3, 39), (Row{250, 1023, 1023}));
    // Line 60 between 295 and 305: 300, and with the half that is added before the cut.
    EXPECT_EQ(scene.row(59, 27, 39), Row(27, 300));
    EXPECT_EQ(scene.result, 0);
}

TEST(HritRepair, VisibleFilesHaveAnErrorCountOfOneAndRunsOfAHundred)
{
    for (const int run : {99, 100}) {
        SynthHrit synth = damaged("VIS MTSAT2", {{100, run}}, "-", 1);
        synth.columns = synth.imageLines = 200;
        synth.cfac = synth.lfac = 1000000; // the disk is wider than 180 columns
        const HritScene scene(synth);
        scene.object.SetStopGap(scene.p(), 1);
        EXPECT_EQ(scene.count(60, 99), run == 100 ? 500 : 1);
    }
}

TEST(HritRepair, ARunReachesNoFurtherIntoSpaceThanItsLeastLength)
{
    // Line 6 of 110: the disk's chord is x = +- sqrt(54.5^2 - 49^2) = 24 columns around 55. Error
    // counts from column 56 to the end: 20-odd on earth, then 25 in space.
    SynthHrit synth = damaged("IR1 MTSAT2", {});
    synth.fill = [](int line, std::span<std::uint16_t> counts) {
        std::ranges::fill(counts, static_cast<std::uint16_t>(5 * line));
        if (line == 6) std::fill(counts.begin() + 55, counts.end(), std::uint16_t{1023});
    };
    const HritScene scene(synth);
    int lastOnEarth = 55;
    for (int c = 55; c < 110; ++c)
        if (scene.toEarth(static_cast<float>(c), 5).lon > -9000) lastOnEarth = c;
    EXPECT_GT(lastOnEarth, 70);
    ASSERT_LT(lastOnEarth, 84);
    scene.object.SetStopGap(scene.p(), 1);
    const Row row = scene.row(5, 110);
    EXPECT_EQ(row[55], 30);
    EXPECT_EQ(row[static_cast<std::size_t>(lastOnEarth + 25)], 30);
    EXPECT_EQ(row[static_cast<std::size_t>(lastOnEarth + 26)], 1023);
}

TEST(HritRepair, BlocksAreFilledFromTheSidesThatHaveASoundLine)
{
    // Blocks in lines 50, 51 and 52 with a gap of 2: 50 has sound lines above only, 52 below only,
    // 51 both. Line 80 stands alone between 79 and 82, for 81 has a block too.
    const HritScene scene(
        damaged("IR1 MTSAT2", {{49, 30}, {50, 30}, {51, 30}, {52, 30}, {80, 30}, {81, 30}}));
    scene.object.SetStopGap(scene.p(), 2);
    EXPECT_EQ(scene.count(50, 48), 240); // 49: of 47 and 48
    EXPECT_EQ(scene.count(50, 49), 240); // 50: 48 is the nearest above
    EXPECT_EQ(scene.count(50, 51), 265); // 52: 53 below
    EXPECT_EQ(scene.count(50, 50), 265); // 51: of 53 alone
    EXPECT_EQ(scene.count(50, 79), 400); // 80: (395 * 2 + 410 * 1) / 3, exactly 400
    EXPECT_EQ(scene.count(50, 80), 405); // 81: (395 * 1 + 410 * 2) / 3
    EXPECT_EQ(scene.count(20, 49), 250); // beside the block
    // Too wide a gap: left alone.
    const HritScene narrow(damaged("IR1 MTSAT2", {{49, 30}, {50, 30}, {51, 30}}));
    narrow.object.SetStopGap(narrow.p(), 1);
    EXPECT_EQ(narrow.count(50, 49), 1023);
}

TEST(HritRepair, TwoSidedValuesAreRoundedInBlocksAndCutInMissingLines)
{
    // Lines 59 and 62 have 295 and 310. Two thirds and one third of them: 300 and 305. With the
    // levels one higher above: 296 and 310 give 300.67 and 305.33.
    for (const bool missing : {false, true}) {
        SynthHrit synth = damaged("IR1 MTSAT2", {}, missing ? "LINE:=60\rERROR:=1.0\r" : "-");
        synth.fill = [missing](int line, std::span<std::uint16_t> counts) {
            std::ranges::fill(counts, static_cast<std::uint16_t>(line == 59 ? 295 : 300));
            if (line == 60 && !missing) std::fill_n(counts.begin() + 40, 30, std::uint16_t{1023});
        };
        const HritScene scene(synth);
        scene.object.SetStopGap(scene.p(), 1);
        // 297.5: Deliberate, one is rounded and the other cut.
        EXPECT_EQ(scene.count(50, 59), missing ? 297 : 298);
        EXPECT_EQ(scene.result, missing ? 2 : 0);
    }
}

TEST(HritQuality, LinesAtTheThresholdAreMissingAndFilledOnRequest)
{
    const std::string quality = "LINE:=30\rERROR:=0.99\rLINE:=60\rERROR:=1.0\rLINE:=61\rERROR:=2\r"
                                "LINE:=0\rERROR:=9\rLINE:=111\rERROR:=9\rERROR:=9\r";
    for (const char* annotation : {"IR1 MTSAT1", "IR1 MTSAT2"}) {
        const bool fills = std::string_view(annotation) == "IR1 MTSAT2";
        const HritScene scene(damaged(annotation, {{30, 30}}, quality));
        EXPECT_EQ(scene.count(50, 29), 1023);
        EXPECT_EQ(scene.result, 0);
        EXPECT_EQ(scene.row(59, 2, 49), (Row{-1, -1}));
        EXPECT_EQ(scene.result, 2);
        EXPECT_EQ(scene.zoom({0, 58, 2, 3, 2, 3}), (Row{295, 295, -1, -1, -1, -1}));
        EXPECT_EQ(scene.result, 2);
        scene.object.SetStopGap(scene.p(), 2);
        // 60 has sound lines on both sides, 58 and 62, and takes the nearest that are good: 59 and
        // 62. (295 * 2 + 310) / 3. 61 has none above: 59 was read before anybody searched it.
        EXPECT_EQ(scene.row(59, 2, 49), fills ? (Row{300, 300}) : (Row{-1, -1}));
        EXPECT_EQ(scene.result, 2);
        EXPECT_EQ(scene.row(60, 2, 49), fills ? (Row{310, 310}) : (Row{-1, -1}));
        EXPECT_EQ(scene.row(59, 2, 49), fills ? (Row{300, 300}) : (Row{-1, -1}));
    }
}

// Line 9 (from 0) is bad. With a shift of 0.4 lines, places 10 and 9.8 lie in one slot: read
// first from the good line 10, then from the bad one, which takes a neighbour from place 9.
TEST(HritQuality, ALineThatTurnsBadServesNoFillingAnyMore)
{
    SynthHrit synth{.columns = 60, .imageLines = 30};
    synth.annotation = "MTSAT2 IR1";
    synth.fill = [](int line, std::span<std::uint16_t> counts) {
        std::ranges::fill(counts, static_cast<std::uint16_t>((line - 1) * (line - 1)));
    };
    synth.quality = "LINE:=10\rERROR:=1\r";
    const HritScene scene(synth);
    ASSERT_EQ(scene.code, 0);
    scene.shift(0, 0.4F);
    scene.object.SetStopGap(scene.p(), 2);
    EXPECT_EQ(scene.count(30, 12), 144);
    EXPECT_EQ(scene.count(30, 9), 82);
    EXPECT_EQ(scene.count(30, 9.8F), 102);
    EXPECT_EQ(scene.count(30, 9), 83); // (64 x 2 + 121 x 1) / 3: from places 8 and 11
}

TEST(HritQuality, TheThresholdCanBeSet)
{
    const TempFile file(damaged("IR1 MTSAT1", {}, "LINE:=60\rERROR:=0.5\r").bytes());
    NbSatObject object{};
    ASSERT_EQ(nbSatOpenObject(&object, file.path().c_str()), 0);
    ASSERT_EQ(nbSatSetElems(&object, "IR1"), 10001);
    const float pixel = 50;
    const float line = 59;
    std::int16_t out = 0;
    for (const auto& [threshold, count] : {std::pair{0.6, 300}, {0.5, 300}, {0.4, 300}}) {
        ASSERT_EQ(nbSatSetImgQualThresh(&object, threshold), 0);
        object.GetI2DataByPixLin(object.privateData, &pixel, &line, &out, 1);
        EXPECT_EQ(out, count); // a line in memory stays
    }
    nbSatCloseObject(&object);
    ASSERT_EQ(nbSatOpenObject(&object, file.path().c_str()), 0);
    ASSERT_EQ(nbSatSetImgQualThresh(&object, 0.5), 0);
    EXPECT_EQ(object.GetI2DataByPixLin(object.privateData, &pixel, &line, &out, 1), 2);
    EXPECT_EQ(out, -1);
    nbSatCloseObject(&object);
}

// A map of 60 x 60 cells of one degree about the sub-satellite point, from files in one list.
Row mapOf(const std::vector<SynthHrit>& files, int rough)
{
    const TempDir directory;
    std::string names;
    for (const SynthHrit& file : files) {
        const std::string path = directory / ("segment" + std::to_string(names.size()));
        writeFile(path, file.bytes());
        names += (names.empty() ? "" : " ") + path;
    }
    std::vector<NbSatObject> objects(files.size());
    EXPECT_EQ(nbSatOpenObject(objects.data(), names.c_str()), 0);
    EXPECT_EQ(static_cast<std::size_t>(objects[0].objectNum), files.size());
    EXPECT_EQ(nbSatSetElems(objects.data(), "IR1"), 10001);
    NbProjPara map{};
    map.prjType = NB_PROJ_GRID;
    map.baseLon = 110.5;
    map.baseLat = 29.5;
    map.stepX = map.stepY = 1;
    map.xNum = map.yNum = 60;
    map.roughX = map.roughY = rough;
    Row out(3600);
    EXPECT_GE(nbSatGetI2ProjData(objects.data(), &map, out.data(), NB_OVERLAP_LATEST_FILE, 0,
                                 nullptr, nullptr),
              0);
    for (NbSatObject& object : objects)
        nbSatCloseObject(&object);
    return out;
}

TEST(HritList, SegmentsThatOverlapMapAsOneImage)
{
    const SynthHrit whole{.columns = 220, .imageLines = 220};
    const Row one = mapOf({whole}, 1);
    EXPECT_EQ(std::ranges::count(one, -1), 0);
    EXPECT_EQ(mapOf(whole.split(4, 5), 1), one);
    // Between lattice points positions are interpolated, exact ones at the borders of a segment:
    // a cell may take the next pixel, but none is left out.
    EXPECT_EQ(std::ranges::count(mapOf(whole.split(4, 0), 6), -1), 0);
}

} // namespace
