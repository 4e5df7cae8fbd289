// The converter as a program: arguments, exit status, standard error, bytes of the file.
#include "tests/frontend/hisdDisk.h"
#include "tests/synth/synthGvar.h"
#include "tests/synth/synthHrit.h"
#include "tests/synth/synthNative.h"
#include "tests/synth/synthNoaa.h"

#include <cmath>
#include <cstring>
#include <filesystem>
#include <gtest/gtest.h>
#include <sys/resource.h>

namespace {

const char* const usage =
    "Usage : nimbex [options] input-file output-file [setup-file]\n"
    "  options : -c=x (channel number, default:0)\n"
    "  options : -s[=x] (difference image mode, default:1)\n"
    "  options : -z (compress output file)\n"
    "  options : -m[=x] (multi input file, default:1)\n"
    "  options : -b[=x] (bit number per pixel, default:8)\n"
    "  options : -t=xxx (table file)\n"
    "  options : -v[=x.x] (file version, defualt:1.1)\n"
    "  options : -a[=x] (adjust reflectance by sun zenieth angle, default:1)\n"
    "  options : -g[=x] (roughen grid of projection, default:6)\n"
    "  options : -i[=x] (interpolate error line, default:0)\n"
    "  options : -n (nonlinear conversion of calibration table)\n"
    "  options : -f (flag of need for correcting calibration table)\n"
    "  options : -e (flag of extending calibration table)\n"
    "  options : -d=xxx (specify data directory)\n"
    "  options : -k[=lat0,lon0,lat1,lon1] (adjust location by landmark)\n"
    "  options : -h[/x|*x]=xxx (i/o file for shift values [rate])\n";

// An infrared disk of 110 x 110 pixels, 12 bits, whose count is 3 column + 7 line (from 1).
struct Program : testing::Test {
    Program()
    {
        diskOf(13).write(dir / "ir.dat");
        // Four columns from pixel 50, three rows from line 40, pixel by pixel.
        writeText(dir / "crop", "STDXPOS 50\nSTDYPOS 40\nSTDXNUM 4\nSTDYNUM 3\n");
        writeText(dir / "map", "STDLON 120\nSTDLAT 30\nSTDXSIZ 1\nSTDYSIZ 1\nSTDXNUM 40\n"
                               "STDYNUM 30\n");
    }
    // Runs with "out" as output; the file's bytes.
    Bytes convert(std::vector<std::string> options, const std::string& input = "ir.dat",
                  const std::string& setup = "crop")
    {
        options.insert(options.end(), {dir / input, dir / "out", dir / setup});
        const ProgramResult result = nimbex(options);
        EXPECT_EQ(result.status, 0) << result.err;
        EXPECT_EQ(result.err, "complete : 0\n");
        EXPECT_EQ(result.out, "");
        return readFile(dir / "out");
    }
    TempDir dir;
};

int intAt(const Bytes& bytes, std::size_t offset)
{
    return numberAt<std::int32_t>(bytes, offset);
}

// Offset of the first pixel of a row in a file of one-unit rows.
std::size_t rowAt(const Bytes& bytes, int row)
{
    return 256 + static_cast<std::size_t>(intAt(bytes, 256)) + 256 * static_cast<std::size_t>(row) +
           4;
}

TEST_F(Program, WritesACropByteByByte)
{
    const Bytes file = convert({"-p=crop", "-v"});
    // 4096 levels of two bytes: a table of 16384 bytes, its marks over two entries; three rows
    // of (4 x 2 + 263) / 256 = 1 unit.
    ASSERT_EQ(file.size(), 256U + 16384U + 3 * 256U);

    Bytes expected(file.size());
    const auto putInt = [&](std::size_t offset, std::int32_t value) {
        std::memcpy(&expected[offset], &value, 4);
    };
    const auto putFloat = [&](std::size_t offset, double value, double tolerance) {
        EXPECT_NEAR(static_cast<double>(numberAt<float>(file, offset)), value, tolerance)
            << "offset " << offset;
        std::memcpy(&expected[offset], &file[offset], 4);
    };
    putInt(0, 256);
    putInt(252, 256);
    std::memcpy(&expected[4], "IR      Himawa-8", 16);
    // 2020-08-01 03:00:20.5 at line 1, 580 s later at line 110, so 5.32110 s a line. The first
    // cell is line 41, column 51: 235.7627 s after 03:00; the last line 43, column 54: 246.5500 s.
    const int start[] = {20, 20, 8, 1, 3, 3, 55, 763};
    const int end[] = {20, 20, 8, 1, 3, 4, 6, 550};
    for (std::size_t i = 0; i < 8; ++i) {
        putInt(24 + 4 * i, start[i]);
        putInt(56 + 4 * i, end[i]);
    }
    putInt(92, 4);
    putInt(96, 3);
    putInt(116, 1);
    putInt(120, 2);
    // From the geometry of the format's normalised projection (CGMS 03, 4.4.3.2), computed
    // apart for pixel and line (50, 40), (53, 40), (50, 42), (53, 42). A float pixel is good to
    // 4e-6, which is 1e-5 degree here.
    const double corners[] = {13.3069673, 136.5212073, 13.3004271, 139.3088436,
                              11.4291291, 136.5561553, 11.4235926, 139.3204433};
    for (std::size_t i = 0; i < 8; ++i)
        putFloat(124 + 4 * i, corners[i], 2e-5);
    putInt(156, 4094);
    putInt(160, 1);
    putInt(164, 4094);
    putFloat(204, 0, 1e-9);
    putFloat(208, 140.7105, 1e-5);
    putFloat(212, 42166200, 4);
    std::memcpy(&expected[248], "1.1", 4);
    // Temperatures of the counts; where the radiance is not above 0 there is none.
    const SynthHisd scene = diskOf(13).resolved();
    double last = NAN;
    for (int i = 0; i < 4096; ++i) {
        const double value = scene.physical(i);
        if (!std::isnan(value)) last = value;
        if (i == 0 || i == 4095) continue;
        putFloat(256 + 4 * static_cast<std::size_t>(i), last, 1e-4);
    }
    putInt(256, 16384);
    putInt(256 + 16380, 16384);
    for (std::size_t row = 0; row < 3; ++row) {
        const std::size_t at = 256 + 16384 + 256 * row;
        putInt(at, 256);
        putInt(at + 252, 256);
        for (std::size_t column = 0; column < 4; ++column) {
            const auto count = static_cast<std::uint16_t>(3 * (51 + column) + 7 * (41 + row));
            std::memcpy(&expected[at + 4 + 2 * column], &count, 2);
        }
    }
    for (std::size_t i = 0; i < file.size(); ++i)
        ASSERT_EQ(file[i], expected[i]) << "offset " << i;
}

// Four visible pixels are one infrared one. With space on the left, pixels of the one would not be
// on the earth where those of the other are.
TEST_F(Program, ACropCountsInItsChannelsOwnPixels)
{
    SynthGvar{.west = 5001, .east = 9000}.write(dir / "gvar");
    writeText(dir / "crop", "STDXPOS 1600\nSTDYPOS 8\nSTDXNUM 1200\nSTDYNUM 40\n");
    const Bytes visible = convert({"-p=crop"}, "gvar");
    writeText(dir / "crop", "STDXPOS 400\nSTDYPOS 2\nSTDXNUM 300\nSTDYNUM 10\n");
    const Bytes infrared = convert({"-p=crop", "-c=3"}, "gvar");
    for (std::size_t i = 0; i < 8; ++i)
        EXPECT_NEAR(numberAt<float>(visible, 124 + 4 * i), numberAt<float>(infrared, 124 + 4 * i),
                    0.1)
            << i;
}

TEST_F(Program, GridHeaderHoldsTheGridsOwnEdges)
{
    const Bytes file = convert({"-b", "-f"}, "ir.dat", "map");
    EXPECT_EQ(file.size(), 256U + 1024U + 30 * 256U);
    EXPECT_EQ(intAt(file, 88), 1);
    // Pixels and lines of the grid's corners by the format's projection, computed apart: row
    // 1 N runs from 32.24 to 74.32; lines run from 23.88 to 53.41.
    EXPECT_EQ(intAt(file, 92), 43);
    EXPECT_EQ(intAt(file, 96), 30);
    EXPECT_EQ(numberAt<float>(file, 100), 1);
    EXPECT_EQ(numberAt<float>(file, 104), 1);
    EXPECT_EQ(intAt(file, 108), 40);
    EXPECT_EQ(intAt(file, 112), 30);
    EXPECT_EQ(intAt(file, 120), 1);
    const float edges[] = {30, 120, 30, 159, 1, 120, 1, 159};
    for (std::size_t i = 0; i < 8; ++i)
        EXPECT_EQ(numberAt<float>(file, 124 + 4 * i), edges[i]) << i;
    EXPECT_EQ(intAt(file, 156), 254);
    EXPECT_EQ(intAt(file, 168), 1);
    // Version 1.0 has neither satellite nor version text.
    for (std::size_t at = 192; at < 252; at += 4)
        EXPECT_EQ(intAt(file, at), 0) << at;
}

TEST_F(Program, ExtendedTableStandsBetweenItsMarks)
{
    const Bytes plain = convert({"-p=crop", "-b", "-v"});
    const Bytes extended = convert({"-p=crop", "-b", "-v", "-e"});
    EXPECT_EQ(intAt(extended, 256), 1280);
    EXPECT_EQ(intAt(extended, 256 + 1276), 1280);
    EXPECT_EQ(intAt(extended, 156), 256);
    EXPECT_EQ(intAt(extended, 164), 255);
    // Level 1 to 254 are the same bytes, 4 bytes further on.
    EXPECT_EQ(textAt(extended, 256 + 8, 254 * 4), textAt(plain, 256 + 4, 254 * 4));
}

TEST_F(Program, InversionAndTableFileWorkOnTheLevels)
{
    const Bytes plain = convert({"-p=crop", "-b", "-e"});
    const Bytes inverted = convert({"-p=crop", "-b=-8", "-e"});
    for (std::size_t i = 0; i < 256; ++i)
        EXPECT_EQ(intAt(inverted, 260 + 4 * i), intAt(plain, 260 + 4 * (255 - i)));
    EXPECT_EQ(std::to_integer<int>(inverted[rowAt(inverted, 0)]),
              255 - std::to_integer<int>(plain[rowAt(plain, 0)]));

    // Every entry far away but number 9: all pixels are 9.
    std::string table;
    for (int i = 0; i < 256; ++i)
        table += std::to_string(i) + (i == 9 ? " 250.5\n" : " 5000\n");
    writeText(dir / "table", table);
    const Bytes given = convert({"-p=crop", "-b", "-e", "-t=" + (dir / "table")});
    EXPECT_EQ(numberAt<float>(given, 260 + 4 * 9), 250.5F);
    for (std::size_t column = 0; column < 4; ++column)
        EXPECT_EQ(std::to_integer<int>(given[rowAt(given, 2) + column]), 9);

    // Without a change of the level count the counts go out from the top.
    const Bytes all = convert({"-p=crop", "-e"});
    writeText(dir / "crop", "STDXPOS 50\nSTDYPOS 40\nSTDXNUM 4\nSTDYNUM 3\nBITLEN -1\n");
    const Bytes turned = convert({"-p=crop", "-e"});
    EXPECT_EQ(numberAt<std::uint16_t>(all, rowAt(all, 0)), 440);
    EXPECT_EQ(numberAt<std::uint16_t>(turned, rowAt(turned, 0)), 4095 - 440);
}

TEST_F(Program, PixelsOffTheEarthAreAllOnesFromVersion11On)
{
    // The first column is 50 E; the limb of the equator is at 59 E.
    writeText(dir / "map", "STDLON 50\nSTDLAT 30\nSTDXSIZ 1\nSTDYSIZ 1\nSTDXNUM 40\n"
                           "STDYNUM 30\n");
    const Bytes newer = convert({"-b", "-v"}, "ir.dat", "map");
    const Bytes older = convert({"-b"}, "ir.dat", "map");
    EXPECT_EQ(std::to_integer<int>(newer[rowAt(newer, 0)]), 255);
    EXPECT_EQ(std::to_integer<int>(older[rowAt(older, 0)]), 0);
}

TEST_F(Program, LabelFollowsTheNameOptions)
{
    const struct {
        std::vector<std::string> options;
        const char* label;
    } rows[] = {
        {{"-p=crop"}, "IR      "},
        {{"-p=crop", "-y=1"}, "LWIR1   "},
        {{"-p=crop", "-y=2"}, "B13     "},
        {{"-p=crop", "-w=1"}, "MTSAT-IR"},
        {{"-p=crop", "-w=1", "-y=1"}, "MTSAT-LW"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(textAt(convert(row.options), 4, 8), row.label);
}

TEST_F(Program, AListOfSegmentsIsOneImage)
{
    std::string list;
    for (const SynthHisd& part : diskOf(13).split(10)) {
        const std::string name = dir / ("part" + std::to_string(part.segment));
        part.write(name);
        list += name + "\n";
    }
    writeText(dir / "list", list);
    // Exact positions everywhere: the lattice of a segment is not that of the disk.
    const Bytes whole = convert({"-g=1", "-v"}, "ir.dat", "map");
    for (const char* const mode : {"-m", "-m=4", "-m=9"}) {
        const Bytes merged = convert({mode, "-g=1", "-v"}, "list", "map");
        EXPECT_EQ(textAt(merged, 256, merged.size()), textAt(whole, 256, whole.size())) << mode;
        EXPECT_EQ(textAt(merged, 24, 144), textAt(whole, 24, 144)) << mode;
    }
    // More are not taken, which is said.
    writeText(dir / "eleven", list + (dir / "ir.dat") + "\n");
    const ProgramResult more = nimbex({"-m", dir / "eleven", dir / "out", dir / "map"});
    EXPECT_EQ(more.status, 0);
    EXPECT_EQ(more.err, "nimbex : " + (dir / "eleven") +
                            ": more than 10 input files are named, the rest is left out\n"
                            "complete : 0\n");
    // Mode 0 takes the first segment alone, a list of one is that file.
    writeText(dir / "one", dir / "ir.dat");
    EXPECT_EQ(convert({"-m", "-g=1", "-v"}, "one", "map"), whole);
    const ProgramResult first = nimbex({"-m=0", dir / "list", dir / "out", dir / "map"});
    EXPECT_EQ(first.status, 0);
}

TEST_F(Program, LevelsWithoutAnyValueAreSaid)
{
    SynthNgacv1 noaa;
    noaa.satellite = 1; // no central wavenumbers are known for it
    writeFile(dir / "noaa", noaa.bytes());
    const ProgramResult result =
        nimbex({"-c=3", "-p=crop", dir / "noaa", dir / "out", dir / "crop"});
    EXPECT_EQ(result.status, 0);
    EXPECT_NE(
        result.err.find("noaa: no level has a value, the channel's calibration is not known\n"),
        std::string::npos)
        << result.err;
}

TEST_F(Program, SunAdjustmentBrightensReflectanceAndLeavesTemperature)
{
    diskOf(3).write(dir / "vis.dat");
    const auto adjusted = convert({"-a", "-g=1"}, "vis.dat", "map");
    EXPECT_EQ(convert({"-a=7", "-g=1"}, "vis.dat", "map"), adjusted); // strips without a seam
    const auto plain = convert({"-g=1"}, "vis.dat", "map");
    const std::size_t at = rowAt(plain, 0);
    ASSERT_EQ(adjusted.size(), plain.size());
    int brighter = 0;
    for (std::size_t i = at; i + 1 < at + 80; i += 2) {
        const int before = numberAt<std::uint16_t>(plain, i);
        const int after = numberAt<std::uint16_t>(adjusted, i);
        EXPECT_GE(after, before);
        brighter += after > before ? 1 : 0;
    }
    EXPECT_GT(brighter, 30);
    EXPECT_EQ(convert({"-a=-2"}, "ir.dat", "map"), convert({}, "ir.dat", "map"));
}

// Of a list whose files know their own lines alone.
TEST_F(Program, SunAdjustmentOfACropReachesEverySegment)
{
    const SynthHrit whole{.annotation = "IMG_DK01VIS_200608010300_001 MTSAT1"};
    whole.write(dir / "vis");
    std::string list; // the last one first: it knows the height of the image
    for (const SynthHrit& part : whole.split(4)) {
        const std::string name = dir / ("part" + std::to_string(part.segment));
        part.write(name);
        list.insert(0, name + "\n");
    }
    writeText(dir / "list", list);
    writeText(dir / "crop", "STDXPOS 30\nSTDYPOS 10\nSTDXNUM 50\nSTDYNUM 90\n");
    const Bytes one = convert({"-p=crop", "-a=-1", "-v"}, "vis");
    const Bytes parts = convert({"-p=crop", "-a=-1", "-v", "-m"}, "list");
    EXPECT_NE(one, convert({"-p=crop", "-v"}, "vis"));
    EXPECT_EQ(textAt(parts, 256, parts.size()), textAt(one, 256, one.size()));
}

TEST_F(Program, OptionsWithoutEffectHereChangeNothing)
{
    const Bytes plain = convert({"-p=crop"});
    EXPECT_EQ(convert({"-p=crop", "-k", "-d=" + dir.path(), "-i=3", "-n", "-q"}), plain);
}

TEST_F(Program, OtherProjectionsAreCentredOnTheirDefaults)
{
    const struct {
        const char* name;
        int flag;
    } rows[] = {{"-p=ps", 0}, {"-p=disk", 0}, {"-p=merc", 0}, {"-p=lamb", 0}, {"-p=grid", 1}};
    for (const auto& row : rows) {
        const Bytes file = convert({row.name, "-b", "-v"}, "ir.dat", "none");
        EXPECT_EQ(file.size(), 256U + 1024U + 501U * 512U) << row.name;
        EXPECT_EQ(intAt(file, 88), row.flag) << row.name;
        EXPECT_EQ(intAt(file, 92) == 501, row.flag == 0) << row.name;
    }
}

struct FailureCase {
    std::vector<std::string> arguments; // "@" before a name: in the directory of the test
    int status;
    const char* says; // a part of standard error, before its last line
};

TEST_F(Program, FailuresEndWithTheirCodeAndLeaveNoOutput)
{
    writeText(dir / "empty", "\n \n");
    writeText(dir / "zeros", std::string(6000, '\0'));
    writeText(dir / "long", std::string(2600, 'x'));
    writeText(dir / "text", "no satellite image\n");
    writeText(dir / "manyNames", "a\n");
    writeText(dir / "far", "STDLON -60\nSTDLAT 30\n");
    writeText(dir / "huge", "STDXNUM 2000000000\nSTDYNUM 2000000000\n");
    SynthHisd unknown = diskOf(13);
    unknown.satellite = "Unknown";
    unknown.write(dir / "unknown.dat");
    SynthNative{}.write(dir / "native");
    const FailureCase rows[] = {
        {{"@ir.dat"}, 70, "1 file name given"},
        {{"-v"}, 70, "0 file names given"},
        {{"-c=1", "@ir.dat", "@out"}, 70, "channel 1 asked for"},
        {{"-c=-1", "@ir.dat", "@out"}, 70, "channel -1 asked for"},
        {{"-s=4", "@ir.dat", "@out"}, 70, "difference mode 4"},
        {{"@ir.dat", "@out", "@huge"}, 72, "too large"},
        {{"-p=crop", "@ir.dat", "@out", "@huge"}, 72, "too large"},
        {{"@missing", "@out"}, 73, ""},
        {{"", "@out"}, 73, "is empty"},
        {{"  ", "@out"}, 73, "is empty"},
        {{"@text", "@out"}, 73, ""},
        {{"@", "@out"}, 73, ""},
        {{"a a a a a a a a a a a", "@out"}, 73, "11 input files"},
        {{"-m", "@missing", "@out"}, 73, "cannot read the list"},
        {{"-m", "@", "@out"}, 73, "Is a directory"},
        {{"-m", "@empty", "@out"}, 73, "holds no name"},
        {{"-m", "@zeros", "@out"}, 73, "holds no name"},
        {{"-m", "@long", "@out"}, 73, "2559 expected"},
        {{"-m", "@manyNames", "@out"}, 73, ""},
        {{"@ir.dat", "@no/out", "@map"}, 74, "No such file or directory"},
        {{"@ir.dat", "@", "@map"}, 74, "Is a directory"},
        {{"@ir.dat", "@out", "@far"}, 77, "no cell of the grid"},
        {{"@unknown.dat", "@out", "@map"}, 75, ""},
        {{"-c=1", "@native", "@out", "@map"}, 75, "channel named ' None"},
    };
    for (const FailureCase& row : rows) {
        std::vector<std::string> arguments;
        std::string line;
        for (const std::string& argument : row.arguments) {
            arguments.push_back(argument.starts_with('@') ? dir / argument.substr(1) : argument);
            line += argument + " ";
        }
        const ProgramResult result = nimbex(arguments);
        const std::string ending = "error : " + std::to_string(row.status) + "\n";
        EXPECT_EQ(result.status, row.status) << line << result.err;
        EXPECT_TRUE(result.err.ends_with(ending)) << line << result.err;
        EXPECT_NE(result.err.find(row.says), std::string::npos) << line << result.err;
        EXPECT_EQ(result.out, "") << line;
        EXPECT_FALSE(std::filesystem::exists(dir / "out")) << line;
    }
}

TEST_F(Program, AGridThatMemoryCannotHoldIsNotSearched)
{
#ifdef __SANITIZE_ADDRESS__
    GTEST_SKIP() << "the sanitizer needs more address space than any limit leaves";
#endif
    // Off the image from end to end: the search would end with 77, after all 4e8 cells.
    writeText(dir / "far", "STDLON -60\nSTDLAT 30\nSTDXSIZ 0.0001\nSTDYSIZ 0.0001\n"
                           "STDXNUM 20000\nSTDYNUM 20000\n");
    const ProgramResult result =
        runProgram("/bin/bash", {"-c", "ulimit -v 524288; exec \"$@\"", "bash", NIMBEX_PROGRAM,
                                 dir / "ir.dat", dir / "out", dir / "far"});
    EXPECT_EQ(result.status, 72);
    EXPECT_NE(result.err.find("800000000 byte"), std::string::npos) << result.err;
}

TEST_F(Program, AnOutputThatCannotBeWrittenIsNotLeftHalf)
{
    const ProgramResult full = nimbex({dir / "ir.dat", "/dev/full", dir / "map"});
    EXPECT_EQ(full.status, 78);
    EXPECT_EQ(full.err, "nimbex : /dev/full: cannot write the output file: No space left on "
                        "device\nerror : 78\n");

    // A limit of 4096 bytes on every file. Its signal, too, must not end the run.
    const std::string limited = dir / "limited";
    const ProgramResult cut =
        runProgram("/bin/bash", {"-c", "ulimit -f 4; exec \"$@\"", "bash", NIMBEX_PROGRAM,
                                 dir / "ir.dat", limited, dir / "map"});
    EXPECT_EQ(cut.status, 78);
    EXPECT_NE(cut.err.find("File too large\n"), std::string::npos) << cut.err;
    EXPECT_FALSE(std::filesystem::exists(limited));
}

TEST_F(Program, NoArgumentsPrintTheUsage)
{
    const ProgramResult result = nimbex({});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, usage);
    EXPECT_EQ(result.err, "");
}

} // namespace
