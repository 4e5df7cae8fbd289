// The tools' outputs appear whole or not at all, like the converter's.
#include "tests/view/viewScene.h"

#include <filesystem>

namespace {

TEST_F(View, AnOutputThatCannotBeWrittenWholeLeavesTheOldOne)
{
    const std::string grid = convert("grid", {"-p=grid", "-v", "-b=8"});
    std::filesystem::create_directory(dir / "out");
    writeText(dir / "out/file", "before");
    for (const char* const command :
         {"\"$0\" png \"$1\" \"$2\" --scale=64", "\"$0\" vrt \"$1\" \"$2\""}) {
        // Files of 1 KiB at most.
        const ProgramResult result =
            runProgram("/bin/bash", {"-c", std::string("ulimit -f 1; ") + command, NIMBEX_VIEW,
                                     grid, dir / "out/file"});
        EXPECT_EQ(result.status, 1);
        EXPECT_EQ(result.err,
                  "nimbex-view : " + (dir / "out/file") + " : cannot be written: File too large\n");
        EXPECT_EQ(textAt(readFile(dir / "out/file"), 0, 99), "before") << command;
        EXPECT_EQ(std::distance(std::filesystem::directory_iterator(dir / "out"), {}), 1);
    }
}

} // namespace
