#include "geo/nbDate.h"
#include "sat/nbSat.h"
#include "tests/drivers/hritScene.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <random>

namespace {

Opening openBytes(std::span<const std::byte> bytes)
{
    StderrCapture err;
    const HritScene scene(bytes);
    return {scene.code, err.get()};
}
constexpr auto open = HritScene::open;

// The file with a 16-bit number changed, `offset` bytes into its k-th record.
std::vector<std::byte> patched(const SynthHrit& synth, int k, std::size_t offset, unsigned value)
{
    std::vector<std::byte> bytes = synth.bytes();
    const std::size_t at = synth.recordOffset(k) + offset;
    bytes[at] = static_cast<std::byte>(value >> 8);
    bytes[at + 1] = static_cast<std::byte>(value);
    return bytes;
}

class Environment {
public:
    Environment(const char* name, const std::string& value) : name_(name)
    {
        setenv(name, value.c_str(), 1);
    }
    ~Environment() { unsetenv(name_); }

private:
    const char* name_;
};

TEST(HritOpen, BothByteOrdersFillTheObject)
{
    for (const bool big : {true, false}) {
        const HritScene scene({.firstLine = 41, .lines = 30, .bigEndian = big});
        ASSERT_EQ(scene.code, 0);
        const NbSatObject& o = scene.object;
        EXPECT_STREQ(o.satName, "MTSAT-1R");
        EXPECT_EQ(o.pixelNum, 110);
        EXPECT_EQ(o.lineNum, 70); // a segment's height is the number of its last line
        // 28.8 min over 110 lines from 03:00: line 41 at 03:10:34.1. The end is one line's
        // step behind the time of line 70: 03:18:29.7.
        const std::int16_t start[6] = {2006, 8, 1, 3, 10, 34};
        const std::int16_t end[6] = {2006, 8, 1, 3, 18, 29};
        EXPECT_TRUE(std::equal(start, start + 6, o.startTime));
        EXPECT_TRUE(std::equal(end, end + 6, o.endTime));
        // Line 41, column 50 in the default pattern: (3 * 50 + 7 * 41) mod 1000.
        EXPECT_EQ(scene.count(49, 40), 437);
    }
}

TEST(HritOpen, TheSatelliteIsNamedByAnnotationOrLongitude)
{
    const struct {
        const char* annotation;
        const char* projection;
        const char* name;
    } cases[] = {
        {"IR1 MTSAT1", "GEOS(145.0)", "MTSAT-1R"},
        {"IR1 MTSAT-1R", "GEOS(145.0)", "MTSAT-1R"},
        {"IR1 MTSAT2", "GEOS(140.0)", "MTSAT-2"},
        {"IR1 MTSAT-2", "GEOS(140.0)", "MTSAT-2"},
        {"B13", "GEOS(140.7)", "Himawari"},
        {"B13", "GEOS(140.6)", "MTSAT-1R"},
        {"B13", "GEOS(140.8)", "MTSAT-1R"},
        {"IR1", "GEOS(137.5)", "HRIT"},
        {"IR1", "GEOS(142.5)", "MTSAT-2"},
        {"IR1", "GEOS(147.5)", "HRIT"},
        {"IR1", "GEOS", "MTSAT-1R"},
        {"IR1", "POLAR(N,150.0)", "MTSAT-1R"},
    };
    for (const auto& c : cases) {
        const HritScene scene({.annotation = c.annotation, .projection = c.projection});
        EXPECT_STREQ(scene.object.satName, c.name) << c.annotation << ' ' << c.projection;
    }
}

TEST(HritOpen, TheFileIsCutInAnyRecord)
{
    const SynthHrit whole{.quality = "LINE:=3\rERROR:=0.5\r"};
    const std::vector<std::byte> bytes = whole.bytes();
    for (int k = 0; k < 10; ++k) {
        const std::size_t begin = whole.recordOffset(k);
        const std::size_t end = whole.recordOffset(k + 1);
        for (const std::size_t at : {begin, begin + 1, begin + 3, end - 1}) {
            const Opening opening = openBytes({bytes.begin(), bytes.begin() + std::ptrdiff_t(at)});
            EXPECT_EQ(opening.code, NB_HRIT_SHORT) << at;
            EXPECT_NE(opening.err.find("scene.dat: header record "), std::string::npos);
            EXPECT_EQ(std::count(opening.err.begin(), opening.err.end(), '\n'), 1) << opening.err;
        }
    }
    // Behind the headers: the image reads as zeros, which is said.
    const auto headers = std::span<const std::byte>(bytes).first(whole.recordOffset(10));
    EXPECT_TRUE(openBytes(headers).err.ends_with(
        ": the raster has 0 bytes, expected 24200; the rest reads as 0\n"));
    const HritScene scene(headers);
    ASSERT_EQ(scene.code, 0);
    EXPECT_EQ(scene.count(20, 60), 0);
    EXPECT_EQ(openBytes(patched({}, 3, 1, 40960)).code, NB_HRIT_SHORT);
    StderrCapture err;
    NbSatObject object{};
    EXPECT_EQ(nbHritLinkSat(&object, "/nowhere/scene.dat"), NB_HRIT_NO_FILE);
    EXPECT_EQ(err.get(), "");
}

TEST(HritOpen, WhatIsNoReadableImageIsRefused)
{
    const std::string name = "NB_Error: nbHritOpenFile() : ";
    const Opening text = open({.fileType = 1});
    EXPECT_EQ(text.code, NB_HRIT_UNREADABLE);
    EXPECT_EQ(text.err, name + "このファイルは画像ファイルではありません\n");
    const Opening eight = open({.bitsPerPixel = 8});
    EXPECT_EQ(eight.code, NB_HRIT_UNREADABLE);
    EXPECT_EQ(eight.err, name + "NIMBL は 1Byte HRIT には対応していません\n");
    const Opening lossy = open({.compression = 2});
    EXPECT_EQ(lossy.code, NB_HRIT_UNREADABLE);
    EXPECT_EQ(lossy.err, name + "このバージョンのNIMBLは非可逆JPEGには対応していません\n");
    EXPECT_EQ(open({.compression = 3}).code, 0);
}

TEST(HritOpen, SizesThatNothingCanRestOnAreRefusedWithOneLine)
{
    SynthHrit huge;
    huge.calib = "0:=300\r70000:=200\r";
    SynthHrit overflow;
    overflow.calib = "0:=300\r99999999999999999999:=200\r";
    const std::vector<std::byte> cases[] = {
        patched({}, 1, 4, 0),
        patched({}, 1, 4, 40000), // columns
        patched({}, 1, 6, 0),
        patched({}, 1, 6, 65535), // lines
        patched({}, 6, 5, 32700),
        patched({}, 6, 5, 65535), // first line
        huge.bytes(),
        overflow.bytes(),
    };
    for (const auto& c : cases) {
        const Opening opening = openBytes(c);
        EXPECT_EQ(opening.code, NB_HRIT_SHORT);
        EXPECT_NE(opening.err.find("scene.dat: header record "), std::string::npos) << opening.err;
        EXPECT_EQ(std::count(opening.err.begin(), opening.err.end(), '\n'), 1) << opening.err;
    }
}

TEST(HritOpen, EmptyTablesAreDefined)
{
    // Without a calibration table there is nothing to convert with. A line feed spoils a line.
    for (const char* calib : {"-", "\r\r\r", "_NAME:=IR1\r", "\n0:=300\r\n1:=200\r", "0=300\r"}) {
        const Opening opening = open({.calib = calib});
        EXPECT_EQ(opening.code, NB_HRIT_SHORT) << calib;
        EXPECT_NE(opening.err.find("record 3 has no calibration table\n"), std::string::npos);
    }
    // Without compensation the header's offsets hold, without times there is no scan time.
    const HritScene scene({.coff = 50, .comp = "-", .times = "-"});
    ASSERT_EQ(scene.code, 0);
    EXPECT_EQ(scene.count(49, 40), 437);
    NbPointInfo info{};
    info.time = -7;
    EXPECT_NE(scene.toEarth(50, 50, &info).lon, -9999.0);
    EXPECT_EQ(info.time, -7);
}

TEST(HritOpen, LinesOfAnyLengthAndOrderAreTakenOrPassedOver)
{
    const std::string noise(5000, 'x');
    SynthHrit synth;
    synth.calib = noise + "\r10:=  250.5 K" + noise + "\r0:=+300\r" + std::string(3000, '0') +
                  "20:=200\r:=\r5\r";
    synth.comp = "COFF:=9\rLINE" + noise + ":=1" + noise + "\r" + noise +
                 "\rLOFF:=55\rCOFF:=52\rLOFF:=99\rLINE:=2\rCOFF:=1e999";
    HritScene scene(synth);
    ASSERT_EQ(scene.code, 0);
    ASSERT_EQ(scene.select("IR1_T"), 20001);
    EXPECT_EQ(scene.size[2], 21);
    const auto table = scene.table("IR1_T");
    ASSERT_EQ(table.size(), 21U);
    EXPECT_EQ(table[0], 300);
    EXPECT_EQ(table[5], 275.25F);
    EXPECT_EQ(table[15], 225.25F);
    EXPECT_EQ(table[20], 200);
    // The one whole group: column 52 and line 55 of the centre, against 55 and 55 in the header.
    EXPECT_EQ(scene.count(40, 30), -1); // above the 21 levels
    ASSERT_EQ(scene.select("IR1"), 10001);
    SynthHrit counts = synth;
    counts.fill = [](int, std::span<std::uint16_t> line) {
        for (std::size_t i = 0; i < line.size(); ++i)
            line[i] = static_cast<std::uint16_t>(i % 20);
    };
    EXPECT_EQ(HritScene(counts).count(50, 30), 47 % 20);
}

TEST(HritOpen, DamagedHeadersNeverCrash)
{
    const SynthHrit whole{.annotation = "IR1 MTSAT2",
                          .columns = 60,
                          .imageLines = 40,
                          .calib = "0:=330\r511:=250.5\r1023:=130\r65535:=130\r",
                          .quality = "LINE:=3\rERROR:=1.5\rLINE:=9\rERROR:=0\r",
                          .fill = [](int, std::span<std::uint16_t> counts) {
                              std::ranges::fill(counts, std::uint16_t{1023});
                          }};
    const std::vector<std::byte> good = whole.bytes();
    const std::size_t header = whole.recordOffset(10);
    std::mt19937 random(1);
    const std::string letters = ":=\r-+.e019LINECOFT(,\n\xff";
    int opened = 0;
    const StderrCapture quiet;
    for (int round = 0; round < 1000; ++round) {
        std::vector<std::byte> bytes = good;
        for (unsigned i = 0; i < 1 + random() % 12; ++i) {
            const bool text = random() % 3 != 0;
            bytes[random() % header] =
                static_cast<std::byte>(text ? letters[random() % letters.size()] : random() % 256);
        }
        HritScene scene(bytes);
        if (scene.code != 0) continue;
        ++opened;
        useAll(scene, {"IR1_R"});
    }
    EXPECT_GT(opened, 100);
}

TEST(HritOpen, UnknownProjectionsOpenWithoutNavigation)
{
    const HritScene scene({.projection = "LAMBERT(30.0)"});
    ASSERT_EQ(scene.code, 0);
    EXPECT_EQ(scene.object.LonLatHgtToPixLinInfo, nullptr);
    EXPECT_EQ(scene.object.PixLinToLonLatInfo, nullptr);
    EXPECT_EQ(scene.count(49, 40), 437);
}

TEST(HritOpen, TheWholeImageIsReadAtOnceWhenAsked)
{
    nb_hrit_get_alldata = 1;
    {
        const HritScene scene({.bigEndian = true});
        ASSERT_EQ(scene.code, 0);
        ASSERT_NE(nb_hrit_frameData, nullptr);
        // Line 41, column 50 of 110, in the file's order: 437 is 0x01B5.
        const std::byte* bytes = reinterpret_cast<const std::byte*>(nb_hrit_frameData);
        EXPECT_EQ(int(bytes[2 * (40 * 110 + 49)]), 1);
        EXPECT_EQ(int(bytes[2 * (40 * 110 + 49) + 1]), 0xB5);
        writeText(scene.path(), ""); // the file itself is not read any more
        EXPECT_EQ(scene.count(49, 40), 437);
    }
    EXPECT_EQ(nb_hrit_frameData, nullptr);
    std::vector<std::byte> bytes = SynthHrit{}.bytes();
    bytes.pop_back();
    EXPECT_EQ(openBytes(bytes).code, NB_HRIT_SHORT);
    nb_hrit_get_alldata = 0;
}

// A scan time file of `n` pixels in the byte order of a file: pixel i has the time 100 + i.
std::vector<std::byte> scanTimes(int n, bool big)
{
    std::vector<std::byte> bytes;
    for (int i = 0; i < n; ++i) {
        const double value = 100 + i;
        std::byte raw[8];
        std::memcpy(raw, &value, 8);
        if (big) std::reverse(raw, raw + 8);
        bytes.insert(bytes.end(), raw, raw + 8);
    }
    return bytes;
}

double timeAt(const HritScene& scene, float pixel, float line)
{
    NbPointInfo info{};
    info.time = -7;
    scene.toEarth(pixel, line, &info);
    return info.time;
}

TEST(HritScanTime, ComesFromARasterByTheEnvironment)
{
    for (const bool big : {true, false}) {
        const TempFile times(scanTimes(110 * 50, big));
        const Environment name("NB_HRIT_SCANTIME", times.path());
        const HritScene infrared({.bigEndian = big});
        EXPECT_EQ(timeAt(infrared, 7, 20), 100 + 20 * 110 + 7);
        // Deliberate: past the raster the mark -1.0 is turned round too, into a time above 0.
        EXPECT_EQ(timeAt(infrared, 7, 90) < 1e-300, true);
        EXPECT_EQ(timeAt(infrared, 7, 90) > 0, big);
        // The grid of visible files is four times as dense: 110 / 4 = 27 to a row.
        const HritScene visible({.annotation = "VIS MTSAT1", .bigEndian = big});
        EXPECT_EQ(timeAt(visible, 50, 60), 100 + 15 * 27 + 12);
    }
    const Environment name("NB_HRIT_SCANTIME", "/nowhere/times");
    const Opening opening = open(SynthHrit{});
    EXPECT_EQ(opening.code, 0);
    EXPECT_EQ(opening.err, "NB_Warn: Can't Open Scan Time File [/nowhere/times] \n");
}

TEST(HritScanTime, TheSettingServesWhenTheEnvironmentIsSilent)
{
    const TempFile times(scanTimes(500, true));
    times.path().copy(nb_Hrit_STF, sizeof nb_Hrit_STF - 1);
    const HritScene scene(SynthHrit{});
    std::memset(nb_Hrit_STF, 0, sizeof nb_Hrit_STF);
    // Pixel 30 of line 2 sees space: only the time is there.
    EXPECT_EQ(timeAt(scene, 30, 2), 100 + 2 * 110 + 30);
}

TEST(HritScanTime, ComesFromTheTableByLineAndColumn)
{
    const HritScene scene(
        {.columns = 101,
         .imageLines = 101,
         .times = "LINE:=11\rTIME:=100\rLINE:=21\rTIME:=101\rLINE:=22\rTIME:=102"});
    EXPECT_EQ(timeAt(scene, 0, 10), 100);
    EXPECT_DOUBLE_EQ(timeAt(scene, 0, 14), 100.4);   // between two entries
    EXPECT_DOUBLE_EQ(timeAt(scene, 50, 14), 100.45); // half the way to the next line's 100.5
    // The last line has no next one and goes on by the step from the line before it.
    EXPECT_DOUBLE_EQ(timeAt(scene, 25, 21), 102.25);
    EXPECT_EQ(timeAt(scene, 0, 22), -7); // no line of the table
    EXPECT_EQ(timeAt(scene, 0, 9), -7);
}

TEST(HritOpen, TenObjectsKeepTheirOwnErrorBlocks)
{
    // Line 30 of file i has a run of error counts from column 20 + i on.
    std::vector<SynthHrit> files(10, {.annotation = "IR1 MTSAT2"});
    std::vector<std::unique_ptr<HritScene>> scenes;
    for (int i = 0; i < 10; ++i) {
        files[static_cast<std::size_t>(i)].fill = [i](int line, std::span<std::uint16_t> counts) {
            std::ranges::fill(counts, static_cast<std::uint16_t>(100 + i));
            if (line == 30) std::fill_n(counts.begin() + 20 + i, 30, std::uint16_t{1023});
        };
        scenes.push_back(std::make_unique<HritScene>(files[static_cast<std::size_t>(i)]));
        scenes.back()->object.SetStopGap(scenes.back()->p(), 1);
    }
    for (int i = 9; i >= 0; --i) {
        const HritScene& scene = *scenes[static_cast<std::size_t>(i)];
        EXPECT_EQ(scene.row(29, 60, 10), Row(60, static_cast<std::int16_t>(100 + i))) << i;
    }
}

} // namespace
