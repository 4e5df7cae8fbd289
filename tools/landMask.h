#pragma once
/**
 * Land of the world: coast rings from tools/data/land.txt, and a raster of land and sea.
 */
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

// One closed ring of coast, degrees; longitudes run on past -180 and 180.
struct LandRing {
    struct Point {
        double lon = 0;
        double lat = 0;
    };
    std::vector<Point> points;
};

// Throws std::runtime_error when the file does not open or holds no ring.
std::vector<LandRing> readLandRings(const std::string& path);

// Land and sea around one longitude, seen between 82 degrees south and north.
class LandMask {
public:
    LandMask(const std::vector<LandRing>& rings, double centreLon);
    // Share of land, 0 to 1, between the four nearest cells; dLon counts from the centre.
    float at(float dLon, float lat) const;

private:
    static constexpr int perDegree = 40;
    static constexpr int halfWidth = 85; // degree
    static constexpr int halfHeight = 82;
    static constexpr int columns = 2 * halfWidth * perDegree;
    static constexpr int rows = 2 * halfHeight * perDegree;
    std::vector<std::uint8_t> cells_; // 1 land
};
