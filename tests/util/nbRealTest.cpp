#include "util/nbReal.h"

#include "tests/support/support.h"
#include "util/nbBit.h"
#include "util/nbUtlByteOrder.h"

#include <bit>
#include <cmath>
#include <cstdint>
#include <gtest/gtest.h>
#include <limits>
#include <string>

namespace {
struct Real4 {
    std::uint32_t ibm;
    float value;
};

// Words written by hand: sign, exponent of 16 plus 64, hexadecimal digits behind the point.
const Real4 exact4[] = {
    {0x41100000, 1.0F},      {0x40800000, 0.5F},    {0x40100000, 0.0625F},
    {0xC276A000, -118.625F}, {0x00000000, 0.0F},    {0x46FFFFFF, 16777215.0F},
    {0x21200000, 0x1p-127F}, {0x3C100000, 0x1p-20F} // the first a denormal float
};
struct Real8 {
    std::uint64_t ibm;
    double value;
};
// Pi is 3.243F6A8885A30... in hexadecimal.
const Real8 exact8[] = {
    {0x4110000000000000, 1.0},      {0x401999999999999A, 0.1},
    {0xC276A00000000000, -118.625}, {0x413243F6A8885A30, 0x1.921FB54442D18p+1},
    {0x4080000000000000, 0.5},      {0x4040000000000000, 0.25},
    {0x4020000000000000, 0.125},    {0x4010000000000000, 0.0625},
    {0x3F80000000000000, 0.03125},
};
} // namespace

TEST(Real4, WordsAndValuesConvertBothWays)
{
    for (const auto& row : exact4) {
        EXPECT_EQ(nbReal4IbmToIeee(&row.ibm), row.value) << std::hex << row.ibm;
        auto word = std::bit_cast<std::uint32_t>(row.value);
        nbReal4IeeeToIbm(&word);
        EXPECT_EQ(word, row.ibm) << row.value;
    }
}

TEST(Real8, WordsAndValuesConvertBothWays)
{
    for (const auto& row : exact8) {
        EXPECT_EQ(nbReal8IbmToIeee(&row.ibm), row.value) << std::hex << row.ibm;
        auto word = std::bit_cast<std::uint64_t>(row.value);
        nbReal8IeeeToIbm(&word);
        EXPECT_EQ(word, row.ibm) << row.value;
    }
}

TEST(Real4, BeyondAFloatItIsInfiniteOrASignedZero)
{
    const std::uint32_t words[] = {0x7FFFFFFF, 0x00100000, 0x80000000, 0xC1000000};
    EXPECT_EQ(nbReal4IbmToIeee(&words[0]), std::numeric_limits<float>::infinity());
    EXPECT_EQ(nbReal4IbmToIeee(&words[1]), 0.0F);
    for (const int i : {2, 3}) {
        const float zero = nbReal4IbmToIeee(&words[i]);
        EXPECT_EQ(zero, 0.0F);
        EXPECT_TRUE(std::signbit(zero));
    }
}

TEST(Real8, EndsOfTheIbmRangeAndRoundingTo53Bits)
{
    const std::uint64_t largest = 0x7FFFFFFFFFFFFFFF;
    const std::uint64_t smallest = 0x0010000000000000;
    const std::uint64_t belowOne = 0x40FFFFFFFFFFFFFF;
    EXPECT_EQ(nbReal8IbmToIeee(&largest), 0x1p252);   // 16^63, to which 56 ones round
    EXPECT_EQ(nbReal8IbmToIeee(&smallest), 0x1p-260); // 16^-65
    EXPECT_EQ(nbReal8IbmToIeee(&belowOne), 1.0);
}

TEST(RealArrays, ConvertInPlace)
{
    float r4[] = {std::bit_cast<float>(0x41100000U), std::bit_cast<float>(0xC276A000U)};
    nbReal4IbmToIeeeN(r4, 2);
    EXPECT_EQ(r4[0], 1.0F);
    EXPECT_EQ(r4[1], -118.625F);
    double r8[] = {std::bit_cast<double>(0x413243F6A8885A30U)};
    nbReal8IbmToIeeeN(r8, 1);
    EXPECT_EQ(r8[0], 0x1.921FB54442D18p+1);
}

TEST(RealToIbm, CutsBitsDropsTheSignOfZeroAndLeavesNoNumbers)
{
    const auto to4 = [](float value) {
        auto word = std::bit_cast<std::uint32_t>(value);
        nbReal4IeeeToIbm(&word);
        return word;
    };
    const auto to8 = [](double value) {
        auto word = std::bit_cast<std::uint64_t>(value);
        nbReal8IeeeToIbm(&word);
        return word;
    };
    EXPECT_EQ(to4(0x1.FFFFFEp0F), 0x411FFFFFU); // three bits fall off
    EXPECT_EQ(to4(0x1p-149F), 0x21000000U);     // all of them
    EXPECT_EQ(to4(-0.0F), 0U);
    EXPECT_EQ(to8(-0.0), 0U);
    StderrCapture err;
    EXPECT_EQ(to4(std::numeric_limits<float>::infinity()), 0x7F800000U);
    // Deliberate: the 8-byte form is silent.
    EXPECT_EQ(to8(-std::numeric_limits<double>::infinity()), 0xFFF0000000000000U);
    EXPECT_EQ(err.get(), "NB_Error: nbReal4IeeeToIbm() : Not a Number\n");
}

TEST(SwapBytes, ReversesEachItemOfAnySizeAtAnyAddress)
{
    EXPECT_EQ(nbUtlGetCpuByteOrder(), 0);
    const struct {
        int size, count;
        std::string swapped;
    } rows[] = {
        {2, 6, "badcfehgjilk"},  {2, 1, "bacdefghijkl"},  {3, 4, "cbafedihglkj"},
        {4, 3, "dcbahgfelkji"},  {8, 1, "hgfedcbaijkl"},  {1, 12, "abcdefghijkl"},
        {2, -1, "abcdefghijkl"}, {-2, 2, "abcdefghijkl"},
    };
    for (const auto& row : rows) {
        std::string text = "?abcdefghijkl"; // from index 1: not aligned
        nbUtlSwapBytes(text.data() + 1, row.size, row.count);
        EXPECT_EQ(text, "?" + row.swapped) << row.size;
    }
}

TEST(Bit, IsNumberedFromTheTopOfTheFirstByte)
{
    unsigned char bytes[3] = {0x80, 0x01, 0x00};
    EXPECT_EQ(nbBitGet(bytes, 0), 1);
    EXPECT_EQ(nbBitGet(bytes, 1), 0);
    EXPECT_EQ(nbBitGet(bytes, 15), 1);
    nbBitSet(bytes, 0, 0);
    nbBitSet(bytes, 9, -5);
    nbBitCopy(bytes, 8, bytes, 14, 8); // 0x41 from bit 14 on
    EXPECT_EQ(bytes[0], 0x00);
    EXPECT_EQ(bytes[1], 0x41);
    EXPECT_EQ(bytes[2], 0x04);
}

TEST(BitWord, IsNumberedFromTheTopOfTheFirstWord)
{
    std::uint16_t w16[2] = {0x8000, 0x0001};
    EXPECT_EQ(nbBitGetWord(w16, 0, 16), 1);
    EXPECT_EQ(nbBitGetWord(w16, 15, 16), 0);
    EXPECT_EQ(nbBitGetWord(w16, 31, 16), 1);
    nbBitCopyWord(w16, 28, w16, 4, 4, 16);
    EXPECT_EQ(w16[0], 0x8100);
    std::uint32_t w32[2] = {0, 0};
    nbBitSetWord(w32, 33, 1, 32);
    EXPECT_EQ(w32[1], 0x40000000U);
    EXPECT_EQ(nbBitGetWord(w32, 33, 0), 0); // no such word
}
