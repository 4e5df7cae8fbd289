// -k: the shift that a match gives, what it says and what it leaves behind.
#include "tests/frontend/hisdDisk.h"
#include "tests/support/landmarkScene.h"

#include <bit>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <gtest/gtest.h>

namespace {

// Runs on the map of the scenes' region.
class Runs {
public:
    Runs() { writeText(dir / "setup", setup); }

    ProgramResult run(std::vector<std::string> arguments, const std::string& output = "out")
    {
        for (const auto& more : {"-g=1", "-v", "-d="})
            arguments.push_back(more);
        arguments.back() += map.directory();
        arguments.insert(arguments.end(), {dir / "image", dir / output, dir / "setup"});
        return nimbex(arguments);
    }

    static constexpr const char* setup =
        "STDLON 115\nSTDLAT 20\nSTDXSIZ 0.1\nSTDYSIZ 0.1\nSTDXNUM 250\nSTDYNUM 250\n";
    TempDir dir;
    LandmarkMap map;
};

TEST(LandmarkOption, FindsWritesAndAppliesTheShift)
{
    Runs runs;
    LandmarkScene scene{.noise = 0, .seed = 7};
    scene.write(runs.dir / "image");
    runs.run({"-q"}, "true"); // the map as it should be
    scene.dx = 3;
    scene.dy = -2;
    scene.write(runs.dir / "image");
    runs.run({"-q"}, "displaced");
    writeText(runs.dir / "shift", "8,9\n"); // does not enter the match
    const ProgramResult result = runs.run({"-k", "-h=" + (runs.dir / "shift")}, "matched");
    EXPECT_EQ(result.status, 0);

    int count = 0;
    float pixel = 0, line = 0, offsetX = 0, offsetY = 0;
    ASSERT_EQ(std::sscanf(result.err.c_str(), "landmark : chno=3, pixel=%f, line=%f, num=%d",
                          &pixel, &line, &count),
              3)
        << result.err;
    EXPECT_GE(count, 50);
    EXPECT_NEAR(pixel, -3, 0.2);
    EXPECT_NEAR(line, 2, 0.2);
    char expected[256];
    std::snprintf(expected, sizeof expected,
                  "landmark : chno=3, pixel=%f, line=%f, num=%d\n"
                  "shift : chno=3, pixel=%f, line=%f\ncomplete : 0\n",
                  static_cast<double>(pixel), static_cast<double>(line), count,
                  -static_cast<double>(pixel), -static_cast<double>(line));
    EXPECT_EQ(result.err, expected);
    const std::string written = textAt(readFile(runs.dir / "shift"), 0, 99);
    std::snprintf(expected, sizeof expected, "%f,%f\n", -static_cast<double>(pixel),
                  -static_cast<double>(line));
    EXPECT_EQ(written, expected);
    ASSERT_EQ(std::sscanf(written.c_str(), "%f,%f", &offsetX, &offsetY), 2);

    // No name of the input is a place for the shift.
    const Bytes image = readFile(runs.dir / "image");
    const ProgramResult own = runs.run({"-k", "-h=" + (runs.dir / "image")}, "own");
    EXPECT_NE(own.err.find("the shift is not written over the input\n"), std::string::npos);
    EXPECT_EQ(readFile(runs.dir / "image"), image);

    // Nor does a shift that cannot be written cost the picture.
    const ProgramResult full = runs.run({"-k", "-h=/dev/full"}, "full");
    EXPECT_EQ(full.status, 0);
    EXPECT_NE(full.err.find("cannot write the shift: No space left on device\n"), std::string::npos)
        << full.err;
    EXPECT_EQ(readFile(runs.dir / "full"), readFile(runs.dir / "own"));

    // The next run starts from the file, and both maps are the true one but for noise of the
    // ground, while the displaced one has its coasts elsewhere.
    runs.run({"-h=" + (runs.dir / "shift")}, "again");
    const auto truth = GridFile(runs.dir / "true").cells;
    const auto wrong = [&](const char* name) {
        const auto cells = GridFile(runs.dir / name).cells;
        int sum = 0;
        for (std::size_t i = 0; i < cells.size() && i < truth.size(); ++i)
            sum += std::abs(cells[i] - truth[i]) > 140; // half of the step from sea to land
        return sum;
    };
    const int displaced = wrong("displaced");
    EXPECT_GT(displaced, 2000);
    EXPECT_LT(wrong("matched"), displaced / 20);
    EXPECT_EQ(wrong("again"), wrong("matched"));
}

TEST(LandmarkOption, EndsWith80WhereNothingIsFound)
{
    Runs runs;
    const auto expectNothing = [&](const std::string& option, const char* what) {
        const ProgramResult result = runs.run({option});
        EXPECT_EQ(result.status, 80) << what;
        EXPECT_EQ(result.err, "landmark : error : 80\n") << what;
        EXPECT_FALSE(std::filesystem::exists(runs.dir / "out")) << what;
    };
    LandmarkScene{.cloud = 1}.write(runs.dir / "image");
    expectNothing("-k", "all cloud");
    LandmarkScene{.dx = -14}.write(runs.dir / "image");
    expectNothing("-k", "beyond the window");
    LandmarkScene{.dx = 4}.write(runs.dir / "image");
    expectNothing("-k=10,150,-40,170", "a box beside the image");
    writeText(runs.dir / "setup",
              "STDLON 140\nSTDLAT 20\nSTDXSIZ 0.1\nSTDYSIZ 0.1\nSTDXNUM 99\nSTDYNUM 99\n");
    expectNothing("-k", "a grid on the sea");
    EXPECT_EQ(runs.run({"-k=40,100,-40,160"}).status, 0); // the box has the last word
    EXPECT_EQ(runs.run({"-k", "-p=ps"}).status, 0);       // no grid: no limit
}

TEST(LandmarkOption, WithoutAMapIsSkippedAndWithADamagedOneIsAnError)
{
    Runs runs;
    LandmarkScene{.night = true, .dx = 4}.write(runs.dir / "image");
    const std::string none = "-d=" + (runs.dir / "none-");
    writeText(runs.dir / "setup", std::string(Runs::setup) + "LNDFLG 1\n"); // as -k does
    const auto run = [&] {
        return nimbex(
            {"-h:=1,2", none, "-v", runs.dir / "image", runs.dir / "out", runs.dir / "setup"});
    };
    ProgramResult result = run();
    EXPECT_EQ(result.err,
              "shift : chno=13, pixel=1.000000, line=2.000000\ncomplete : 0\n"); // stays in force
    Bytes bytes = readFile(runs.map.path());
    bytes[40] ^= std::byte{1};
    writeFile(runs.dir / "none-nbMap30.dat", bytes);
    result = run();
    EXPECT_EQ(result.status, 80);
    EXPECT_EQ(result.err.find("landmark : NB_Error: nbLmLandmark() : " +
                              (runs.dir / "none-nbMap30.dat") + ": "),
              0U)
        << result.err;
    EXPECT_TRUE(result.err.ends_with("error : 80\n")) << result.err;
}

// The fetch gives it the centre line of the first infrared channel, here 0.4 lines below its own,
// by which the image lies right.
TEST(LandmarkOption, MatchesAVissrChannelByTheCentreLineThatItIsFetchedWith)
{
    Runs runs;
    LandmarkScene{.format = LandmarkScene::Format::Vissr, .night = true}.write(runs.dir / "image");
    Bytes bytes = readFile(runs.dir / "image");
    constexpr std::size_t record = 3664;
    constexpr std::size_t centreLine = 4 * record + 56 + 4; // of channel 1
    const auto firstImageRecord = static_cast<std::size_t>(std::to_integer<int>(bytes[7]));
    bytes[(firstImageRecord - 1) * record + 3] = std::byte{4}; // it is channel 3
    auto bits = numberAt<std::uint32_t>(bytes, centreLine);
    bits = __builtin_bswap32(
        std::bit_cast<std::uint32_t>(std::bit_cast<float>(__builtin_bswap32(bits)) + 0.4F));
    std::memcpy(&bytes[centreLine], &bits, sizeof bits);
    writeFile(runs.dir / "image", bytes);
    const ProgramResult result = runs.run({"-k"});
    EXPECT_EQ(result.status, 0);
    float pixel = 9, line = 9;
    const std::size_t said = result.err.find("landmark : "); // behind a word on its missing table
    ASSERT_NE(said, std::string::npos) << result.err;
    ASSERT_EQ(std::sscanf(&result.err[said], "landmark : chno=3, pixel=%f, line=%f", &pixel, &line),
              2)
        << result.err;
    EXPECT_NEAR(pixel, 0, 0.2);
    EXPECT_NEAR(line, 0.4, 0.2);
}

} // namespace
