#include "tests/synth/synthHisd.h"
#include "tests/support/support.h"

#include <gtest/gtest.h>

namespace {

// Numbers of the published layout (Himawari Standard Data User's Guide, version 1.3), at offsets
// added up by hand from the lengths 282, 50, 127, 139, 147, 259, 47 of the first seven blocks.
void expectLayout(const SynthHisd& s)
{
    const std::vector<std::byte> file = s.bytes();
    const bool big = s.bigEndian;
    EXPECT_EQ(numberAt<std::uint16_t>(file, 1, big), 282);
    EXPECT_EQ(numberAt<std::uint32_t>(file, 70, big), s.blockOffset(12)); // header length
    EXPECT_EQ(numberAt<std::uint32_t>(file, 74, big), 110U * 40 * 2);     // raster length
    EXPECT_EQ(numberAt<std::uint16_t>(file, 287, big), 110);              // columns
    EXPECT_EQ(numberAt<std::uint16_t>(file, 289, big), 40);               // lines
    // 20466275 columns per degree x 2^16 at 5500 columns, a fiftieth here.
    EXPECT_EQ(numberAt<std::int32_t>(file, 343, big), 409326);
    EXPECT_EQ(numberAt<float>(file, 351, big), 55.5F);           // centre column
    EXPECT_EQ(numberAt<double>(file, 359, big), 42164.0);        // km
    EXPECT_EQ(numberAt<double>(file, 470, big), 140.7105);       // longitude
    EXPECT_EQ(numberAt<std::uint16_t>(file, 601, big), 13);      // band
    EXPECT_EQ(numberAt<double>(file, 617, big), -0.0037);        // slope
    EXPECT_EQ(numberAt<double>(file, 689, big), 6.62606957e-34); // Planck
    EXPECT_EQ(std::to_integer<int>(file[745]), 6);               // block 6
    EXPECT_EQ(numberAt<std::uint16_t>(file, 1009, big), 31);     // first line
    EXPECT_EQ(std::to_integer<int>(file[1051]), 8);              // block 8
    EXPECT_EQ(numberAt<std::uint16_t>(file, 1070, big), 2);      // corrections
    EXPECT_EQ(numberAt<float>(file, 1084, big), 0.5F);           // second, column
    EXPECT_EQ(std::to_integer<int>(file[1132]), 9);              // block 9
    EXPECT_EQ(numberAt<std::uint16_t>(file, 1135, big), 5);      // 31 41 51 61 70
    EXPECT_EQ(std::to_integer<int>(file[1227]), 10);             // block 10
    EXPECT_EQ(numberAt<std::uint32_t>(file, 1228, big), 51U);    // its length
    EXPECT_EQ(numberAt<std::uint16_t>(file, 1236, big), 7);      // error pixels
    EXPECT_EQ(std::to_integer<int>(file[1278]), 11);             // block 11
    EXPECT_EQ(s.blockOffset(12), 1537U);
    EXPECT_EQ(s.blockOffset(13), file.size());
    // Column 55 of line 31, inside the disk: 3 x 55 + 7 x 31.
    EXPECT_EQ(numberAt<std::uint16_t>(file, 1537 + 2 * 54, big), 382);
    EXPECT_EQ(numberAt<std::uint16_t>(file, 1537, big), 65534); // off the disk
}

} // namespace

TEST(SynthHisd, FieldsStandWhereTheLayoutHasThem)
{
    SynthHisd s{.firstLine = 31, .lines = 40};
    s.corrections = {{31, 0.25F, 0}, {70, 0.5F, 0}};
    s.errorLines = {{33, 7}};
    expectLayout(s);
    s.bigEndian = true;
    expectLayout(s);
}
