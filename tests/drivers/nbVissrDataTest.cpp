#include "tests/drivers/vissrScene.h"

#include <gtest/gtest.h>

#include <string>

namespace {

// Infrared counts that name their place: lines 20 apart, columns 1 apart.
SynthVissr plainScene()
{
    SynthVissr synth;
    synth.columns = 8;
    synth.lines = 10;
    synth.fill = [](int column, int line) { return 20 * line + column; };
    return synth;
}

TEST(VissrSelect, NamesAreTakenWholeAndOnlyFromTheFilesChannel)
{
    const struct {
        int channel;
        const char* name;
        int code, levels;
    } cases[] = {
        {1, "IR1", 10001, 256},   {1, "IR", 10001, 256},  {1, "1", 10001, 256},
        {1, "IR1_T", 20001, 256}, {1, "1_R", 20001, 256}, {3, "WV_T", 20001, 256},
        {2, "IR2_R", 20001, 256}, {0, "0", 10001, 200},   {0, "VIS_A", 20001, 200},
        {0, "VIS_L", 10001, 256}, {1, "IR2", 0, 0},       {1, "IR1_A", 0, 0},
        {1, "I", 0, 0},           {1, "", 0, 0},          {1, "IR1_", 0, 0},
        {1, "IR1_TT", 0, 0},      {0, "VIS_T", 0, 0},     {1, "ir1", 0, 0},
    };
    for (const auto& c : cases) {
        SynthVissr synth{.channel = c.channel};
        synth.columns = 30;
        // 4 zeros, 200 levels with the one of 0, the last of them twice more: the rest is 1.
        synth.albedo = [](int detector, int count) {
            const int rank = 4 * (count - 1) + detector;
            return count == 0 ? 0.0F : rank >= 198 ? 1.0F : static_cast<float>(rank + 1) / 200;
        };
        VissrScene scene(synth);
        StderrCapture err;
        const int code = scene.select(c.name);
        EXPECT_EQ(code, c.code == 0 ? -1 : c.code) << c.name;
        EXPECT_EQ(scene.object.GetChannel(scene.p(), 0), c.code == 0 ? -1 : c.channel) << c.name;
        if (c.code == 0) {
            EXPECT_EQ(err.get(), std::string("NB_Warn: nbVissrSetElements() : bad element name '") +
                                     c.name + "'\n");
            continue;
        }
        EXPECT_EQ(err.get(), "");
        EXPECT_EQ(scene.size[0], 30);
        EXPECT_EQ(scene.size[1], 110);
        EXPECT_EQ(scene.size[2], c.levels) << c.name;
        EXPECT_EQ(scene.error, -1.0F);
    }
    VissrScene scene{SynthVissr{}};
    StderrCapture err;
    EXPECT_EQ(scene.select("IR1_T,_R"), -1); // listed, but none of the kinds
    EXPECT_EQ(err.get(), "NB_Fatal: nbVissrSetElements() : INTERNAL ERROR. bad return code(0)  "
                         "nbpVissrCheckElem( 'IR1_T,_R' ) \n");
}

TEST(VissrCalibration, TablesAreThoseOfTheFile)
{
    for (const bool ebcdic : {false, true}) {
        const SynthVissr synth{.ebcdic = ebcdic};
        VissrScene scene(synth);
        std::vector<float> table = scene.table("IR1_T");
        ASSERT_EQ(table.size(), 256U);
        EXPECT_EQ(table[0], 330.0F);
        EXPECT_EQ(table[255], 170.625F); // 330 - 255 * 0.625
        int n = 3;
        table.assign(4, -5.0F);
        ASSERT_EQ(scene.object.GetCalTable(scene.p(), "IR_R", table.data(), &n), 0);
        EXPECT_EQ(n, 256);
        EXPECT_EQ(table, (std::vector<float>{80.0F, 79.5F, 79.0F, -5.0F}));
        n = 0;
        EXPECT_EQ(scene.object.GetCalTable(scene.p(), "IR1_T", nullptr, &n), 0);
        EXPECT_EQ(n, 256);
        StderrCapture err;
        EXPECT_EQ(scene.object.GetCalTable(scene.p(), "IR1", table.data(), &n), -1);
        EXPECT_EQ(scene.object.GetCalTable(scene.p(), "IR4_T", table.data(), &n), -1);
        EXPECT_EQ(err.get(), "NB_Error: nbVissrGetCalTable() : bad element name 'IR1'\n"
                             "NB_Warn: nbVissrGetCalTable() : bad element name 'IR4_T'\n"
                             "NB_Error: nbVissrGetCalTable() : bad element name 'IR4_T'\n");
    }
}

// Albedos of the four detectors at counts 1, 2, 3; 1.0 at count 4 and above. By hand, in order:
// 0 (level 0), .1 d0, .125 d2, .2 d0, .25 d1, .25 d2, .25 d3 (each its own level), .3 d0, .5 d1,
// .5 d2, .5 d3, .75 d1, .875 d3 and the first 1.0, which is level 13 and ends the scale.
TEST(VissrCalibration, DetectorsShareOneMonotonicScaleThatEndsAtOne)
{
    SynthVissr synth{.channel = 0};
    synth.columns = 6;
    synth.lines = 8;
    synth.fill = [](int column, int) { return column - 1; };
    synth.albedo = [](int detector, int count) {
        constexpr float albedo[4][4] = {{0, 0.1F, 0.2F, 0.3F},
                                        {0, 0.25F, 0.5F, 0.75F},
                                        {0, 0.125F, 0.25F, 0.5F},
                                        {0, 0.25F, 0.5F, 0.875F}};
        return count >= 4 ? 1.0F : albedo[detector][count];
    };
    VissrScene scene(synth);
    ASSERT_EQ(scene.select("VIS_A"), 20001);
    EXPECT_EQ(scene.size[2], 14);
    const float values[14] = {0,    0.1F, 0.125F, 0.2F, 0.25F, 0.25F,  0.25F,
                              0.3F, 0.5F, 0.5F,   0.5F, 0.75F, 0.875F, 1};
    EXPECT_EQ(scene.table("VIS_A"), std::vector<float>(std::begin(values), std::end(values)));
    // Lines 1 to 4 are detectors 0 to 3; columns are counts 0 to 5.
    const Row levels[4] = {
        {0, 1, 3, 7, 13, 13}, {0, 4, 8, 11, 13, 13}, {0, 2, 5, 9, 13, 13}, {0, 6, 10, 12, 13, 13}};
    for (int line = 0; line < 8; ++line)
        EXPECT_EQ(scene.row(line, 6), levels[line % 4]) << line;
    EXPECT_EQ(scene.value(2, 5), 0.5F);

    // The same pixels as detector and count, and back: lines in memory are not mixed up.
    ASSERT_EQ(scene.select("VIS_L"), 10001);
    EXPECT_EQ(scene.row(6, 6), (Row{128, 129, 130, 131, 132, 133}));
    const auto table = scene.table("VIS_L");
    ASSERT_EQ(table.size(), 256U);
    EXPECT_EQ(table[3], 0.3F);
    EXPECT_EQ(table[64 + 1], 0.25F);
    EXPECT_EQ(table[128 + 3], 0.5F);
    EXPECT_EQ(table[255], 1.0F);
    ASSERT_EQ(scene.select("VIS"), 10001);
    EXPECT_EQ(scene.row(6, 6), levels[2]);
}

TEST(VissrCalibration, AScaleWithoutZeroAndOneStopsAtTheLastLevel)
{
    SynthVissr synth{.channel = 0};
    synth.albedo = [](int detector, int count) {
        return static_cast<float>(1 + 4 * count + detector) / 1024.0F; // 256 different ones
    };
    VissrScene scene(synth);
    ASSERT_EQ(scene.select("VIS_A"), 20001);
    EXPECT_EQ(scene.size[2], 256);
    const auto table = scene.table("VIS_A");
    EXPECT_EQ(table[0], 0.0F);
    EXPECT_EQ(table[1], 1.0F / 1024);
    EXPECT_EQ(table[255], 255.0F / 1024);
}

TEST(VissrSamples, PositionsTakeTheNearestPixelAndWhatIsOutsideIsToldTenTimes)
{
    VissrScene scene(plainScene());
    ASSERT_EQ(scene.select("IR1_T"), 20001);
    // -1.4 + 0.5 is cut to 0: a pixel and a half before the image is still its rim.
    const std::vector<float> x = {0, 2.4F, 2.5F, 7.49F, -1.4F, 3, -9999, 3};
    const std::vector<float> y = {0, 3.5F, 3.4F, 9.49F, 0, 9, 3, -9999};
    const Row expected = {21, 103, 84, 208, 21, 204, -1, -1};
    {
        StderrCapture err;
        EXPECT_EQ(scene.counts(x, y), expected);
        EXPECT_EQ(scene.result, 0);
        EXPECT_EQ(err.get(), "");
    }
    const auto values = scene.values(x, y);
    EXPECT_EQ(scene.result, 0);
    EXPECT_EQ(values[1], 330.0F - 103 * 0.625F);
    EXPECT_EQ(values[6], -1.0F);

    StderrCapture err;
    EXPECT_EQ(scene.counts(std::vector<float>(12, 8.0F), std::vector<float>(12, 4.0F)),
              Row(12, -1));
    std::string told;
    for (int i = 0; i < 10; ++i)
        told += "NB_Error: nbVissrGetI2DataByPixLin() : bad value. Line=4, Pixel=8\n";
    EXPECT_EQ(err.get(), told);
}

TEST(VissrSamples, PhysicalValuesNeedAPhysicalElement)
{
    VissrScene scene({.channel = 0});
    const auto sample = [&] {
        scene.value(3, 3);
        EXPECT_LT(scene.result, 0);
    };
    const auto zoom = [&] {
        scene.zoomValues({0, 0, 4, 4, 1, 1});
        EXPECT_LT(scene.result, 0);
    };
    StderrCapture err;
    sample();
    zoom();
    ASSERT_EQ(scene.select("VIS_L"), 10001);
    sample();
    ASSERT_EQ(scene.select("VIS"), 10001);
    zoom();
    EXPECT_EQ(err.get(), "NB_Error: nbVissrGetR4DataByPixLin() : 要素が選択されていません\n"
                         "NB_Error: nbVissrGetR4ZoomData() : 要素が選択されていません\n"
                         "NB_Error: nbVissrGetR4DataByPixLin() : bad elementId (4)\n"
                         "NB_Error: nbVissrGetR4ZoomData() : bad elementId (-1)\n");
}

TEST(VissrSamples, MissingLinesAreErrorsUntilTheGapIsFilled)
{
    SynthVissr synth = plainScene();
    synth.missing = {1, 4, 5, 6, 9};
    VissrScene scene(synth);
    const std::vector<float> x(3, 2.0F);
    const std::vector<float> y = {3, 3, 2};
    EXPECT_EQ(scene.counts(x, y), (Row{-1, -1, 63}));
    EXPECT_EQ(scene.result, 2); // each point counts

    // A gap of 1 reaches line 9 from both sides, line 1 from one and, of the three lines from 4
    // to 6, the outer ones from one: copies.
    scene.object.SetStopGap(scene.p(), 1);
    const auto column2 = [&](int line) { return scene.count(2, static_cast<float>(line)); };
    EXPECT_EQ(column2(0), 43);  // line 2
    EXPECT_EQ(column2(8), 183); // (163 * 1 + 203 * 1) / 2
    EXPECT_EQ(column2(3), 63);  // line 3
    EXPECT_EQ(column2(4), -1);  // nothing within 1
    EXPECT_EQ(scene.result, 1);
    EXPECT_EQ(column2(5), 143);                     // line 7
    EXPECT_EQ(nbVissrIsErrorLine(scene.p(), 3), 3); // still missing in the file

    scene.object.SetStopGap(scene.p(), 3);
    EXPECT_EQ(column2(4), 103); // between lines 3 (63) and 7 (143)
    EXPECT_EQ(column2(3), 63);  // filled before, kept
    nbVissrClearDataCache(scene.p());
    EXPECT_EQ(column2(3), 83); // (3 * 63 + 143) / 4
}

TEST(VissrSamples, ALineThatCarriesAnotherNumberIsToldAndRead)
{
    SynthVissr synth = plainScene();
    synth.patches = {vissrPatch(synth.lineOffsetOf(5) + 4, 77, 4)};
    const VissrScene scene(synth);
    StderrCapture err;
    EXPECT_EQ(scene.row(4, 2), (Row{101, 102}));
    EXPECT_EQ(scene.row(4, 2), (Row{101, 102}));
    EXPECT_EQ(err.get(), "NB_Error: INTERNAL ERROR : LCW.lineNo(77) <> lineNo(5)\n");
}

TEST(VissrSamples, TwoOpenFilesKeepTheirOwnLines)
{
    const VissrScene one(plainScene());
    SynthVissr synth = plainScene();
    synth.variant = 1;
    synth.ebcdic = true;
    synth.fill = [](int column, int line) { return 10 * column + line; };
    const VissrScene other(synth);
    for (int line = 0; line < 10; line += 3) {
        EXPECT_EQ(one.row(line, 1)[0], 20 * (line + 1) + 1);
        EXPECT_EQ(other.row(line, 1)[0], 10 + line + 1);
    }
}

TEST(VissrZoom, RowsAndColumnsSpreadFromTheFirstToTheLast)
{
    SynthVissr synth = plainScene();
    synth.missing = {10};
    VissrScene scene(synth);
    ASSERT_EQ(scene.select("IR1_R"), 20001);
    // Columns 2 and 6 (5 of them from the third), lines 1, 2 and 4 ((4 - 1) j / 2 from the second).
    EXPECT_EQ(scene.zoom({2, 1, 5, 4, 2, 3}), (Row{43, 47, 63, 67, 103, 107}));
    // To the edges: columns 6 and 7; lines 7 to 9, of which the last one is missing.
    EXPECT_EQ(scene.zoom({6, 7, 0, 0, 2, 3}), (Row{167, 168, 187, 188, -1, -1}));
    EXPECT_EQ(scene.result, 1);
    // Four columns from the seventh: two are on the image, half the output. The line above the
    // first repeats the row above it, and lines further out are invalid.
    EXPECT_EQ(scene.zoom({6, -2, 4, 4, 4, 4}),
              (Row{-1, -1, -1, -1, -1, -1, -1, -1, 27, 28, -1, -1, 47, 48, -1, -1}));
    // One row alone is the first.
    EXPECT_EQ(scene.zoom({0, 3, 1, 5, 1, 1}), Row{81});
    EXPECT_EQ(scene.zoomValues({0, 8, 2, 1, 2, 1})[0], (160 - 181) * 0.5F);
    EXPECT_EQ(scene.result, 0);
}

} // namespace
