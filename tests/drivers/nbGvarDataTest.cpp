#include "tests/drivers/gvarScene.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <random>

namespace {

constexpr int width = 80; // columns looked at

bool isMissing(const Row& row)
{
    return std::ranges::all_of(row, [](int v) { return v == -1; });
}

TEST(GvarLines, EveryLineOfEveryChannelIsTheFilesOwn)
{
    for (const int satellite : {8, 11, 12, 14})
        for (const bool records : {true, false}) {
            GvarScene scene({.records = records, .longPrefix = true, .satellite = satellite});
            for (const char* name : {"VIS", "IR4", "IR3", "IR1", "IR2"}) {
                ASSERT_EQ(scene.select(name), 10001);
                const int channel = scene.object.GetChannel(scene.p(), 0);
                for (int line = 0; line < scene.size[1]; ++line)
                    ASSERT_EQ(scene.row(line, scene.size[0]),
                              scene.told(channel, line, scene.size[0]))
                        << satellite << name << line;
                EXPECT_EQ(scene.result, 0);
            }
        }
}

TEST(GvarLines, ComeInAnyOrder)
{
    for (const bool records : {true, false})
        for (const char* name : {"IR1", "VIS"}) {
            GvarScene scene({.records = records, .north = 7001, .south = 7240});
            ASSERT_EQ(scene.select(name), 10001);
            const int channel = scene.object.GetChannel(scene.p(), 0);
            std::vector<int> order(static_cast<std::size_t>(scene.size[1]));
            std::iota(order.begin(), order.end(), 0);
            std::shuffle(order.begin(), order.end(), std::mt19937(3));
            for (const int line : order)
                ASSERT_EQ(scene.row(line, width), scene.told(channel, line, width)) << name << line;
        }
}

// Ten bits from a bit number on, one by one.
int bitsAt(const Bytes& bytes, std::size_t bit)
{
    int value = 0;
    for (std::size_t i = bit; i < bit + 10; ++i)
        value = value * 2 + (std::to_integer<int>(bytes[i / 8]) >> (7 - i % 8) & 1);
    return value;
}

TEST(GvarLines, StartAtAnyBitOfAByte)
{
    // Lines of 116 words and 0 to 3 more: the second one starts 0, 2, 4 or 6 bits into a byte,
    // and of these a start of 2 is read from bit 6 of its byte on and one of 6 from bit 2 on.
    const int readFrom[] = {0, 6, 4, 2};
    for (int spare = 0; spare < 4; ++spare) {
        SynthGvar s{.records = false, .south = 7808, .spareWords = spare};
        const Bytes file = s.bytes();
        // The second block of infrared channels 3 and 4 stands behind block 0 (8130 bytes).
        const std::size_t data = 92 + 8038 + 90;
        const std::size_t words = 116 + static_cast<std::size_t>(spare);
        const std::size_t at = data + words * 10 / 8;
        const std::size_t bit = at * 8 + static_cast<std::size_t>(readFrom[spare]);
        GvarScene scene(s);
        ASSERT_EQ(scene.select("IR1"), 10001);
        const Row row = scene.row(1, width);
        if (spare % 2 == 0) {
            EXPECT_EQ(row, scene.told(3, 1, width)) << spare;
        }
        // A misread start makes the documentation words wrong, so that no such line is taken; a
        // scan count that agrees by chance would show the pixels.
        const int relative = bitsAt(file, bit + 50) << 10 | bitsAt(file, bit + 60);
        EXPECT_EQ(isMissing(row), relative != 1) << spare;
        if (relative == 1) {
            EXPECT_EQ(row[7], bitsAt(file, bit + (16 + 7) * 10));
        }
    }
}

TEST(GvarLines, DamagedBlocksLoseTheirLinesAlone)
{
    const struct {
        const char* what;
        SynthGvarDamage damage;
        std::vector<int> missing; // lines of channel 4 with scan 3 damaged: 6 and 7
    } cases[] = {
        {"block missing", {.scan = 3, .block = 1, .missing = true}, {6, 7}},
        {"header", {.scan = 3, .block = 1, .headerCopies = 7}, {6, 7}},
        {"two header copies", {.scan = 3, .block = 1, .headerCopies = 3}, {}},
        {"marked bad", {.scan = 3, .block = 1, .invalid = true}, {6, 7}},
        // Without its own the scan counts on from the last.
        {"no documentation", {.scan = 3, .block = 0xF0, .headerCopies = 7}, {6, 7}},
        {"scan count of a line", {.scan = 3, .block = 1, .line = 3, .relativeScan = 9}, {7}},
        {"line too long", {.scan = 3, .block = 1, .line = 3, .words = 5230}, {7}},
        {"line a little too short", {.scan = 3, .block = 1, .line = 3, .words = 20}, {}},
        {"detector unknown", {.scan = 3, .block = 1, .line = 3, .detector = 999}, {}},
        {"a bit of a pixel", {.scan = 3, .block = 2, .badByte = 700}, {}},
    };
    for (const bool records : {true, false})
        for (const auto& c : cases) {
            SynthGvar s{.records = records};
            s.damage = {c.damage};
            GvarScene scene(s);
            ASSERT_EQ(scene.select("IR2"), 10001);
            std::vector<int> missing;
            for (int line = 0; line < scene.size[1]; ++line) {
                const Row row = scene.row(line, width);
                // A line that is too long is told apart in the stream: at the second asking.
                if (isMissing(row)) {
                    missing.push_back(line);
                    scene.row(line, 1);
                    EXPECT_EQ(scene.result, 1) << c.what << line;
                } else {
                    EXPECT_EQ(row, scene.told(4, line, width)) << c.what << line;
                }
            }
            EXPECT_EQ(missing, c.missing) << c.what << records;
        }
}

TEST(GvarLines, AStreamIsFoundAgainBehindJunk)
{
    SynthGvar s{.records = false};
    s.damage = {{.scan = 2, .block = 1, .junk = 100000},
                {.scan = 3, .block = 0xF0, .junk = 100000, .junkBits = 3},
                {.scan = 4, .block = 2, .junk = 1}};
    GvarScene scene(s);
    for (const char* name : {"IR1", "IR3", "VIS"}) {
        ASSERT_EQ(scene.select(name), 10001);
        const int channel = scene.object.GetChannel(scene.p(), 0);
        for (int line = 0; line < scene.size[1]; ++line)
            ASSERT_EQ(scene.row(line, width), scene.told(channel, line, width)) << name << line;
    }
}

TEST(GvarLines, TheFirstBlockReadMustHaveAGoodCrcAndLaterOnesNeedNot)
{
    SynthGvar s{};
    s.damage = {{.scan = 0, .block = 1, .badByte = 60}, {.scan = 2, .block = 1, .badByte = 60}};
    GvarScene scene(s);
    ASSERT_EQ(scene.select("IR1"), 10001);
    EXPECT_TRUE(isMissing(scene.row(0, width)));
    EXPECT_EQ(scene.row(2, width), scene.told(3, 2, width));
    // Byte 60 behind the header is byte 40 of the pixels: counts 32 to 35.
    Row row = scene.row(4, width), told = scene.told(3, 4, width);
    EXPECT_NE(row, told);
    std::fill(row.begin() + 31, row.begin() + 34, 0);
    std::fill(told.begin() + 31, told.begin() + 34, 0);
    EXPECT_EQ(row, told);
}

TEST(GvarLines, MissingScansAreFlaggedAndTheEndOfTheFileEndsTheCall)
{
    SynthGvar s{.north = 7001, .south = 7400};
    for (int scan = 20; scan < 35; ++scan)
        for (const int id : {0xF0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10})
            s.damage.push_back({.scan = scan, .block = id, .missing = true});
    s.cutAt = 26624 * (11 * 32 + 4); // 48 of 50 scans, less the gap, and block 2 of the next
    for (const bool records : {true, false}) {
        s.records = records;
        if (!records) s.cutAt = SIZE_MAX;
        GvarScene scene(s);
        ASSERT_EQ(scene.select("IR1"), 10001);
        for (int line = 0; line < 94; ++line) {
            const Row row = scene.row(line, width);
            const bool gap = line >= 40 && line < 70;
            EXPECT_EQ(scene.result, gap ? 1 : 0) << line << records;
            if (gap)
                EXPECT_TRUE(isMissing(row));
            else
                EXPECT_EQ(row, scene.told(3, line, width)) << line;
        }
        if (!records) continue;
        // The end of the file ends the call also for the points behind it.
        EXPECT_EQ(scene.counts({3, 3, 3}, {12, 99, 13}), (Row{scene.told(3, 12, 4)[3], -1, -1}));
        EXPECT_EQ(scene.result, 0);
    }
}

TEST(GvarGapFilling, BadLinesAreStraightBetweenTheNearestGoodOnes)
{
    SynthGvar s{};
    s.count = [](int, int line, int pixel) { return 10 * line * line % 1000 + pixel; };
    s.damage = {{.scan = 3, .block = 1, .invalid = true}, {.scan = 7, .block = 1, .invalid = true}};
    for (const bool records : {true, false}) {
        s.records = records;
        GvarScene scene(s);
        ASSERT_EQ(scene.select("IR1"), 10001); // lines 6, 7 and 14, 15 are bad
        scene.row(6, width);
        EXPECT_EQ(scene.result, 1);
        scene.object.SetStopGap(scene.p(), 1);
        // Line 5 alone is in reach of line 6, line 8 of line 7: copies.
        EXPECT_EQ(scene.row(6, width), scene.told(3, 5, width));
        EXPECT_EQ(scene.row(7, width), scene.told(3, 8, width));
        EXPECT_TRUE(isMissing(scene.row(15, width)));
        EXPECT_EQ(scene.result, 1);

        GvarScene wider(s);
        ASSERT_EQ(wider.select("IR1"), 10001);
        wider.object.SetStopGap(wider.p(), 2);
        // 250 + x on line 5 and 640 + x on line 8: 380 and 510 between them. A filled line fills
        // no other.
        EXPECT_EQ(wider.row(6, 1)[0], 380);
        EXPECT_EQ(wider.row(7, 3)[2], 512);
        EXPECT_EQ(wider.row(15, width), wider.told(3, 13, width));
        EXPECT_EQ(wider.row(14, width), wider.told(3, 13, width));
    }
}

TEST(GvarSamples, PositionsRoundToTheNearestAndOutsideIsReportedTenTimes)
{
    GvarScene scene({});
    std::vector<float> x = {4.49F, 4.5F, -0.4F, -1.49F, 399.4F, 3, -9999, 3};
    std::vector<float> y = {2, 2, 0, 0, 63, -1.2F, 2, -9999};
    Row expected;
    for (const auto& [px, py] : {std::pair{4, 2}, {5, 2}, {0, 0}, {0, 0}, {399, 63}, {3, 0}})
        expected.push_back(static_cast<std::int16_t>(scene.synth.countAt(0, py, px)));
    expected.insert(expected.end(), {-1, -1});
    for (int i = 0; i < 12; ++i) {
        x.push_back(i % 2 == 0 ? 400.0F : 7.0F);
        y.push_back(i % 2 == 0 ? 7.0F : 64.0F);
        expected.push_back(-1);
    }
    x.push_back(5);
    y.push_back(5);
    expected.push_back(static_cast<std::int16_t>(scene.synth.countAt(0, 5, 5)));
    StderrCapture text;
    EXPECT_EQ(scene.counts(x, y), expected);
    EXPECT_TRUE(text.get().starts_with(
        "NB_Error: nbGvarGetI2DataByPixLin() : bad value. Line=7,Pixel=400\n"
        "NB_Error: nbGvarGetI2DataByPixLin() : bad value. Line=64,Pixel=7\n"));
    EXPECT_EQ(std::ranges::count(text.get(), '\n'), 10);
}

TEST(GvarZoom, SourceColumnsAndLinesSpreadOverTheExtent)
{
    GvarScene scene({});
    Row out = scene.zoom({100, 10, 41, 21, 5, 3});
    EXPECT_EQ(scene.result, 0);
    for (int j = 0; j < 3; ++j)
        for (int i = 0; i < 5; ++i)
            EXPECT_EQ(out[static_cast<std::size_t>(j * 5 + i)],
                      scene.synth.countAt(0, 10 + 10 * j, 100 + 10 * i));
    // Over the right edge: 50 of 100 columns are there, so half of the output.
    out = scene.zoom({350, 0, 100, 0, 10, 1});
    EXPECT_EQ(scene.result, 0);
    EXPECT_EQ(out[4], scene.synth.countAt(0, 0, 399)); // 49 * 4 / 4 + 350
    EXPECT_EQ(out[5], -1);
    out = scene.zoom({-3, -1, 5, 3, 5, 3});
    EXPECT_EQ(scene.result, 0);
    EXPECT_EQ(out[4], -1);     // line -1
    EXPECT_EQ(out[5 + 2], -1); // pixel -1
    EXPECT_EQ(out[5 + 3], scene.synth.countAt(0, 0, 0));
    // From beyond the edge to the edge: nothing.
    EXPECT_EQ(scene.zoom({401, 0, 0, 3, 5, 3}), Row(15, -1));
    EXPECT_EQ(scene.result, 0);
}

TEST(GvarZoom, ExtentZeroDiffersBetweenCountsAndValues)
{
    SynthGvar s{.south = 7816}; // 16 lines
    GvarScene scene(s);
    const Row counts = scene.zoom({0, 0, 0, 0, 400, 17});
    EXPECT_EQ(scene.result, 0);
    // 401 columns for 400: 400 x 400 / 401 = 399 stay. 17 lines for 17, of which 16 are there.
    EXPECT_EQ(counts[15 * 400], scene.synth.countAt(0, 15, 0));
    EXPECT_EQ(counts[15 * 400 + 398], scene.synth.countAt(0, 15, 399));
    EXPECT_EQ(counts[15 * 400 + 399], -1);
    EXPECT_EQ(counts[16 * 400], -1);

    const NbZoomRect same{0, 0, 0, 0, 400, 16};
    StderrCapture quiet;
    scene.zoomValues(same);
    EXPECT_EQ(scene.result, -10); // nothing selected
    ASSERT_EQ(scene.select("VIS_A"), 20001);
    const auto values = scene.zoomValues(same);
    EXPECT_EQ(scene.result, 0);
    // GOES-9: (count 0.5492361 - 29 x 0.5492361) 0.0019418.
    EXPECT_NEAR(values[14 * 400 + 399], (s.countAt(0, 14, 399) - 29) * 0.5492361 * 0.0019418, 1e-6);
    EXPECT_EQ(values[15 * 400], -1.0F); // the last line is never read
}

} // namespace
