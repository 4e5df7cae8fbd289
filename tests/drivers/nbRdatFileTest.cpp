#include "sat/nbSat.h"
#include "tests/drivers/rdatScene.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>

namespace {

using std::byte;

constexpr auto open = RdatScene::open;

// A little-endian number of four bytes over what a block has at an offset.
SynthPatch patch(int block, std::size_t offset, std::uint32_t value)
{
    return {.offset = offset, .bytes = numberBytes(value, 4), .block = block};
}

// The file cut, with the size in its header cut too.
SynthRdat cutTo(SynthRdat synth, std::size_t size)
{
    synth.cutAt = size;
    synth.patches.push_back(patch(2, 0, static_cast<std::uint32_t>(size)));
    return synth;
}

const SynthRdat small{.columns = 20, .lines = 12};

// Offset in the navigation block of the counts behind the orbit records.
constexpr std::size_t navCounts = 0x10 + 3 * 0xC8;

TEST(RdatOpen, BothByteOrdersFillTheObject)
{
    for (const bool big : {false, true}) {
        const SynthRdat synth{.satellite = big ? '9' : '8', .bigEndian = big};
        const TempFile file(synth.bytes());
        NbSatObject o{};
        ASSERT_EQ(nbSatOpenObject(&o, file.path().c_str()), 0); // by its format, too
        EXPECT_EQ(o.fileFormatId, 17);
        EXPECT_STREQ(o.satName, big ? "RDAT-9" : "RDAT-8");
        EXPECT_EQ(o.pixelNum, 300);
        EXPECT_EQ(o.lineNum, 200);
        // 03:00:20.5 less and, 8 s on, more 3 s.
        const std::int16_t start[6] = {2020, 8, 1, 3, 0, 17};
        const std::int16_t end[6] = {2020, 8, 1, 3, 0, 31};
        EXPECT_TRUE(std::equal(start, start + 6, o.startTime));
        EXPECT_TRUE(std::equal(end, end + 6, o.endTime));
        nbSatCloseObject(&o);
        EXPECT_EQ(RdatScene(synth).count(41, 30), 3 * 41 + 7 * 30); // the default pattern
    }
}

TEST(RdatOpen, ASizeThatIsNotTheHeadersIsRefusedThoughTheIdFits)
{
    SynthRdat shorter = small;
    shorter.cutAt = small.blockOffset(8) - 1;
    EXPECT_EQ(open(shorter).code, NB_RDAT_BAD_SIZE);
    SynthRdat longer = small;
    longer.patches = {patch(2, 0, static_cast<std::uint32_t>(small.blockOffset(8) - 1))};
    EXPECT_EQ(open(longer).code, NB_RDAT_BAD_SIZE);
    SynthRdat other = small;
    other.satellite = '7';
    EXPECT_EQ(open(other).code, NB_RDAT_BAD_SIZE);
}

TEST(RdatOpen, FilesThatCannotBeReadHaveACodeEach)
{
    const TempDir dir;
    NbSatObject o{};
    StderrCapture err;
    EXPECT_EQ(nbRdatLinkSat(&o, (dir / "none").c_str()), NB_RDAT_NO_STATUS);
    EXPECT_EQ(nbRdatLinkSat(&o, dir.path().c_str()), NB_RDAT_NO_FILE);
    EXPECT_EQ(err.get(), "NB_Error: readAllData(): Cannot get file status [" + (dir / "none") +
                             "]NB_Error: readAllData(): Cannot open file [" + dir.path() + "]");
    EXPECT_EQ(o.privateData, nullptr);
}

TEST(RdatOpen, CountsOutOfRangeAreRefusedByName)
{
    const struct {
        SynthPatch patch;
        const char* err;
    } cases[] = {
        {patch(4, 0x88, 3), "NB_Error: getCalBlock(): number of temperature id = 3 \n"},
        {patch(4, 0x90, 2), "NB_Error: getCalBlock(): temperature id = 2 \n"},
        {patch(5, 8, 0), "NB_Error: getNavBlock(): number of orbit data = 0 \n"},
        {patch(5, 8, 0xFFFFFFFF), "NB_Error: getNavBlock(): number of orbit data = -1 \n"},
        {patch(5, navCounts + 8, 0), "NB_Error: getNavBlock(): number of attitude data = 0 \n"},
    };
    for (const auto& c : cases) {
        SynthRdat synth = small;
        synth.patches = {c.patch};
        const Opening opening = open(synth);
        EXPECT_EQ(opening.code, NB_RDAT_BAD_COUNT) << c.err;
        EXPECT_EQ(opening.err, c.err);
    }
}

TEST(RdatOpen, CountsAndOffsetsBeyondTheFileAreRefusedWithOneLine)
{
    const struct {
        int block;
        std::size_t offset;
        int code;
    } cases[] = {{2, 4, 21},
                 {2, 32, 21},
                 {2, 36, 21},
                 {2, 40, 21},
                 {3, 4, 22},
                 {4, 0x94, 22},
                 {5, 8, 22},
                 {5, navCounts + 8, 22},
                 {6, 12, 22},
                 {5, navCounts + 12, 22},
                 {5, navCounts + 16, 22},
                 {5, navCounts + 20, 22}};
    for (const auto& c : cases)
        for (const std::uint32_t value : {0x7FFFFFFFU, 0x00010000U}) {
            SynthRdat synth = small;
            synth.patches = {patch(c.block, c.offset, value)};
            // A long line record in itself is no fault; there is no room for so many.
            const Opening opening = open(synth);
            EXPECT_EQ(opening.code, c.code) << c.block << ' ' << c.offset;
            EXPECT_EQ(std::count(opening.err.begin(), opening.err.end(), '\n'), 1) << opening.err;
        }
    for (const std::size_t offset : {32U, 36U, 40U}) { // no lines, columns, size of a line
        SynthRdat synth = small;
        synth.patches = {patch(2, offset, 0)};
        EXPECT_EQ(open(synth).code, NB_RDAT_BAD_SIZE) << offset;
    }
}

TEST(RdatOpen, AFileCutAnywhereIsRefused)
{
    NbSatObject o{};
    StderrCapture quiet;
    EXPECT_EQ(nbRdatLinkSat(&o, TempFile("").path().c_str()), NB_RDAT_BAD_SIZE);
    for (int block = 1; block <= 7; ++block) {
        const std::size_t begin = small.blockOffset(block);
        const std::size_t end = small.blockOffset(block + 1);
        for (const std::size_t at :
             {std::max<std::size_t>(begin, 1), begin + 1, (begin + end) / 2, end - 1}) {
            const int code = open(cutTo(small, at)).code;
            EXPECT_TRUE(code == NB_RDAT_BAD_SIZE || code == NB_RDAT_BAD_COUNT) << at;
        }
    }
}

// No byte of the header can do harm: whatever opens can be asked everything.
TEST(RdatOpen, DamagedHeadersAreRefusedOrHarmless)
{
    const std::size_t header = small.blockOffset(7);
    std::mt19937 random(7);
    StderrCapture quiet;
    int opened = 0;
    for (int round = 0; round < 600; ++round) {
        SynthRdat synth = small;
        for (int i = 0; i < 3; ++i) {
            SynthPatch p{.offset = 0x4C + random() % (header + 0x58 - 0x4C), .bytes = {}};
            const byte value{static_cast<unsigned char>(random() % 2 != 0 ? 0xFF : random())};
            p.bytes.assign(1 + random() % 8, value);
            synth.patches.push_back(p);
        }
        RdatScene scene(synth);
        if (scene.code != 0) continue;
        ++opened;
        useAll(scene, {"IR1_T"});
    }
    EXPECT_GT(opened, 100);
}

TEST(RdatDumpMode, HeadersOpenWithoutTheirTablesAndNothingHasAPlace)
{
    const Setting dump(&nb_Rdat_Dump_Mode, 1);
    SynthRdat synth = small;
    synth.orbitCount = 0;
    RdatScene scene(synth);
    ASSERT_EQ(scene.code, 0);
    EXPECT_EQ(scene.count(2, 1), 13);
    EXPECT_EQ(scene.toEarth(2, 1).lat, -9999.0);
    EXPECT_EQ(scene.toImage(140, 30).line, -9999.0F);
    ASSERT_EQ(scene.select("IR1_T"), 20001);
    EXPECT_EQ(scene.value(2, 1), -1.0F);
    double position[3];
    EXPECT_EQ(scene.object.GetSatPosEf(scene.p(), 0, position), -1);
}

TEST(RdatTables, WithoutOneEntryThatCountsAFileHasNoLineOfSight)
{
    SynthRdat synth = small;
    synth.mirrorCount = 0;
    const Opening opening = open(synth);
    EXPECT_EQ(opening.code, NB_RDAT_BAD_COUNT);
    EXPECT_EQ(opening.err, "NB_Error: interpolate(): mirror angle: all data are invalid \n");
}

TEST(RdatTables, OptionalOnesMayBeEmptyAndAreSaidToBe)
{
    SynthRdat synth = small;
    synth.temperatures[1] = {-1, -5}; // marked
    synth.distortionCount = synth.coregistrationCount = 0;
    const Opening opening = open(synth);
    EXPECT_EQ(opening.code, 0);
    EXPECT_EQ(opening.err, "NB_Error: interpolate(): mirror temperature: all data are invalid \n"
                           "NB_Error: interpolate(): distortion: all data are invalid \n"
                           "NB_Error: interpolate(): coregistration: all data are invalid \n");
}

} // namespace
