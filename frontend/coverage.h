#pragma once
/**
 * What of the map grid the image covers: four outer points, the widest row, and the times of
 * the grid's edges.
 */
#include "geo/nbDate.h"
#include "geo/nbProj.h"
#include "sat/nbSatObject.h"

#include <array>
#include <span>

// A cell of the grid that has a place on an image.
struct NbCoveredPoint {
    float pixel = 0;
    float line = 0;
    int object = 0; // index of the first object that has it
    double lon = 0; // of the cell, degrees
    double lat = 0;
};

// Edges of a latitude-longitude grid, degrees: outermost cell centres, covered or not.
struct NbGridEdges {
    double west;
    double east;
    double north;
    double south;
};
NbGridEdges gridEdges(const NbProjPara& map);

struct NbCoverage {
    // The first covered cells from four sides. Latitude-longitude grid: from the north, each row
    // from the west; from the south, each row from the east; from the west, each column from
    // the south; from the east, each column from the north. Other maps: from the top, from the
    // right, from the left, from the bottom.
    std::array<NbCoveredPoint, 4> points;
    float widest = 0; // latitude-longitude grid: widest row in pixels of the image

    // Index of the point on the smallest and on the largest line; the first of equals.
    int smallestLine() const;
    int largestLine() const;
};

/** Probes the grid. Objects are tried in their order at each cell. False: nothing is covered. */
bool probeCoverage(std::span<NbSatObject> objects, NbProjPara& map, NbCoverage& coverage);

struct NbObservationTimes {
    NbDateInts start;
    NbDateInts end;
};

/**
 * First and last observation time along the grid's edges: of the object on the smallest line and
 * of the one on the largest. Where an edge has no time it is that of `objects`' first file.
 */
NbObservationTimes edgeTimes(std::span<NbSatObject> objects, NbProjPara& map,
                             const NbCoverage& coverage);
