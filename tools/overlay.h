#pragma once
/**
 * Coast lines and a net of meridians and parallels, drawn over the picture of a map.
 */
#include "tools/gridReader.h"
#include "tools/landMask.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

struct MapPoint {
    double x = 0; // cell, from 0 at the centre of the first
    double y = 0;
};
// Where a place lies on the map; empty when it has no image.
using MapFunction = std::function<std::optional<MapPoint>(double lon, double lat)>;

// The map of a grid file: a latitude-longitude grid knows it by itself; "ps", "merc" and "disk"
// (on the sphere) take the setup file that the map was made with, or "" for the defaults.
// Throws std::runtime_error for another word.
MapFunction mapFunction(const GridFile& grid, const std::string& projection,
                        const std::string& setupFile);

// Bytes of a picture, drawn on in one colour.
class Overlay {
public:
    // `reduction` cells of the map make one pixel.
    Overlay(std::vector<std::uint8_t>& pixels, int width, int height, int reduction)
        : pixels_(pixels), width_(width), height_(height), reduction_(reduction)
    {
    }
    void coast(const MapFunction& map, const std::vector<LandRing>& rings, std::uint8_t colour);
    void net(const MapFunction& map, int spacing, std::uint8_t colour); // degree

private:
    void path(const MapFunction& map, double lon0, double lat0, double lon1, double lat1,
              std::uint8_t colour);
    void stroke(MapPoint a, MapPoint b, std::uint8_t colour);

    std::vector<std::uint8_t>& pixels_;
    int width_;
    int height_;
    int reduction_;
};
