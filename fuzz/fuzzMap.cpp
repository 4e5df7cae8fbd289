// Any bytes as a map of shorelines: every tile is read. The sizes and checksums are made good, so
// that what changed reaches the rings; an odd last byte leaves them as they are.
#include "fuzz/fuzzFile.h"
#include "geo/nbShoreMap.h"
#include "geo/nbShoreMapFormat.h"

#include <vector>

namespace {

void put(std::span<std::uint8_t> at, std::size_t bytes, std::uint64_t value)
{
    for (std::size_t i = 0; i < bytes; ++i)
        at[i] = static_cast<std::uint8_t>(value >> 8 * i);
}

std::uint32_t get(std::span<const std::uint8_t> at)
{
    return at[0] + at[1] * 0x100U + at[2] * 0x10000U + at[3] * 0x1000000U;
}

// The size stands at byte 12, behind magic, version and degrees; a tile is a length and a checksum.
void repair(std::span<std::uint8_t> bytes)
{
    if (bytes.size() < nbShoreMapHeaderSize) return;
    const std::size_t degrees = bytes[10] + bytes[11] * 0x100U;
    if (degrees == 0 || 180 % degrees != 0) return;
    const std::size_t tiles = 360 / degrees * (180 / degrees);
    const std::size_t tableEnd = nbShoreMapHeaderSize + tiles * nbShoreMapEntrySize;
    if (bytes.size() < tableEnd + nbShoreMapChecksumSize) return;

    put(bytes.subspan(12), 8, bytes.size());
    std::span<std::uint8_t> rest = bytes.subspan(tableEnd + nbShoreMapChecksumSize);
    for (std::size_t at = nbShoreMapHeaderSize; at < tableEnd; at += nbShoreMapEntrySize) {
        const auto entry = bytes.subspan(at, nbShoreMapEntrySize);
        std::size_t length = get(entry);
        if (at + nbShoreMapEntrySize == tableEnd)
            length = rest.size(); // the last tile takes what is left
        else if (length == nbShoreMapAllLand)
            continue;
        else if (length > rest.size())
            length = rest.size();
        const auto tile = rest.first(length);
        rest = rest.subspan(length);
        put(entry, 4, length);
        put(entry.subspan(4), 4, nbpCrc32(std::as_bytes(tile)));
    }
    put(bytes.subspan(tableEnd), 4, nbpCrc32(std::as_bytes(bytes.first(tableEnd))));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    std::vector<std::uint8_t> bytes(data, data + size);
    if (bytes.empty() || bytes.back() % 2 == 0) repair(bytes);
    const FuzzFile file(bytes);
    std::string problem;
    const auto map = NbShoreMap::open(file.path(), problem);
    if (!map) return 0;
    NbShoreTile tile;
    for (int row = -1; row <= map->rows(); ++row)
        for (int column = -1; column <= map->columns(); ++column)
            map->read(column, row, tile, problem);
    return 0;
}
