#pragma once
/**
 * Image positions of the cells of a map grid.
 *
 * Navigation is the expensive part of a conversion, so positions are exact on a lattice of every
 * roughX-th column and roughY-th row of the grid and bilinear between; where the earth's edge,
 * the file's edge or the image's half line crosses a lattice cell, the cell is halved until
 * its pieces are smooth or single cells. The grid is walked in strips from one lattice row to
 * the next.
 */
#include "sat/nbSatRawLattice.h"
#include "util/nbArray.h"

#include <array>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

inline constexpr float nbNoPosition = -9999.0F;

// Doubles wanted of each cell beside its position.
struct NbCellFields {
    // Overlap mode: 3 and 4 want the time, 5 and 6 the resolution, 9 and 10 the satellite zenith.
    int mode = 0;
    int infoSel = 0; // 1 to 10: field infoSel - 1 of NbPointInfo

    bool wantsOrder() const { return (mode >= 3 && mode <= 6) || mode == 9 || mode == 10; }
    bool wantsInfo() const { return infoSel >= 1; }
    bool any() const { return wantsOrder() || wantsInfo(); }
    // Angles that turn over at 360: the two azimuths and the phase angle.
    bool infoIsAngle() const { return infoSel == 3 || infoSel == 5 || infoSel == 10; }
};

// Turns map cells into image positions of one object, exactly.
class NbExactPositions {
public:
    NbExactPositions(NbSatObject* object, NbProjPara* proj, NbCellFields fields);

    // Positions and wanted fields at earth positions. `order` and `info` may be null when the
    // fields do not want them.
    void atEarth(const double* lon, const double* lat, int n, float* pixel, float* line,
                 double* order, double* info);
    // The same at grid cells; false when the projection refuses its record (logged).
    bool atCells(const char* caller, const float* x, const float* y, int n, float* pixel,
                 float* line, double* order, double* info);

private:
    NbSatObject* object_;
    NbProjPara* proj_;
    NbCellFields fields_;
    NbArray<double> lon_;
    NbArray<double> lat_;
    NbArray<NbPointInfo> points_;
};

// One lattice row of values.
struct NbLatticeRow {
    int row = -1; // its number in the lattice; -1 empty
    NbArray<float> pixel;
    NbArray<float> line;
    NbArray<double> order;
    NbArray<double> info;

    NbLatticeRow(std::size_t columns, NbCellFields fields);
};

// The cells of one strip for one object: planes of rowsOf(strip) rows (and one of slack) by
// `stride` columns.
class NbStripPositions {
public:
    NbStripPositions(NbSatObject* object, const NbGrid& grid, NbCellFields fields,
                     std::shared_ptr<NbRawLattice> raw);

    NbSatObject* object() const { return object_; }
    NbRawLattice* raw() const { return raw_.get(); }

    enum class Result { Failed, Off, Done };
    // Fills the planes for a strip. Off: no cell of the strip has a position, planes unwritten.
    Result fill(const char* caller, const NbLatticeEarth& earth, int strip);

    // After Done: the columns outside [firstColumn, endColumn) have no position and are not
    // written.
    int firstColumn() const { return firstColumn_; }
    int endColumn() const { return endColumn_; }
    int stride() const { return grid_.columns; }
    float* pixel(int row) { return at(pixel_, row); }
    float* line(int row) { return at(line_, row); }
    double* order(int row) { return at(order_, row); }
    double* info(int row) { return at(info_, row); }

private:
    template <class T>
    T* at(NbArray<T>& plane, int row)
    {
        return plane.empty() ? nullptr
                             : plane.data() + static_cast<std::size_t>(row) *
                                                  static_cast<std::size_t>(grid_.columns);
    }
    // A rectangle of grid cells from corner to corner; the far column and row belong to it only
    // at the grid's own edge.
    struct Piece {
        int x0, x1, y0, y1; // y counted from the strip's first row
        bool lastX, lastY;
    };

    NbLatticeRow& loadRow(const NbLatticeEarth& earth, int row);
    bool isSmooth(const NbLatticeRow& top, const NbLatticeRow& bottom) const;
    void interpolateStrip(const NbLatticeRow& top, const NbLatticeRow& bottom, int strip);
    bool border(const Piece& piece);
    bool edgesAreOff(const Piece& piece, bool* off);
    bool exactPoints();
    void outer(const Piece& piece);
    void interpolatePiece(const Piece& piece);
    std::size_t index(int x, int y) const
    {
        return static_cast<std::size_t>(y) * static_cast<std::size_t>(grid_.columns) +
               static_cast<std::size_t>(x);
    }

    NbSatObject* object_;
    const NbGrid& grid_;
    NbCellFields fields_;
    std::shared_ptr<NbRawLattice> raw_; // null: navigated through the object
    NbExactPositions exact_;
    std::array<NbLatticeRow, 2> rows_;
    NbArray<float> pixel_;
    NbArray<float> line_;
    NbArray<double> order_;
    NbArray<double> info_;
    int firstColumn_ = 0;
    int endColumn_ = 0;

    // of the strip at hand
    const char* caller_ = "";
    int strip_ = 0;
    int topRow_ = 0;
    std::vector<float> weightX_; // of the columns of the piece at hand
    // points that border() asks for together
    std::vector<std::size_t> askAt_;
    std::vector<float> askX_, askY_, askPixel_, askLine_, askLimb_;
    std::vector<double> askOrder_, askInfo_;
};
