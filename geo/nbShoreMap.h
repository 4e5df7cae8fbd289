#pragma once
/**
 * Shorelines of the world from a file of tiles: only what a place needs is read.
 */
#include "util/nbFile.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

struct NbShorePoint {
    double lon; // degrees, -180 to 180
    double lat; // degrees
};

// The land of one tile.
struct NbShoreTile {
    // Without rings: all land, or all water.
    bool land = false;
    // Boundaries of the land inside the tile, each closed from its last point to its first; a point
    // is on land when an odd number of them surround it. Edges on the tile's border cut land, they
    // are no shore.
    std::vector<std::vector<NbShorePoint>> rings;
};

/** An open map. Tiles are squares of tileSize() degrees, from 180 W and 90 N eastward and
 * southward. */
class NbShoreMap {
public:
    // Null, with the reason in `problem`, when the file is not a whole map.
    static std::unique_ptr<NbShoreMap> open(const std::string& path, std::string& problem);
    ~NbShoreMap();

    double tileSize() const; // degrees; divides 180
    int columns() const;
    int rows() const;
    // False, with the reason in `problem`, when the tile's bytes are damaged or cannot be read, or
    // there is no such tile.
    bool read(int column, int row, NbShoreTile& tile, std::string& problem);

private:
    // Where a tile's bytes lie.
    struct Entry {
        std::int64_t offset;
        std::uint32_t length; // or one of the marks of a tile without bytes
        std::uint32_t checksum;
    };

    NbShoreMap() = default;

    NbFilePtr file_;
    std::int32_t degrees_ = 0;     // size of a tile
    std::vector<Entry> index_;     // row by row
    std::vector<std::byte> bytes_; // of the tile last read
};
