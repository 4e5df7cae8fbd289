#pragma once
/**
 * Numbers of the same bits: a value that is kept for a number serves the next one too. Two marks
 * of not a number may be the same, 0.0 and -0.0 are not.
 */
#include <bit>
#include <cstdint>

inline bool nbpSameBits(double a, double b)
{
    return std::bit_cast<std::uint64_t>(a) == std::bit_cast<std::uint64_t>(b);
}
inline bool nbpSameBits(float a, float b)
{
    return std::bit_cast<std::uint32_t>(a) == std::bit_cast<std::uint32_t>(b);
}
