// The VRT of a file, as GDAL reads it and PROJ places it.
#include "frontend/mapGrid.h"
#include "frontend/setupFile.h"
#include "tests/view/viewScene.h"
#include "util/nbNumber.h"

#include <algorithm>
#include <cmath>
#include <filesystem>

namespace {

// The text of an XML element without attributes that matter.
std::string elementOf(const std::string& xml, const std::string& name)
{
    const std::size_t open = xml.find("<" + name);
    if (open == std::string::npos) return {};
    const std::size_t begin = xml.find('>', open) + 1;
    return xml.substr(begin, xml.find("</" + name, begin) - begin);
}

std::string textFile(const std::string& path)
{
    const Bytes bytes = readFile(path);
    return textAt(bytes, 0, bytes.size());
}

TEST_F(View, VrtLetsGdalReadLevelsAndValues)
{
    struct Case {
        std::vector<std::string> options;
        int missing;
        const char* pin; // of the same map: a turn farther east it is told as 480 degrees
    };
    // In a folder of its own, called by another path and name than it lies at; the first time it
    // does not lie there yet.
    std::filesystem::create_directory(dir / "sub");
    std::filesystem::create_directory_symlink(dir / "sub", dir / "link");
    std::filesystem::create_symlink("link/out.vrt", dir / "name.vrt");
    const std::string vrt = dir / "name.vrt";
    for (const auto& [options, missing, pin] :
         {Case{{"-p=grid", "-b=8", "-v"}, 255, ""},
          Case{{"-p=grid", "-b=8", "-v"}, 255, "STDLON 130\nSTDXPOS -500\n"},
          Case{{"-p=grid", "-v"}, 65535, ""}, Case{{"-p=grid", "-b=8", "-e"}, 0, ""},
          Case{{"-p=grid", "-b=10", "-e", "-v"}, 65535, ""}}) {
        const std::string path = convert("out", options, std::string(gridSetup) + pin);
        const ProgramResult made = view({"vrt", path, vrt});
        ASSERT_EQ(made.status, 0) << made.err;
        EXPECT_EQ(made.err, "");
        const std::vector<double> transform = numbersOf([&] {
            std::string text = elementOf(textFile(vrt), "GeoTransform");
            std::ranges::replace(text, ',', ' ');
            return text;
        }());
        // Half a cell up and left of (120, 30).
        const double wanted[] = {119.65, 0.7, 0, 30.45, 0, -0.9};
        ASSERT_EQ(transform.size(), 6U);
        for (std::size_t i = 0; i < 6; ++i)
            EXPECT_NEAR(transform[i], wanted[i], 1e-12);

        const GridFile file(path);
        // lon 127.2 is 10.29 columns from the first centre, lat 14.2 is 17.56 rows: 10, 18.
        const auto level = static_cast<std::size_t>(file.cells[18 * 45 + 10]);
        const ProgramResult read =
            tool("gdallocationinfo", {"-valonly", "-wgs84", vrt, "127.2", "14.2"});
        const std::vector<double> got = numbersOf(read.out);
        ASSERT_EQ(got.size(), 2U) << read.out << read.err;
        EXPECT_EQ(got[0], static_cast<double>(level));
        EXPECT_EQ(nbpToFloat(got[1]), file.table[level]);
        const std::string info = tool("gdalinfo", {vrt}).out;
        EXPECT_NE(info.find("NoData Value=" + std::to_string(missing)), std::string::npos) << info;
        EXPECT_NE(info.find("ID[\"EPSG\",4326]"), std::string::npos) << info;
        EXPECT_NE(info.find("Unit Type: K"), std::string::npos) << info;
    }
}

TEST_F(View, VrtOfACellWithoutASampleIsNoDataInBothBands)
{
    const std::string path = convert("out", {"-p=grid", "-b=8", "-v"},
                                     "STDLON 60\nSTDLAT 60\n"
                                     "STDXSIZ 5\nSTDYSIZ 5\nSTDXNUM 20\nSTDYNUM 20\n");
    ASSERT_EQ(view({"vrt", path}).status, 0);
    const std::vector<double> got =
        numbersOf(tool("gdallocationinfo", {"-valonly", path + ".vrt", "0", "0"}).out);
    ASSERT_EQ(got.size(), 2U);
    EXPECT_EQ(got[0], 255);
    EXPECT_TRUE(std::isnan(got[1]));
}

// A map of each kind that PROJ has, and places on it.
struct MapCase {
    const char* word;
    const char* setup;
    double lon, lat; // of the base point
};
constexpr MapCase mapCases[] = {
    {"ps", "PRJCLON 140\nSTDLON 135\nSTDLAT 55\n", 135, 55},
    {"ps", "PRJCLON 140\nSTDLON 135\nSTDLAT 55\nELLFLG 1\n", 135, 55},
    {"ps", "PRJCLON 150\nPRJCLAT -90\nSTDLON 145\nSTDLAT -50\nELLFLG 1\n", 145, -50},
    {"ps", "PRJCLON 140\nPRJCLAT 30\nSTDLON 135\nSTDLAT 25\n", 135, 25},
    {"merc", "PRJCLON 130\nSTDLON 150\nSTDLAT 25\n", 150, 25},
    {"merc", "PRJCLON 130\nSTDLON 150\nSTDLAT -25\nELLFLG 1\n", 150, -25},
    {"lamb", "PRJCLON 140\nPRJCLAT 30\nPRJCLAT2 60\nSTDLON 135\nSTDLAT 40\n", 135, 40},
    {"lamb", "PRJCLON 140\nPRJCLAT 40\nPRJCLAT2 40\nSTDLON 135\nSTDLAT 35\nELLFLG 1\n", 135, 35},
    {"lamb", "PRJCLON 140\nPRJCLAT -30\nPRJCLAT2 -50\nSTDLON 140\nSTDLAT -40\nELLFLG 1\n", 140,
     -40},
    {"disk", "PRJCLON 135\nPRJCLAT 20\nSTAALT 36000\nSTDLON 130\nSTDLAT 25\n", 130, 25},
};

TEST_F(View, VrtPlacesEveryProjectionWherePROJHasIt)
{
    for (const MapCase& map : mapCases) {
        SCOPED_TRACE(std::string(map.word) + "\n" + map.setup);
        const std::string setup = std::string(map.setup) + "STDXPOS 18\nSTDYPOS 21\nSTDXSIZ 50\n"
                                                           "STDYSIZ 60\nSTDXNUM 40\nSTDYNUM 45\n";
        const std::string word = std::string("-p=") + map.word;
        const std::string path = convert("out", {word, "-b=8", "-v", "-g=1"}, setup);
        const ProgramResult made = view({"vrt", word, "--setup", dir / "setup", path});
        ASSERT_EQ(made.status, 0) << made.err;
        const std::string xml = textFile(path + ".vrt");

        // Where PROJ puts four places, in cells.
        const double offsets[][2] = {{0, 0}, {5, 3}, {-7, 6}, {4, -8}};
        std::string places;
        struct {
            std::vector<double> lon, lat;
        } ours;
        for (const auto& [dLon, dLat] : offsets) {
            ours.lon.push_back(map.lon + dLon);
            ours.lat.push_back(map.lat + dLat);
            places += std::to_string(map.lon + dLon) + " " + std::to_string(map.lat + dLat) + "\n";
        }
        writeText(dir / "places", places);
        std::vector<std::string> arguments{"-f", "%.4f"};
        std::istringstream definition(elementOf(xml, "SRS"));
        for (std::string option; definition >> option;)
            if (option != "+type=crs") arguments.push_back(option);
        arguments.push_back(dir / "places");
        const ProgramResult projected = tool("proj", arguments);
        const std::vector<double> metres = numbersOf(projected.out);
        ASSERT_EQ(metres.size(), 8U) << projected.out << projected.err;
        std::string text = elementOf(xml, "GeoTransform");
        std::ranges::replace(text, ',', ' ');
        const std::vector<double> transform = numbersOf(text);
        ASSERT_EQ(transform.size(), 6U);

        // Where the converter had them.
        NbSettings settings = [&] {
            const char* const option = word.c_str();
            return parseCommandLine({&option, 1});
        }();
        NbProjPara para = defaultMap(settings.projection);
        applySetupFile((dir / "setup").c_str(), settings, para);
        float x[4], y[4];
        ASSERT_EQ(nbProjLonLatToXY(ours.lon.data(), ours.lat.data(), x, y, 4, &para), 0);
        const GridFile file(path);
        for (std::size_t i = 0; i < 4; ++i) {
            // A float position, 2^-19 of a cell, behind a sum of some rounded terms.
            EXPECT_NEAR((metres[2 * i] - transform[0]) / transform[1] - 0.5,
                        static_cast<double>(x[i]), 1e-5);
            EXPECT_NEAR((metres[2 * i + 1] - transform[3]) / transform[5] - 0.5,
                        static_cast<double>(y[i]), 1e-5);
            const auto cell =
                static_cast<std::size_t>(nbpNearest32(static_cast<double>(y[i])) * 40 +
                                         nbpNearest32(static_cast<double>(x[i])));
            const std::vector<double> got = numbersOf(
                tool("gdallocationinfo", {"-valonly", "-wgs84", path + ".vrt",
                                          std::to_string(ours.lon[i]), std::to_string(ours.lat[i])})
                    .out);
            ASSERT_EQ(got.size(), 2U);
            EXPECT_EQ(got[0], file.cells[cell]);
        }
    }
}

TEST_F(View, VrtWithoutAReferenceSaysSo)
{
    const std::string size =
        "STDXPOS 20\nSTDYPOS 20\nSTDXSIZ 60\nSTDYSIZ 60\nSTDXNUM 40\nSTDYNUM 40\nELLFLG 1\n";
    struct Case {
        std::vector<std::string> options;
        std::string setup;
        bool named;
        const char* words;
    };
    for (const auto& [options, setup, named, words] :
         {Case{{"-p=disk", "-b=8"}, size, true, "PROJ has no such map"},
          Case{{"-p=ps", "-b=8"}, "PRJCLAT 40\n" + size, true, "PROJ has no such map"},
          Case{{"-p=crop", "-b=8"}, "", false, "does not hold its projection"}}) {
        const std::string path = convert("out", options, setup);
        std::vector<std::string> arguments{"vrt", path};
        if (named) arguments.insert(arguments.end(), {options[0], "--setup", dir / "setup"});
        const ProgramResult made = view(arguments);
        EXPECT_EQ(made.status, 0);
        EXPECT_NE(made.err.find(words), std::string::npos) << made.err;
        EXPECT_EQ(textFile(path + ".vrt").find("<SRS"), std::string::npos);
        EXPECT_EQ(
            numbersOf(tool("gdallocationinfo", {"-valonly", path + ".vrt", "9", "9"}).out).size(),
            2U);
    }
}

TEST_F(View, AWarpOfTheVrtFindsTheCellsThatPROJNames)
{
    const std::string path =
        convert("out", {"-p=ps", "-b=8", "-v", "-g=1"},
                "PRJCLON 140\nSTDLON 140\nSTDLAT 40\nSTDXPOS 30\nSTDYPOS 30\nSTDXSIZ 60\n"
                "STDYSIZ 60\nSTDXNUM 61\nSTDYNUM 61\n");
    ASSERT_EQ(view({"vrt", "-p=ps", "--setup", dir / "setup", path}).status, 0);
    const ProgramResult warp =
        tool("gdalwarp", {"-q", "-ot", "Float32", "-t_srs", "EPSG:4326", "-te", "130", "30", "150",
                          "50", "-ts", "20", "20", "-et", "0", path + ".vrt", dir / "warped.tif"});
    ASSERT_EQ(warp.status, 0) << warp.err;
    // Centres of the warped pixels, of a polar stereographic map on the sphere (Snyder, 21-5).
    const GridFile file(path);
    for (const auto& [column, row] : {std::pair{0, 0}, {3, 17}, {10, 9}, {19, 4}, {16, 19}}) {
        const auto plane = [](double lon, double lat) {
            const double rho = 2 * 6378.14 * std::tan((90 - lat) / 2 * M_PI / 180);
            const double angle = (lon - 140) * M_PI / 180;
            return std::pair{rho * std::sin(angle), -rho * std::cos(angle)};
        };
        const auto [x, y] = plane(130.5 + column, 49.5 - row);
        const auto [baseX, baseY] = plane(140, 40);
        const auto cell = static_cast<std::size_t>(std::lround(30 - (y - baseY) / 60) * 61 +
                                                   std::lround(30 + (x - baseX) / 60));
        const std::vector<double> got =
            numbersOf(tool("gdallocationinfo", {"-valonly", dir / "warped.tif",
                                                std::to_string(column), std::to_string(row)})
                          .out);
        ASSERT_EQ(got.size(), 2U);
        EXPECT_EQ(got[0], file.cells[cell]) << column << " " << row;
        EXPECT_EQ(nbpToFloat(got[1]), file.table[static_cast<std::size_t>(file.cells[cell])]);
    }
}

} // namespace
