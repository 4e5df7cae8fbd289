#pragma once
/**
 * Reads a nimbex file: header, table of physical values, levels of the cells. Everything is
 * checked against the file's size and its block marks.
 */
#include "geo/nbDate.h"

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace nbView {

struct GridFile {
    std::string path;
    bool compressed = false; // in an SZDD container
    std::uint64_t storedBytes = 0;

    std::string label;     // such as "MTSAT-IR"
    std::string satellite; // such as "Himawa-8"
    std::string version;   // "1.0", "1.1"
    bool isVersion10 = false;
    NbDateInts start{}; // UTC, as the header has them
    NbDateInts end{};

    bool isGrid = false; // of latitude and longitude
    int columns = 0;
    int rows = 0;
    double stepX = 0; // grid: degrees; others: 0
    double stepY = 0;
    int imageWidth = 0; // grid: extent in source pixels, negative when the image runs westward
    int imageHeight = 0;
    // Grid: north-west, north-east, south-west, south-east cell. Others: the first cells with image
    // from the top, right, left and bottom.
    struct Corner {
        double lat = 0;
        double lon = 0;
    };
    std::array<Corner, 4> corners{};
    int correction = 0;

    // From version 1.1 on.
    std::array<double, 3> attitude{}; // degrees
    double subLat = 0;
    double subLon = 0;
    double distanceKm = 0; // earth's centre to satellite

    int lowLevel = 0; // usable levels
    int highLevel = 0;
    std::vector<float> table; // value of level 0 to highLevel; NaN where there is none
    int invalid = 0;          // level of a cell without a sample

    int pixelBytes = 0;
    std::uint64_t cellsAt = 0;         // offset of the first cell in the expanded file
    std::uint64_t rowBytes = 0;        // from a row to the next
    std::vector<std::uint16_t> levels; // row by row from the top

    // Physical value of a level; NaN for the invalid one and one without a value.
    float value(int level) const;
    std::uint16_t levelAt(int column, int row) const
    {
        return levels[static_cast<std::size_t>(row) * static_cast<std::size_t>(columns) +
                      static_cast<std::size_t>(column)];
    }
};

// Throws std::runtime_error, with the path, when the file is no whole nimbex file.
GridFile readGridFile(const std::string& path);

// The decimal number of which a float is the nearest: 0.03 for 0.03F.
double decimal(float value);

// Shortest text that reads back as the same float or double.
std::string text(float value);
std::string text(double value);

// What the cells of a file hold.
struct CellStatistics {
    std::uint64_t cells = 0;
    std::uint64_t valid = 0;   // with a value
    std::uint64_t invalid = 0; // without a sample
    std::uint64_t lost = 0;    // at a level to which the table has no value
    double least = 0, most = 0, mean = 0, deviation = 0; // when valid is not 0
    std::vector<std::uint64_t> histogram;                // cells of each level
};
CellStatistics cellStatistics(const GridFile& grid);

} // namespace nbView
