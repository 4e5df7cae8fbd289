#pragma once
/**
 * The output format: a header block, a block with the level table, one record a grid row, all in
 * units of 256 bytes, little-endian. Each begins and ends with its own length in 32 bits.
 */
#include "frontend/outputFile.h"
#include "geo/nbDate.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

// How the level table lies in its block.
struct NbTableLayout {
    std::size_t blockBytes = 0;
    std::size_t tableAt = 0; // offset of level 0 in the block
    std::int32_t count = 0;  // usable entries
    std::int32_t low = 0;    // lowest and highest usable level
    std::int32_t high = 0;
};

/**
 * Deliberate: where no more than 7 bytes of the block are free, as with any power of two from 64
 * up, the block's marks lie over the first and the last entry, and both levels are unusable.
 * A block with room for the marks would be another format; `extended` asks for it.
 */
NbTableLayout layOutTable(int levels, bool extended);

// What the header says, in its order.
struct NbGridHeader {
    std::string label;         // 8 bytes
    std::string satelliteWord; // 8 bytes
    NbDateInts start{};
    NbDateInts end{};
    bool isGrid = false;          // of latitude and longitude
    std::int32_t imageWidth = 0;  // grid: of the covered image, signed; others: columns
    std::int32_t imageHeight = 0; // likewise
    float stepX = 0;              // grid: degrees; others: 0
    float stepY = 0;
    std::int32_t columns = 0; // of the map
    std::int32_t rows = 0;
    std::int32_t pixelBytes = 1; // 1 or 2
    struct Corner {
        float lat;
        float lon;
    };
    std::array<Corner, 4> corners{};
    NbTableLayout table;
    std::int32_t correction = 0;

    // From version 1.1 on.
    std::array<float, 3> attitude{}; // degree
    float subLat = 0;
    float subLon = 0;
    float distanceM = 0; // earth centre to satellite, m
    int versionCode = 10;

    bool isVersion10() const { return versionCode <= 10; }
    // Bytes of a row record.
    std::size_t rowBytes() const;
};

/**
 * Output pixel of each of the 65536 possible cells, by the cell's low 16 bits.
 *
 * A cell equal to `invalid` becomes all ones, or 0 in version 1.0. Any other is limited to the
 * source levels, converted, and, from version 1.1 on, limited to the usable levels.
 */
struct NbPixelTable {
    std::array<std::uint16_t, 65536> pixel;
};
void fillPixelTable(std::span<const std::uint16_t> conversion, std::int16_t invalid,
                    const NbGridHeader& header, NbPixelTable& out);

/**
 * Writes the contents into an open file. On failure the file is given up, and what went wrong is
 * said on standard error.
 *
 * @param table  value of each output level
 * @param cells  columns x rows, top row first
 * @return an NbRunCode: NB_RUN_SHORT_WRITE
 */
int writeNimbexFile(NbOutputFile& out, const NbGridHeader& header, std::span<const float> table,
                    const NbPixelTable& pixels, std::span<const std::int16_t> cells);
