// nimbex-view as a program. Expected values come from the files' bytes, taken apart by the tests'
// own reader.
#include "tests/view/viewScene.h"
#include "tools/view/gridFile.h"
#include "tools/view/quantity.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <filesystem>

namespace {

TEST_F(View, InfoGivesStatisticsOfTheCellsAsJsonAndAsText)
{
    // The map's north-west reaches past the limb.
    const std::string path = convert("out", {"-p=grid", "-b=8", "-v"},
                                     "STDLON 60\nSTDLAT 70\n"
                                     "STDXSIZ 2\nSTDYSIZ 2\nSTDXNUM 40\nSTDYNUM 30\n");
    const GridFile file(path);
    double sum = 0, least = INFINITY, most = -INFINITY;
    int valid = 0;
    for (const int cell : file.cells) {
        if (cell == 255) continue;
        const auto value = static_cast<double>(file.table[static_cast<std::size_t>(cell)]);
        sum += value;
        least = std::min(least, value);
        most = std::max(most, value);
        ++valid;
    }
    ASSERT_GT(valid, 100);
    ASSERT_LT(valid, 1100);
    const ProgramResult json = view({"info", path, "--json"});
    ASSERT_EQ(json.status, 0) << json.err;
    const ProgramResult read =
        tool("python3", {"-c",
                         "import json,sys; d=json.loads(sys.argv[1]); s=d['statistics']\n"
                         "print(d['columns'],d['rows'],d['stepLon'],d['corners'][3]['lat'],"
                         "s['valid'],s['invalid'],s['min'],s['max'],s['mean'],len(d['table']),"
                         "d['table'][0])\n"
                         "print(d['unit'],d['start'],d['label'],file=sys.stderr)",
                         json.out});
    char wantedText[64];
    std::snprintf(wantedText, sizeof wantedText, "K %02d%02d-%02d-%02dT%02d:%02d:%02d.%03dZ IR\n",
                  file.at(24), file.at(28), file.at(32), file.at(36), file.at(40), file.at(44),
                  file.at(48), file.at(52));
    EXPECT_EQ(read.err, wantedText);
    const std::vector<double> got = numbersOf(read.out);
    const double wanted[] = {40,
                             30,
                             2,
                             12,
                             1.0 * valid,
                             1200.0 - valid,
                             least,
                             most,
                             sum / valid,
                             254,
                             static_cast<double>(file.table[1])};
    ASSERT_EQ(got.size(), std::size(wanted)) << read.out;
    for (std::size_t i = 0; i < got.size(); ++i)
        EXPECT_NEAR(got[i], wanted[i], std::fabs(wanted[i]) * 1e-7) << "number " << i;

    const std::string text = view({"info", path}).out;
    for (const char* const words : {"brightness temperature in K", "40 x 30 cells of 2 x 2 degrees",
                                    "south-east         12.0000 N 138.0000 E", "Himawa-8"})
        EXPECT_NE(text.find(words), std::string::npos) << words << " in\n" << text;
}

TEST_F(View, CsvGivesTheValueOfTheCellAtAPlace)
{
    for (const char* const bits : {"-b=8", "-b=12"}) {
        const std::string path = convert("out", {"-p=grid", bits, "-v"});
        const GridFile file(path);
        const int level = file.cells[10 * 45 + 3];
        std::ostringstream value;
        value.precision(9);
        const ProgramResult result =
            view({"csv", path, "122.3", "20.6", "100", "-5", "-237.9", "21.3"});
        EXPECT_EQ(result.status, 0) << result.err;
        // 3.29 and 10.44 cells from the first one's centre; -237.9 is 122.1 east, 9.67 down.
        const std::string head =
            "lon,lat,column,row,level,value\n122.3,20.6,3,10," + std::to_string(level) + ",";
        ASSERT_EQ(result.out.substr(0, head.size()), head);
        const std::string rest = result.out.substr(head.size());
        EXPECT_EQ(std::stof(rest), file.table[static_cast<std::size_t>(level)]);
        EXPECT_EQ(rest.substr(rest.find('\n'), 26), "\n100,-5,,,,outside the map");
        EXPECT_NE(rest.find("\n-237.9,21.3,3,10," + std::to_string(level)), std::string::npos);
    }
    // Missing cells are all ones, and level 0 in version 1.0.
    for (const char* const version : {"-v=1.1", "-v=1.0"}) {
        const std::string far = convert("far", {"-p=grid", "-b=8", version},
                                        "STDLON 60\nSTDLAT 60\n"
                                        "STDXSIZ 5\nSTDYSIZ 5\nSTDXNUM 20\nSTDYNUM 20\n");
        const std::string row =
            version[5] == '1' ? "60,60,0,0,255,no data\n" : "60,60,0,0,0,no data\n";
        EXPECT_NE(view({"csv", far, "60", "60"}).out.find(row), std::string::npos) << version;
    }
    // In version 1.0 the top level can stand in a cell, and its value is lost under a mark.
    Bytes bytes = readFile(convert("old", {"-p=grid", "-b=8", "-v=1.0"}));
    bytes[256 + 1024 + 4] = std::byte{255};
    writeFile(dir / "old", bytes);
    EXPECT_NE(view({"csv", dir / "old", "120", "30"}).out.find("\n120,30,0,0,255,no data\n"),
              std::string::npos);
    EXPECT_NE(view({"info", dir / "old"}).out.find("(1 at a level without a value)"),
              std::string::npos);
}

TEST_F(View, ReadsCompressedFilesAsMsexpandDoes)
{
    const std::string packed = convert("out.nb_", {"-p=grid", "-b=8", "-v", "-z"});
    ASSERT_EQ(tool("msexpand", {packed}).status, 0); // makes out.nb
    ASSERT_LT(std::filesystem::file_size(packed), std::filesystem::file_size(dir / "out.nb"));
    const ProgramResult same = view({"diff", packed, dir / "out.nb"});
    EXPECT_EQ(same.status, 0) << same.out << same.err;
    EXPECT_NE(same.out.find("with a value in both   2250"), std::string::npos) << same.out;
    EXPECT_NE(view({"info", packed}).out.find("SZDD-compressed"), std::string::npos);
    const ProgramResult refused = view({"vrt", packed});
    EXPECT_EQ(refused.status, 1);
    EXPECT_NE(refused.err.find("expand it first"), std::string::npos) << refused.err;
}

TEST_F(View, DiffCountsAndMeasuresWhatDiffers)
{
    const std::string a = convert("a", {"-p=grid", "-b=8", "-v"});
    const GridFile file(a);
    Bytes bytes = file.bytes;
    const auto at = [&](std::size_t column, std::size_t row) {
        return 256U + 1024U + 256U * row + 4 + column;
    };
    // One cell two levels higher, one without a sample.
    const auto level = static_cast<std::size_t>(file.cells[7 * 45 + 5]);
    const std::size_t other = level > 128 ? level - 2 : level + 2;
    bytes[at(5, 7)] = static_cast<std::byte>(other);
    bytes[at(6, 7)] = std::byte{255};
    writeFile(dir / "b", bytes);
    const ProgramResult result = view({"diff", a, dir / "b"});
    EXPECT_EQ(result.status, 1) << result.err;
    const double change =
        static_cast<double>(file.table[other]) - static_cast<double>(file.table[level]);
    char line[200];
    std::snprintf(line, sizeof line, "min %.7g  max %.7g  mean %.7g  rms %.7g  K\n",
                  std::min(change, 0.0), std::max(change, 0.0), change / 2249,
                  std::sqrt(change * change / 2249));
    EXPECT_EQ(result.out.substr(0, result.out.find("second less")),
              "cells                  2250\nwith a value in both   2249\nin neither             0\n"
              "in the first alone     1\nin the second alone    0\ndiffering values       1\n");
    EXPECT_NE(result.out.find(line), std::string::npos) << result.out << line;

    EXPECT_EQ(view({"diff", a, a}).status, 0);
    EXPECT_EQ(view({"diff", a, dir / "none"}).status, 2);
    const std::string shifted =
        convert("c", {"-p=grid", "-b=8", "-v"}, std::string(gridSetup) + "STDLON 121\n");
    EXPECT_EQ(view({"diff", a, shifted}).status, 2);
}

TEST_F(View, UsageErrorsAndBadFilesAreOneLineAndAStatus)
{
    const std::string grid = convert("grid", {"-p=grid", "-b=8"});
    const std::string polar = convert("polar", {"-p=ps", "-b=8"}, "STDXNUM 45\nSTDYNUM 50\n");
    writeText(dir / "other", "STDXNUM 45\nSTDYNUM 50\nSTDLON 130\n");
    const std::string setup = dir / "setup";
    writeText(dir / "huge", "");
    std::filesystem::resize_file(dir / "huge", std::uintmax_t{1} << 40); // of no blocks
    struct Case {
        int status;
        std::vector<std::string> arguments;
        const char* words;
    };
    for (const auto& [status, arguments, words] : {
             Case{2, {}, "Usage"},
             Case{2, {"show", grid}, "unknown command show"},
             Case{2, {"info"}, "expected : info FILE"},
             Case{2, {"info", grid, "--xml"}, "unknown option --xml"},
             Case{2, {"png", grid, dir / "o.png", "--range"}, "--range needs LO,HI"},
             Case{2, {"png", grid, dir / "o.png", "--range", "9,1"}, "--range 9,1"},
             Case{2, {"png", grid, dir / "o.png", "--palette=blue"}, "grey, enhanced, visible"},
             Case{2, {"png", grid, dir / "o.png", "--scale", "1.5"}, "whole number"},
             Case{2, {"png", grid, grid}, "is an input file"},
             Case{2, {"png", polar, setup, "-p=ps", "--setup", setup}, "is an input file"},
             Case{2, {"vrt", polar, setup, "-p=ps", "--setup", setup}, "is an input file"},
             Case{2, {"png", grid, setup, "--coast", "--map", setup}, "is an input file"},
             Case{2, {"csv", grid, "1", "91"}, "LAT 91"},
             Case{2, {"csv", grid, "1", "9", "2"}, "without its LAT"},
             Case{2, {"csv", polar, "1", "2"}, "-p=WORD"},
             Case{2, {"csv", "-p=zoom", polar, "1", "2"}, "ps, disk, grid, merc or lamb"},
             Case{1, {"csv", "-p=ps", polar, "1", "2"}, "501 x 501"},
             Case{1, {"csv", "-p=ps", "--setup", dir / "other", polar, "1", "2"}, "another map"},
             Case{1, {"csv", "-p=merc", "--setup", setup, polar, "1", "2"}, "another map"},
             Case{1, {"info", dir / "none"}, "cannot be opened"},
             Case{1, {"info", dir / "ir.dat"}, "no nimbex file"},
             Case{1, {"info", dir / "huge"}, "no nimbex file"},
             Case{1, {"png", grid, dir.path() + "/no/o.png"}, "cannot be written"},
             Case{1, {"png", grid, dir / "o.png", "--coast", "--map", dir / "none"}, "none"},
         }) {
        const ProgramResult result = view(arguments);
        EXPECT_EQ(result.status, status) << result.err;
        EXPECT_NE(result.err.find(words), std::string::npos) << result.err;
        EXPECT_EQ(result.out, "");
        const auto lines = std::ranges::count(result.err, '\n');
        EXPECT_TRUE(arguments.empty() || lines == 1) << result.err;
    }
    for (const char* const command : {"info", "png", "vrt", "csv", "diff"}) {
        const ProgramResult help = view({command, "--help"});
        EXPECT_EQ(help.status, 0);
        EXPECT_EQ(help.out.find(std::string("Usage : nimbex-view ") + command), 0U);
    }
}

TEST_F(View, DamagedFilesAreRefused)
{
    for (const bool compressed : {false, true}) {
        std::vector<std::string> options{"-p=grid", "-b=8", "-v"};
        if (compressed) options.push_back("-z");
        const Bytes whole = readFile(convert("out", options));
        const auto reads = [&](const Bytes& bytes) {
            writeFile(dir / "bad", bytes);
            try {
                nbView::readGridFile(dir / "bad");
                return true;
            } catch (const std::runtime_error& e) {
                EXPECT_EQ(std::string(e.what()).find(dir / "bad" + " : "), 0U) << e.what();
                return false;
            }
        };
        ASSERT_TRUE(reads(whole));
        for (std::size_t size = 1; size < whole.size(); size += size < 2000 ? 7 : 251)
            EXPECT_FALSE(
                reads(Bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size))))
                << size;
        for (std::size_t at = 0; at < 264; at += 4) {
            for (const std::uint32_t value : {0U, 1U, 0x7FFFFFFFU, 0xFFFFFFFFU, 0x80000000U}) {
                Bytes bytes = whole;
                std::memcpy(&bytes[at], &value, 4);
                reads(bytes); // some fields may be anything; nothing may break
            }
        }
    }
    // The least number there is, in a field of which the size is told.
    Bytes bytes = readFile(convert("out", {"-p=grid", "-b=8", "-v"}));
    const std::uint32_t least = 0x80000000U;
    std::memcpy(&bytes[92], &least, 4);
    writeFile(dir / "bad", bytes);
    EXPECT_NE(view({"info", dir / "bad"}).out.find("source       2147483648 x "),
              std::string::npos);
}

TEST(ViewQuantity, FollowsTheWordOfTheLabel)
{
    using nbView::Quantity;
    struct Case {
        const char* label;
        Quantity quantity;
    };
    for (const auto& [label, quantity] :
         {Case{"IR", Quantity::Temperature}, Case{"MTSAT-WV", Quantity::Temperature},
          Case{"GOES-VS", Quantity::Reflectance}, Case{"B03", Quantity::Reflectance},
          Case{"B07", Quantity::Temperature}, Case{"NOAA-V3", Quantity::Reflectance},
          Case{"SP", Quantity::Difference}, Case{"MTSAT-S2", Quantity::Difference},
          // Cut at 8 characters: LWIR1, B10 to B16, and any of B01 to B09.
          Case{"MTSAT-LW", Quantity::Temperature}, Case{"MTSAT-B1", Quantity::Temperature},
          Case{"MTSAT-B0", Quantity::Unknown}, Case{"B0", Quantity::Unknown},
          Case{"", Quantity::Unknown}, Case{"XY", Quantity::Unknown}})
        EXPECT_EQ(nbView::meaningOf(label).quantity, quantity) << label;
}

TEST(ViewCompletion, CompletesCommandsOptionsAndValues)
{
    const std::string tools = NIMBEX_TOOLS_SOURCE;
    const auto complete = [&](const std::string& function, const std::string& words) {
        return runProgram("/bin/bash",
                          {"-c", "source " + tools + "/view/nimbex-view.bash; source " + tools +
                                     "/completion/nimbex.bash; COMP_WORDS=(" + words +
                                     "); COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); " + function +
                                     "; echo ${COMPREPLY[*]}"})
            .out;
    };
    EXPECT_EQ(complete("_nimbex_view", "nimbex-view ''"), "info png vrt csv diff --help\n");
    EXPECT_EQ(complete("_nimbex_view", "nimbex-view png --palette e"), "enhanced\n");
    EXPECT_EQ(complete("_nimbex_view", "nimbex-view csv -p = l"), "lamb\n");
    EXPECT_EQ(complete("_nimbex", "nimbex -p = d"), "disk\n");
    // Every option that the help has.
    const std::string help = view({"png", "--help"}).out;
    std::istringstream offered(complete("_nimbex_view", "nimbex-view png -"));
    int count = 0;
    for (std::string option; offered >> option; ++count)
        EXPECT_NE(help.find("\n  " + option), std::string::npos) << option;
    EXPECT_EQ(count, 10);
}

} // namespace
