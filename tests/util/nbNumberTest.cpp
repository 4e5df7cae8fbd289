#include "util/nbNumber.h"

#include "util/nbCursor.h"
#include "util/nbMath.h"

#include <array>
#include <gtest/gtest.h>
#include <limits>

namespace {
constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double inf = std::numeric_limits<double>::infinity();
} // namespace

TEST(Number, PositionsAreTruncatedTowardZeroAndSaturate)
{
    const struct {
        double value;
        int as16, as32;
    } rows[] = {
        {-0.9, 0, 0},
        {-1.9, -1, -1},
        {32767.9, 32767, 32767},
        {-32769, -32768, -32769},
        {65535, 32767, 65535},
        {2147483647.5, 32767, 2147483647},
        {1e300, 32767, 2147483647},
        {-inf, -32768, std::numeric_limits<std::int32_t>::min()},
        {nan, -32768, std::numeric_limits<std::int32_t>::min()},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(nbpTrunc16(row.value), row.as16) << row.value;
        EXPECT_EQ(nbpTrunc32(row.value), row.as32) << row.value;
    }
}

TEST(Number, NearestIndexIsSummedInDouble)
{
    EXPECT_EQ(nbpNearest16(0.49999997F), 0); // in float the sum would be 1
    EXPECT_EQ(nbpNearest32(2.5), 3);
    EXPECT_EQ(nbpNearest32(-0.6), 0);
}

TEST(Number, CountsWrapTo16Bits)
{
    EXPECT_EQ(nbpWrap16(0xFFFE), -2);
    EXPECT_EQ(nbpErrorLevel(65535.0F), -1);
    EXPECT_EQ(nbpErrorLevel(65536.5F), 0);
}

// Deliberate thresholds: a half goes up, a negative number also a little below the half.
TEST(MathRound, ThresholdsDifferBySign)
{
    const struct {
        double x;
        int digits;
        double rounded;
    } rows[] = {
        {2.5, -1, 3},  {2.45, -1, 2}, {-2.5, -1, -2},  {-2.55, -1, -2}, {-2.625, -1, -3},
        {150, 1, 200}, {149, 1, 100}, {-150, 1, -100}, {-161, 1, -200}, {0.126, -3, 0.13},
        {7, -1, 7},    {-7, -1, -7},  {0, -1, 0},
    };
    for (const auto& row : rows)
        EXPECT_DOUBLE_EQ(nbMathRound(row.x, row.digits), row.rounded) << row.x;
}

TEST(Cursor, ReadsBothOrdersAndGivesZerosForGoodPastTheEnd)
{
    constexpr std::array<unsigned char, 11> raw = {0x12, 0x34, 0x3F, 0x80, 0,   0,
                                                   'A',  'B',  0,    'C',  0xFF};
    const auto block = std::as_bytes(std::span(raw));
    NbCursor big(block, NbByteOrder::Big);
    EXPECT_EQ(big.get<std::uint16_t>(), 0x1234);
    EXPECT_EQ(big.get<float>(), 1.0F);
    EXPECT_EQ(big.text(4), "AB");
    EXPECT_EQ(big.remaining(), 1U);
    EXPECT_TRUE(big.ok());
    EXPECT_EQ(big.get<std::int32_t>(), 0);
    EXPECT_EQ(big.get<std::uint8_t>(), 0); // one byte is left, and stays unread
    EXPECT_FALSE(big.ok());

    NbCursor little(block, NbByteOrder::Little);
    EXPECT_EQ(little.get<std::uint16_t>(), 0x3412);
    little.skip(std::numeric_limits<std::size_t>::max());
    EXPECT_FALSE(little.ok());
    EXPECT_EQ(little.position(), 2U);
    little.seek(0);
    EXPECT_EQ(little.bytes(2).size(), 0U);
}
