#include "sat/nbSatGetProjData.h"

#include "sat/nbSat.h"
#include "sat/nbSatGetDataByPixLin.h"
#include "sat/nbSatGetZoomData.h"
#include "sat/nbSatLattice.h"
#include "sat/nbSatLevels.h"
#include "sat/nbSatOverlap.h"
#include "util/nbGuard.h"
#include "util/nbLogFormat.h"
#include "util/nbNumber.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <memory>
#include <numeric>
#include <span>
#include <vector>

namespace {

constexpr int bandRows = 10; // rows that the exact walk takes at a time
constexpr std::uint8_t noOwner = 255;
constexpr int modeMost = 10;
constexpr int infoSelMost = 10;

// The operations of either sample type.
template <class T>
struct Sampler;
template <>
struct Sampler<std::int16_t> {
    static constexpr auto sample = nbSatGetI2DataByPixLin;
    static constexpr auto zoom = nbSatGetI2ZoomData;
    static constexpr auto zoomIntp = nbSatGetI2ZoomDataIntp;
};
template <>
struct Sampler<float> {
    static constexpr auto sample = nbSatGetR4DataByPixLin;
    static constexpr auto zoom = nbSatGetR4ZoomData;
    static constexpr auto zoomIntp = nbSatGetR4ZoomDataIntp;
};

using Objects = std::vector<NbSatObject*>;

// What one object has for the cells of one row, columns `first` to `end`. The arrays start at
// column 0.
template <class T>
struct RowPart {
    const NbSatObject* object = nullptr;
    int row = 0;
    int first = 0;
    int end = 0;
    const T* value = nullptr;
    const float* pixel = nullptr;
    const float* line = nullptr;
    const double* order = nullptr; // comparison values; null when the mode takes the sample
    const double* info = nullptr;  // null when none is wanted

    bool covers(int x) const { return (pixel[x] != nbNoPosition) & (line[x] != nbNoPosition); }
};

// The planes of a projection, and the rule by which later objects take cells from earlier ones;
// mode 0 when there is only one.
template <class T>
class Target {
public:
    Target(const NbProjPara& proj, T* out, int mode, double* infoOut, std::uint8_t* ownerOut,
           const Objects& objects)
        : columns_(static_cast<std::size_t>(proj.xNum)), out_(out), mode_(mode), info_(infoOut),
          ownerOut_(ownerOut), owner_(NbAllocator<std::uint8_t>("mGetData()")),
          order_(NbAllocator<double>("mGetData()")),
          keepsOwner_(ownerOut != nullptr || infoOut != nullptr || mode > 0)
    {
        for (const NbSatObject* object : objects) {
            fileTime_[ownerByte(object)] = nbpOverlapFileTime(object->startTime);
            owners_.push_back(ownerByte(object));
        }
        yields_[noOwner] = 1;
        if (keepsOwner_) covered_.resize(columns_);
    }

    // Rows that all objects bring before the next ones are begun. Owners and comparison values
    // are kept for these rows alone.
    void beginRows(int first, int rows)
    {
        if (!keepsOwner_) return;
        firstRow_ = first;
        const std::size_t cells = columns_ * static_cast<std::size_t>(rows);
        if (owner_.size() < cells) owner_.resize(cells);
        std::fill_n(owner_.begin(), cells, noOwner);
        if (mode_ >= NB_OVERLAP_LATEST_POINT && order_.size() < cells) order_.resize(cells);
    }
    // All objects have brought theirs.
    void endRows(int rows)
    {
        if (ownerOut_ == nullptr) return;
        std::copy_n(owner_.begin(), columns_ * static_cast<std::size_t>(rows),
                    ownerOut_ + columns_ * static_cast<std::size_t>(firstRow_));
    }

    // The object whose cells come next.
    void setChallenger(const NbSatObject* object)
    {
        if (mode_ == 0) return;
        allYield_ = true;
        for (const std::uint8_t other : owners_) {
            yields_[other] =
                mode_ > NB_OVERLAP_EARLIEST_FILE ||
                nbpOverlapLaterWins(mode_, fileTime_[ownerByte(object)], fileTime_[other]);
            allYield_ = allYield_ && yields_[other] != 0;
        }
    }

    T* row(int y) { return out_ + static_cast<std::size_t>(y) * columns_; }
    bool keepsOwner() const { return keepsOwner_; }

    // Cells of the first object, whose samples stand in row() already.
    void put(const RowPart<T>& part)
    {
        if (!keepsOwner_) return;
        if (order_.empty() && info_ == nullptr) {
            takeRuns(part, [](int, int) { return true; });
            return;
        }
        for (int x = part.first; x < part.end; ++x)
            if (part.covers(x)) take(part, x);
    }

    // True when the challenger takes whatever it covers, so that nothing has to be compared.
    bool challengerTakesAll() const { return allYield_ && order_.empty() && info_ == nullptr; }

    // Runs sample(first, end) on the runs of covered cells of a row and gives them to the
    // challenger; false when a sample call fails.
    template <class Sample>
    bool takeRuns(const RowPart<T>& part, Sample sample)
    {
        markCovered(part);
        std::uint8_t* const owner = owner_.data() + index(part, 0);
        const std::uint8_t* const covered = covered_.data();
        for (int x = part.first; x < part.end;) {
            const auto* const found = static_cast<const std::uint8_t*>(
                std::memchr(covered + x, 1, static_cast<std::size_t>(part.end - x)));
            if (found == nullptr) return true;
            const auto* const end = static_cast<const std::uint8_t*>(
                std::memchr(found, 0, static_cast<std::size_t>(covered + part.end - found)));
            const int first = static_cast<int>(found - covered);
            x = end != nullptr ? static_cast<int>(end - covered) : part.end;
            if (!sample(first, x)) return false;
            std::fill(owner + first, owner + x, ownerByte(part.object));
        }
        return true;
    }

    // Cells of a further object, the challenger.
    void merge(const RowPart<T>& part)
    {
        for (int x = part.first; x < part.end; ++x)
            if (part.covers(x) && wins(part, x)) {
                row(part.row)[x] = part.value[x];
                take(part, x);
            }
    }

private:
    static std::uint8_t ownerByte(const NbSatObject* object)
    {
        return static_cast<std::uint8_t>(object->objectIndex);
    }
    // Of a cell among the rows at hand.
    std::size_t index(const RowPart<T>& part, int x) const
    {
        return static_cast<std::size_t>(part.row - firstRow_) * columns_ +
               static_cast<std::size_t>(x);
    }
    static double orderOf(const RowPart<T>& part, int x)
    {
        if (part.order != nullptr) return part.order[x];
        return nbpSatIsMissing(*part.object, part.value[x]) ? nbOverlapNone
                                                            : static_cast<double>(part.value[x]);
    }
    void take(const RowPart<T>& part, int x)
    {
        const std::size_t at = index(part, x);
        owner_[at] = ownerByte(part.object);
        if (info_ != nullptr && part.info != nullptr)
            info_[columns_ * static_cast<std::size_t>(firstRow_) + at] = part.info[x];
        if (!order_.empty()) order_[at] = orderOf(part, x);
    }
    bool wins(const RowPart<T>& part, int x) const
    {
        const std::size_t at = index(part, x);
        if (owner_[at] == noOwner || order_.empty()) return yields_[owner_[at]] != 0;
        return nbpOverlapLaterWins(mode_, orderOf(part, x), order_[at]);
    }
    // A plain loop over local pointers: bytes may lie anywhere, which keeps a loop over members
    // out of vector registers.
    void markCovered(const RowPart<T>& part)
    {
        const float* __restrict pixel = part.pixel;
        const float* __restrict line = part.line;
        std::uint8_t* __restrict covered = covered_.data();
        const int end = part.end;
        for (int x = part.first; x < end; ++x)
            covered[x] = (pixel[x] != nbNoPosition) & (line[x] != nbNoPosition);
    }

    std::size_t columns_;
    T* out_;
    int mode_;
    double* info_;
    std::uint8_t* ownerOut_;      // the caller's plane, or null
    NbArray<std::uint8_t> owner_; // of the rows at hand
    NbArray<double> order_;       // comparison value of each cell's present owner, likewise
    bool keepsOwner_;             // false when nobody asks who gave a cell, or for its info
    int firstRow_ = 0;
    std::array<float, 256> fileTime_{}; // by owner byte
    // By owner byte: 1 where the challenger takes the cells of that owner.
    std::array<std::uint8_t, 256> yields_{};
    bool allYield_ = false;             // the challenger takes them from everybody
    std::vector<std::uint8_t> covered_; // cells of a row: 1 where it has a position
    std::vector<std::uint8_t> owners_;  // owner bytes of all objects
};

// Samples `n` positions. No chunk may fail: its cells would look like data.
template <class T>
bool sampleAt(NbSatObject* object, const float* pixel, const float* line, T* out, int n)
{
    return n <= 0 || Sampler<T>::sample(object, pixel, line, out, n) >= 0;
}

// One raw lattice for each navigation among the objects; null where a driver offers none.
std::vector<std::shared_ptr<NbRawLattice>> rawLattices(const Objects& objects, const NbGrid& grid)
{
    std::vector<std::shared_ptr<NbRawLattice>> lattices;
    for (const NbSatObject* object : objects) {
        const NbSatRawNav* nav = nbpLatticeIsFine(grid) ? nbpSatRawNav(object) : nullptr;
        std::shared_ptr<NbRawLattice> mine;
        for (const auto& other : lattices)
            if (nav != nullptr && other && other->nav() == nav &&
                nav->same(other->record(), object->privateData) != 0)
                mine = other;
        if (nav != nullptr && !mine)
            mine = std::make_shared<NbRawLattice>(grid, nav, object->privateData);
        lattices.push_back(mine);
    }
    return lattices;
}

// The first object's cells of a strip. Those outside its columns get what the sampler gives for
// no position.
template <class T>
bool putStrip(NbStripPositions& cells, bool off, int row0, int rows, Target<T>& target)
{
    NbSatObject* object = cells.object();
    const int columns = cells.stride();
    const int first = off ? columns : cells.firstColumn();
    const int end = off ? columns : cells.endColumn();
    if (first == 0 && end == columns) {
        if (!sampleAt(object, cells.pixel(0), cells.line(0), target.row(row0), rows * columns))
            return false;
    } else {
        T outside{};
        if (!sampleAt(object, &nbNoPosition, &nbNoPosition, &outside, 1)) return false;
        for (int y = 0; y < rows; ++y) {
            T* out = target.row(row0 + y);
            std::fill(out, out + first, outside);
            std::fill(out + end, out + columns, outside);
            if (!off && !sampleAt(object, cells.pixel(y) + first, cells.line(y) + first,
                                  out + first, end - first))
                return false;
        }
    }
    if (off || !target.keepsOwner()) return true;
    for (int y = 0; y < rows; ++y)
        target.put({object, row0 + y, first, end, target.row(row0 + y), cells.pixel(y),
                    cells.line(y), cells.order(y), cells.info(y)});
    return true;
}

template <class T>
bool mergeStrip(NbStripPositions& cells, int row0, int rows, Target<T>& target, NbArray<T>& values)
{
    const int first = cells.firstColumn();
    const int end = cells.endColumn();
    target.setChallenger(cells.object());
    for (int y = 0; y < rows; ++y) {
        if (target.challengerTakesAll()) {
            const auto sample = [&](int from, int to) {
                return sampleAt(cells.object(), cells.pixel(y) + from, cells.line(y) + from,
                                target.row(row0 + y) + from, to - from);
            };
            if (!target.takeRuns({cells.object(), row0 + y, first, end, nullptr, cells.pixel(y),
                                  cells.line(y), nullptr, nullptr},
                                 sample))
                return false;
            continue;
        }
        if (!sampleAt(cells.object(), cells.pixel(y) + first, cells.line(y) + first,
                      values.data() + first, end - first))
            return false;
        target.merge({cells.object(), row0 + y, first, end, values.data(), cells.pixel(y),
                      cells.line(y), cells.order(y), cells.info(y)});
    }
    return true;
}

// Strip by strip over a lattice. The number of strips, or -1.
template <class T>
int projectRough(const char* caller, const Objects& objects, NbProjPara* proj, NbCellFields fields,
                 Target<T>& target)
{
    const NbGrid grid(proj);
    NbLatticeEarth earth(grid);
    std::vector<std::unique_ptr<NbStripPositions>> positions;
    {
        // The lattices are the strips' alone, so that a lattice knows whether it is shared.
        const auto lattices = rawLattices(objects, grid);
        for (std::size_t k = 0; k < objects.size(); ++k)
            positions.push_back(
                std::make_unique<NbStripPositions>(objects[k], grid, fields, lattices[k]));
    }
    NbArray<T> values(static_cast<std::size_t>(grid.columns), T{}, NbAllocator<T>(caller));
    for (int strip = 0; strip < grid.strips(); ++strip) {
        if (!earth.load(caller, strip) || !earth.load(caller, strip + 1)) return -1;
        const int row0 = grid.firstRow(strip);
        const int rows = grid.rowsOf(strip);
        target.beginRows(row0, rows);
        for (std::size_t k = 0; k < positions.size(); ++k) {
            const auto result = positions[k]->fill(caller, earth, strip);
            if (result == NbStripPositions::Result::Failed) return -1;
            const bool off = result == NbStripPositions::Result::Off;
            if (k == 0 && !putStrip(*positions[k], off, row0, rows, target)) return -1;
            if (k > 0 && !off && !mergeStrip(*positions[k], row0, rows, target, values)) return -1;
        }
        target.endRows(rows);
    }
    return grid.strips();
}

// Cells and their positions of one band of the exact walk.
struct Band {
    NbArray<float> x, y, pixel, line;
    NbArray<double> lon, lat, order, info;

    Band(std::size_t cells, NbCellFields fields)
        : x(cells, 0.0F, NbAllocator<float>("getData()")), y(x), pixel(x), line(x),
          lon(cells, 0.0, NbAllocator<double>("getData()")), lat(lon),
          order(fields.wantsOrder() ? cells : 0, 0.0, NbAllocator<double>("getData()")),
          info(fields.wantsInfo() ? cells : 0, 0.0, NbAllocator<double>("getData()"))
    {
    }
};

// Every cell by itself, in bands of rows. The number of bands, or -1.
template <class T>
int projectExact(const char* caller, const Objects& objects, NbProjPara* proj, NbCellFields fields,
                 Target<T>& target)
{
    const int columns = proj->xNum;
    const auto width = static_cast<std::size_t>(columns);
    const int most = std::min(bandRows, proj->yNum);
    Band band(width * static_cast<std::size_t>(most), fields);
    NbArray<T> values(objects.size() > 1 ? band.x.size() : 0, T{}, NbAllocator<T>(caller));
    std::vector<NbExactPositions> exact;
    for (NbSatObject* object : objects)
        exact.emplace_back(object, proj, fields);
    for (std::size_t i = 0; i < band.x.size(); ++i)
        band.x[i] = static_cast<float>(i % width);

    int bands = 0;
    for (int row0 = 0; row0 < proj->yNum; row0 += most) {
        const int rows = std::min(most, proj->yNum - row0);
        const int n = rows * columns;
        for (int y = 0; y < rows; ++y)
            std::fill_n(band.y.begin() + y * columns, columns, static_cast<float>(row0 + y));
        const int code = nbProjXYToLonLat(band.x.data(), band.y.data(), band.lon.data(),
                                          band.lat.data(), n, proj);
        if (code < 0) {
            nbpLogError("%s : nbProjXYToLonLat() Error! return [%d]\n", caller, code);
            return -1;
        }
        target.beginRows(row0, rows);
        for (std::size_t k = 0; k < objects.size(); ++k) {
            exact[k].atEarth(band.lon.data(), band.lat.data(), n, band.pixel.data(),
                             band.line.data(), band.order.data(), band.info.data());
            T* samples = k == 0 ? target.row(row0) : values.data();
            if (!sampleAt(objects[k], band.pixel.data(), band.line.data(), samples, n)) return -1;
            if (!target.keepsOwner()) continue;
            target.setChallenger(objects[k]);
            for (int y = 0; y < rows; ++y) {
                const std::size_t at = static_cast<std::size_t>(y) * width;
                // A cell off the map is nobody's, whatever a driver makes of its position.
                for (std::size_t i = at; i < at + width; ++i)
                    if (band.lon[i] == nbNoPosition || band.lat[i] == nbNoPosition)
                        band.pixel[i] = nbNoPosition;
                const RowPart<T> part{objects[k],
                                      row0 + y,
                                      0,
                                      columns,
                                      samples + at,
                                      band.pixel.data() + at,
                                      band.line.data() + at,
                                      fields.wantsOrder() ? band.order.data() + at : nullptr,
                                      fields.wantsInfo() ? band.info.data() + at : nullptr};
                if (k == 0)
                    target.put(part);
                else
                    target.merge(part);
            }
        }
        target.endRows(rows);
        ++bands;
    }
    return bands;
}

// Crop and zoom of the satellite's own image: the first object that can give it, or with an
// overlap mode above 0 all of them laid over each other. There a sample that is missing does not
// cover its cell, so that segments of one disk make one picture.
template <class T>
int projectZoom(const char* caller, const Objects& objects, const NbProjPara* proj, int mode,
                Target<T>& target)
{
    const bool merges = mode > 0;
    constexpr int most = std::numeric_limits<std::int16_t>::max();
    if (proj->xNum > most || proj->yNum > most) {
        nbpLogError("%s : a zoomed image has at most %d columns and rows, not %d x %d\n", caller,
                    most, proj->xNum, proj->yNum);
        return -1;
    }
    const auto zoom = [&](NbSatObject* object, T* out) {
        const std::int32_t width = nbpTrunc32(proj->stepX + 0.5);
        const std::int32_t height = nbpTrunc32(proj->stepY + 0.5);
        const auto outWidth = nbpWrap16(proj->xNum);
        const auto outHeight = nbpWrap16(proj->yNum);
        if (object->intpMethod == 0) {
            const NbZoomRect rect{nbpNearest16(proj->baseX),
                                  nbpNearest16(proj->baseY),
                                  width,
                                  height,
                                  outWidth,
                                  outHeight};
            return Sampler<T>::zoom(object, &rect, out);
        }
        const NbZoomRectF rect{proj->baseX, proj->baseY, width, height, outWidth, outHeight};
        return Sampler<T>::zoomIntp(object, &rect, out);
    };
    const auto columns = static_cast<std::size_t>(proj->xNum);
    NbArray<T> values(merges ? columns * static_cast<std::size_t>(proj->yNum) : 0, T{},
                      NbAllocator<T>(caller));
    NbArray<float> position(columns, 0.0F, NbAllocator<float>(caller));
    // Of the modes behind the file times only those of the samples can compare here. In the others
    // all objects are equal, so the later one takes the cell.
    const bool bySample = mode == NB_OVERLAP_SMALLEST || mode == NB_OVERLAP_LARGEST;
    const NbArray<double> equal(columns, 0.0, NbAllocator<double>(caller));
    int good = 0;
    target.beginRows(0, proj->yNum);
    for (NbSatObject* object : objects) {
        if (good > 0 && !merges) break;
        T* out = good == 0 ? target.row(0) : values.data();
        // What lies off the image, a driver may leave as it finds it.
        std::fill_n(out, columns * static_cast<std::size_t>(proj->yNum), T{-1});
        if (zoom(object, out) < 0) continue;
        target.setChallenger(object);
        for (int y = 0; y < proj->yNum && target.keepsOwner(); ++y) {
            const T* row = out + static_cast<std::size_t>(y) * columns;
            for (std::size_t x = 0; x < columns && merges; ++x)
                position[x] = nbpSatIsMissing(*object, row[x]) ? nbNoPosition : 0.0F;
            const RowPart<T> part{object,
                                  y,
                                  0,
                                  proj->xNum,
                                  row,
                                  position.data(),
                                  position.data(),
                                  bySample ? nullptr : equal.data(),
                                  nullptr};
            if (good == 0)
                target.put(part);
            else
                target.merge(part);
        }
        ++good;
    }
    target.endRows(proj->yNum);
    return good > 0 ? good : -1;
}

// Checks a grid and makes its roughness whole.
bool checkGrid(const char* caller, NbProjPara* proj)
{
    if (proj->prjType == NB_PROJ_ZOOM) return proj->xNum >= 1 && proj->yNum >= 1;
    if (proj->roughX == 0) proj->roughX = 1;
    if (proj->roughY == 0) proj->roughY = 1;
    if (proj->roughX >= 1 && proj->roughY >= 1 && proj->xNum >= 1 && proj->yNum >= 1 &&
        proj->xNum <= std::numeric_limits<int>::max() / bandRows)
        return true;
    nbpLogError("%s : NbProjPara Parameter Error! \n", caller);
    return false;
}

template <class T>
int getProjData(const char* caller, NbSatObject* object, NbProjPara* proj, T* out, int mode,
                int infoSel, double* infoOut, std::uint8_t* ownerOut)
{
    // A plain object ignores all that concerns merging.
    const bool extended = object->objectNum != 1;
    if (!extended) {
        mode = infoSel = 0;
        infoOut = nullptr;
        ownerOut = nullptr;
    }
    if (mode > modeMost) {
        nbpLogError("%s : 重ねあわせモード %d は不正です \n", caller, mode);
        return -1;
    }
    if (infoSel > infoSelMost) {
        nbpLogError("%s : ナビゲーション情報 %d は不正です \n", caller, infoSel);
        return -1;
    }
    mode = std::max(mode, 0);
    if (!checkGrid(caller, proj)) return -1;

    const bool zooms = proj->prjType == NB_PROJ_ZOOM;
    Objects objects;
    for (int i = 0; i < std::max<int>(object->objectNum, 1); ++i)
        if (object[i].elemNum > 0 && (mode > 0 || zooms || objects.empty()))
            objects.push_back(object + i);
    if (objects.empty()) {
        nbpLogError("%s : no selected element.\n", caller);
        return -1;
    }
    if (objects.size() >= noOwner) {
        nbpLogError("%s : %zu objects are linked, at most %d can be merged\n", caller,
                    objects.size(), noOwner - 1);
        return -1;
    }
    // The planes have one value a cell.
    for (const NbSatObject* each : objects)
        if (each->elemNum != 1) {
            nbpLogError("%s : an element of %d values per pixel has no map grid\n", caller,
                        each->elemNum);
            return -1;
        }
    if (infoOut != nullptr && infoSel > 0)
        std::fill_n(infoOut,
                    static_cast<std::size_t>(proj->xNum) * static_cast<std::size_t>(proj->yNum),
                    -9999.0);
    const bool merges = mode > 0 && objects.size() > 1;
    Target<T> target(*proj, out, merges ? mode : 0, infoOut, ownerOut, objects);
    if (zooms) return projectZoom(caller, objects, proj, merges ? mode : 0, target);

    NbCellFields fields;
    fields.mode = merges ? mode : 0;
    fields.infoSel = infoOut != nullptr ? std::max(infoSel, 0) : 0;
    // A grid of one row or column has no lattice cells to interpolate in.
    const bool exact =
        (proj->roughX == 1 && proj->roughY == 1) || proj->xNum == 1 || proj->yNum == 1;
    return exact ? projectExact(caller, objects, proj, fields, target)
                 : projectRough(caller, objects, proj, fields, target);
}

} // namespace

int nbSatGetI2ProjData(NbSatObject* object, NbProjPara* proj, int16_t* out, int mode, int infoSel,
                       double* infoOut, uint8_t* ownerOut)
{
    return nbpGuard("nbSatGetI2ProjData()", -1, [&] {
        return getProjData("nbSatGetI2ProjData()", object, proj, out, mode, infoSel, infoOut,
                           ownerOut);
    });
}

int nbSatGetR4ProjData(NbSatObject* object, NbProjPara* proj, float* out, int mode, int infoSel,
                       double* infoOut, uint8_t* ownerOut)
{
    return nbpGuard("nbSatGetR4ProjData()", -1, [&] {
        return getProjData("nbSatGetR4ProjData()", object, proj, out, mode, infoSel, infoOut,
                           ownerOut);
    });
}
