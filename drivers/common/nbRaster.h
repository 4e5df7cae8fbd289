#pragma once
/**
 * A raster of 16-bit counts in a file, read line by line.
 */
#include "util/nbCursor.h"
#include "util/nbFile.h"
#include "util/nbLogFormat.h"

#include <algorithm>
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

// Says when the file ends inside its raster. It opens all the same: what is missing reads as
// count 0.
inline void nbpRasterReportShort(const NbRaster& raster, int lines, int columns,
                                 const char* operation, const char* path)
{
    const std::int64_t size = raster.stream ? nbpFileSize(raster.stream.get()) : -1;
    if (size < 0) return; // nothing to measure
    const std::int64_t found = std::max<std::int64_t>(size - raster.offset, 0);
    const std::int64_t expected = std::int64_t{2} * columns * lines;
    if (found < expected)
        nbpLogWarn("%s : %s: the raster has %lld bytes, expected %lld; the rest reads as 0\n",
                   operation, path, static_cast<long long>(found),
                   static_cast<long long>(expected));
}
