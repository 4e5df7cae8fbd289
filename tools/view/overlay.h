#pragma once
/**
 * Coast lines and a net of meridians and parallels over a picture of a map.
 */
#include "tools/view/canvas.h"
#include "tools/view/mapGeometry.h"
#include "tools/view/picture.h"

#include <string>
#include <vector>

namespace nbView {

class Overlay {
public:
    // Over a picture in the upper left of the canvas.
    Overlay(const MapGeometry& geometry, const GridFile& grid, CellScale scale, Canvas& canvas);

    // Meridians and parallels every `spacing` degrees, with their degrees where they leave the
    // picture at its left and lower edge, or in its middle; no label lies over another.
    void net(double spacing);
    // Shores from a map file. Throws std::runtime_error when it is no whole map.
    void coast(const std::string& mapFile);

private:
    struct Place {
        double lon, lat;
    };
    struct Pixel {
        double x, y;
    };
    struct Ink {
        double red, green, blue, alpha;
    };
    class Tiles;

    bool shows(float x, float y) const; // a cell position is on the map
    std::vector<std::vector<Pixel>> partsOf(const std::vector<Place>& line) const;
    void addLine(const std::vector<Place>& line);
    void addLine(const std::vector<Place>& line, const std::string& label);
    void strokeLines(double width, const Ink& ink);
    void drawLabels();

    static const Ink netInk, coastInk;

    struct Label {
        std::string text;
        double x, y;
        double anchor; // the share of the text left of x
    };

    const MapGeometry& geometry_;
    int columns_, rows_; // cells
    CellScale scale_;
    int width_, height_; // pixels of the picture
    Canvas& canvas_;
    double lineWidth_;
    std::vector<Label> labels_;
};

// The map of shorelines to take when none is named: NIMBL_MAP, then nbMap30.dat where the library
// looks for its data, then where this build made it. Throws std::runtime_error when there is none.
std::string findShoreMap();

} // namespace nbView
