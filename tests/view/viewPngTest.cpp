// Pictures, read by GDAL.
#include "tests/view/viewScene.h"

#include <cstdlib>
#include <filesystem>
#include <map>

namespace {

// Red, green, blue and, where there is one, alpha of a pixel.
std::vector<double> pixel(const std::string& png, int x, int y)
{
    return numbersOf(
        tool("gdallocationinfo", {"-valonly", png, std::to_string(x), std::to_string(y)}).out);
}

TEST_F(View, PngIsWhiteWhereColdAndTransparentWithoutASample)
{
    const std::string path = convert("out", {"-p=grid", "-b=8", "-v"},
                                     "STDLON 60\nSTDLAT 60\n"
                                     "STDXSIZ 5\nSTDYSIZ 5\nSTDXNUM 20\nSTDYNUM 20\n");
    const GridFile file(path);
    const std::string png = dir / "out.png";
    ASSERT_EQ(view({"png", path, png, "--range", "315,317.5", "--scale", "3"}).status, 0);
    EXPECT_NE(tool("gdalinfo", {png}).out.find("Size is 60, 60"), std::string::npos);
    EXPECT_EQ(pixel(png, 1, 1), (std::vector<double>{0, 0, 0, 0}));
    // The last row in order of temperature: ever darker, white up to 315 K, black from 317.5 K.
    std::map<float, double> greys;
    for (int column = 0; column < 20; ++column) {
        const int level = file.cells[static_cast<std::size_t>(19 * 20 + column)];
        const std::vector<double> got = pixel(png, 3 * column + 1, 58);
        if (level == 255) continue;
        ASSERT_EQ(got.size(), 4U);
        EXPECT_EQ(got[0], got[2]);
        EXPECT_EQ(got[3], 255);
        greys[file.table[static_cast<std::size_t>(level)]] = got[0];
    }
    ASSERT_GT(greys.size(), 5U);
    double last = 255;
    for (const auto& [kelvin, grey] : greys) {
        EXPECT_LE(grey, last) << kelvin;
        EXPECT_TRUE(kelvin > 315 || grey == 255) << kelvin;
        EXPECT_TRUE(kelvin < 317.5F || grey == 0) << kelvin;
        last = grey;
    }
    EXPECT_LT(greys.rbegin()->second, greys.begin()->second);
}

TEST_F(View, PngOfLessThanAPixelACellHasMeans)
{
    const std::string path = convert("out", {"-p=grid", "-b=8", "-v"});
    ASSERT_EQ(view({"png", path, dir / "whole.png", "--range", "300,330"}).status, 0);
    ASSERT_EQ(view({"png", path, dir / "half.png", "--range", "300,330", "--scale", "0.5"}).status,
              0);
    // 45 columns are 23 pixels: the last one has a single column.
    EXPECT_NE(tool("gdalinfo", {dir / "half.png"}).out.find("Size is 23, 25"), std::string::npos);
    double sum = 0;
    for (const auto& [x, y] : {std::pair{14, 20}, {15, 20}, {14, 21}, {15, 21}})
        sum += pixel(dir / "whole.png", x, y).at(0);
    EXPECT_NEAR(pixel(dir / "half.png", 7, 10).at(0), sum / 4, 0.5);
    EXPECT_GT(sum, 0);
}

TEST_F(View, PngLaysTheNetTheCoastAndTheLegendInTheirPlaces)
{
    // fontconfig keeps some of its records to the end of a process.
    writeText(dir / "leaks", "leak:libfontconfig\n");
    setenv("LSAN_OPTIONS", ("print_suppressions=0:suppressions=" + (dir / "leaks")).c_str(), 1);
    // From 112 E 8 S in steps of 0.1 degree: Australia's corners.
    const std::string path = convert("out", {"-p=grid", "-b=8", "-v"},
                                     "STDLON 112\nSTDLAT -8\nSTDXSIZ 0.1\nSTDYSIZ 0.1\n"
                                     "STDXNUM 400\nSTDYNUM 330\n");
    const std::string plain = dir / "plain.png", drawn = dir / "drawn.png";
    ASSERT_EQ(view({"png", path, plain}).status, 0);
    std::vector<std::string> arguments{"png", path, drawn, "--grid", "10", "--legend"};
    const bool coast = std::filesystem::exists(NIMBEX_BUILT_MAP);
    if (coast) arguments.insert(arguments.end(), {"--coast", "--map", NIMBEX_BUILT_MAP});
    const ProgramResult result = view(arguments);
    ASSERT_EQ(result.status, 0) << result.err;
    const auto differs = [&](int x, int y) { return pixel(plain, x, y) != pixel(drawn, x, y); };
    // 120 E is column 80, 20 S row 120, both in the desert or at sea.
    EXPECT_TRUE(differs(80, 40));
    EXPECT_TRUE(differs(30, 120));
    EXPECT_FALSE(differs(75, 45));
    const std::string size = tool("gdalinfo", {drawn}).out;
    EXPECT_EQ(size.find("Size is 400, 330\n"), std::string::npos);
    EXPECT_NE(size.find("Size is 400, "), std::string::npos);
    if (!coast) GTEST_SKIP() << NIMBEX_BUILT_MAP << " is not built: no coast was looked at";
    // Somewhere within two cells of Cape York 142.53 E 10.69 S, Cape Leeuwin 115.14 E 34.37 S and
    // Wilsons Promontory 146.38 E 39.13 S.
    for (const auto& [x, y] : {std::pair{305, 27}, {31, 264}, {344, 311}}) {
        bool found = false;
        for (int dx = -2; dx <= 2; ++dx)
            found = found || differs(x + dx, y) || differs(x + dx, y - 1);
        EXPECT_TRUE(found) << x << " " << y;
    }
}

} // namespace
