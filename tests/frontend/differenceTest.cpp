// Difference images: names, the level plane, and the program on pairs of files.
#include "frontend/difference.h"
#include "frontend/mapGrid.h"
#include "frontend/recover.h"
#include "sat/nbSat.h"
#include "tests/frontend/hisdDisk.h"
#include "tests/sat/fakeDriver.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <gtest/gtest.h>

namespace {

TEST(DifferencePaths, FollowTheChannelsWord)
{
    const struct {
        int mode;
        const char* input;
        const char* first; // null: no word in the name
        const char* second;
    } rows[] = {
        {1, "IMG_IR1.dat", "IMG_IR1.dat", "IMG_IR2.dat"},
        {1, "IMG_SP1.dat", "IMG_IR1.dat", "IMG_IR1.dat"}, // not IR2
        {1, "SP1/x_IR1", "IR1/x_IR1", "IR1/x_IR2"},
        {1, "/IR1/x_IR1", "/IR1/x_IR1", "/IR2/x_IR2"},
        {1, "IR1IR1IR1", "IR1IR1IR1", "IR2IR2IR1"},
        {1, "IR1_B13", "IR1_B13", "IR2_B13"},
        {1, "B13/HS_B13", "B13/HS_B13", "B15/HS_B13"},
        {1, "ir1_x.dat", "ir1_x.dat", "ir2_x.dat"},
        {1, "x_sp1", "x_ir1", "x_ir1"},
        {1, "hs_b13", "hs_b13", "hs_b15"},
        {1, "ir1_B13", "ir1_B13", "ir1_B15"}, // capitals before small letters
        {1, "Ir1_b07", nullptr, nullptr},
        {2, "IMG_SP2", "IMG_IR4", "IMG_IR1"},
        {2, "SP2IR4", "IR4IR4", "IR1IR1"},
        {2, "HS_B07", "HS_B07", "HS_B13"},
        {2, "HS_B13", nullptr, nullptr},
        {3, "IMG_SP3", "IMG_IR1", "IMG_IR3"},
        {3, "HS_B13", "HS_B13", "HS_B08"},
        {3, "IR4", nullptr, nullptr},
    };
    for (const auto& row : rows) {
        const auto paths = differencePaths(row.mode, row.input);
        ASSERT_EQ(paths.has_value(), row.first != nullptr) << row.mode << " " << row.input;
        if (!paths) continue;
        EXPECT_EQ(paths->first, row.first) << row.mode << " " << row.input;
        EXPECT_EQ(paths->second, row.second) << row.mode << " " << row.input;
    }
}

// One file with several channels: "IR" counts, 100 levels of 0.5 K from 200 K up; "IR2" counts,
// 60 levels of 1 K from 190 K up; "AVHRR3" without a temperature table, 101 levels.
struct MultiChannel {
    MultiChannel()
    {
        image.pixels = 6;
        image.lines = 4;
        image.lon0 = 0;
        image.lat0 = 3;
        image.lonPerPixel = 1;
        image.latPerLine = -1;
        image.slots.SetElements = [](void* p, const char* name, int* px, int* li, int* lev,
                                     float* error) {
            FakeImage& f = *static_cast<FakeImage*>(p);
            const std::string_view wanted = name;
            const std::string_view channel = wanted.substr(0, wanted.find('_'));
            if (channel == "IR")
                f.levels = 100;
            else if (channel == "IR2")
                f.levels = 60;
            else if (channel == "AVHRR3")
                f.levels = 101;
            else
                return -1;
            f.element = wanted;
            *px = f.pixels;
            *li = f.lines;
            *lev = f.levels;
            *error = channel == "IR2" ? 65535.0F : 65534.0F;
            return wanted == channel ? 10001 : 20001;
        };
        image.slots.GetCalTable = [](void*, const char* name, float* table, int* n) {
            const std::string_view wanted = name;
            if (wanted == "AVHRR3_T") return -1;
            for (int i = 0; i < *n; ++i)
                table[i] = wanted == "IR_T" ? 200.0F + 0.5F * static_cast<float>(i)
                                            : 190.0F + static_cast<float>(i);
            return 0;
        };
        *inputs.first() = image.open();
        map = defaultMap(2);
        map.baseLon = 0;
        map.baseLat = 3;
        map.stepX = map.stepY = 1;
        map.xNum = 7; // one column off the image
        map.yNum = 4;
        map.roughX = map.roughY = 1;
    }
    int run(int mode)
    {
        const NbDifference& difference = *differenceOf(mode);
        selectDifferenceElement(inputs.first(), difference.first);
        cells = NbPlane<std::int16_t>(
            static_cast<std::size_t>(map.xNum) * static_cast<std::size_t>(map.yNum), "test");
        return MakeDifImg(inputs, "", difference, settings, map, cells, errorLevel);
    }
    int cell(int column, int row)
    {
        return cells.span()[static_cast<std::size_t>(row * map.xNum + column)];
    }

    FakeImage image;
    NbInputs inputs;
    NbProjPara map{};
    NbSettings settings;
    NbPlane<std::int16_t> cells;
    std::int16_t errorLevel = 0;
};

TEST(MakeDifImg, SubtractsTwoChannelsOfOneFile)
{
    MultiChannel file;
    file.image.count = [&](int pixel, int line) {
        // Line 0: 205 K less 190 to 240 K. Line 1: missing in one channel. Line 2: a level that
        // the channel's table does not have.
        const bool first = file.image.element == "IR";
        if (line == 0) return first ? 10 : 10 * pixel;
        if (line == 1) return (pixel == 1) == first ? -1 : 20;
        return first ? 50 : 60;
    };
    ASSERT_EQ(file.run(1), NB_RUN_COMPLETE);
    // 205 - 190 is above 12.7: level 99. 205 - 200 = 5: (5 + 12.8) x 99 / 25.5 = 69.1.
    // 205 - 210 = -5: 7.8 x 99 / 25.5 = 30.3. 205 - 220 is below -12.8: level 0.
    const int levels[] = {99, 69, 30, 0, 0, 0};
    for (int column = 0; column < 6; ++column)
        EXPECT_EQ(file.cell(column, 0), levels[column]) << column;
    EXPECT_EQ(file.cell(0, 1), 0);
    EXPECT_EQ(file.cell(1, 1), 0);
    EXPECT_EQ(file.cell(3, 2), 0);
    // Off the image: the first element's error value, 65534 as 16 bits.
    EXPECT_EQ(file.cell(6, 0), -2);
    EXPECT_EQ(file.errorLevel, -2);
    EXPECT_EQ(file.inputs.first()->levelNum, 100);
}

TEST(MakeDifImg, TheScalesEndsAreItsEndLevels)
{
    NbDifferencePlane first;
    NbDifferencePlane second;
    first.table = {-12.8F, 12.7F, 0.0F, NAN};
    second.table = {0.0F};
    std::vector<std::int16_t> cells = {0, 1, 2, 3, 4, -1};
    std::vector<std::int16_t> zeros(cells.size(), 0);
    first.cells = cells;
    second.cells = zeros;
    first.owner = NbPlane<std::uint8_t>(cells.size(), "test");
    second.owner = NbPlane<std::uint8_t>(cells.size(), "test");
    subtractPlanes(first, second, *differenceOf(1), 5, 260);
    // 0 K lies 12.8 / 25.5 x 255 = 128 levels up.
    EXPECT_EQ(cells, (std::vector<std::int16_t>{5, 260, 133, 5, 5, 5}));
}

TEST(MakeDifImg, ACropGetsItsSizeFromTheImage)
{
    MultiChannel file;
    file.image.count = [&](int pixel, int line) {
        return file.image.element == "IR" ? 10 * line : pixel;
    };
    file.map = defaultMap(-1);
    file.map.stepY = 2; // two rows of the four lines; all six columns
    ASSERT_EQ(file.run(1), NB_RUN_COMPLETE);
    EXPECT_EQ(file.map.xNum, 6);
    EXPECT_EQ(file.map.yNum, 2);
    ASSERT_EQ(file.cells.size(), 12U);
    // Line 2, pixel 3: 210 - 193 K is above the scale. Line 0: 200 - 193 = 7 K, 19.8 x 99 / 25.5
    // = 76.9.
    EXPECT_EQ(file.cell(3, 0), 77);
    EXPECT_EQ(file.cell(3, 1), 99);
}

// Deliberate behaviour: without a temperature table the plain levels are a line from 173 K up.
TEST(MakeDifImg, AFileWithoutATableCountsItsLevelsOnALine)
{
    MultiChannel file;
    file.image.count = [&](int, int) { return file.image.element == "IR" ? 20 : 40; };
    ASSERT_EQ(file.run(2), NB_RUN_COMPLETE); // "AVHRR3_T" in the place of "IR4_T"
    // 173 + 40 x 1.5 = 233 K less 210 K: (23 + 12.8) x 100 / 63.9 = 56.03.
    EXPECT_EQ(file.cell(0, 0), 56);
}

TEST(MakeDifImg, FailuresHaveTheirCodes)
{
    MultiChannel file;
    StderrCapture text;                             // the library's log
    EXPECT_EQ(file.run(3), NB_RUN_UNKNOWN_CHANNEL); // no "IR3_T"
    file.image.dataResult = -1;
    EXPECT_EQ(file.run(1), NB_RUN_FAILED);
}

TEST(AdjCalTbl, CorrectsOneChannelOfOneFormatWhenAsked)
{
    // 300 K: 1.0698 x 300 - 10.959. 233.15 K is -40 degrees: 25.6 - 74.08 + 4.668 - 0.3799 =
    // -44.1919. 190 K: 0.8763 x 190 + 16.331. The borders belong to the middle part: at 253.16
    // 259.87..., at 253.15 (float below it) -20 degrees: 3.2 - 18.52 + 2.334 - 0.3799 =
    // -13.3659.
    const std::vector<float> plain = {300, 233.15F, 190, 253.15F, 198.16F};
    const double corrected[] = {309.981, 228.9581, 182.828, 259.7841, 0};
    FakeImage image;
    NbSatObject object = image.open();
    object.GetChannel = [](void*, int) { return 4; };
    const auto table = [&](bool nonlinear, int format) {
        std::vector<float> values = plain;
        object.fileFormatId = format;
        AdjCalTbl(&object, nonlinear, values);
        object.fileFormatId = NB_FORMAT_MTP;
        return values;
    };
    EXPECT_EQ(table(false, NB_FORMAT_HRIT), plain);
    EXPECT_EQ(table(true, NB_FORMAT_MTP), plain);
    const std::vector<float> values = table(true, NB_FORMAT_HRIT);
    for (std::size_t i = 0; i < 4; ++i)
        EXPECT_NEAR(static_cast<double>(values[i]), corrected[i], 1e-4) << plain[i];
    object.GetChannel = [](void*, int) { return 3; };
    EXPECT_EQ(table(true, NB_FORMAT_HRIT), plain);
    nbSatCloseObject(&object);
}

struct Pair {
    int mode;
    int first; // bands
    int second;
    double low; // scale, K
    double high;
    const char* label;
};
const Pair pairs[] = {
    {1, 13, 15, -12.8, 12.7, "SP      "},
    {2, 7, 13, -12.8, 51.1, "S2      "},
    {3, 13, 8, -12.8, 51.1, "S3      "},
};

// Files of two bands whose temperatures differ by a ramp over the columns, somewhat wider than
// the scale, to the nearest count of the second.
struct DifferenceRun : testing::Test {
    DifferenceRun()
    {
        writeText(dir / "map", "STDLON 120\nSTDLAT 30\nSTDXSIZ 1\nSTDYSIZ 1\nSTDXNUM 60\n"
                               "STDYNUM 40\nPRJCLON 140\n");
        // The first columns are off the earth: the limb of the equator is at 59 E.
        writeText(dir / "limb", "STDLON 50\nSTDLAT 20\nSTDXSIZ 1\nSTDYSIZ 1\nSTDXNUM 110\n"
                                "STDYNUM 40\n");
        writeText(dir / "km", "PRJCLON 140\nSTDLON 140\nSTDLAT 15\nSTDXPOS 20\nSTDYPOS 15\n"
                              "STDXSIZ 100\nSTDYSIZ 100\nSTDXNUM 40\nSTDYNUM 30\n");
    }

    std::string path(int band, const std::string& prefix = "HS_B")
    {
        return dir / (prefix + (band < 10 ? "0" : "") + std::to_string(band) + ".dat");
    }
    void writePair(const Pair& pair)
    {
        const auto scene = [&](int band) {
            SynthHisd s = diskOf(band);
            s.errorLines = {{60, 1}};
            return s.resolved();
        };
        SynthHisd first = scene(pair.first);
        SynthHisd second = scene(pair.second);
        const int firstLevels = 1 << first.validBits;
        // The count whose temperature is nearest; temperature falls or rises with the count.
        std::vector<double> table;
        for (int i = 0; i < 1 << second.validBits; ++i)
            table.push_back(second.physical(i));
        const auto nearest = [table](double temperature) {
            const auto distance = [&](double t) {
                return std::isnan(t) ? 1e9 : std::fabs(t - temperature);
            };
            const auto best = std::ranges::min_element(table, {}, distance);
            return static_cast<int>(best - table.begin());
        };
        const auto firstCount = [firstLevels](int column, int line) {
            return firstLevels / 4 + (firstLevels / 300) * ((7 * line + column) % 20);
        };
        const SynthHisd counts = first;
        // Space has counts too, so that a cell without one is a cell without a pixel.
        first.fill = [=](int line, std::span<std::uint16_t> out) {
            for (int i = 1; i <= 110; ++i)
                out[static_cast<std::size_t>(i - 1)] =
                    static_cast<std::uint16_t>(firstCount(i, line));
        };
        second.fill = [=](int line, std::span<std::uint16_t> out) {
            for (int i = 1; i <= 110; ++i) {
                const double ramp = pair.low - 3 + (pair.high - pair.low + 6) * (i - 30) / 50.0;
                const double t = counts.physical(firstCount(i, line)) - ramp;
                out[static_cast<std::size_t>(i - 1)] = line == 60 && i == 55
                                                           ? counts.errorCount
                                                           : static_cast<std::uint16_t>(nearest(t));
            }
        };
        first.write(path(pair.first));
        second.write(path(pair.second));
    }
    GridFile convert(std::vector<std::string> options, const std::string& input,
                     const std::string& setup)
    {
        options.insert(options.end(), {"-v", "-e", input, dir / "out", dir / setup});
        const ProgramResult result = nimbex(options);
        EXPECT_EQ(result.status, 0) << result.err;
        err = result.err;
        return GridFile(dir / "out");
    }
    // Compares a difference, cell by cell, with the temperatures of the counts that two runs of
    // one channel each give for the same map; the counts' temperatures by Planck's law in double
    // precision. Gives the number of cells compared.
    int check(const Pair& pair, const std::vector<std::string>& options,
              const std::vector<std::string>& common, const std::string& setup)
    {
        std::vector<std::string> all = common;
        all.insert(all.end(), options.begin(), options.end());
        all.push_back("-s=" + std::to_string(pair.mode));
        const GridFile difference = convert(all, path(pair.first), setup);
        const GridFile a = convert(common, path(pair.first), setup);
        const GridFile b = convert(common, path(pair.second), setup);
        EXPECT_EQ(difference.label(), pair.label);
        EXPECT_EQ(difference.cells.size(), a.cells.size());
        if (difference.cells.size() != a.cells.size()) return 0;
        const int none = difference.pixelBytes == 1 ? 255 : 65535;
        const SynthHisd first = diskOf(pair.first).resolved();
        const SynthHisd second = diskOf(pair.second).resolved();
        // Levels of the first channel, then the nearest entry of the table.
        const double step = (pair.high - pair.low) / ((1 << first.validBits) - 1);
        int compared = 0;
        errors = 0;
        for (std::size_t i = 0; i < a.cells.size(); ++i) {
            const int cell = difference.cells[i];
            if (a.cells[i] == 65535 && b.cells[i] == 65535) { // off the image
                EXPECT_EQ(cell, none) << i;
                continue;
            }
            // An error pixel is the scale's low end.
            const bool isError = a.cells[i] == 65535 || b.cells[i] == 65535;
            errors += isError ? 1 : 0;
            const double kelvin =
                isError ? pair.low
                        : std::clamp(first.physical(a.cells[i]) - second.physical(b.cells[i]),
                                     pair.low, pair.high);
            double nearest = 1e9;
            for (const float value : difference.table)
                nearest = std::min(nearest, std::fabs(static_cast<double>(value) - kelvin));
            EXPECT_LE(cell, difference.high);
            if (cell > difference.high) return 0;
            const double written =
                static_cast<double>(difference.table[static_cast<std::size_t>(cell)]);
            // Two floats of 300 K are good to 3e-5.
            EXPECT_LE(std::fabs(written - kelvin), nearest + step + 1e-4) << i;
            ++compared;
        }
        return compared;
    }

    TempDir dir;
    std::string err; // of the last run
    int errors = 0;  // error pixels among the cells of the last comparison
};

TEST_F(DifferenceRun, EveryPairGivesItsTrueDifferenceAtEachPixel)
{
    for (const Pair& pair : pairs) {
        writePair(pair);
        EXPECT_EQ(check(pair, {}, {}, "map"), 2400);
        EXPECT_EQ(errors, 1);
        EXPECT_GT(check(pair, {}, {}, "limb"), 3000);
        const GridFile file = convert({"-s=" + std::to_string(pair.mode)}, path(pair.first), "map");
        EXPECT_EQ(file.high, (1 << diskOf(pair.first).resolved().validBits) - 1);
        EXPECT_NEAR(static_cast<double>(file.table.front()), pair.low, 1e-5);
        EXPECT_NEAR(static_cast<double>(file.table.back()), pair.high, 1e-5);
        // The ramp is wider than the scale, so both ends are there.
        EXPECT_EQ(std::ranges::min(file.cells), 0);
        EXPECT_EQ(std::ranges::max(file.cells), file.high);
    }
}

TEST_F(DifferenceRun, StandsOnEveryMapAndNeverOnACrop)
{
    writePair(pairs[0]);
    for (const char* const map : {"-p=ps", "-p=disk", "-p=merc", "-p=lamb"})
        EXPECT_EQ(check(pairs[0], {}, {map}, "km"), 1200) << map;

    std::filesystem::remove(dir / "out");
    std::filesystem::copy_file(path(15), dir / "other"); // has not even the first element
    for (const std::string& input : {path(13), dir / "other"}) {
        const ProgramResult crop = nimbex({"-s", "-p=crop", input, dir / "out"});
        EXPECT_EQ(crop.status, 1);
        EXPECT_EQ(crop.err, "");
        EXPECT_FALSE(std::filesystem::exists(dir / "out"));
    }
}

TEST_F(DifferenceRun, GoesWithTheOtherOptions)
{
    const Pair& pair = pairs[0];
    writePair(pair);
    EXPECT_EQ(check(pair, {"-b"}, {}, "map"), 2400);
    EXPECT_EQ(check(pair, {"-b=-10"}, {}, "map"), 2400);
    EXPECT_EQ(check(pair, {}, {"-i=3"}, "map"), 2400);
    EXPECT_EQ(errors, 0);
    EXPECT_EQ(check(pair, {}, {"-h:=2,1"}, "map"), 2400);
    convert({"-s", "-h:=2,1"}, path(13), "map");
    EXPECT_EQ(err, "shift : chno=13, pixel=2.000000, line=1.000000\n"
                   "shift : chno=15, pixel=2.000000, line=1.000000\ncomplete : 0\n");
    // Three entries are anywhere near: all cells are one of them.
    std::string table;
    for (int i = 0; i < 256; ++i)
        table += std::to_string(i) + (i == 9 ? " -2\n" : i == 99 ? " 0.5\n" : " 500\n");
    writeText(dir / "table", table);
    EXPECT_EQ(check(pair, {"-b", "-t=" + (dir / "table")}, {}, "map"), 2400);

    // A word of the name counts for more than a list; a sun adjustment and landmarks are not for
    // differences.
    const GridFile plain = convert({"-s"}, path(13), "map");
    EXPECT_EQ(convert({"-s", "-m=5"}, path(13), "map").bytes, plain.bytes);
    EXPECT_EQ(convert({"-s", "-a=-3", "-k", "-n"}, path(13), "map").bytes, plain.bytes);
}

TEST_F(DifferenceRun, NamesInSmallLettersAndNamesForBothWork)
{
    writePair(pairs[0]);
    const GridFile plain = convert({"-s"}, path(13), "map");
    for (const auto& [from, to] : {std::pair{13, "ir1"}, {15, "ir2"}}) {
        std::filesystem::copy_file(path(from), dir / (std::string(to) + ".dat"));
        std::filesystem::copy_file(path(from), path(from, "hs_b"));
    }
    EXPECT_EQ(convert({"-s"}, path(13, "hs_b"), "map").bytes, plain.bytes);
    EXPECT_EQ(convert({"-s"}, dir / "ir1.dat", "map").bytes, plain.bytes);
    // Nobody opens the name that was given.
    std::filesystem::rename(path(13), path(7));
    writePair(pairs[1]);
    std::filesystem::rename(path(7), dir / "x_IR4");
    std::filesystem::rename(path(13), dir / "x_IR1");
    EXPECT_EQ(convert({"-s=2"}, dir / "x_SP2", "map").label(), "S2      ");
}

TEST_F(DifferenceRun, FailuresEndWithTheirCodeAndLeaveNoOutput)
{
    writePair(pairs[0]);
    std::filesystem::copy_file(path(13), dir / "single");
    std::filesystem::copy_file(path(13), dir / "lone_B13");
    std::filesystem::copy_file(path(15), dir / "swapped_B13");
    std::filesystem::copy_file(path(13), dir / "swapped_B15");
    std::filesystem::copy_file(path(15), dir / "other");
    writeText(dir / "list", path(13) + "\n");
    // The calibration of all is that of the first, which must have both elements.
    writeText(dir / "both", (dir / "single") + "\n" + (dir / "other") + "\n");
    writeText(dir / "back", (dir / "other") + "\n" + (dir / "single") + "\n");
    struct Case {
        std::vector<std::string> arguments;
        int status;
        const char* says;
    };
    const Case rows[] = {
        {{"-s", dir / "single", dir / "out"}, 75, "'IR2_T'"},
        {{"-s", "-m", dir / "list", dir / "out"}, 75, "'IR2_T'"},
        {{"-s", "-m", dir / "both", dir / "out", dir / "map"}, 75, "'IR2_T'"},
        {{"-s", "-m", dir / "back", dir / "out", dir / "map"}, 75, "'IR_T'"},
        {{"-s=2", dir / "single", dir / "out"}, 75, "'IR4_T'"},
        {{"-s", dir / "swapped_B13", dir / "out"}, 75, "'IR_T'"},
        {{"-s=2", dir / "none_B07", dir / "out"}, 73, ""},
        {{"-s", dir / "lone_B13", dir / "out"}, 73, "lone_B15: the second file"},
        {{"-s=4", path(13), dir / "out"}, 70, "difference mode 4"},
        {{"-s=-1", path(13), dir / "out"}, 70, "difference mode -1"},
    };
    for (const Case& row : rows) {
        const ProgramResult result = nimbex(row.arguments);
        EXPECT_EQ(result.status, row.status) << row.says << result.err;
        EXPECT_NE(result.err.find(row.says), std::string::npos) << result.err;
        EXPECT_TRUE(result.err.ends_with("error : " + std::to_string(row.status) + "\n"));
        EXPECT_FALSE(std::filesystem::exists(dir / "out"));
    }
    // Neither file of the pair is ever the output.
    const Bytes before = readFile(path(15));
    const ProgramResult over = nimbex({"-s", path(13), path(15), dir / "map"});
    EXPECT_EQ(over.status, 74);
    EXPECT_EQ(readFile(path(15)), before);
}

} // namespace
