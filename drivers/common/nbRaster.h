#pragma once
/**
 * A raster of 16-bit counts in a file, read line by line.
 */
#include "util/nbCursor.h"
#include "util/nbFile.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>

struct NbRaster {
    NbFilePtr stream;                        // null reads as nothing
    std::int64_t offset = 0;                 // of the first count
    std::int64_t at = -1;                    // where the stream stands; -1 when not known
    NbByteOrder order = NbByteOrder::Little; // of the counts
};

// Brings counts into the machine's order.
inline void nbpRasterSwap(std::uint16_t* counts, std::size_t n)
{
    constexpr std::size_t step = 16; // a fixed number of rounds becomes vector code
    std::size_t i = 0;
    for (; i + step <= n; i += step)
        for (std::size_t k = 0; k < step; ++k)
            counts[i + k] = static_cast<std::uint16_t>(counts[i + k] << 8 | counts[i + k] >> 8);
    for (; i < n; ++i)
        counts[i] = static_cast<std::uint16_t>(counts[i] << 8 | counts[i] >> 8);
}

// Reads line n (from 0) and gives how many counts there were. The seek is left out where the
// stream stands there already, as it does from line to line.
inline std::size_t nbpRasterRead(NbRaster* raster, int n, int columns, std::uint16_t* counts)
{
    if (!raster->stream) return 0;
    const auto width = static_cast<std::size_t>(columns);
    const std::int64_t at =
        raster->offset + std::int64_t{n} * columns * std::int64_t{sizeof *counts};
    if (at != raster->at && !nbpFileSeek(raster->stream.get(), at)) {
        raster->at = -1;
        return 0;
    }
    const std::size_t got = std::fread(counts, sizeof *counts, width, raster->stream.get());
    raster->at = got == width ? at + static_cast<std::int64_t>(width * sizeof *counts) : -1;
    if (raster->order != nbCpuByteOrder) nbpRasterSwap(counts, got);
    return got;
}
