#pragma once
/**
 * A map grid's lattice on earth, and raw image positions of its points.
 *
 * Objects whose raw navigation is the same share one raw lattice: they are navigated once. From the
 * raw positions at its corners follows a box for each lattice cell that holds those of all its
 * map cells, so that cells far off an object's part of the disk can be passed over.
 */
#include "geo/nbProj.h"
#include "sat/nbSatObject.h"
#include "util/nbArray.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <span>
#include <vector>

// A grid and its lattice. Both roughness values are at least 1, and the grid at least 2 x 2.
struct NbGrid {
    NbProjPara* proj;
    int columns;
    int rows;
    std::vector<int> latticeX; // lattice columns, 0 to columns - 1
    std::vector<int> latticeY; // lattice rows, 0 to rows - 1

    explicit NbGrid(NbProjPara* para);
    int strips() const { return static_cast<int>(latticeY.size()) - 1; }
    int firstRow(int strip) const { return latticeY[static_cast<std::size_t>(strip)]; }
    // Rows of a strip: up to the next lattice row; the last strip has its bottom row too.
    int rowsOf(int strip) const
    {
        const auto s = static_cast<std::size_t>(strip);
        return latticeY[s + 1] - latticeY[s] + (strip + 1 == strips() ? 1 : 0);
    }
};

// Map to earth, n cells; false, and a message, when the projection refuses its record.
bool nbpCellsToEarth(const char* caller, NbProjPara* proj, const float* x, const float* y, int n,
                     double* lon, double* lat);

// Earth positions of the lattice, row by row, for all objects.
class NbLatticeEarth {
public:
    explicit NbLatticeEarth(const NbGrid& grid);
    // Makes a row available; false when the projection refuses its record (logged).
    bool load(const char* caller, int row);
    const double* lon(int row) const { return rows_[row & 1].lon.data(); }
    const double* lat(int row) const { return rows_[row & 1].lat.data(); }

private:
    struct Row {
        int row = -1;
        NbArray<double> lon;
        NbArray<double> lat;
    };
    const NbGrid& grid_;
    std::array<Row, 2> rows_;
    NbArray<float> x_;
    NbArray<float> y_;
};

// Raw positions of the lattice for all objects that share one navigation, and from them a box
// for each lattice cell that holds the raw positions of all its map cells.
class NbRawLattice {
public:
    NbRawLattice(const NbGrid& grid, const NbSatRawNav* nav, void* p);

    const NbSatRawNav* nav() const { return nav_; }
    void* record() const { return p_; }
    void load(const NbLatticeEarth& earth, int row);
    // Values of a loaded row.
    std::span<const float> pixel(int row) const { return rows_[row & 1].pixel; }
    std::span<const float> line(int row) const { return rows_[row & 1].line; }
    std::span<const float> limb(int row) const { return rows_[row & 1].limb; }

    // Raw positions of single cells of a strip, given by their index into its planes. Each is
    // navigated once for all objects: where one segment ends the next one begins, and both ask
    // for the same cells. False when the projection refuses its record (logged).
    bool atCells(const char* caller, int strip, std::span<const std::size_t> cells, float* pixel,
                 float* line, float* limb);

    // Makes the boxes of a strip, whose two rows are loaded.
    void makeBoxes(int strip);
    // Nothing of the strip, of the lattice cell, can lie on a file with these bounds.
    bool stripIsOff(const float bounds[4]) const { return isOff(whole_, bounds); }
    bool cellIsOff(std::size_t cell, const float bounds[4]) const
    {
        return isOff(boxes_[cell], bounds);
    }

private:
    struct Row {
        int row = -1;
        NbArray<float> pixel;
        NbArray<float> line;
        NbArray<float> limb;
    };
    struct Box {
        float pixel0, pixel1, line0, line1; // empty (0 > 1) when surely behind the limb
    };
    static bool isOff(const Box& box, const float bounds[4])
    {
        return box.pixel1 < bounds[0] || box.pixel0 > bounds[1] || box.line1 < bounds[2] ||
               box.line0 > bounds[3];
    }

    const NbGrid& grid_;
    const NbSatRawNav* nav_;
    void* p_;
    float bend_ = 1;       // what a cell can bend between its corners, in parts of its extent
    float limbMargin_ = 0; // and in limb values where these have no slope, km^2
    std::array<Row, 2> rows_;
    NbArray<Box> boxes_;
    Box whole_{};
    int boxStrip_ = -1;

    // Cells known of the strip at hand; made when first asked for.
    struct Cell {
        int strip = -1;
        float pixel = 0;
        float line = 0;
        float limb = 0;
    };
    NbArray<Cell> cells_;
    std::vector<std::size_t> unknown_;
    std::vector<float> x_, y_, pixel_, line_, limb_;
    std::vector<double> lon_, lat_;
};

// True when the lattice is fine enough for its raw corners to bound a cell.
bool nbpLatticeIsFine(const NbGrid& grid);
