// The readers of docs/output.md, on files that nimbex has written.
#include "tests/docs/documents.h"
#include "tests/synth/synthHisd.h"

#include <cmath>
#include <gtest/gtest.h>

namespace {

// A disk of 110 x 110 pixels whose count is 3 column + 7 line, from 1; on a crop and on a grid
// whose western columns see no earth.
struct Readers : testing::Test {
    Readers()
    {
        scene.write(dir / "input");
        writeText(dir / "crop", "STDXPOS 50\nSTDYPOS 40\nSTDXNUM 4\nSTDYNUM 3\n");
        writeText(dir / "map", "STDLON 50\nSTDLAT 30\nSTDXSIZ 1\nSTDYSIZ 1\nSTDXNUM 40\n"
                               "STDYNUM 30\n");
    }
    // `build` makes the reader, "$READER" runs it.
    void check(const std::string& build, const std::string& reader)
    {
        const ProgramResult built = shell(dir.path(), build);
        ASSERT_EQ(built.status, 0) << built.err;
        const auto read = [&](const std::string& options, const std::string& setup, int column,
                              int row) {
            const ProgramResult result =
                shell(dir.path(), "nimbex " + options + " input out " + setup + " && " + reader +
                                      " out " + std::to_string(column) + " " + std::to_string(row));
            EXPECT_EQ(result.status, 0) << result.err;
            return result.out;
        };
        const std::string crop = "IR Himawa-8\n4 x 3\n";
        const auto valueIn = [&](const std::string& text) {
            EXPECT_EQ(text.substr(0, crop.size()), crop);
            return std::stod(text.substr(crop.size()));
        };
        // Two bytes a cell, marks over the table's ends: pixel 53, line 42 has count 463.
        EXPECT_NEAR(valueIn(read("-p=crop -v", "crop", 3, 2)), scene.physical(463), 6e-4);
        // One byte, table between its marks: the nearest of levels that are 16 counts apart.
        EXPECT_NEAR(valueIn(read("-p=crop -v -b -e", "crop", 3, 2)), scene.physical(463),
                    std::abs(scene.physical(472) - scene.physical(454)) / 2);
        // A grid keeps its size elsewhere; the mark of a missing cell depends on version and width.
        for (const char* const options : {"-v", "-v -b", "-b -e"})
            EXPECT_EQ(read(options, "map", 0, 29), "IR Himawa-8\n40 x 30\nmissing\n") << options;
        // A label of all its characters.
        EXPECT_EQ(read("-v -w=1", "map", 0, 29), "MTSAT-IR Himawa-8\n40 x 30\nmissing\n");
    }
    SynthHisd scene = SynthHisd{.validBits = 12}.resolved();
    TempDir dir;
};

TEST_F(Readers, PythonsReadsCropsAndGridsOfBothVersions)
{
    writeText(dir / "reader.py", programOf("output.md", "python reader"));
    check("true", "python3 reader.py");
}

TEST_F(Readers, CsReadsCropsAndGridsOfBothVersions)
{
    writeText(dir / "reader.c", programOf("output.md", "c"));
    check(NIMBEX_CC " -std=c99 -Wall -Wextra -Werror -o reader reader.c", "./reader");
}

TEST_F(Readers, FortransReadsCropsAndGridsOfBothVersions)
{
    writeText(dir / "reader.f90", programOf("output.md", "fortran"));
    check("gfortran -std=f2008 -Wall -o reader reader.f90", "./reader");
}

TEST_F(Readers, PythonsExpandsWhatWasCompressed)
{
    writeText(dir / "expand.py",
              programOf("output.md", "python expand") +
                  "import sys\nsys.stdout.buffer.write(expand(open(sys.argv[1], 'rb').read()))\n");
    const ProgramResult result =
        shell(dir.path(), "nimbex -b -v input plain map && "
                          "nimbex -b -v -z input out map && "
                          "python3 expand.py out | cmp - plain && "
                          "test $(stat -c %s out) -lt $(stat -c %s plain)");
    EXPECT_EQ(result.status, 0) << result.out << result.err;
}

} // namespace
