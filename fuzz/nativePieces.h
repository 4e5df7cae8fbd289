#pragma once
/**
 * What is read of a raw native file of 17 MB, its lines aside: a file of these pieces alone is
 * short enough for a fuzzer.
 */
#include <array>
#include <cstddef>

struct NativePiece {
    std::size_t offset; // in the raw file
    std::size_t size;
};
inline constexpr std::array<NativePiece, 3> nativePieces = {{
    {0, 5},                              // up to the satellite's number
    {3 + 386892, 365},                   // description of the image and calibration
    {445250 + 17324928 + 0x125, 4 * 12}, // lines and columns covered
}};
inline constexpr std::size_t nativeLinesOffset = 445250; // the rest of the short file stands there
