#include "tools/gridReader.h"

#include "util/nbCursor.h"

#include <cstdio>
#include <fstream>
#include <iterator>
#include <limits>
#include <stdexcept>

namespace {

std::string readText(NbCursor& in, std::size_t width)
{
    std::string text(in.text(width));
    text.erase(text.find_last_not_of(' ') + 1);
    return text;
}

std::vector<char> readWhole(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    if (!file) throw std::runtime_error(path + " does not open");
    return {std::istreambuf_iterator<char>(file), {}};
}

} // namespace

float GridFile::value(std::uint16_t level) const
{
    if (level == invalid || level >= table.size()) return std::numeric_limits<float>::quiet_NaN();
    return table[level];
}

GridFile readGridFile(const std::string& path)
{
    const std::vector<char> file = readWhole(path);
    const auto fail = [&](const std::string& what) {
        throw std::runtime_error(path + " : " + what);
    };
    NbCursor in(std::as_bytes(std::span(file)), NbByteOrder::Little);
    const auto integer = [&](std::size_t offset) {
        in.seek(offset);
        return in.get<std::int32_t>();
    };
    const auto number = [&](std::size_t offset) {
        in.seek(offset);
        return in.get<float>();
    };
    if (integer(0) != 256 || integer(252) != 256) fail("no nimbex header");

    GridFile grid;
    in.seek(4);
    grid.channel = readText(in, 8);
    grid.satellite = readText(in, 8);
    in.seek(248);
    grid.version = readText(in, 4);
    char start[96];
    std::snprintf(start, sizeof(start), "%02d%02d-%02d-%02d %02d:%02d:%02d", integer(24),
                  integer(28), integer(32), integer(36), integer(40), integer(44), integer(48));
    grid.start = start;

    grid.isGrid = integer(88) == 1;
    grid.columns = integer(grid.isGrid ? 108 : 92);
    grid.rows = integer(grid.isGrid ? 112 : 96);
    grid.stepX = number(100);
    grid.stepY = number(104);
    grid.north = number(124);
    grid.west = number(128);
    const std::int64_t rowLength = std::int64_t{256} * integer(116);
    const int pixelBytes = integer(120);
    const int tableCount = integer(156);
    const int lowLevel = integer(160);
    const std::int64_t tableLength = integer(256);
    if (grid.columns < 1 || grid.rows < 1 || (pixelBytes != 1 && pixelBytes != 2) ||
        rowLength < std::int64_t{grid.columns} * pixelBytes + 8)
        fail("the sizes in the header do not fit each other");

    // Without a low level of 0 the block's marks lie over the first and the last entry.
    const std::int64_t entries = std::int64_t{tableCount} + (lowLevel == 0 ? 0 : 2);
    if (tableCount < 1 || entries * 4 > tableLength) fail("the table does not fit its block");
    const auto size = static_cast<std::int64_t>(file.size());
    if (rowLength > size || 256 + tableLength + rowLength * grid.rows > size)
        fail("the file is too short");
    in.seek(lowLevel == 0 ? 260 : 256);
    for (std::int64_t i = 0; i < entries; ++i)
        grid.table.push_back(in.get<float>());
    if (lowLevel != 0 && entries > 3) {
        grid.table.front() = grid.table[1];
        grid.table.back() = grid.table[grid.table.size() - 2];
    }

    const bool marked = !grid.version.empty(); // 1.1 on: all ones; before: level 0
    grid.invalid =
        marked ? (pixelBytes == 1 ? std::uint16_t{255} : std::uint16_t{65535}) : std::uint16_t{0};
    grid.levels.reserve(static_cast<std::size_t>(grid.columns) *
                        static_cast<std::size_t>(grid.rows));
    for (int row = 0; row < grid.rows; ++row) {
        in.seek(static_cast<std::size_t>(256 + tableLength + rowLength * row + 4));
        for (int i = 0; i < grid.columns; ++i)
            grid.levels.push_back(pixelBytes == 1 ? in.get<std::uint8_t>()
                                                  : in.get<std::uint16_t>());
    }
    return grid;
}
