#include "sat/nbSatRawLattice.h"

#include "util/nbLogFormat.h"
#include "util/nbNumber.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <utility>

namespace {

std::vector<int> latticeLines(int count, int step)
{
    std::vector<int> at;
    const std::int64_t lines = (static_cast<std::int64_t>(count) + step - 2) / step + 1;
    for (std::int64_t i = 0; i < lines; ++i)
        at.push_back(static_cast<int>(std::min<std::int64_t>(i * step, count - 1)));
    return at;
}

NbArray<double> doubles(std::size_t n)
{
    return NbArray<double>(n, 0.0, NbAllocator<double>("nbSatRawLattice"));
}

NbArray<float> floats(std::size_t n)
{
    return NbArray<float>(n, 0.0F, NbAllocator<float>("nbSatRawLattice"));
}

// Distances on earth between neighbouring lattice points, radians.
struct LatticeStep {
    double largest;
    double smallest;

    explicit LatticeStep(const NbProjPara& p)
    {
        const double unit =
            p.prjType == NB_PROJ_GRID ? 3.141592653589793 / 180 : 1 / nb_ProjEquatRadius;
        const auto [low, high] = std::minmax({p.roughX * p.stepX, p.roughY * p.stepY});
        smallest = low * unit;
        largest = high * unit;
    }
};

// True when a conic grid holds a part of the line along which the cone is cut open: from the pole
// away from the map's middle. Longitudes jump there, and corners say nothing of what lies between.
bool holdsConeCut(const NbGrid& grid)
{
    const double north = grid.proj->stdLat1 >= 0 ? 1 : -1;
    const double lat = 90 * north;
    float x = 0;
    float y = 0;
    if (nbProjLonLatToXY(&grid.proj->stdLon, &lat, &x, &y, 1, grid.proj) != 0) return true;
    const bool sideways = x < -1 || x > static_cast<float>(grid.columns);
    const bool beyond = north > 0 ? y < -1 : y > static_cast<float>(grid.rows);
    return !(sideways || beyond);
}

} // namespace

NbGrid::NbGrid(NbProjPara* para)
    : proj(para), columns(para->xNum), rows(para->yNum),
      latticeX(latticeLines(para->xNum, para->roughX)),
      latticeY(latticeLines(para->yNum, para->roughY))
{
}

// Map to earth; false, and a message, when the projection refuses its record.
bool nbpCellsToEarth(const char* caller, NbProjPara* proj, const float* x, const float* y, int n,
                     double* lon, double* lat)
{
    const int code = nbProjXYToLonLat(x, y, lon, lat, n, proj);
    if (code >= 0) return true;
    nbpLogError("%s : nbProjXYToLonLat() Error! return [%d]\n", caller, code);
    return false;
}

NbLatticeEarth::NbLatticeEarth(const NbGrid& grid)
    : grid_(grid), rows_{Row{-1, doubles(grid.latticeX.size()), doubles(grid.latticeX.size())},
                         Row{-1, doubles(grid.latticeX.size()), doubles(grid.latticeX.size())}},
      x_(floats(grid.latticeX.size())), y_(floats(grid.latticeX.size()))
{
    std::transform(grid.latticeX.begin(), grid.latticeX.end(), x_.begin(),
                   [](int x) { return static_cast<float>(x); });
}

bool NbLatticeEarth::load(const char* caller, int row)
{
    Row& r = rows_[row & 1];
    if (r.row == row) return true;
    std::fill(y_.begin(), y_.end(),
              static_cast<float>(grid_.latticeY[static_cast<std::size_t>(row)]));
    if (!nbpCellsToEarth(caller, grid_.proj, x_.data(), y_.data(), static_cast<int>(x_.size()),
                         r.lon.data(), r.lat.data()))
        return false;
    r.row = row;
    return true;
}

bool nbpLatticeIsFine(const NbGrid& grid)
{
    const int type = grid.proj->prjType;
    if (type < NB_PROJ_DISK || type > NB_PROJ_GRID) return false;
    if (type == NB_PROJ_LAMB && holdsConeCut(grid)) return false;
    return LatticeStep(*grid.proj).largest <= 0.5; // no cell reaches round the earth
}

NbRawLattice::NbRawLattice(const NbGrid& grid, const NbSatRawNav* nav, void* p)
    : grid_(grid), nav_(nav),
      p_(p), rows_{Row{-1, floats(grid.latticeX.size()), floats(grid.latticeX.size()),
                       floats(grid.latticeX.size())},
                   Row{-1, floats(grid.latticeX.size()), floats(grid.latticeX.size()),
                       floats(grid.latticeX.size())}},
      boxes_(NbAllocator<Box>("NbRawLattice")), cells_(NbAllocator<Cell>("NbRawLattice"))
{
    boxes_.resize(grid.latticeX.size() - 1);
    // Over a cell that spans an angle s of the earth, positions and limb values leave the plane
    // through the corners by some s / 8 of the cell's own extent, more when its sides differ much
    // and the long one is seen at a grazing angle. Taken 64 times.
    const LatticeStep step(*grid.proj);
    bend_ = nbpToFloat(std::min(1.0, 8 * step.largest * (step.largest / step.smallest)));
    // Where its slope is 0, the limb value bends by up to R^2 s^2 / 4.
    limbMargin_ = nbpToFloat(4e7 * step.largest * step.largest);
}

void NbRawLattice::load(const NbLatticeEarth& earth, int row)
{
    Row& r = rows_[row & 1];
    if (r.row == row) return;
    nav_->position(p_, earth.lon(row), earth.lat(row), r.pixel.data(), r.line.data(), r.limb.data(),
                   static_cast<int>(r.pixel.size()));
    r.row = row;
}

bool NbRawLattice::atCells(const char* caller, int strip, std::span<const std::size_t> cells,
                           float* pixel, float* line, float* limb)
{
    const auto columns = static_cast<std::size_t>(grid_.columns);
    if (cells_.empty())
        cells_.resize(columns *
                      (static_cast<std::size_t>(std::min(grid_.proj->roughY, grid_.rows)) + 1));
    unknown_.clear();
    for (const std::size_t at : cells)
        if (cells_[at].strip != strip) unknown_.push_back(at);
    if (!unknown_.empty()) {
        const std::size_t n = unknown_.size();
        for (auto* v : {&x_, &y_, &pixel_, &line_, &limb_})
            v->resize(n);
        lon_.resize(n);
        lat_.resize(n);
        for (std::size_t i = 0; i < n; ++i) {
            x_[i] = static_cast<float>(unknown_[i] % columns);
            y_[i] =
                static_cast<float>(grid_.firstRow(strip) + static_cast<int>(unknown_[i] / columns));
        }
        if (!nbpCellsToEarth(caller, grid_.proj, x_.data(), y_.data(), static_cast<int>(n),
                             lon_.data(), lat_.data()))
            return false;
        nav_->position(p_, lon_.data(), lat_.data(), pixel_.data(), line_.data(), limb_.data(),
                       static_cast<int>(n));
        for (std::size_t i = 0; i < n; ++i)
            cells_[unknown_[i]] = {strip, pixel_[i], line_[i], limb_[i]};
    }
    for (std::size_t i = 0; i < cells.size(); ++i) {
        pixel[i] = cells_[cells[i]].pixel;
        line[i] = cells_[cells[i]].line;
        limb[i] = cells_[cells[i]].limb;
    }
    return true;
}

// A cell's box is that of its corners, widened on all sides by what the image can bend between
// them. Corners surely behind the limb make an empty box, a corner without a position an endless
// one.
void NbRawLattice::makeBoxes(int strip)
{
    if (boxStrip_ == strip) return;
    boxStrip_ = strip;
    const Row& top = rows_[strip & 1];
    const Row& bottom = rows_[(strip + 1) & 1];
    constexpr float endless = 1e30F;
    whole_ = {endless, -endless, endless, -endless};
    for (std::size_t i = 0; i < boxes_.size(); ++i) {
        const auto limits = [i](const NbArray<float>& t, const NbArray<float>& u) {
            return std::pair(std::min(std::min(t[i], t[i + 1]), std::min(u[i], u[i + 1])),
                             std::max(std::max(t[i], t[i + 1]), std::max(u[i], u[i + 1])));
        };
        const auto [limb0, limb1] = limits(top.limb, bottom.limb);
        Box& box = boxes_[i];
        const float sum = top.limb[i] + top.limb[i + 1] + bottom.limb[i] + bottom.limb[i + 1];
        if (!std::isfinite(sum)) {
            box = {-endless, endless, -endless, endless};
        } else if (limb0 - bend_ * (limb1 - limb0) - limbMargin_ > 0) {
            box = {endless, -endless, endless, -endless};
        } else {
            const auto [pixel0, pixel1] = limits(top.pixel, bottom.pixel);
            const auto [line0, line1] = limits(top.line, bottom.line);
            const float extent = std::max(pixel1 - pixel0, line1 - line0);
            const float margin = bend_ * extent + 0.05F; // rounding of a float position: 0.004
            box = {pixel0 - margin, pixel1 + margin, line0 - margin, line1 + margin};
        }
        whole_.pixel0 = std::min(whole_.pixel0, box.pixel0);
        whole_.pixel1 = std::max(whole_.pixel1, box.pixel1);
        whole_.line0 = std::min(whole_.line0, box.line0);
        whole_.line1 = std::max(whole_.line1, box.line1);
    }
}
