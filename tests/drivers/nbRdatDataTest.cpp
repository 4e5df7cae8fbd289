#include "tests/drivers/rdatScene.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

TEST(RdatElements, NamesSelectTheFilesOwnBand)
{
    const struct {
        int band;
        const char* name;
        int result;
    } cases[] = {{13, "B13", 10001},   {13, "10.4", 10001}, {13, "IR_T", 20001},
                 {13, "IR1_R", 20001}, {13, "B13_A", -1},   {13, "B15_T", -1},
                 {7, "IR4_T", 20001},  {3, "VIS_A", 20001}, {3, "VIS_R", 20001},
                 {4, "VS4", -1},       {5, "AVHRR2", -1},   {16, "16", 10001},
                 {13, "", -1},         {6, "2.3_A", 20001}};
    for (const auto& c : cases) {
        StderrCapture quiet;
        RdatScene scene{{.band = c.band, .columns = 4, .lines = 3}};
        EXPECT_EQ(scene.select(c.name), c.result) << c.band << c.name;
    }
    StderrCapture err;
    RdatScene scene{{.columns = 4, .lines = 3}};
    EXPECT_EQ(scene.select("B13_X"), -1);
    EXPECT_EQ(err.get(), "NB_Fatal: nbRdatSetElements() : INTERNAL ERROR. bad return code(0) "
                         "hisdCheckElem( 'B13_X' ) \n");
}

TEST(RdatElements, ChannelTextLevelsAndCode)
{
    const struct {
        int band, levels, code;
        const char* text;
    } cases[] = {{1, 2048, 7, "B01,1,VISB,VIS1,VS1,0.47/_A,_R/0.47,"},
                 {7, 16384, 4, "B07,IR4,7,3.9/_T,_R/3.9 ,"},
                 {13, 4096, 1, "B13,13,IR1,IR,10.4/_T,_R/10.4,"},
                 {16, 2048, 16, "B16,16,13.3/_T,_R/13.3,"}};
    for (const auto& c : cases) {
        const RdatScene scene{{.band = c.band, .columns = 4, .lines = 3}};
        const auto info = scene.info(0);
        ASSERT_EQ(info.result, 0);
        EXPECT_EQ(info.pixels, 4);
        EXPECT_EQ(info.lines, 3);
        EXPECT_EQ(info.levels, c.levels);
        EXPECT_EQ(info.text, c.text);
        EXPECT_EQ(scene.object.GetChannel(scene.p(), 0), c.band);
        EXPECT_EQ(scene.object.GetChannel(scene.p(), 1), c.code);
        StderrCapture err;
        EXPECT_EQ(scene.info(1).result, 1);
        EXPECT_EQ(err.get(), "NB_Error: nbRdatGetChInfo() : bad channel number '1'\n");
    }
}

TEST(RdatCounts, AMarkedWordIsInvalidWhateverItsCount)
{
    SynthRdat synth{.columns = 4, .lines = 3};
    synth.word = [](int column, int line) -> std::uint16_t {
        if (line == 1 && column == 2) return (1000U << 2) | 1U;
        if (line == 1 && column == 3) return (1000U << 2) | 2U; // another bit
        return 0xFFFE;                                          // the largest count
    };
    RdatScene scene(synth);
    EXPECT_EQ(scene.count(2, 1), -1);
    EXPECT_EQ(scene.result, 1);
    EXPECT_EQ(scene.count(3.4F, 0.6F), 1000);
    EXPECT_EQ(scene.result, 0);
    EXPECT_EQ(scene.count(0, 0), 16383);
    EXPECT_EQ(scene.count(4, 0), -1); // outside
    EXPECT_EQ(scene.count(0, 3), -1);
    EXPECT_EQ(scene.value(3, 1), 12345); // no element: refused
    EXPECT_EQ(scene.result, -1);
    ASSERT_EQ(scene.select("B13_R"), 20001);
    EXPECT_EQ(scene.value(2, 1), -1.0F);
    EXPECT_EQ(scene.result, 1);
}

// Deliberate: the shift is added.
TEST(RdatCounts, TheUsersShiftIsAddedToThePosition)
{
    const RdatScene scene{{.columns = 9, .lines = 9}};
    scene.shift(2, -1);
    EXPECT_EQ(scene.count(3, 4), 3 * 5 + 7 * 3);
    EXPECT_EQ(scene.zoom({3, 4, 1, 1, 1, 1}), Row{3 * 5 + 7 * 3});
    EXPECT_EQ(scene.result, 0);
}

TEST(RdatCounts, ZoomTakesColumnsAndLinesInSteps)
{
    RdatScene scene{{.columns = 9, .lines = 9}};
    // Six columns, of which four lie on the image, every other one; four lines, each twice.
    const NbZoomRect rect{5, 6, 6, 4, 3, 8};
    const Row out = scene.zoom(rect);
    ASSERT_EQ(scene.result, 0);
    for (int y = 0; y < 8; ++y) {
        const int line = 6 + y / 2;
        const std::int16_t want[3] = {static_cast<std::int16_t>(3 * 5 + 7 * line),
                                      static_cast<std::int16_t>(3 * 7 + 7 * line), -1};
        for (int x = 0; x < 3; ++x)
            EXPECT_EQ(out[static_cast<std::size_t>(3 * y + x)], line < 9 ? want[x] : -1) << x << y;
    }
    ASSERT_EQ(scene.select("B13_R"), 20001);
    const auto values = scene.zoomValues(rect);
    ASSERT_EQ(scene.result, 0);
    EXPECT_EQ(values[0], scene.value(5, 6));
    EXPECT_EQ(values[2], -1.0F);
}

// Worked apart from the code, from the formulas of docs/rdat.md: incident angles 45.0794 and
// 42.4268 degrees at column 100, emissivity terms 0.960427 and 0.987218.
TEST(RdatCalibration, SolarRadianceFollowsTheMirrors)
{
    SynthRdat synth{.band = 3,
                    .square = 1e-6,
                    .slope = 0.4,
                    .intercept = -7.5,
                    .drift = 2,
                    .base = 3.25,
                    .albedo = 0.002,
                    .mirrorA = {0.9, 0.001, 1e-5},
                    .mirrorB = {1.02, -0.002, 3e-5},
                    .offsetRad = 0.01};
    synth.word = [](int, int) -> std::uint16_t { return 1000U << 2; };
    {
        RdatScene scene(synth);
        // The drift of 0.126 day stands on a time cut by a float: 1e-10.
        EXPECT_NEAR(nbpRdatVisCalib(scene.p(), 7, 100, 4000), 415.2823541237682, 1e-8);
        EXPECT_EQ(nbpRdatVisCalib(scene.p(), 7, 100, 4001), -9999.0); // odd
        ASSERT_EQ(scene.select("VIS_R"), 20001);
        EXPECT_FLOAT_EQ(scene.value(100, 7), 415.28235F);
        ASSERT_EQ(scene.select("VIS_A"), 20001);
        EXPECT_FLOAT_EQ(scene.value(100, 7), 0.83056471F);
        const auto table = scene.table("VIS_A");
        ASSERT_EQ(table.size(), 2048U);
        EXPECT_FLOAT_EQ(table[1000], 0.83056471F);
    }
    synth.mirrorB[0] = synth.mirrorB[1] = synth.mirrorB[2] = 0; // nothing is divided
    EXPECT_NEAR(nbpRdatVisCalib(RdatScene(synth).p(), 7, 100, 4000), 393.7505364718818, 1e-8);
    synth.calibrationMode = 2; // the line's base
    EXPECT_DOUBLE_EQ(nbpRdatVisCalib(RdatScene(synth).p(), 7, 100, 4000), 404.25);
}

// Deliberate: what the mirrors send out is 2 h c^2 / w^5 with w in micrometres, at any temperature
// above 0: 0.11910439 for 0.001. By Planck's law it would be 0 to all digits. Worked by hand:
// 11.5 / (0.9 x 0.8) - 0.2 / 0.8 L1 - 0.1 / (0.9 x 0.8) L2.
TEST(RdatCalibration, ThermalRadianceLosesWhatTheMirrorsSendOut)
{
    SynthRdat synth{.square = 0, .wavelength = 1e-3, .mirrorA = {0.2}, .mirrorB = {0.1}};
    const auto radiance = [](const SynthRdat& s) {
        StderrCapture quiet;
        return nbpRdatIrCalib(RdatScene(s).p(), 7, 100, 4000);
    };
    EXPECT_NEAR(radiance(synth), 15.925903847008572, 1e-9);
    synth.mirrorA[0] = 0.8; // above 0.5: reflectivities
    synth.mirrorB[0] = 0.9;
    EXPECT_NEAR(radiance(synth), 15.925903847008572, 1e-9);
    synth.temperatures[1] = {};
    EXPECT_NEAR(radiance(synth), 15.942446123870589, 1e-9);
    synth.temperatures[0] = {-3};
    EXPECT_NEAR(radiance(synth), 15.97222222222222, 1e-9);
}

// Planck's law in wavelength with h 6.62606957e-34, c 299792458, k 1.3806488e-23, then the
// default polynomial of band 13.
TEST(RdatCalibration, TemperatureOfARadiance)
{
    RdatScene scene{{.columns = 4, .lines = 3}};
    EXPECT_NEAR(nbpRdatRadToTbb(scene.p(), 9.0), 294.4822864528098, 1e-6);
    EXPECT_NEAR(nbpRdatRadToTbb(scene.p(), 0.5), 182.47071904836534, 1e-6);
    // Fewer than 101 lines and columns: the table is that of the last ones. Count 0: 15.2.
    const auto table = scene.table("IR_R"); // room for more than there are
    ASSERT_EQ(table.size(), 4096U);
    EXPECT_FLOAT_EQ(table[0], 15.2F);
    StderrCapture err;
    EXPECT_TRUE(scene.table("IR").empty());
    EXPECT_EQ(err.get(), "NB_Error: nbRdatGetCalTable() : bad element name 'IR'\n");
}

} // namespace
