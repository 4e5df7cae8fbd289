#include "tests/drivers/hisdScene.h"

#include <gtest/gtest.h>

#include <string>

namespace {

TEST(HisdElements, NamesSelectTheFilesBandOnly)
{
    const struct {
        const char* satellite;
        int band;
        const char* name;
        int result;
    } cases[] = {
        {"Himawari-8", 13, "B13", 10001},
        {"Himawari-8", 13, "13", 10001},
        {"Himawari-8", 13, "10.4", 10001},
        {"Himawari-8", 13, "IR", 10001},
        {"Himawari-8", 13, "IR_T", 20001},
        {"Himawari-8", 13, "IR1_R", 20001},
        {"Himawari-8", 15, "IR_T", -1},
        {"Himawari-8", 15, "12.4_T", 20001},
        {"Himawari-8", 3, "VIS_A", 20001},
        {"Himawari-8", 3, "VIS_R", 20001},
        {"Himawari-8", 8, "WV", 10001},
        {"Himawari-8", 7, "IR4_T", 20001},
        // The rules and not the table: AVHRR2 is band 4, AVHRR3A band 5, VS4 nothing.
        {"Himawari-8", 4, "AVHRR2", 10001},
        {"Himawari-8", 5, "AVHRR2", -1},
        {"Himawari-8", 5, "AVHRR3A_R", 20001},
        {"Himawari-8", 4, "VS4", -1},
        {"Himawari-8", 4, "B04", 10001},
        // Three letters count; a name without suffix has at most 8, of which 6 are kept.
        {"Himawari-8", 13, "B13-east", 10001},
        {"Himawari-8", 13, "B13-eastX", -1},
        {"Himawari-8", 13, "B13-eastern_T", 20001},
        {"Himawari-8", 5, "AVHRR3A", -1}, // its seventh letter is lost
        {"Himawari-8", 13, "B13_TT", -1},
        {"Himawari-8", 13, "B13_T_", -1},
        {"Himawari-8", 13, "B1", -1},
        {"Himawari-8", 13, "_T", -1},
        {"Himawari-8", 13, "b13", -1},
        {"Himawari-8", 13, "", -1},
        {"Himawari-8", 13, nullptr, -1},
        {"MTSAT-2", 1, "VIS_A", 20001},
        {"MTSAT-2", 2, "IR4_T", 20001},
        {"MTSAT-2", 3, "WV_T", 20001},
        {"MTSAT-2", 4, "IR_T", 20001},
        {"MTSAT-2", 5, "IR2", 10001},
        {"MTSAT-2", 4, "4_R", 20001},
        {"Other-1", 1, "B01", -1},
    };
    for (const auto& c : cases)
        EXPECT_EQ(HisdScene({.satellite = c.satellite, .band = c.band}).select(c.name), c.result)
            << c.satellite << ' ' << c.band << ' ' << (c.name != nullptr ? c.name : "null");
}

TEST(HisdElements, AnUnknownSuffixIsAnInternalError)
{
    HisdScene scene({.band = 13});
    ASSERT_EQ(scene.select("B13_T"), 20001);
    StderrCapture err;
    EXPECT_EQ(scene.select("B13_X"), -1);
    EXPECT_EQ(scene.select("B14_X"), -1); // another band: no line
    EXPECT_EQ(err.get(), "NB_Fatal: nbHisdSetElements() : INTERNAL ERROR. bad return code(0) "
                         "hisdCheckElem( 'B13_X' ) \n");
}

TEST(HisdElements, SizesLevelsAndErrorValueComeWithTheSelection)
{
    HisdScene scene({.band = 13, .firstLine = 21, .lines = 30, .errorCount = 65535});
    EXPECT_EQ(scene.select("IR1"), 10001);
    EXPECT_EQ(scene.size[0], 110);
    EXPECT_EQ(scene.size[1], 30); // those of the file, while the channel shows those of the disk
    EXPECT_EQ(scene.size[2], 4096);
    EXPECT_EQ(scene.error, 65535.0F);
    EXPECT_EQ(scene.object.GetChNum(scene.p()), 1);
    EXPECT_EQ(scene.info(0).result, 0);
    EXPECT_EQ(scene.info(0).lines, 50);
    EXPECT_EQ(scene.info(0).text, "B13,13,IR1,IR,10.4/_T,_R/10.4,");
    StderrCapture err;
    EXPECT_EQ(scene.info(1).result, -1);
    EXPECT_EQ(err.get(), "NB_Error: nbHisdGetChInfo() : bad channel number '1'\n");
}

TEST(HisdElements, ChannelTextsOfTheOtherSatellites)
{
    EXPECT_EQ(HisdScene({.satellite = "MTSAT-2", .band = 4}).info(0).text,
              "B04,4,IR1,IR/_T,_R/10.3-11.3, 4.0km");
    const auto other = HisdScene({.satellite = "Other-1", .band = 4}).info(0);
    EXPECT_EQ(other.result, 0);
    EXPECT_EQ(other.text, ""); // left as it was
}

TEST(HisdElements, CommonChannelCodes)
{
    const auto code = [](const char* satellite, int band, int style) {
        const HisdScene scene({.satellite = satellite, .band = band});
        return scene.object.GetChannel(scene.p(), style);
    };
    const int himawari[] = {7, 8, 0, 5, 6, 10, 4, 3, 11, 12, 13, 14, 1, 15, 2, 16};
    const int mtsat[] = {0, 4, 3, 1, 2};
    for (int band = 1; band <= 16; ++band)
        EXPECT_EQ(code("Himawari-9", band, 1), himawari[band - 1]);
    for (int band = 1; band <= 5; ++band)
        EXPECT_EQ(code("MTSAT-2", band, 1), mtsat[band - 1]);
    EXPECT_EQ(code("MTSAT-2", 6, 1), -1);
    EXPECT_EQ(code("MTSAT-1R", 1, 1), -1);
    EXPECT_EQ(code("Himawari-8", 17, 1), -1);
    EXPECT_EQ(code("Himawari-8", 17, 0), 17);
    EXPECT_EQ(code("Himawari-8", 13, 2), -1);
}

TEST(HisdCalTable, ValuesOfPlancksLaw)
{
    // Worked in 50 decimal digits (Python) from wavelength 10.4073 um, slope -0.0037, intercept
    // 15.20, c 299792458, h 6.62606957e-34, k 1.3806488e-23 and the polynomial of band 13;
    // MTSAT-2 likewise. A float near 300 has steps of 3e-5.
    const HisdScene ir({.band = 13});
    const auto table = ir.table("B13_T");
    ASSERT_EQ(table.size(), 4096U);
    EXPECT_NEAR(table[0], 330.978978632, 2e-5);
    EXPECT_NEAR(table[1], 330.959990085, 2e-5);
    EXPECT_NEAR(table[2500], 270.794344026, 2e-5);
    EXPECT_NEAR(table[4095], 139.501251529, 1e-5);
    EXPECT_FLOAT_EQ(ir.table("B13_R")[4000], 0.4F);
    const HisdScene mtsat({.satellite = "MTSAT-2", .band = 4});
    EXPECT_NEAR(mtsat.table("IR1_T")[100], 323.693512370, 2e-5);
    const HisdScene vis({.band = 1});
    EXPECT_FLOAT_EQ(vis.table("B01_A")[2047], 1.193350812768F);
    EXPECT_FLOAT_EQ(vis.table("B01_R")[0], -7.5536F);
}

TEST(HisdCalTable, ARadianceNotAboveZeroRepeatsTheValueBefore)
{
    // Band 7: count 16351 has 8.8e-5, 16352 has -6.3e-5. Value in 50 digits as above.
    const auto falling = HisdScene({.band = 7}).table("B07_T");
    EXPECT_NEAR(falling[16351], 175.557887314, 2e-5);
    EXPECT_EQ(falling[16352], falling[16351]);
    EXPECT_EQ(falling[16383], falling[16351]);
    // Rising from below: there is no value before the first.
    const auto rising = HisdScene({.band = 13, .slope = 0.01, .intercept = -0.015}).table("B13_T");
    EXPECT_EQ(rising[0], 0.0F);
    EXPECT_EQ(rising[1], 0.0F);
    EXPECT_GT(rising[2], 100.0F);
}

TEST(HisdCalTable, ArgumentsAreCheckedAndTheSelectionStays)
{
    HisdScene scene({.band = 13});
    ASSERT_EQ(scene.select("B13_R"), 20001);
    const float before = scene.value(50, 50);
    float few[3] = {-5, -5, -5};
    int n = 2;
    EXPECT_EQ(scene.object.GetCalTable(scene.p(), "B13_T", few, &n), 0);
    EXPECT_EQ(n, 4096); // the levels, whatever was asked for
    EXPECT_NEAR(few[1], 330.959990085, 2e-5);
    EXPECT_EQ(few[2], -5);
    EXPECT_EQ(scene.value(50, 50), before);
    n = 0;
    EXPECT_EQ(scene.object.GetCalTable(scene.p(), "B13_T", nullptr, &n), 0);
    EXPECT_EQ(n, 4096);

    StderrCapture err;
    const auto refused = [&](const char* name, float* table, int room) {
        EXPECT_EQ(scene.object.GetCalTable(scene.p(), name, table, &room), -1);
    };
    refused(nullptr, few, 1);
    refused("", few, 1);
    refused("B13_T", few, -1);
    refused("B13_T", nullptr, 1);
    refused("B13", few, 1);
    refused("B14_T", few, 1);
    refused("B13_X", few, 1);
    const std::string bad = "NB_Error: nbHisdGetCalTable() : 渡された引数に問題があります\n";
    const std::string name = "NB_Error: nbHisdGetCalTable() : bad element name '";
    EXPECT_EQ(err.get(),
              bad + bad + bad + bad + name + "B13'\n" + name + "B14_T'\n" + name + "B13_X'\n");
}

TEST(HisdPhysToLevel, NearestLevelOfRisingAndFallingTables)
{
    // Radiances 0, 1, 2 ... 15, and 15 down to 0.
    HisdScene rising({.band = 13, .validBits = 4, .slope = 1, .intercept = 1e-30});
    HisdScene falling({.band = 13, .validBits = 4, .slope = -1, .intercept = 15});
    EXPECT_EQ(nbpHisdPhysToLevel(rising.p(), 3.0F), -1); // no element
    ASSERT_EQ(rising.select("B13_R"), 20001);
    ASSERT_EQ(falling.select("B13_R"), 20001);
    const struct {
        float value;
        int rising, falling;
    } cases[] =
        {
            {3.0F, 3, 12},   {3.25F, 3, 12},
            {3.75F, 4, 11},  {3.5F, 3, 11}, // a tie: the lower count
            {0.25F, 0, 15},  {14.75F, 15, 0},
            {15.0F, -1, 0}, // the last entry of a rising table has no level
            {15.5F, -1, -1}, {-0.5F, -1, -1},
        };
    for (const auto& c : cases) {
        EXPECT_EQ(nbpHisdPhysToLevel(rising.p(), c.value), c.rising) << c.value;
        EXPECT_EQ(nbpHisdPhysToLevel(falling.p(), c.value), c.falling) << c.value;
    }
}

} // namespace
