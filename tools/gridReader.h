#pragma once
/**
 * Reads a nimbex file: header, table of physical values, levels of the cells.
 */
#include <cstdint>
#include <string>
#include <vector>

struct GridFile {
    std::string channel; // such as "Himawa-IR"
    std::string satellite;
    std::string version; // empty for 1.0
    std::string start;   // "2020-08-01 03:00:20"
    int columns = 0;
    int rows = 0;
    bool isGrid = false; // latitude and longitude
    float west = 0;      // centre of the first cell; only of a grid
    float north = 0;
    float stepX = 0; // degree
    float stepY = 0;
    std::vector<float> table;          // physical value of each level
    std::vector<std::uint16_t> levels; // row by row from the top
    std::uint16_t invalid = 0;         // level of a cell without a sample

    // Physical value of a level; NaN for the invalid one and one outside the table.
    float value(std::uint16_t level) const;
};

// Throws std::runtime_error when the file is no whole nimbex file.
GridFile readGridFile(const std::string& path);
