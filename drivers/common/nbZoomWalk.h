#pragma once
/**
 * What the zoomed reads of several drivers share: default sizes, the cut at the right edge and
 * the columns that an output row takes.
 */
#include "sat/nbSatObject.h"
#include "util/nbNumber.h"

#include <algorithm>
#include <cstdint>
#include <span>

struct NbZoomWalk {
    std::int32_t firstColumn; // of the source, from 1
    std::int32_t firstLine;
    std::int32_t height;   // source lines
    std::int32_t width;    // source columns up to the image's right edge
    std::int32_t outWidth; // output columns that they fill; the others stay invalid
};

// A width or height below 1 means that of the image. What reaches past the right edge is cut,
// and the output columns with it in proportion.
inline NbZoomWalk nbpZoomWalk(const NbZoomRect& rect, int columns, int lines)
{
    const std::int64_t width = rect.width < 1 ? columns : rect.width;
    NbZoomWalk walk{.firstColumn = rect.startPixel + 1,
                    .firstLine = rect.startLine + 1,
                    .height = rect.height < 1 ? lines : rect.height,
                    .width = static_cast<std::int32_t>(width),
                    .outWidth = rect.outWidth};
    if (rect.startPixel + width > columns) {
        walk.width = columns - walk.firstColumn + 1;
        const std::int64_t cut = std::int64_t{rect.outWidth} * walk.width / width;
        walk.outWidth = static_cast<std::int32_t>(std::max<std::int64_t>(cut, 0));
    }
    return walk;
}

// Column (from 0) of each output pixel of a row that starts at `firstColumn` (from 1), in
// integers narrowed to 16 bits; -1 outside the image. `out` has walk.outWidth entries.
inline void nbpZoomColumns(const NbZoomWalk& walk, std::int32_t firstColumn, int columns,
                           std::span<std::int32_t> out)
{
    const auto n = static_cast<std::int64_t>(out.size());
    for (std::int64_t k = 0; k < n; ++k) {
        const std::int16_t column = nbpWrap16(std::int64_t{walk.width} * k / n - 1 + firstColumn);
        out[static_cast<std::size_t>(k)] = column >= 0 && column < columns ? column : -1;
    }
}
