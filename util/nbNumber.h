#pragma once
/**
 * Narrowing and nearest-index arithmetic, by name. Pixel positions are turned into indices in
 * one way all through the library, and these are the only places that cast floating values to
 * integers.
 */
#include <cstdint>
#include <limits>

namespace nbpNumberDetail {
template <class Int>
inline Int truncSaturated(double value)
{
    constexpr auto low = std::numeric_limits<Int>::min();
    constexpr auto high = std::numeric_limits<Int>::max();
    if (!(value > static_cast<double>(low))) return low; // also not a number
    if (value >= static_cast<double>(high)) return high;
    return static_cast<Int>(value);
}
} // namespace nbpNumberDetail

// (int16_t)value for a position: toward zero. Out of range gives the nearest end, not a
// number gives -32768, so that what lies outside an image stays outside.
inline std::int16_t nbpTrunc16(double value)
{
    return nbpNumberDetail::truncSaturated<std::int16_t>(value);
}

// (int32_t)value, toward zero, with the same ends.
inline std::int32_t nbpTrunc32(double value)
{
    return nbpNumberDetail::truncSaturated<std::int32_t>(value);
}

// Index nearest to a position: the truncation of value + 0.5. The sum is a double's: in float,
// 0.49999997 + 0.5 is 1.
inline std::int16_t nbpNearest16(double value)
{
    return nbpTrunc16(value + 0.5);
}
inline std::int32_t nbpNearest32(double value)
{
    return nbpTrunc32(value + 0.5);
}

// nbpNearest32 of a float from 0 up to 2^23, without a double: the fraction is exact, and
// comparing it with 0.5 says what the sum would. Loops over it compile to vector code.
inline std::int32_t nbpNearestInside(float value)
{
    const auto whole = static_cast<std::int32_t>(value);
    return whole + static_cast<std::int32_t>(value - static_cast<float>(whole) >= 0.5F);
}

// The low 16 bits of an integer, as a signed count: 0xFFFE becomes -2.
inline std::int16_t nbpWrap16(std::int64_t value)
{
    return static_cast<std::int16_t>(static_cast<std::uint16_t>(value));
}

// An element's errorValue as a 16-bit level: 65535.0 is -1, the mark of a missing sample.
inline std::int16_t nbpErrorLevel(float errorValue)
{
    return nbpWrap16(nbpTrunc32(errorValue));
}

// A double stored as a float, said aloud.
inline float nbpToFloat(double value)
{
    return static_cast<float>(value);
}
