#pragma once
/**
 * The land around a place, as outlines in the image, and drawn as each pixel's share of land.
 */
#include "geo/nbShoreMap.h"
#include "sat/nbSatObject.h"

#include <cstddef>
#include <span>
#include <vector>

// Closed lines in pixels from the middle of a square; between odd and even ones lies land.
struct NbLmOutline {
    struct Point {
        float x, y;
    };
    std::vector<Point> points;
    std::vector<std::size_t> ends; // of each line, in `points`
};

// Navigation of an image that is displaced by (startPixel, startLine).
struct NbLmView {
    NbSatObject* object = nullptr;
    double startPixel = 0;
    double startLine = 0;

    // Positions are image positions. A point without a result has -9999.0 in both outputs. toEarth
    // takes the displacement off `pixel` and `line` in place.
    void toEarth(std::span<float> pixel, std::span<float> line, std::span<double> lon,
                 std::span<double> lat) const;
    void toImage(std::span<const double> lon, std::span<const double> lat, std::span<float> pixel,
                 std::span<float> line) const;
};

// The surroundings of a place: a map of the earth's surface there onto the image.
class NbLmSurroundings {
public:
    // Half side of the square that is known, pixels, around a whole pixel. False in good() where
    // the navigation does not serve the whole of it.
    NbLmSurroundings(const NbLmView& view, int pixel, int line, int half);
    bool good() const { return good_; }

    // False when no point of the tile can lie in the square.
    bool meets(double west, double south, double tileSize) const;
    // A point of the tangent plane at the place: east and north, in units of the square's half
    // side on earth.
    struct Flat {
        double e, n;
    };
    // Memory to work in, one for all places: a ring may be long.
    struct Scratch {
        std::vector<Flat> ring, cut;
    };
    // Adds the land of one tile, cut to the square.
    void add(const NbShoreTile& tile, double west, double south, double tileSize, Scratch& scratch,
             NbLmOutline& outline) const;

private:
    static constexpr std::size_t terms = 10; // of a polynomial of the third degree

    Flat flat(double lon, double lat) const;
    static void powers(Flat p, std::span<double, terms> out);
    void addRing(std::span<const NbShorePoint> ring, Scratch& scratch, NbLmOutline& outline) const;

    bool good_ = false;
    double lon_ = 0, lat_ = 0; // of the place, degrees
    double sinLat_ = 0, cosLat_ = 1;
    double reach_ = 1; // half side on earth, radian
    double x_[terms] = {}, y_[terms] = {};
};

// Draws outlines. Keeps its memory between calls.
class NbLmRaster {
public:
    // Share of land of the pixels of a square with `half` pixels on each side of the middle one,
    // row by row, with the land moved by (dx, dy). None where outlines are too many to be a coast.
    void draw(const NbLmOutline& outline, float dx, float dy, int half, std::vector<float>& share);

private:
    struct Cut {
        int row; // of the fine rows
        float x;
    };
    std::vector<Cut> cuts_;
};
