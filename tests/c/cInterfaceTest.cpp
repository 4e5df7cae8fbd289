#include "tests/support/support.h"
#include "tests/synth/synthHisd.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <string>

// A count for each quarter of the disk. The map has one column west of the sub-satellite point
// (140.7 E) and two east of it; 240 E and 280 E lie behind the limb. Levels are kelvins above 100
// to the nearest.
TEST(CInterface, ProgramInCConvertsAnImage)
{
    constexpr std::array<std::uint16_t, 4> counts{1000, 1700, 2400, 3100}; // NW NE SW SE
    SynthHisd scene;
    scene.fill = [&](int line, std::span<std::uint16_t> row) {
        const std::size_t south = line > 55 ? 2 : 0;
        for (std::size_t c = 0; c < row.size(); ++c)
            row[c] = counts[south + (c >= 55 ? 1 : 0)];
    };
    const TempFile file(scene.bytes());
    const auto level = [&](std::size_t quarter) {
        return std::to_string(std::lround(scene.resolved().physical(counts[quarter]) - 100));
    };
    const ProgramResult run = runProgram(NIMBEX_C_PROGRAM, {file.path()});
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.err, "");
    EXPECT_EQ(run.out, level(0) + ' ' + level(1) + ' ' + level(1) + " -1 -1\n" + level(2) + ' ' +
                           level(3) + ' ' + level(3) + " -1 -1\n");
}
