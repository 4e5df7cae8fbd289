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

} // namespace

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
    if (!nbpCellsToEarth(caller, proj_, x, y, n, lon_.data(), lat_.data())) return false;
    atEarth(lon_.data(), lat_.data(), n, pixel, line, order, info);
    return true;
}

NbLatticeRow::NbLatticeRow(std::size_t columns, NbCellFields fields)
    : pixel(floats(columns)), line(floats(columns)), order(doubles(columns, fields.wantsOrder())),
      info(doubles(columns, fields.wantsInfo()))
{
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
    const int halfLine = object_->lineNum / 2;
    const auto half = static_cast<float>(halfLine);
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
    const int halfLine = object_->lineNum / 2;
    const auto half = static_cast<float>(halfLine);
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

    Piece first = p;
    Piece second = p;
    askAt_.clear();
    if (width > height) {
        const int middle = (p.x0 + p.x1) / 2;
        first.x1 = second.x0 = middle;
        first.lastX = false;
        askAt_ = {index(middle, p.y0), index(middle, p.y1)};
    } else {
        // Deliberate: a lattice cell of a single map cell at an edge, as in the last corner of a
        // grid that is two cells longer than whole lattice steps, is reported although its cells
        // are exact. Without the line such a grid would only be quieter.
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
