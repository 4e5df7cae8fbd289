#pragma once
/**
 * Which of two objects takes a map cell: the overlap modes' comparison.
 */
#include <cmath>
#include <cstdint>

// Comparison value of an object that does not compete.
inline constexpr double nbOverlapNone = -9999.0;

/**
 * Observation start as one number: the year, then month to second in two digits each. In float all
 * the way, which tells two or three days apart and nothing less; of equal starts the later object
 * of the list takes the cell.
 */
inline float nbpOverlapFileTime(const std::int16_t ymdhms[6])
{
    constexpr float weight[6] = {1e10F, 1e8F, 1e6F, 1e4F, 1e2F, 1.0F};
    float time = 0;
    for (int i = 0; i < 6; ++i)
        time += static_cast<float>(ymdhms[i]) * weight[i];
    return time;
}

// True for the modes in which the largest comparison value wins; in the others the smallest.
inline bool nbpOverlapKeepsLargest(int mode)
{
    return mode == 1 || mode == 3 || mode == 6 || mode == 8 || mode == 10 || mode == 12;
}

// True when the later object's value takes the cell from the earlier one's; equal values do.
inline bool nbpOverlapLaterWins(int mode, double later, double earlier)
{
    if (later == nbOverlapNone || std::isnan(later)) return false;
    if (earlier == nbOverlapNone || std::isnan(earlier)) return true;
    return nbpOverlapKeepsLargest(mode) ? later >= earlier : later <= earlier;
}
