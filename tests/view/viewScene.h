#pragma once
/**
 * What the tests of nimbex-view share: the program, the tools that check it, and files that the
 * converter made of a synthetic disk.
 */
#include "tests/frontend/hisdDisk.h"

#include <gtest/gtest.h>
#include <sstream>

inline ProgramResult view(const std::vector<std::string>& arguments)
{
    return runProgram(NIMBEX_VIEW, arguments);
}

inline ProgramResult tool(const std::string& program, const std::vector<std::string>& arguments)
{
    return runProgram("/usr/bin/" + program, arguments);
}

// Blank separated numbers of a text; "nan" is one.
inline std::vector<double> numbersOf(const std::string& text)
{
    std::istringstream in(text);
    std::vector<double> numbers;
    for (std::string word; in >> word;)
        numbers.push_back(std::stod(word));
    return numbers;
}

inline const char* const gridSetup = "STDLON 120\nSTDLAT 30\nSTDXSIZ 0.7\nSTDYSIZ 0.9\nSTDXNUM 45\n"
                                     "STDYNUM 50\n";

// The infrared disk; its count rises from pixel to pixel.
struct View : testing::Test {
    View() { diskOf(13).write(dir / "ir.dat"); }

    // Converts to `name` and gives its path.
    std::string convert(const std::string& name, std::vector<std::string> options,
                        const std::string& setup = gridSetup)
    {
        writeText(dir / "setup", setup);
        options.insert(options.end(), {dir / "ir.dat", dir / name, dir / "setup"});
        const ProgramResult result = nimbex(options);
        EXPECT_EQ(result.status, 0) << result.err;
        return dir / name;
    }
    TempDir dir;
};
