#pragma once
/**
 * Positions as the pixels nearest to them, a block at a time in vector code.
 */
#include "drivers/common/nbInGroups.h"
#include "util/nbNumber.h"

#include <bit>
#include <cstdint>

constexpr int nbpNearestPoints = 512; // of a block: its arrays stay in the processor's cache

struct NbNearest {
    std::int32_t column[nbpNearestPoints];
    std::int32_t line[nbpNearestPoints]; // -1: the position wants a closer look
};

// Indices of the positions from 0 up to where the last pixel ends. What lies before 0, behind the
// image or is no number at all is left to the caller: a point in thousands, and drivers differ in
// what they do with it.
inline void nbpNearestPixels(const float* __restrict pixel, const float* __restrict line, int n,
                             int columns, int lines, NbNearest* __restrict out)
{
    const float right = static_cast<float>(columns) - 0.5F;
    const float bottom = static_cast<float>(lines) - 0.5F;
    nbpInGroups(n, [=](int k) {
        // All bits set inside, none elsewhere: conditions would keep the loop out of vector
        // registers.
        const std::int32_t inside = -static_cast<std::int32_t>(
            (pixel[k] >= 0.0F) & (pixel[k] < right) & (line[k] >= 0.0F) & (line[k] < bottom));
        const auto masked = [inside](float value) {
            return std::bit_cast<float>(std::bit_cast<std::int32_t>(value) & inside);
        };
        out->column[k] = nbpNearestInside(masked(pixel[k]));
        out->line[k] = nbpNearestInside(masked(line[k])) | ~inside;
    });
}
