#pragma once
/**
 * Land polygons cut into the tiles of a shore map, and the map's file.
 */
#include "tools/landMask.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

class ShoreTiles {
public:
    // In steps of the file, from 180 W eastward and from 90 N southward.
    struct Point {
        std::int64_t x;
        std::int64_t y;
        bool operator==(const Point&) const = default;
    };
    using Ring = std::vector<Point>;
    struct Tile {
        bool land = false; // outside all rings
        std::vector<Ring> rings;
    };

    // Tiles of a whole number of degrees, a divisor of 180.
    explicit ShoreTiles(int degrees);

    // Adds a ring around land, or around what is no land inside another: even-odd. Longitudes
    // may run on past 180 or jump to the other side there; no edge goes more than half way round
    // the world. A ring that goes round a pole holds the pole nearer to it. Throws
    // std::runtime_error for a position that is none.
    void add(const std::vector<LandRing::Point>& ring);

    // Writes the map under a name of its own and then renames it; `source` says in a few words
    // where the land is from. Throws std::runtime_error when it cannot.
    void write(const std::string& path, std::string_view source) const;

private:
    int degrees_;
    std::int64_t size_;       // steps of a tile's side
    std::vector<Tile> tiles_; // row by row
};
