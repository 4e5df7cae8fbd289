#pragma once
/**
 * Layout of a shore map file, for its reader and its maker. docs/landmark.md tells it whole.
 */
#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

inline constexpr std::string_view nbShoreMapMagic = "NBMAP30\n";
inline constexpr std::uint16_t nbShoreMapVersion = 1;
inline constexpr std::int32_t nbShoreMapUnits = 10000; // steps of a coordinate in a degree, 11 m
inline constexpr std::size_t nbShoreMapHeaderSize = 64;
inline constexpr std::size_t nbShoreMapSourceSize = 44; // the header's end: where the data are from
inline constexpr std::size_t nbShoreMapEntrySize = 8;   // length and checksum of a tile
inline constexpr std::size_t nbShoreMapChecksumSize = 4; // of header and index, behind them
// Points of a tile: more than of the finest shorelines, so that what has more is damaged and does
// not fill the memory. Its bytes: five a number, and three points a ring.
inline constexpr std::size_t nbShoreMapMostPoints = 4'000'000;
inline constexpr std::size_t nbShoreMapMostTile = nbShoreMapMostPoints * 12;
// Lengths of tiles that have no bytes.
inline constexpr std::uint32_t nbShoreMapAllWater = 0;
inline constexpr std::uint32_t nbShoreMapAllLand = 0xFFFFFFFF;

// CRC-32 as in ISO 3309 (polynomial 0x04C11DB7 reflected, preset and inverted).
inline constexpr auto nbCrc32Table = [] {
    std::array<std::uint32_t, 256> table{};
    for (std::uint32_t i = 0; i < 256; ++i) {
        table[i] = i;
        for (int bit = 0; bit < 8; ++bit)
            table[i] = (table[i] >> 1) ^ ((table[i] & 1) != 0 ? 0xEDB88320U : 0U);
    }
    return table;
}();

inline std::uint32_t nbpCrc32(std::span<const std::byte> bytes)
{
    std::uint32_t crc = 0xFFFFFFFFU;
    for (const std::byte b : bytes)
        crc = (crc >> 8) ^ nbCrc32Table[(crc ^ std::to_integer<std::uint32_t>(b)) & 0xFF];
    return ~crc;
}
