#include "tests/drivers/hritScene.h"
#include "util/nbFile.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <map>

namespace {

constexpr int columns = 64;
constexpr int lines = 48;

int sample(int line, int column) // both from 0
{
    return (37 * column + 11 * line) % 1000;
}

// The image as the Debian package's encoder writes it, its one component called `component`.
std::vector<std::byte> encoded(int component)
{
    const TempDir directory;
    std::vector<std::byte> raw;
    for (int l = 0; l < lines; ++l)
        for (int c = 0; c < columns; ++c) {
            raw.push_back(static_cast<std::byte>(sample(l, c) >> 8));
            raw.push_back(static_cast<std::byte>(sample(l, c)));
        }
    writeFile(directory / "in.raw", raw);
    const ProgramResult made = runProgram(
        "/usr/bin/pvrg-jpeg",
        {"-iw", std::to_string(columns), "-ih", std::to_string(lines), "-k", "1", "-p", "10", "-s",
         directory / "out.jpg", "-ci", std::to_string(component), directory / "in.raw"});
    EXPECT_EQ(made.status, 0) << "the package pvrg-jpeg is needed";
    return readFile(directory / "out.jpg");
}

SynthHrit compressed(std::vector<std::byte> jpeg, bool bigEndian = true)
{
    SynthHrit synth;
    synth.columns = columns;
    synth.imageLines = lines;
    synth.bigEndian = bigEndian;
    synth.compression = 1;
    synth.image = std::move(jpeg);
    return synth;
}

// Environment for the scope, with a directory for temporary files that must be empty at the end.
class Sandbox {
public:
    Sandbox() { set("TMPDIR", directory_.path()); }
    ~Sandbox()
    {
        EXPECT_TRUE(std::filesystem::is_empty(directory_.path())) << "something stays behind";
        for (const auto& [name, value] : before_)
            value.empty() ? unsetenv(name.c_str()) : setenv(name.c_str(), value.c_str(), 1);
    }
    void set(const char* name, const std::string& value)
    {
        const char* old = std::getenv(name);
        before_.try_emplace(name, old != nullptr ? old : "");
        setenv(name, value.c_str(), 1);
    }

private:
    TempDir directory_;
    std::map<std::string, std::string> before_;
};

// A decoder of our own: a script.
class Decoder {
public:
    explicit Decoder(const std::string& body, std::string_view name = "decoder")
        : file_("#!/bin/sh\n" + body + "\n", name)
    {
        std::filesystem::permissions(file_.path(), std::filesystem::perms::owner_all);
    }
    std::string path() const { return file_.path(); }

private:
    TempFile file_;
};

TEST(HritJpeg, LosslessTenBitImagesAreDecodedByTheAdapter)
{
    Sandbox sandbox;
    for (const int component : {0, 1, 2})
        for (const bool bigEndian : {true, false}) {
            const HritScene scene(compressed(encoded(component), bigEndian));
            ASSERT_EQ(scene.code, 0) << component;
            for (int l = 0; l < lines; l += 5)
                for (int c = 0; c < columns; c += 7)
                    ASSERT_EQ(scene.count(static_cast<float>(c), static_cast<float>(l)),
                              sample(l, c));
        }
}

TEST(HritJpeg, DecodersThatFailRefuseTheFileAndLeaveNothing)
{
    const std::string pixels = "head -c 6144 /dev/zero > \"$2.jpg.0\"; "; // 64 x 48 x 2
    const struct {
        std::string body;
        int code;
        bool isSystems = false; // not the image's fault: a list must not go on without it
    } cases[] = {
        {pixels + "exit 0", NB_HRIT_OPEN},
        {pixels + "kill -KILL $$", NB_HRIT_UNREADABLE, true},
        {pixels + "echo > \"$2\"; echo > \"$2.jpg.1\"; exit 6", NB_HRIT_UNREADABLE},
        {pixels + "kill -SEGV $$", NB_HRIT_UNREADABLE},
        {"head -c 6143 /dev/zero > \"$2.jpg.0\"", NB_HRIT_UNREADABLE},
        {"exit 0", NB_HRIT_UNREADABLE},
        {"exec yes > \"$2.jpg.0\"", NB_HRIT_UNREADABLE}, // without end
        {"[ $# = 2 ] && [ \"$1\" = -d ] && [ -s \"$2.jpg\" ] && " + pixels, NB_HRIT_OPEN},
    };
    for (const auto& c : cases) {
        Sandbox sandbox;
        const Decoder decoder(c.body);
        // By way of the adapter where it has to hand on a signal.
        sandbox.set(c.isSystems ? "PVRG_JPEG" : "NB_HRIT_JPEG_DECODER", decoder.path());
        StderrCapture err;
        const long failures = nbpReadFailures;
        const HritScene scene(compressed({std::byte{1}, std::byte{2}}));
        EXPECT_EQ(scene.code, c.code) << c.body;
        EXPECT_EQ(nbpReadFailures > failures, c.isSystems) << c.body;
        EXPECT_EQ(err.get(), c.code == 0 ? ""
                                         : "NB_Error: nbHritOpenFile() : "
                                           "可逆JPEGの解凍に失敗しました。\n");
    }
}

// The decoder's own children end too: nobody waits for the minute.
TEST(HritJpeg, AProgramInterruptedMeanwhileEndsWithTheDecoderAndLeavesNothing)
{
    Sandbox sandbox;
    const Decoder decoder("kill -TERM $PPID; sleep 60; :");
    sandbox.set("NB_HRIT_JPEG_DECODER", decoder.path());
    const TempDir directory;
    writeFile(directory / "segment", compressed({std::byte{1}}).bytes());
    const ProgramResult run =
        runProgram(NIMBEX_PROGRAM, {"-c=0", directory / "segment", directory / "out"});
    EXPECT_EQ(run.status, 128 + 15) << run.err;
    EXPECT_EQ(run.err, "");
}

TEST(HritJpeg, AnImageThatIsCutOffIsRefusedThoughItsFileIsWhole)
{
    Sandbox sandbox;
    std::vector<std::byte> jpeg = encoded(0);
    jpeg.resize(jpeg.size() / 2);
    StderrCapture err;
    const HritScene scene(compressed(jpeg));
    EXPECT_EQ(scene.code, NB_HRIT_UNREADABLE);
    EXPECT_EQ(err.get(), "NB_Error: nbHritOpenFile() : 可逆JPEGの解凍に失敗しました。\n");
}

TEST(HritJpeg, NoPathIsACommand)
{
    Sandbox sandbox;
    const TempDir directory;
    const std::string mark = directory / "mark";
    const Decoder decoder("head -c 6144 /dev/zero > \"$2.jpg.0\"",
                          "a; touch mark; $(touch mark) '");
    sandbox.set("NB_HRIT_JPEG_DECODER", decoder.path());
    EXPECT_EQ(HritScene(compressed({std::byte{1}})).code, NB_HRIT_OPEN);
    // A temporary directory of other characters than plain ones is passed over for /tmp.
    const std::string odd = directory / "t;touch mark";
    std::filesystem::create_directory(odd);
    sandbox.set("TMPDIR", odd);
    EXPECT_EQ(HritScene(compressed({std::byte{1}})).code, NB_HRIT_OPEN);
    EXPECT_FALSE(std::filesystem::exists(mark));
    EXPECT_FALSE(std::filesystem::exists("mark"));
    // What does not exist is passed over for the list of the build.
    sandbox.set("NB_HRIT_JPEG_DECODER", "/nowhere/decoder");
    EXPECT_EQ(HritScene(compressed(encoded(0))).code, NB_HRIT_OPEN);
}

} // namespace
