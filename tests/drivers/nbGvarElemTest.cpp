#include "tests/drivers/gvarScene.h"

#include <gtest/gtest.h>

#include <string>

namespace {

TEST(GvarElements, WordsAreFoundAnywhereInAChannelsNames)
{
    GvarScene scene({});
    const struct {
        const char* name;
        int result, channel, common;
    } cases[] = {
        {"VIS", 10001, 0, 0},  {"VIS_A", 20001, 0, 0},   {"IS", 10001, 0, 0},
        {"1", 10001, 0, 0}, // VIS,1 comes before IR1
        {"IR_T", 20001, 3, 1}, {"IR1,R", 20001, 3, 1},   {"3", 10001, 1, 4}, // in 3.9
        {"4_T", 20001, 1, 4},                                                // in IR4
        {"IR4", 10001, 1, 4},  {"IR3_T", 20001, 2, 3},   {"WV__T", 20001, 2, 3},
        {"5_T", 20001, 4, 2},  {"IR2_R_x", 20001, 4, 2}, {"I", 10001, 0, 0},
        {"VIS_T", -1, -1, -1}, {"IR1_A", -1, -1, -1},    {"IR1_TR", -1, -1, -1},
        {"B13", -1, -1, -1},   {"_,", -1, -1, -1},       {"", -1, -1, -1},
        {nullptr, -1, -1, -1},
    };
    EXPECT_EQ(scene.object.GetChannel(scene.p(), 0), -1);
    for (const auto& c : cases) {
        StderrCapture quiet;
        const char* name = c.name != nullptr ? c.name : "null";
        EXPECT_EQ(scene.select(c.name), c.result) << name;
        EXPECT_EQ(scene.object.GetChannel(scene.p(), 0), c.channel) << name;
        EXPECT_EQ(scene.object.GetChannel(scene.p(), 1), c.common) << name;
    }
    StderrCapture text;
    scene.select("IR1_A");
    scene.select("B13");
    EXPECT_EQ(text.get(), "NB_Warn: gvarCheckElem() : bad element name 'IR1_A'\n"
                          "NB_Warn: nbGvarSetElements() : bad element name 'IR1_A'\n"
                          "NB_Warn: gvarCheckElem() : bad element name 'B13'\n"
                          "NB_Error: nbGvarSetElements() : bad element name 'B13'\n");
}

TEST(GvarElements, ChannelsTellTheirSizeAndText)
{
    // 64 visible lines and 400 pixels; an eighth of the lines for the channel of one detector.
    const struct {
        int satellite, channel, pixels, lines;
        const char* text;
    } cases[] = {
        {9, 0, 400, 64, "VIS,1/_A/0.65μ,28μrad"},
        {9, 1, 100, 16, "IR4,3.9,2/_T,_R/3.9μ,112μrad"},
        {9, 2, 100, 8, "IR3,WV,3/_T,_R/6.75μ,224μrad"},
        {9, 4, 100, 16, "IR2,5/_T,_R/12μ/13μ,112μrad"},
        {12, 2, 100, 16, "IR3,WV,3/_T,_R/6.75μ,224μrad"},
        {12, 3, 100, 16, "IR1,IR,4/_T,_R/10.7μ,112μrad"},
        {12, 4, 100, 8, "IR2,5/_T,_R/12μ/13μ,112μrad"},
    };
    for (const auto& c : cases) {
        const GvarScene scene({.satellite = c.satellite});
        const auto info = scene.info(c.channel);
        EXPECT_EQ(info.result, 0);
        EXPECT_EQ(info.text, c.text);
        EXPECT_EQ(info.pixels, c.pixels) << c.text;
        EXPECT_EQ(info.lines, c.lines) << c.text << c.satellite;
        EXPECT_EQ(info.levels, 1024);
    }
    const GvarScene scene({});
    StderrCapture text;
    EXPECT_EQ(scene.info(5).result, -1);
    EXPECT_EQ(text.get(), "NB_Error: nbGvarGetChInfo() : bad channel number '5'\n");
    EXPECT_EQ(scene.object.GetChNum(scene.p()), 5);
}

TEST(GvarCalibration, SpotValuesOfEverySatellite)
{
    // Worked with bc(1), 20 digits, from the published figures.
    const struct {
        int satellite;
        const char* name;
        int count;
        double value;
    } cases[] = {
        {8, "VIS_A", 300, 0.2877332},    {9, "VIS_A", 300, 0.2890233},
        {10, "VIS_A", 300, 0.3020128},   {11, "VIS_A", 300, 0.3037339},
        {12, "VIS_A", 300, 0.3091271},   {8, "IR4_T", 500, 318.1246655},
        {9, "IR4_T", 500, 317.8007441},  {10, "IR4_T", 500, 317.6229978},
        {11, "IR4_T", 500, 318.3181735}, {12, "IR4_T", 500, 318.5847391},
        {8, "WV_T", 500, 263.9860264},   {9, "WV_T", 500, 263.9864613},
        {10, "WV_T", 500, 264.4424910},  {11, "WV_T", 500, 264.0142353},
        {12, "WV_T", 500, 268.8886794},  {8, "IR1_T", 500, 288.3847511},
        {9, "IR1_T", 500, 288.3613784},  {10, "IR1_T", 500, 288.5505078},
        {11, "IR1_T", 500, 288.1169573}, {12, "IR1_T", 500, 288.2349912},
        {8, "IR2_T", 500, 280.2085964},  {9, "IR2_T", 500, 279.9472141},
        {10, "IR2_T", 500, 279.6503398}, {11, "IR2_T", 500, 279.8970958},
        {12, "IR2_T", 500, 265.3586095}, {12, "IR2_R", 1023, 182.0009765},
        {9, "IR1_R", 1023, 192.6584298}, {9, "IR1_R", 15, 0.0000000},
        {9, "IR1_T", 15, 100.0000000},
    };
    for (const auto& c : cases) {
        const GvarScene scene({.satellite = c.satellite});
        EXPECT_NEAR(scene.table(c.name).at(static_cast<std::size_t>(c.count)), c.value,
                    4e-7 * (1 + c.value))
            << c.satellite << c.name << c.count;
    }
}

TEST(GvarCalibration, TablesAreCutToTheCallersRoomAndNeedASuffix)
{
    StderrCapture opening;
    const GvarScene scene({.satellite = 13});
    EXPECT_TRUE(opening.get().ends_with(": GOES-13 is read as GOES-9, also its channels\n"));
    float table[3] = {-5, -5, -5};
    int n = 2;
    EXPECT_EQ(scene.object.GetCalTable(scene.p(), "IR1_R", table, &n), 0);
    EXPECT_EQ(n, 1024);
    EXPECT_EQ(table[1], 0.0F); // below its offset a count has no radiance
    EXPECT_EQ(table[2], -5.0F);
    StderrCapture text;
    EXPECT_EQ(scene.object.GetCalTable(scene.p(), "VIS", table, &n), -1);
    EXPECT_EQ(text.get(), "NB_Error: nbGvarGetCalTable() : bad element name 'VIS'\n");
    EXPECT_EQ(std::string(scene.object.satName), "GOES-13");
}

TEST(GvarCalibration, EachLineGoesThroughItsDetectorsTable)
{
    // GOES-8, 12 um, count 500 on both detectors: 841 and 842 of the figures above.
    SynthGvar s{.satellite = 8};
    s.count = [](int, int, int) { return 500; };
    GvarScene scene(s);
    ASSERT_EQ(scene.select("IR2_T"), 20001);
    EXPECT_NEAR(scene.value(10, 4), 280.208596, 1e-4);
    EXPECT_NEAR(scene.value(10, 5), 280.182337, 1e-4);
    EXPECT_EQ(scene.result, 0);

    ASSERT_EQ(scene.select("IR2"), 10001);
    StderrCapture text;
    scene.value(10, 4);
    EXPECT_EQ(scene.result, -10);
    EXPECT_EQ(text.get(), "NB_Error: nbGvarGetR4DataByPixLin() : bad elementId (-1)\n");
}

} // namespace
