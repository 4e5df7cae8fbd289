#include "sat/nbSatLattice.h"

#include "sat/nbSatNav.h"
#include "util/nbLogFormat.h"
#include "util/nbNumber.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace {

constexpr double noValue = -9999.0;
constexpr float unknown = -99999.0F; // cells of the planes that nobody has computed
constexpr float knownAbove = -99990.0F;
constexpr int block = 8; // cells that the interpolation makes at a time

std::vector<int> latticeLines(int count, int step)
{
    std::vector<int> at;
    const std::int64_t lines = (static_cast<std::int64_t>(count) + step - 2) / step + 1;
    for (std::int64_t i = 0; i < lines; ++i)
        at.push_back(static_cast<int>(std::min<std::int64_t>(i * step, count - 1)));
    return at;
}

double fieldOf(const NbPointInfo& p, int number)
{
    switch (number) {
    case 0:
        return p.time;
    case 1:
        return p.satZenith;
    case 2:
        return p.satAzimuth;
    case 3:
        return p.sunZenith;
    case 4:
        return p.sunAzimuth;
    case 5:
        return p.satSunAngle;
    case 6:
        return p.glintAngle;
    case 7:
        return p.satDistance;
    case 8:
        return p.sunDistance;
    default:
        return p.phaseAngle;
    }
}

// Mean of the two resolutions, or the one present.
double meanResolution(double x, double y)
{
    if (x == noValue) return y;
    if (y == noValue) return x;
    return (x + y) / 2;
}

// Bilinear weights of the cells of one row of a lattice cell, in float: each product of the
// two offsets' quotients is rounded by itself, so that a position near a pixel border falls on
// the same side however the cells are walked.
struct RowWeights {
    NbArray<float> a, b, c, d; // upper left, upper right, lower left, lower right corner

    explicit RowWeights(int most)
        : a(padded(most), 0.0F, NbAllocator<float>("RowWeights()")), b(a), c(a), d(a)
    {
    }
    static std::size_t padded(int n) { return static_cast<std::size_t>((n / block + 1) * block); }

    // Cells 0 to `last` of a lattice cell `width` wide, in row y of `height`.
    void set(int width, int last, int y, int height)
    {
        const float wy = static_cast<float>(y) / static_cast<float>(height);
        for (int x = 0; x <= last; ++x) {
            const float wx = static_cast<float>(x) / static_cast<float>(width);
            const auto i = static_cast<std::size_t>(x);
            d[i] = wy * wx;
            c[i] = wy * (1 - wx);
            b[i] = (1 - wy) * wx;
            a[i] = (1 - wy) * (1 - wx);
        }
    }
};

// Values of `count` cells from four corners. Writes whole blocks: up to block - 1 values more.
void bilinear(const RowWeights& w, float a, float b, float c, float d, int count,
              float* __restrict out)
{
    const float* __restrict wa = w.a.data();
    const float* __restrict wb = w.b.data();
    const float* __restrict wc = w.c.data();
    const float* __restrict wd = w.d.data();
    for (int k = 0; k < count; k += block)
        for (int i = k; i < k + block; ++i)
            out[i] = wd[i] * d + wc[i] * c + wb[i] * b + wa[i] * a;
}

double bilinear(double wx, double wy, double a, double b, double c, double d)
{
    return wy * wx * d + wy * (1 - wx) * c + (1 - wy) * wx * b + (1 - wy) * (1 - wx) * a;
}

// Corner values of a field of doubles, made ready for interpolation.
struct FieldCorners {
    double a, b, c, d;
    bool missing;
    bool turned = false; // an angle on both sides of 360

    FieldCorners(double upperLeft, double upperRight, double lowerLeft, double lowerRight,
                 bool isAngle)
        : a(upperLeft), b(upperRight), c(lowerLeft), d(lowerRight),
          missing(a == noValue || b == noValue || c == noValue || d == noValue)
    {
        turned =
            isAngle && (std::fabs(b - a) > 180 || std::fabs(c - a) > 180 || std::fabs(d - a) > 180);
        if (!turned) return;
        for (double* v : {&a, &b, &c, &d})
            if (*v < 180) *v += 360;
    }
    double value(double wx, double wy) const
    {
        if (missing) return noValue;
        const double v = bilinear(wx, wy, a, b, c, d);
        return turned && v >= 360 ? v - 360 : v;
    }
};

NbArray<double> doubles(std::size_t n, bool wanted)
{
    return NbArray<double>(wanted ? n : 0, 0.0, NbAllocator<double>("nbSatLattice"));
}

NbArray<float> floats(std::size_t n)
{
    return NbArray<float>(n, 0.0F, NbAllocator<float>("nbSatLattice"));
}

// Map to earth; false, and a message, when the projection refuses its record.
bool toEarth(const char* caller, NbProjPara* proj, const float* x, const float* y, int n,
             double* lon, double* lat)
{
    const int code = nbProjXYToLonLat(x, y, lon, lat, n, proj);
    if (code >= 0) return true;
    nbpLogError("%s : nbProjXYToLonLat() Error! return [%d]\n", caller, code);
    return false;
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

} // namespace

NbGrid::NbGrid(NbProjPara* para)
    : proj(para), columns(para->xNum), rows(para->yNum),
      latticeX(latticeLines(para->xNum, para->roughX)),
      latticeY(latticeLines(para->yNum, para->roughY))
{
}

NbExactPositions::NbExactPositions(NbSatObject* object, NbProjPara* proj, NbCellFields fields)
    : object_(object), proj_(proj), fields_(fields), lon_(NbAllocator<double>("NbExactPositions")),
      lat_(NbAllocator<double>("NbExactPositions")),
      points_(NbAllocator<NbPointInfo>("NbExactPositions"))
{
}

void NbExactPositions::atEarth(const double* lon, const double* lat, int n, float* pixel,
                               float* line, double* order, double* info)
{
    const auto count = static_cast<std::size_t>(n);
    const bool wantsResolution = fields_.mode == 5 || fields_.mode == 6;
    const bool wantsPoints = fields_.wantsInfo() || (fields_.wantsOrder() && !wantsResolution);
    if (wantsPoints && points_.size() < count) points_.resize(count);
    nbSatLonLatToPixLinInfo(object_, lon, lat, pixel, line, wantsPoints ? points_.data() : nullptr,
                            n);
    for (std::size_t i = 0; i < count; ++i) {
        if (fields_.wantsInfo()) info[i] = fieldOf(points_[i], fields_.infoSel - 1);
        if (!fields_.wantsOrder()) continue;
        if (wantsResolution) {
            double resX = noValue;
            double resY = noValue;
            if (pixel[i] != nbNoPosition)
                nbSatGetResByPixLin(object_, pixel + i, line + i, &resX, &resY, 1);
            order[i] = meanResolution(resX, resY);
        } else {
            order[i] = fields_.mode <= 4 ? points_[i].time : points_[i].satZenith;
        }
    }
}

bool NbExactPositions::atCells(const char* caller, const float* x, const float* y, int n,
                               float* pixel, float* line, double* order, double* info)
{
    const auto count = static_cast<std::size_t>(n);
    if (lon_.size() < count) {
        lon_.resize(count);
        lat_.resize(count);
    }
    if (!toEarth(caller, proj_, x, y, n, lon_.data(), lat_.data())) return false;
    atEarth(lon_.data(), lat_.data(), n, pixel, line, order, info);
    return true;
}

NbLatticeRow::NbLatticeRow(std::size_t columns, NbCellFields fields)
    : pixel(floats(columns)), line(floats(columns)), order(doubles(columns, fields.wantsOrder())),
      info(doubles(columns, fields.wantsInfo()))
{
}

NbLatticeEarth::NbLatticeEarth(const NbGrid& grid)
    : grid_(grid), rows_{Row{-1, doubles(grid.latticeX.size(), true),
                             doubles(grid.latticeX.size(), true)},
                         Row{-1, doubles(grid.latticeX.size(), true),
                             doubles(grid.latticeX.size(), true)}},
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
    if (!toEarth(caller, grid_.proj, x_.data(), y_.data(), static_cast<int>(x_.size()),
                 r.lon.data(), r.lat.data()))
        return false;
    r.row = row;
    return true;
}

// True when a conic grid holds a part of the line along which the cone is cut open: from the pole
// away from the map's middle. Longitudes jump there, and corners say nothing of what lies between.
static bool holdsConeCut(const NbGrid& grid)
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
        if (!toEarth(caller, grid_.proj, x_.data(), y_.data(), static_cast<int>(n), lon_.data(),
                     lat_.data()))
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
            return std::minmax({t[i], t[i + 1], u[i], u[i + 1]});
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

NbStripPositions::NbStripPositions(NbSatObject* object, const NbGrid& grid, NbCellFields fields,
                                   std::shared_ptr<NbRawLattice> raw)
    : object_(object), grid_(grid), fields_(fields), raw_(std::move(raw)),
      exact_(object, grid.proj, fields), rows_{NbLatticeRow(grid.latticeX.size(), fields),
                                               NbLatticeRow(grid.latticeX.size(), fields)},
      pixel_(NbAllocator<float>("NbStripPositions")), line_(NbAllocator<float>("NbStripPositions")),
      order_(NbAllocator<double>("NbStripPositions")),
      info_(NbAllocator<double>("NbStripPositions"))
{
    // one row more than a strip holds, for the lattice row below it, and a block of slack
    const auto cells = static_cast<std::size_t>(grid.columns) *
                           (static_cast<std::size_t>(std::min(grid.proj->roughY, grid.rows)) + 1) +
                       block;
    pixel_.resize(cells);
    line_.resize(cells);
    if (fields.wantsOrder()) order_.resize(cells);
    if (fields.wantsInfo()) info_.resize(cells);
    weightX_.resize(static_cast<std::size_t>(std::min(grid.proj->roughX, grid.columns)) + 1);
}

NbLatticeRow& NbStripPositions::loadRow(const NbLatticeEarth& earth, int row)
{
    NbLatticeRow& r = rows_[row & 1];
    if (r.row == row) return r;
    const int n = static_cast<int>(grid_.latticeX.size());
    if (raw_ && !fields_.any()) {
        std::copy(raw_->pixel(row).begin(), raw_->pixel(row).end(), r.pixel.begin());
        std::copy(raw_->line(row).begin(), raw_->line(row).end(), r.line.begin());
        raw_->nav()->limit(object_->privateData, r.pixel.data(), r.line.data(),
                           raw_->limb(row).data(), n);
    } else {
        exact_.atEarth(earth.lon(row), earth.lat(row), n, r.pixel.data(), r.line.data(),
                       r.order.data(), r.info.data());
    }
    r.row = row;
    return r;
}

bool NbStripPositions::isSmooth(const NbLatticeRow& top, const NbLatticeRow& bottom) const
{
    const float half = static_cast<float>(object_->lineNum / 2);
    std::size_t beyond = 0;
    for (const NbArray<float>* line : {&top.line, &bottom.line})
        for (const float l : *line) {
            if (l == nbNoPosition) return false;
            beyond += l > half ? 1 : 0;
        }
    return beyond == 0 || beyond == top.line.size() + bottom.line.size();
}

NbStripPositions::Result NbStripPositions::fill(const char* caller, const NbLatticeEarth& earth,
                                                int strip)
{
    caller_ = caller;
    strip_ = strip;
    topRow_ = grid_.firstRow(strip);
    firstColumn_ = 0;
    endColumn_ = grid_.columns;
    const std::size_t cells = grid_.latticeX.size() - 1;
    std::size_t firstCell = 0;
    std::size_t endCell = cells;
    float bounds[4]{};
    if (raw_) {
        raw_->load(earth, strip);
        raw_->load(earth, strip + 1);
        raw_->nav()->bounds(object_->privateData, bounds);
        // A lone object mostly has smooth strips, which need no boxes.
        if (raw_.use_count() > 1) {
            raw_->makeBoxes(strip);
            if (raw_->stripIsOff(bounds)) return Result::Off;
        }
    }
    const NbLatticeRow& top = loadRow(earth, strip);
    const NbLatticeRow& bottom = loadRow(earth, strip + 1);
    if (isSmooth(top, bottom)) {
        interpolateStrip(top, bottom, strip);
        return Result::Done;
    }
    if (raw_) {
        raw_->makeBoxes(strip);
        if (raw_->stripIsOff(bounds)) return Result::Off;
        while (firstCell < cells && raw_->cellIsOff(firstCell, bounds))
            ++firstCell;
        if (firstCell == cells) return Result::Off;
        while (raw_->cellIsOff(endCell - 1, bounds))
            --endCell;
        firstColumn_ = grid_.latticeX[firstCell];
        if (endCell < cells) endColumn_ = grid_.latticeX[endCell];
    }

    const int height = grid_.latticeY[static_cast<std::size_t>(strip) + 1] - topRow_;
    const bool lastY = strip + 1 == grid_.strips();
    for (int y = 0; y <= height; ++y) {
        std::fill_n(pixel(y) + firstColumn_, endColumn_ - firstColumn_, unknown);
        std::fill_n(line(y) + firstColumn_, endColumn_ - firstColumn_, unknown);
    }
    const auto store = [&](const NbLatticeRow& row, std::size_t cell, int y) {
        const std::size_t at = index(grid_.latticeX[cell], y);
        pixel_[at] = row.pixel[cell];
        line_[at] = row.line[cell];
        if (fields_.wantsOrder()) order_[at] = row.order[cell];
        if (fields_.wantsInfo()) info_[at] = row.info[cell];
    };
    for (std::size_t cell = firstCell; cell <= endCell; ++cell) {
        store(top, cell, 0);
        store(bottom, cell, height);
    }
    for (std::size_t cell = firstCell; cell < endCell; ++cell) {
        const Piece piece{
            grid_.latticeX[cell], grid_.latticeX[cell + 1], 0, height, cell + 1 == cells, lastY};
        if (raw_ && raw_->cellIsOff(cell, bounds))
            outer(piece);
        else if (!border(piece))
            return Result::Failed;
    }
    return Result::Done;
}

void NbStripPositions::interpolateStrip(const NbLatticeRow& top, const NbLatticeRow& bottom,
                                        int strip)
{
    const auto& at = grid_.latticeX;
    const std::size_t cells = at.size() - 1;
    const int height = grid_.latticeY[static_cast<std::size_t>(strip) + 1] - topRow_;
    const int lastWidth = at[cells] - at[cells - 1];
    const int width = cells > 1 ? at[1] - at[0] : lastWidth;
    RowWeights full(width);
    RowWeights last(lastWidth);
    for (int y = 0; y < grid_.rowsOf(strip); ++y) {
        full.set(width, width, y, height);
        last.set(lastWidth, lastWidth, y, height);
        // A cell's surplus of up to a block is overwritten by the next cell or row.
        for (std::size_t i = 0; i < cells; ++i) {
            const bool isLast = i + 1 == cells;
            const RowWeights& w = isLast ? last : full;
            const int count = isLast ? lastWidth + 1 : width;
            bilinear(w, top.pixel[i], top.pixel[i + 1], bottom.pixel[i], bottom.pixel[i + 1], count,
                     pixel(y) + at[i]);
            bilinear(w, top.line[i], top.line[i + 1], bottom.line[i], bottom.line[i + 1], count,
                     line(y) + at[i]);
        }
    }
    const auto field = [&](const NbArray<double>& t, const NbArray<double>& u, bool isAngle,
                           NbArray<double>& plane) {
        for (std::size_t i = 0; i < cells; ++i) {
            const FieldCorners corners(t[i], t[i + 1], u[i], u[i + 1], isAngle);
            const int w = at[i + 1] - at[i];
            for (int y = 0; y < grid_.rowsOf(strip); ++y)
                for (int x = 0; x < w + (i + 1 == cells ? 1 : 0); ++x)
                    plane[index(at[i] + x, y)] =
                        corners.value(static_cast<double>(x) / w, static_cast<double>(y) / height);
        }
    };
    if (fields_.wantsOrder()) field(top.order, bottom.order, false, order_);
    if (fields_.wantsInfo()) field(top.info, bottom.info, fields_.infoIsAngle(), info_);
}

// Computes all points of askAt_ (indices into the planes).
bool NbStripPositions::exactPoints()
{
    const std::size_t n = askAt_.size();
    if (n == 0) return true;
    for (auto* v : {&askX_, &askY_, &askPixel_, &askLine_, &askLimb_})
        v->resize(n);
    for (auto* v : {&askOrder_, &askInfo_})
        v->resize(n);
    if (raw_ && !fields_.any()) {
        if (!raw_->atCells(caller_, strip_, askAt_, askPixel_.data(), askLine_.data(),
                           askLimb_.data()))
            return false;
        raw_->nav()->limit(object_->privateData, askPixel_.data(), askLine_.data(), askLimb_.data(),
                           static_cast<int>(n));
    } else {
        const auto stride = static_cast<std::size_t>(grid_.columns);
        for (std::size_t i = 0; i < n; ++i) {
            askX_[i] = static_cast<float>(askAt_[i] % stride);
            askY_[i] = static_cast<float>(topRow_ + static_cast<int>(askAt_[i] / stride));
        }
        if (!exact_.atCells(caller_, askX_.data(), askY_.data(), static_cast<int>(n),
                            askPixel_.data(), askLine_.data(), askOrder_.data(), askInfo_.data()))
            return false;
    }
    for (std::size_t i = 0; i < n; ++i) {
        pixel_[askAt_[i]] = askPixel_[i];
        line_[askAt_[i]] = askLine_[i];
        if (fields_.wantsOrder()) order_[askAt_[i]] = askOrder_[i];
        if (fields_.wantsInfo()) info_[askAt_[i]] = askInfo_[i];
    }
    askAt_.clear();
    return true;
}

// Looks whether any cell along the four edges of a piece lies on the image.
bool NbStripPositions::edgesAreOff(const Piece& piece, bool* off)
{
    const auto walk = [&](auto visit) {
        for (const int y : {piece.y0, piece.y1})
            for (int x = piece.x0; x <= piece.x1; ++x)
                visit(index(x, y));
        for (const int x : {piece.x0, piece.x1})
            for (int y = piece.y0; y <= piece.y1; ++y)
                visit(index(x, y));
    };
    askAt_.clear();
    walk([&](std::size_t at) {
        if (pixel_[at] < knownAbove) askAt_.push_back(at);
    });
    if (!exactPoints()) return false;
    *off = true;
    walk([&](std::size_t at) { *off = *off && pixel_[at] == nbNoPosition; });
    return true;
}

void NbStripPositions::outer(const Piece& piece)
{
    const int x1 = piece.x1 + (piece.lastX ? 1 : 0);
    const int y1 = piece.y1 + (piece.lastY ? 1 : 0);
    for (int y = piece.y0; y < y1; ++y) {
        std::fill(pixel(y) + piece.x0, pixel(y) + x1, nbNoPosition);
        std::fill(line(y) + piece.x0, line(y) + x1, nbNoPosition);
        if (fields_.wantsOrder()) std::fill(order(y) + piece.x0, order(y) + x1, noValue);
        if (fields_.wantsInfo()) std::fill(info(y) + piece.x0, info(y) + x1, noValue);
    }
}

void NbStripPositions::interpolatePiece(const Piece& p)
{
    const int x1 = p.x1 + (p.lastX ? 1 : 0);
    const int y1 = p.y1 + (p.lastY ? 1 : 0);
    const int width = p.x1 - p.x0;
    const int height = p.y1 - p.y0;
    const std::size_t corner[4] = {index(p.x0, p.y0), index(p.x1, p.y0), index(p.x0, p.y1),
                                   index(p.x1, p.y1)};
    for (int x = 0; x < x1 - p.x0; ++x)
        weightX_[static_cast<std::size_t>(x)] = static_cast<float>(x) / static_cast<float>(width);
    // The corners are read before cells are written: at the grid's edge they are cells too.
    const auto plane = [&](NbArray<float>& values) {
        const float a = values[corner[0]];
        const float b = values[corner[1]];
        const float c = values[corner[2]];
        const float d = values[corner[3]];
        for (int y = p.y0; y < y1; ++y) {
            const float wy = static_cast<float>(y - p.y0) / static_cast<float>(height);
            float* const out = values.data() + index(p.x0, y);
            const float* const weight = weightX_.data();
            for (int x = 0; x < x1 - p.x0; ++x) {
                const float wx = weight[x];
                out[x] =
                    wy * wx * d + wy * (1 - wx) * c + (1 - wy) * wx * b + (1 - wy) * (1 - wx) * a;
            }
        }
    };
    plane(pixel_);
    plane(line_);
    const auto field = [&](NbArray<double>& values, bool isAngle) {
        const FieldCorners corners(values[corner[0]], values[corner[1]], values[corner[2]],
                                   values[corner[3]], isAngle);
        for (int y = p.y0; y < y1; ++y)
            for (int x = p.x0; x < x1; ++x)
                values[index(x, y)] = corners.value(static_cast<double>(x - p.x0) / width,
                                                    static_cast<double>(y - p.y0) / height);
    };
    if (fields_.wantsOrder()) field(order_, false);
    if (fields_.wantsInfo()) field(info_, fields_.infoIsAngle());
}

// Fills a piece whose corners are exact: nothing, bilinear, or halved.
bool NbStripPositions::border(const Piece& p)
{
    const std::size_t corner[4] = {index(p.x0, p.y0), index(p.x1, p.y0), index(p.x0, p.y1),
                                   index(p.x1, p.y1)};
    int missing = 0;
    int beyond = 0;
    bool smooth = true;
    const float half = static_cast<float>(object_->lineNum / 2);
    for (const std::size_t at : corner) {
        missing += pixel_[at] == nbNoPosition ? 1 : 0;
        beyond += line_[at] > half ? 1 : 0;
        if (fields_.infoIsAngle() && std::fabs(info_[at] - info_[corner[0]]) > 90) smooth = false;
    }
    if (missing == 4) {
        bool off = false;
        if (!edgesAreOff(p, &off)) return false;
        if (off) {
            outer(p);
            return true;
        }
    }
    if (missing == 0 && smooth && (beyond == 0 || beyond == 4)) {
        interpolatePiece(p);
        return true;
    }
    const int width = p.x1 - p.x0;
    const int height = p.y1 - p.y0;
    if (width <= 1 && height <= 1) return true; // all its cells are exact corners

    Piece first = p;
    Piece second = p;
    askAt_.clear();
    if (width > height) {
        const int middle = (p.x0 + p.x1) / 2;
        first.x1 = second.x0 = middle;
        first.lastX = false;
        askAt_ = {index(middle, p.y0), index(middle, p.y1)};
    } else {
        if (height < 2) {
            nbpLogError("%s %s : INTERNAL BUG !! \n", "nbSatGetProjData", caller_);
            return true;
        }
        const int middle = (p.y0 + p.y1) / 2;
        first.y1 = second.y0 = middle;
        first.lastY = false;
        askAt_ = {index(p.x0, middle), index(p.x1, middle)};
    }
    if (!exactPoints()) return false;
    for (const Piece& part : {first, second})
        if (part.x1 - part.x0 > 1 || part.y1 - part.y0 > 1)
            if (!border(part)) return false;
    return true;
}
