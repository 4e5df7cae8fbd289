#include "tests/drivers/hisdScene.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

namespace {

using std::byte;

constexpr auto open = HisdScene::open;

// A little-endian number of `width` bytes over what a block has at an offset.
SynthPatch patch(int block, std::size_t offset, unsigned value, std::size_t width)
{
    return {.offset = offset, .bytes = numberBytes(value, width), .block = block};
}

TEST(HisdOpen, BothByteOrdersFillTheObject)
{
    for (const bool big : {false, true}) {
        HisdScene scene(
            {.satellite = "Himawari-8", .firstLine = 41, .lines = 30, .bigEndian = big});
        ASSERT_EQ(scene.code, 0);
        const NbSatObject& o = scene.object;
        EXPECT_STREQ(o.satName, "Himawari-8");
        EXPECT_EQ(o.pixelNum, 110);
        EXPECT_EQ(o.lineNum, 70); // a segment's height is the number of its last line
        // 580 s over 110 lines from 03:00:20.5: line 41 at 03:03:53.3, line 70 at 03:06:27.6.
        const std::int16_t start[6] = {2020, 8, 1, 3, 3, 53};
        const std::int16_t end[6] = {2020, 8, 1, 3, 6, 27};
        EXPECT_TRUE(std::equal(start, start + 6, o.startTime));
        EXPECT_TRUE(std::equal(end, end + 6, o.endTime));
        EXPECT_EQ(nbHisdFileOfSatObject(&scene.object), scene.p());
        // Line 41, column 50 in the default pattern: (3 * 50 + 7 * 41) mod 4096.
        EXPECT_EQ(scene.counts({49}, {40})[0], 437);
    }
}

TEST(HisdOpen, TheFileIsCutInAnyBlock)
{
    const SynthHisd whole{.corrections = {{1, 0, 0}, {9, 1, 1}}, .errorLines = {{5, 3}}};
    for (int block = 1; block <= 11; ++block) {
        const std::size_t begin = whole.blockOffset(block);
        const std::size_t end = whole.blockOffset(block + 1);
        for (const std::size_t at : {begin, begin + 1, (begin + end) / 2, end - 1}) {
            SynthHisd cut = whole;
            cut.cutAt = at;
            std::string name = "info #" + std::to_string(block);
            if (block == 1 || (block == 5 && at < begin + 35)) name.replace(0, 4, "header");
            const Opening opening = open(cut);
            EXPECT_EQ(opening.code, NB_HISD_BAD_BLOCK) << at;
            EXPECT_EQ(opening.err, name + " read error\n") << at;
        }
    }
}

TEST(HisdOpen, AShortRasterIsReportedAndOpens)
{
    const SynthHisd whole; // 110 x 110 counts of two bytes
    for (const std::size_t missing : {0U, 1U, 24199U, 24200U}) {
        SynthHisd cut = whole;
        cut.cutAt = whole.blockOffset(13) - missing;
        const std::string says = ": the raster has " + std::to_string(24200 - missing) +
                                 " bytes, expected 24200; the rest reads as 0\n";
        const Opening opening = open(cut);
        EXPECT_EQ(opening.code, 0) << missing;
        EXPECT_EQ(opening.err.ends_with(says), missing > 0) << opening.err;
        EXPECT_EQ(std::ranges::count(opening.err, '\n'), missing > 0 ? 1 : 0) << opening.err;
    }
}

TEST(HisdOpen, MarksOfBlocksAreCheckedFromSixOn)
{
    const struct {
        int block;
        unsigned number, length; // 0: as it should be
        int code;
        const char* err;
    } cases[] = {
        {1, 99, 0, 0, ""},
        {2, 99, 7, 0, ""},
        {3, 99, 7, 0, ""},
        {4, 99, 7, 0, ""},
        {5, 99, 0, 0, "info #5 read error\n"}, // reported, and opens
        {5, 0, 146, 0, "info #5 read error\n"},
        {6, 99, 0, 3, "info #6 read error\n"},
        {6, 0, 258, 3, "info #6 read error\n"},
        {7, 99, 0, 3, "info #7 read error\n"},
        {7, 0, 46, 3, "info #7 read error\n"},
        {8, 99, 0, 3, "info #8 read error\n"},
        {8, 0, 1, 0, ""},
        {9, 99, 0, 3, "info #9 read error\n"},
        {9, 0, 1, 0, ""},
        {10, 99, 0, 3, "info #10 read error\n"},
        {10, 0, 1, 0, ""},
        {11, 99, 0, 3, "info #11 read error\n"},
        {11, 0, 258, 3, "info #11 read error\n"},
    };
    for (const auto& c : cases) {
        SynthHisd synth;
        if (c.number != 0) synth.patches.push_back(patch(c.block, 0, c.number, 1));
        if (c.length != 0) synth.patches.push_back(patch(c.block, 1, c.length, 2));
        const Opening opening = open(synth);
        EXPECT_EQ(opening.code, c.code) << c.block;
        EXPECT_EQ(opening.err, c.err) << c.block;
    }
}

TEST(HisdOpen, TheByteOrderFlagIsNotAsked)
{
    EXPECT_EQ(open({.patches = {patch(1, 5, 1, 1)}}).code, 0);
}

TEST(HisdOpen, CompressedRastersAreRefusedByTheLog)
{
    const Opening lossless = open({.compression = 1});
    EXPECT_EQ(lossless.code, NB_HISD_COMPRESSED);
    EXPECT_EQ(lossless.err, "NB_Error: nbHisdOpenFile() : 可逆JPEGには対応していません\n");
    const Opening lossy = open({.compression = 2});
    EXPECT_EQ(lossy.code, NB_HISD_COMPRESSED);
    EXPECT_EQ(lossy.err, "NB_Error: nbHisdOpenFile() : 不可逆JPEGには対応していません\n");
    EXPECT_EQ(open({.compression = 3}).code, 0);
}

TEST(HisdOpen, AMissingFileIsSilent)
{
    StderrCapture err;
    NbSatObject object{};
    EXPECT_EQ(nbHisdLinkSat(&object, "/nowhere/scene.dat"), NB_HISD_NO_FILE);
    EXPECT_EQ(object.privateData, nullptr);
    EXPECT_EQ(err.get(), "");
}

TEST(HisdOpen, SizesThatNothingCanRestOnAreRefusedWithOneLine)
{
    const SynthPatch cases[] = {
        patch(2, 5, 0, 2),     // columns
        patch(2, 5, 40000, 2), //
        patch(2, 7, 0, 2),     // lines
        patch(2, 7, 65535, 2), //
        patch(5, 13, 0, 2),    // valid bits
        patch(5, 13, 15, 2),   // 2^15 levels are more than an object's 16 bits hold
        patch(7, 5, 0, 2),     // first line
        patch(7, 5, 32700, 2), // the last line is beyond 32767
        patch(7, 5, 65535, 2), //
    };
    for (const SynthPatch& c : cases) {
        const Opening opening = open({.patches = {c}});
        EXPECT_EQ(opening.code, NB_HISD_BAD_BLOCK) << c.block << ' ' << c.offset;
        EXPECT_EQ(opening.err.find("NB_Error: nbHisdOpenFile() : "), 0U) << opening.err;
        EXPECT_NE(opening.err.find("scene.dat: block "), std::string::npos) << opening.err;
        EXPECT_EQ(std::count(opening.err.begin(), opening.err.end(), '\n'), 1) << opening.err;
    }
}

TEST(HisdOpen, EntryCountsBeyondTheFileAreShortBlocks)
{
    // The rest of the header and a raster of 24 kB serve as entries until the file ends.
    const struct {
        int block;
        std::size_t offset;
    } cases[] = {{8, 19}, {9, 3}, {10, 5}};
    for (const auto& c : cases) {
        const Opening opening = open({.patches = {patch(c.block, c.offset, 0xFFFF, 2)}});
        EXPECT_EQ(opening.code, NB_HISD_BAD_BLOCK);
        EXPECT_EQ(opening.err, "info #" + std::to_string(c.block) + " read error\n");
    }
}

TEST(HisdOpen, ANameOfSixteenLettersIsCutForTheObject)
{
    SynthHisd synth;
    SynthPatch name{.offset = 6, .bytes = {}, .block = 1};
    for (const char c : std::string("Himawari-8-ABCDE"))
        name.bytes.push_back(static_cast<byte>(c));
    synth.patches = {name};
    const HisdScene scene(synth);
    ASSERT_EQ(scene.code, 0);
    EXPECT_STREQ(scene.object.satName, "Himawari-8-ABCD");
}

TEST(HisdOpen, TheTailOfBlockFiveFollowsSatelliteAndBand)
{
    // Read as the other tail the first value of a table would be 0 or 0 K.
    const struct {
        const char* satellite;
        int band;
        const char* element;
        bool thermal;
    } cases[] = {{"Himawari-8", 6, "B06_A", false},
                 {"Himawari-8", 7, "B07_T", true},
                 {"MTSAT-2", 1, "B01_A", false},
                 {"MTSAT-2", 2, "B02_T", true}};
    for (const auto& c : cases) {
        const SynthHisd synth{.satellite = c.satellite, .band = c.band};
        const HisdScene scene(synth);
        const auto table = scene.table(c.element);
        ASSERT_GT(table.size(), 60U);
        EXPECT_NEAR(table[60], synth.physical(60), 1e-4) << c.satellite << c.band;
        EXPECT_EQ(table[60] > 100, c.thermal);
    }
}

} // namespace
