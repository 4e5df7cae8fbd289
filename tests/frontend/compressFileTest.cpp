// -z: the output in its compressed form, or none.
#include "frontend/compressFile.h"
#include "frontend/recover.h"
#include "tests/support/support.h"
#include "tests/synth/synthHisd.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <sys/stat.h>

namespace fs = std::filesystem;

namespace {

// Noise over a map whose cells are all different pixels, so that the compressed form is the
// larger one.
struct CompressedRun : testing::Test {
    CompressedRun()
    {
        SynthHisd scene;
        scene.columns = scene.diskLines = 800;
        unsigned state = 1;
        scene.fill = [state](int, std::span<std::uint16_t> counts) mutable {
            for (std::uint16_t& count : counts)
                count = static_cast<std::uint16_t>((state = state * 1664525U + 1013904223U) >> 20);
        };
        scene.write(dir / "ir.dat");
        writeText(dir / "map", "STDLON 118\nSTDLAT 18\nSTDXSIZ 0.18\nSTDYSIZ 0.18\nSTDXNUM 248\n"
                               "STDYNUM 200\n");
        fs::create_directory(dir / "out");
    }
    ProgramResult convert(const std::vector<std::string>& options, const std::string& output)
    {
        std::vector<std::string> all = {"-b", "-v"};
        all.insert(all.end(), options.begin(), options.end());
        all.insert(all.end(), {dir / "ir.dat", output, dir / "map"});
        return runProgram(NIMBEX_PROGRAM, all);
    }
    long filesIn(const std::string& directory)
    {
        return std::distance(fs::directory_iterator(directory), fs::directory_iterator());
    }
    TempDir dir;
};

TEST_F(CompressedRun, SaysTheSizeAndExpandsToTheFileWithout)
{
    ASSERT_EQ(convert({}, dir / "plain").status, 0);
    writeText(dir / "out/picture", "before");
    ASSERT_EQ(chmod((dir / "out/picture").c_str(), 0640), 0);
    fs::create_symlink(dir / "out/picture", dir / "link");

    const ProgramResult result = convert({"-z"}, dir / "link");
    EXPECT_EQ(result.status, 0);
    const auto size = fs::file_size(dir / "out/picture");
    const std::string rule = "----------------------------\n";
    EXPECT_EQ(result.err,
              rule + "FileSize : " + std::to_string(size) + "(bytes)\n" + rule + "complete : 0\n");
    EXPECT_TRUE(fs::is_symlink(dir / "link"));
    EXPECT_EQ(filesIn(dir / "out"), 1);
    struct stat status = {};
    ASSERT_EQ(stat((dir / "out/picture").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777U, 0640U);
    EXPECT_EQ(readFile(dir / "out/picture")[0], std::byte{'S'});
    ASSERT_EQ(runProgram("/bin/sh", {"-c", "msexpand <\"$0\" >\"$1\"", dir / "link", dir / "back"})
                  .status,
              0);
    EXPECT_EQ(readFile(dir / "back"), readFile(dir / "plain"));

    // The setup file asks for it too.
    writeText(dir / "map", "STDLON 118\nSTDLAT 18\nSTDXSIZ 0.18\nSTDYSIZ 0.18\nSTDXNUM 248\n"
                           "STDYNUM 200\nCMPFLG 1\n");
    EXPECT_EQ(convert({}, dir / "asked").status, 0);
    EXPECT_EQ(readFile(dir / "asked"), readFile(dir / "link"));
}

TEST_F(CompressedRun, ADiskThatFillsUpLeavesNothing)
{
    ASSERT_EQ(convert({}, dir / "plain").status, 0);
    const auto plainSize = fs::file_size(dir / "plain");
    // Limits in KiB: room for the file, not for its compressed form.
    const ProgramResult result =
        runProgram("/bin/bash", {"-c", "trap '' XFSZ; ulimit -f \"$0\"; exec \"$@\"",
                                 std::to_string(plainSize / 1024 + 1), NIMBEX_PROGRAM, "-b", "-v",
                                 "-z", dir / "ir.dat", dir / "out/picture", dir / "map"});
    EXPECT_EQ(result.status, 80) << result.err;
    EXPECT_EQ(result.err, "nimbex : " + (dir / "out/picture") +
                              ": not compressed, the compressed form cannot be written: File too "
                              "large\nerror : 80\n");
    EXPECT_EQ(filesIn(dir / "out"), 0);
}

TEST(CompressFile, OnlyARegularFileCanBeReadBack)
{
    const TempDir dir;
    StderrCapture text;
    NbOutputFile out;
    ASSERT_EQ(out.open("/dev/null"), NB_RUN_COMPLETE);
    EXPECT_EQ(compressFile(out), NB_RUN_INPUT);
    EXPECT_EQ(text.get(),
              "nimbex : /dev/null: not compressed, only a regular file can be read back\n");
}

TEST(CompressFile, AnEmptyFileIsAHeader)
{
    const TempDir dir;
    StderrCapture text;
    NbOutputFile out;
    ASSERT_EQ(out.open(dir / "file"), NB_RUN_COMPLETE);
    EXPECT_EQ(compressFile(out), NB_RUN_COMPLETE);
    EXPECT_EQ(out.finish(), NB_RUN_COMPLETE);
    EXPECT_NE(text.get().find("FileSize : 14(bytes)\n"), std::string::npos);
    const Bytes bytes = readFile(dir / "file");
    ASSERT_EQ(bytes.size(), 14U);
    EXPECT_EQ(numberAt<std::int32_t>(bytes, 10), 0);
}

} // namespace
