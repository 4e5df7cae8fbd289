#include "tests/drivers/vissrScene.h"

#include "sat/nbSat.h"
#include "sat/nbSatAnalSatId.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

namespace {

constexpr auto open = VissrScene::open;

TEST(VissrOpen, EveryVariantTextAndChannelFillsTheObject)
{
    const struct {
        int variant, channel;
        bool ebcdic;
        const char* text;
    } cases[] = {
        {0, 0, false, "VIS,0/_A,_L/0.55-0.90, 1.25km"},
        {0, 1, true, "IR1,IR,1/_T,_R/10.5-11.5, 5.0km"},
        {0, 2, false, "IR2,2/_T,_R/11.5-12.5, 5.0km"},
        {0, 3, true, "IR3,WV,3/_T,_R/6.5-7.0, 5.0km"},
        {1, 0, true, "VIS,0/_A,_L/0.55-0.90, 1.25km"},
        {1, 1, false, "IR1,IR,1/_T,_R/10.5-11.5, 5.0km"},
    };
    for (const auto& c : cases) {
        SynthVissr synth{.variant = c.variant, .ebcdic = c.ebcdic, .channel = c.channel};
        synth.satellite = "GOES-7";
        synth.startText = "19990507083019";
        synth.columns = 100;
        const VissrScene scene(synth);
        ASSERT_EQ(scene.code, 0) << c.variant << c.channel;
        const NbSatObject& o = scene.object;
        EXPECT_EQ(nbSatAnalSatId(scene.path().c_str()), NB_FORMAT_VISSR);
        EXPECT_STREQ(o.satName, "GOES-7");
        EXPECT_EQ(o.pixelNum, 100);
        EXPECT_EQ(o.lineNum, 110);
        const std::int16_t start[6] = {1999, 5, 7, 8, 30, 19};
        EXPECT_TRUE(std::equal(start, start + 6, o.startTime));
        // 02:30 and 25 minutes for 110 lines. The last turn of an infrared image begins 1/110 of
        // them before the end, 13.636 s, and the 100 columns take 0.32 rad of it, 0.694 s:
        // 2:54:47.06. Four lines of the visible channel share a turn, of 54.545 s: the last one
        // that began is turn 27 (from 0), after 1472.73 s, and the columns take 2.778 s: 2:54:35.5.
        const std::int16_t end[6] = {
            2000, 6, 1, 2, 54, c.channel == 0 ? std::int16_t{35} : std::int16_t{47}};
        EXPECT_TRUE(std::equal(end, end + 6, o.endTime)) << o.endTime[4] << ':' << o.endTime[5];

        EXPECT_EQ(o.GetChNum(scene.p()), 1);
        const auto info = scene.info(0);
        EXPECT_EQ(info.result, 0);
        EXPECT_EQ(info.text, c.text);
        EXPECT_EQ(info.pixels, 100);
        EXPECT_EQ(info.lines, 110);
        StderrCapture err;
        EXPECT_EQ(scene.info(1).result, -1);
        EXPECT_EQ(err.get(), "NB_Error: nbVissrGetChInfo() : bad channel number '1'\n");

        // Line 3 in the default pattern, from both ends of its record.
        if (c.channel == 0) continue; // levels: tested with their scale
        EXPECT_EQ(scene.row(2, 1)[0], 3 + 7 * 3);
        EXPECT_EQ(scene.count(99, 2), (3 * 100 + 7 * 3) % 256);
    }
}

TEST(VissrOpen, WhatIsNoSuchFileIsRefusedWithACode)
{
    StderrCapture err;
    NbSatObject object{};
    EXPECT_EQ(nbVissrLinkSat(&object, "/nowhere/scene.dat"), 3);
    EXPECT_EQ(object.privateData, nullptr);
    EXPECT_EQ(err.get(),
              "NB_Error: nbVissrOpenFile() : fopen( '/nowhere/scene.dat' 'rb' ) failed.\n");

    const SynthVissr good;
    SynthVissr other = good;
    other.satellite = "MTS-1";
    EXPECT_EQ(open(other).code, 1);
    EXPECT_EQ(open({.cutAt = 1}).code, 1);

    // The first word of the first image record names the channel.
    const struct {
        int variant;
        std::uint32_t mark;
        int code;
    } marks[] = {{0, 0x12345640, 0}, {0, 0x80, 4}, {0, 0, 4},
                 {0, 3, 4},          {1, 0x20, 4}, {1, 0x10, 0}};
    for (const auto& m : marks) {
        SynthVissr synth{.variant = m.variant, .channel = 0};
        synth.patches = {vissrPatch(synth.lineOffsetOf(1), m.mark, 4)};
        EXPECT_EQ(open(synth).code, m.code) << m.variant << ' ' << m.mark;
    }
    SynthVissr unknown;
    unknown.patches = {vissrPatch(unknown.lineOffsetOf(1), 0xABCD9876, 4)};
    EXPECT_EQ(open(unknown).err,
              "NB_Error: nbVissrOpenFile() : チャンネルを特定できません(9876)\n");
}

TEST(VissrOpen, SizesThatNothingCanRestOnAreRefusedWithOneLine)
{
    const SynthVissr good;
    const std::size_t trans = good.blockOffset("trans");
    const SynthPatch cases[] = {
        vissrPatch(trans + 124, 0, 4),                             // lines
        vissrPatch(trans + 124, 0x7F800000, 4),                    // infinite
        vissrPatch(trans + 140, 0x47000000, 4),                    // 32768 pixels
        vissrPatch(trans + 140, 0xFFC00000, 4),                    // not a number
        vissrPatch(trans + 140, 0x45800000, 4),                    // 4096 in a record of 3664 bytes
        vissrPatch(good.blockOffset("mode") + 144, 0xFFFFFFFF, 4), // gap before the pixels
        vissrPatch(good.blockOffset("mode") + 144, 0x7FFFFFFF, 4), //
    };
    for (const SynthPatch& c : cases) {
        SynthVissr synth = good;
        synth.patches = {c};
        const Opening opening = open(synth);
        EXPECT_EQ(opening.code, 2) << c.offset;
        EXPECT_EQ(std::count(opening.err.begin(), opening.err.end(), '\n'), 1) << opening.err;
    }
}

// Variant 1 has no line table in the file: lines are found by the numbers in their records.
TEST(VissrOpen, LinesOfVariantOneAreFoundByTheirNumbers)
{
    SynthVissr synth{.variant = 1};
    synth.firstLine = 4;
    synth.lastLine = 90;
    synth.missing = {10, 11};
    const VissrScene scene(synth);
    ASSERT_EQ(scene.code, 0);
    const struct {
        int line; // from 0
        int result;
    } cases[] = {{-1, 1}, {0, 2},  {2, 2},  {3, 0},  {8, 0},   {9, 3},
                 {10, 3}, {11, 0}, {89, 0}, {90, 2}, {109, 2}, {110, 1}};
    for (const auto& c : cases)
        EXPECT_EQ(nbVissrIsErrorLine(scene.p(), c.line), c.result) << c.line;
    EXPECT_EQ(scene.row(11, 1)[0], 3 + 7 * 12);
    // Outside the lines of the file a sample is missing and no error.
    EXPECT_EQ(scene.count(5, 2), -1);
    EXPECT_EQ(scene.result, 0);
}

TEST(VissrOpen, TheSecondHeaderOfVariantOneNamesTheLastLine)
{
    SynthVissr synth{.variant = 1};
    synth.tail = 80;
    {
        const VissrScene scene(synth);
        EXPECT_EQ(nbVissrIsErrorLine(scene.p(), 79), 0);
        EXPECT_EQ(nbVissrIsErrorLine(scene.p(), 80), 2);
    }
    // One that does not belong to the first header is told and left.
    synth.patches = {vissrPatch(7008 + 12, 5, 2)};
    StderrCapture err;
    const VissrScene scene(synth);
    EXPECT_EQ(scene.code, 0);
    EXPECT_EQ(err.get(), "NB_Error: nbVissrOpenFile() : ? INTERNAL ERROR 23429\n");
    EXPECT_EQ(nbVissrIsErrorLine(scene.p(), 109), 0);
}

TEST(VissrOpen, AnImageThatVariantOneCountsFromSixStartsAtSeven)
{
    SynthVissr synth{.variant = 1};
    synth.patches = {vissrPatch(6, 6, 2)};
    const VissrScene scene(synth);
    ASSERT_EQ(scene.code, 0);
    EXPECT_EQ(scene.row(0, 1)[0], 10);
}

TEST(VissrOpen, UnknownDataKindsAreTold)
{
    SynthVissr synth{.variant = 1};
    synth.patches = {vissrPatch(synth.blockOffset("mode") + 416, 6, 4)};
    const Opening opening = open(synth);
    EXPECT_EQ(opening.code, 0);
    EXPECT_EQ(opening.err, "NB_Error: nbVissrOpenFile() : Bad dataNo( '6' ).\n");
}

// Every word of header and documentation once with the values that reach furthest, and the file
// cut everywhere: codes and missing samples come back, and the sanitizers stay silent.
TEST(VissrOpen, DamagedDocumentationIsSurvived)
{
    const StderrCapture quiet;
    for (const int variant : {0, 1})
        for (const int channel : {0, 1}) {
            SynthVissr synth{.variant = variant, .channel = channel};
            synth.lines = 12;
            synth.columns = 20;
            synth.missing = {5};
            const std::vector<std::byte> bytes = synth.bytes();
            const auto tryBytes = [](std::span<const std::byte> file) {
                VissrScene scene(file);
                if (scene.code == 0) useAll(scene, {});
            };
            std::vector<std::size_t> places;
            for (std::size_t at = 0; at < 36; at += 2)
                places.push_back(at);
            const auto add = [&](std::string_view block, std::size_t from, std::size_t to) {
                for (std::size_t at = from; at < to; at += 4)
                    places.push_back(synth.blockOffset(block) + at);
            };
            add("mode", 0, 152);
            add("trans", 16, 200);
            add("trans", 520, 528);
            add("attitude", 40, 88);
            add("orbit1", 40, 280);
            add("orbit2", 40, 60);
            add(channel == 0 ? "calib0" : "calib1", 28, 48);
            for (const std::size_t at : places)
                for (const int value : {0x00, 0x7F, 0xFF}) {
                    Bytes damaged = bytes;
                    std::fill_n(damaged.begin() + static_cast<std::ptrdiff_t>(at), 4,
                                static_cast<std::byte>(value));
                    tryBytes(damaged);
                }
            for (std::size_t size = bytes.size(); size > 1777; size -= 1777)
                tryBytes(std::span(bytes).first(size));
        }
}

} // namespace
