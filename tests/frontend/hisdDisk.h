#pragma once
/**
 * What the tests of the program share: a small disk, and the cells of a written file.
 */
#include "tests/support/support.h"
#include "tests/synth/synthHisd.h"

#include <cstdint>
#include <string>
#include <vector>

inline ProgramResult nimbex(const std::vector<std::string>& arguments)
{
    return runProgram(NIMBEX_PROGRAM, arguments);
}

// A disk of 110 x 110 pixels, 100 km each.
inline SynthHisd diskOf(int band)
{
    SynthHisd scene;
    scene.band = band;
    scene.cfac = scene.lfac = 409326;
    scene.coff = scene.loff = 55.5F;
    scene.actualSubLat = 0;
    return scene;
}

inline std::string textAt(const Bytes& bytes, std::size_t offset, std::size_t length)
{
    std::string text;
    for (std::size_t i = offset; i < offset + length && i < bytes.size(); ++i)
        text += static_cast<char>(bytes[i]);
    return text;
}

// A written file, taken apart by the offsets of the format.
struct GridFile {
    explicit GridFile(const std::string& path) : bytes(readFile(path))
    {
        const int tableBytes = at(256);
        const int rowUnits = at(116);
        pixelBytes = at(120);
        low = at(160);
        high = at(164);
        const std::size_t tableAt = 256U + (low == 0 ? 4U : 0U);
        for (int i = 0; i <= high; ++i)
            table.push_back(numberAt<float>(bytes, tableAt + 4U * static_cast<std::size_t>(i)));
        const bool grid = at(88) == 1;
        columns = at(grid ? 108 : 92);
        rows = at(grid ? 112 : 96);
        for (int y = 0; y < rows; ++y) {
            for (int x = 0; x < columns; ++x) {
                const auto offset = static_cast<std::size_t>(256 + tableBytes + y * rowUnits * 256 +
                                                             4 + x * pixelBytes);
                cells.push_back(pixelBytes == 2 ? numberAt<std::uint16_t>(bytes, offset)
                                                : numberAt<std::uint8_t>(bytes, offset));
            }
        }
    }
    int at(std::size_t offset) const { return numberAt<std::int32_t>(bytes, offset); }
    std::string label() const { return textAt(bytes, 4, 8); }

    Bytes bytes;
    int pixelBytes = 0;
    int low = 0; // usable levels
    int high = 0;
    int columns = 0;
    int rows = 0;
    std::vector<float> table; // value of level 0 to high
    std::vector<int> cells;   // unsigned; all ones: no image
};
