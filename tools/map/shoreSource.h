#pragma once
/**
 * Public shorelines that shore maps are made of.
 */
#include "tools/landMask.h"

#include <string>
#include <vector>

struct ShoreSource {
    std::string name;           // for the map's header
    int tileDegrees = 5;        // tiles that suit it
    std::vector<LandRing> land; // rings around land and in it, even-odd
};

// A binned GSHHG file (*.nc), or a text file of land polygons such as tools/data/land.txt. Throws
// std::runtime_error for what is neither.
ShoreSource readShoreSource(const std::string& path);

// Writes the shore map of a source. Throws std::runtime_error.
void makeShoreMap(const std::string& sourcePath, const std::string& mapPath);
