#include "sat/nbSatElem.h"
#include "tests/drivers/hritScene.h"

#include <gtest/gtest.h>

namespace {

TEST(HritElements, NamesSelectTheChannelOfTheFile)
{
    constexpr int none = -1;
    constexpr int counts = 10001;
    constexpr int values = 20001;
    const struct {
        const char* annotation;
        const char* name;
        int code;
    } cases[] = {
        {"VIS", "VIS", counts},   {"VIS", "0", counts},     {"VIS", "B03_A", values},
        {"VIS", "VIS_R", values}, {"VIS", "VIS_T", none},   {"VIS B07", "VIS", counts},
        {"ir1", "IR1", counts},   {"ir1", "IR", counts},    {"ir1", "1_T", values},
        {"ir1", "B13_R", values}, {"ir1", "IR2", none},     {"ir1", "IR1X", none},
        {"IR1", "IR1_TT", none},  {"IR1", "IR1X_T", none},  {"IR1", "", none},
        {"IR1", "_T", none},      {"B15", "IR2_T", values}, {"B15", "B15", counts},
        {"B08", "WV_T", values},  {"B08", "B08_T", values}, {"b08", "3", counts},
        {"B07", "3.7_T", values}, {"B07", "4", counts},     {"b01", "B01_A", values},
        {"B02", "B02_R", values}, {"B04", "B04_A", values}, {"B05", "B05_T", none},
        {"B06", "B06_A", values}, {"B09", "B09_T", values}, {"B10", "B10_T", values},
        {"B11", "B11_T", values}, {"B12", "B12_T", values}, {"B14", "B14_T", values},
        {"B16", "B16_T", values}, {"B16", "13.3", none},    {"IMG", "IR1", none},
        {"IMG", "VIS", none},     {"B03", "VIS_A", values},
    };
    const StderrCapture quiet; // an unknown suffix of the right channel is told
    for (const auto& c : cases) {
        HritScene scene({.annotation = c.annotation});
        EXPECT_EQ(scene.select(c.name), c.code) << c.annotation << ' ' << c.name;
    }
}

TEST(HritElements, ARefusedNameLeavesNoneSelected)
{
    HritScene scene({.annotation = "IR3", .lines = 70});
    EXPECT_EQ(scene.object.GetChannel(scene.p(), 0), -1);
    ASSERT_EQ(scene.select("WV_T"), 20001);
    EXPECT_EQ(scene.size[0], 110);
    EXPECT_EQ(scene.size[1], 70);
    EXPECT_EQ(scene.size[2], 1024);
    EXPECT_EQ(scene.object.GetChannel(scene.p(), 0), 3);
    StderrCapture err;
    EXPECT_EQ(scene.select("WV_Q"), -1);
    EXPECT_EQ(err.get(), "NB_Fatal: nbHritSetElements() : INTERNAL ERROR. bad return code(0)  "
                         "hritCheckElem( 'WV_Q' ) \n");
    EXPECT_EQ(scene.object.GetChannel(scene.p(), 1), -1);
}

TEST(HritElements, TheChannelTellsItsRow)
{
    const HritScene scene({.annotation = "B16"});
    EXPECT_EQ(scene.object.GetChNum(scene.p()), 1);
    ASSERT_EQ(scene.info(0).result, 0);
    EXPECT_EQ(scene.info(0).text,
              "B16,12.4/_T,_R/12.4, 4.0km"); // Deliberate: the band lies at 13.3
    EXPECT_EQ(scene.info(0).levels, 1024);
    StderrCapture err;
    EXPECT_EQ(scene.info(1).result, -1);
    EXPECT_EQ(err.get(), "NB_Error: nbHritGetChInfo() : bad channel number '1'\n");
}

TEST(HritCalibration, TablesAreLinearBetweenTheirEntries)
{
    const HritScene infrared({.calib = "20:=200\r10:=250\r12:=260\r"});
    EXPECT_EQ(infrared.table("IR1_T"),
              (std::vector<float>{250, 250, 250,    250, 250,    250, 250,    250, 250,    250, 250,
                                  255, 260, 252.5F, 245, 237.5F, 230, 222.5F, 215, 207.5F, 200}));
    // Solar channels have percent in the file and fractions here.
    for (const char* band : {"VIS", "B01", "B06"}) {
        const HritScene solar({.annotation = band, .calib = "0:=0\r100:=100\r"});
        EXPECT_EQ(solar.table((std::string(band) + "_A").c_str()).at(50), 0.5F);
    }
    int n = 0;
    EXPECT_EQ(infrared.object.GetCalTable(infrared.p(), "IR1_T", nullptr, &n), 0);
    EXPECT_EQ(n, 21);
    n = 0;
    StderrCapture err;
    EXPECT_EQ(infrared.object.GetCalTable(infrared.p(), "IR1", nullptr, &n), -1);
    EXPECT_EQ(infrared.object.GetCalTable(infrared.p(), "", nullptr, &n), -1);
    EXPECT_EQ(err.get(), "NB_Error: nbHritGetCalTable() : bad element name 'IR1'\n"
                         "NB_Error: nbHritGetCalTable() : 渡された引数に問題があります\n");
}

// Radiances at the two ends of ten-bit files and their temperatures, as the satellites' operator
// states both.
TEST(HritCalibration, TenBitRadiancesComeBackAsTheTemperaturesOfTheirEnds)
{
    const struct {
        const char* annotation;
        const char* name;
        int band; // row of the band constants
        double low, high;
        double lowK, highK;
        double tolerance; // of the high end
    } cases[] = {
        {"IR1 MTSAT1", "IR1_R", 8, 14.53283, 0.029055, 330, 130, 0.2},
        {"IR2 MTSAT1", "IR2_R", 9, 12.963168, 0.047632, 330, 130, 0.2},
        {"IR3 MTSAT1", "IR3_R", 10, 6.98509, 0.000661, 300, 130, 0.2},
        {"IR4 MTSAT1", "IR4_R", 11, 1.082384, 0.0, 320, -9999, 0},
        {"IR1 MTSAT2", "IR1_R", 16, 14.541536, 0.028997, 330, 130, 0.2},
        {"IR2 MTSAT2", "IR2_R", 17, 13.013632, 0.047068, 330, 130, 0.2},
        {"IR3 MTSAT2", "IR3_R", 18, 7.0410504, 0.0006891, 300, 130, 0.2},
        {"IR4 MTSAT2", "IR4_R", 19, 1.0005364, 3.3e-08, 320, 130, 1.5}, // two digits
    };
    for (const auto& c : cases) {
        const HritScene scene({.annotation = c.annotation});
        const std::vector<float> radiance = scene.table(c.name);
        ASSERT_EQ(radiance.size(), 1024U);
        EXPECT_FLOAT_EQ(radiance[0], static_cast<float>(c.low));
        EXPECT_NEAR(radiance[1023], c.high, 2e-7);
        EXPECT_NEAR(radiance[341], c.low + (c.high - c.low) / 3, 1e-6);
        EXPECT_NEAR(nbSatSenPlanckTempWaveLen(c.band, c.low), c.lowK, 0.2) << c.annotation;
        EXPECT_NEAR(nbSatSenPlanckTempWaveLen(c.band, c.high), c.highK, c.tolerance);
        // A file without the ten-bit mark has its radiances from the same constants.
        const HritScene plain({.annotation = c.annotation, .calib = "0:=330\r1023:=130\r"});
        const float through = plain.table(c.name).at(0);
        EXPECT_FLOAT_EQ(through, static_cast<float>(nbSatSenPlanckRadWaveLen(c.band, 330)));
    }
    const HritScene visible({.annotation = "VIS MTSAT2"});
    EXPECT_FLOAT_EQ(visible.table("VIS_R").at(1023), 476.90356F);
    const HritScene albedo({.annotation = "VIS MTSAT1", .calib = "0:=0\r100:=50\r"});
    EXPECT_FLOAT_EQ(albedo.table("VIS_R").at(100), 0.5F * 435.55905F);
}

TEST(HritCalibration, ATableIsTenBitByItsTwoLastLevels)
{
    const struct {
        const char* calib;
        int levels;
    } cases[] = {{"0:=300\r1023:=130\r65535:=130\r", 1024},
                 {"0:=300\r1022:=130\r65535:=130\r", 65536},
                 {"0:=300\r255:=130\r", 256},
                 {"65535:=130\r", 65536}};
    for (const auto& c : cases) {
        HritScene scene({.calib = c.calib});
        ASSERT_EQ(scene.select("IR1"), 10001);
        EXPECT_EQ(scene.size[2], c.levels) << c.calib;
    }
}

TEST(HritCalibration, LevelsAreFoundInTheTableOfTheFile)
{
    const HritScene falling({.calib = "0:=300\r10:=250\r20:=200\r"});
    EXPECT_EQ(nbpHritPhysToLevel(falling.p(), 300), 0);
    EXPECT_EQ(nbpHritPhysToLevel(falling.p(), 250), 10);
    EXPECT_EQ(nbpHritPhysToLevel(falling.p(), 200), 20);
    EXPECT_EQ(nbpHritPhysToLevel(falling.p(), 273), 5);  // 5.4
    EXPECT_EQ(nbpHritPhysToLevel(falling.p(), 227), 15); // 14.6
    EXPECT_EQ(nbpHritPhysToLevel(falling.p(), 300.5F), -1);
    EXPECT_EQ(nbpHritPhysToLevel(falling.p(), 199), -1);
    const HritScene rising({.annotation = "VIS", .calib = "0:=0\r10:=100\r"});
    EXPECT_EQ(nbpHritPhysToLevel(rising.p(), 0.24F), 2);
    EXPECT_EQ(nbpHritPhysToLevel(rising.p(), 1), 10);
}

} // namespace
