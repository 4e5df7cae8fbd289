#include "frontend/coverage.h"

#include "sat/nbSat.h"
#include "sat/nbSatNav.h"

#include <algorithm>
#include <cstdint>
#include <vector>

namespace {

constexpr double mark = -9999.0;
constexpr float markF = -9999.0F;
constexpr int chunk = 512; // most cells of one navigation call

// Which of the cells of a short run is covered first? Runs of objects that share one raw
// navigation, such as the segments of a disk, are navigated once for all of them.
class Prober {
public:
    explicit Prober(std::span<NbSatObject> objects) : objects_(objects)
    {
        if (objects.size() < 2) return;
        const NbSatRawNav* const raw = nbpSatRawNav(&objects[0]);
        const bool shared =
            raw != nullptr && std::all_of(objects.begin() + 1, objects.end(), [&](auto& object) {
                return nbpSatRawNav(&object) == raw &&
                       raw->same(objects[0].privateData, object.privateData) != 0;
            });
        if (shared) raw_ = raw;
    }

    // Index of the first covered cell of n, or n. At one cell the first object counts.
    int first(const double* lon, const double* lat, int n, NbCoveredPoint& hit)
    {
        if (raw_ != nullptr)
            raw_->position(objects_[0].privateData, lon, lat, rawPixel_, rawLine_, limb_, n);
        int best = n;
        for (std::size_t k = 0; k < objects_.size() && best > 0; ++k) {
            positions(k, lon, lat, best);
            for (int i = 0; i < best; ++i) {
                if (pixel_[i] == markF || line_[i] == markF) continue;
                hit = {pixel_[i], line_[i], static_cast<int>(k), lon[i], lat[i]};
                best = i;
            }
        }
        return best;
    }

private:
    void positions(std::size_t k, const double* lon, const double* lat, int n)
    {
        if (raw_ == nullptr) {
            nbSatLonLatToPixLin(&objects_[k], lon, lat, pixel_, line_, n);
            return;
        }
        std::copy_n(rawPixel_, n, pixel_);
        std::copy_n(rawLine_, n, line_);
        raw_->limit(objects_[k].privateData, pixel_, line_, limb_, n);
    }

    std::span<NbSatObject> objects_;
    const NbSatRawNav* raw_ = nullptr; // set when all objects share it
    float rawPixel_[chunk]{};
    float rawLine_[chunk]{};
    float limb_[chunk]{};
    float pixel_[chunk]{};
    float line_[chunk]{};
};

// A way to walk over all cells: row by row or column by column, from either end.
struct Walk {
    bool byRow;
    bool rowsFromEnd;    // from the bottom, or south
    bool columnsFromEnd; // from the right, or east
};

// Gives the earth positions of runs of cells.
class Cells {
public:
    explicit Cells(NbProjPara& map) : map_(map), edges_(gridEdges(map)) {}

    // n cells of one row (or column), `outer`, from place `inner` on; both count in the walk's
    // direction.
    void positions(const Walk& walk, int outer, int inner, int n, double* lon, double* lat)
    {
        for (int i = 0; i < n; ++i) {
            const int row = walk.byRow ? outer : inner + i;
            const int column = walk.byRow ? inner + i : outer;
            if (map_.prjType == NB_PROJ_GRID) {
                lat[i] = walk.rowsFromEnd ? edges_.south + row * map_.stepY
                                          : edges_.north - row * map_.stepY;
                lon[i] = walk.columnsFromEnd ? edges_.east - column * map_.stepX
                                             : edges_.west + column * map_.stepX;
            } else {
                x_[i] = static_cast<float>(walk.columnsFromEnd ? map_.xNum - 1 - column : column);
                y_[i] = static_cast<float>(walk.rowsFromEnd ? map_.yNum - 1 - row : row);
            }
        }
        if (map_.prjType != NB_PROJ_GRID) project(n, lon, lat);
    }

    // n cells along an edge of the map, from cell (column, row) on.
    void edge(int column, int row, bool alongRow, int n, double* lon, double* lat)
    {
        for (int i = 0; i < n; ++i) {
            x_[i] = static_cast<float>(alongRow ? column + i : column);
            y_[i] = static_cast<float>(alongRow ? row : row + i);
        }
        project(n, lon, lat);
    }

private:
    void project(int n, double* lon, double* lat)
    {
        if (nbProjXYToLonLat(x_, y_, lon, lat, n, &map_) >= 0) return;
        std::fill_n(lon, n, mark);
        std::fill_n(lat, n, mark);
    }

    NbProjPara& map_;
    NbGridEdges edges_;
    float x_[chunk]{};
    float y_[chunk]{};
};

class CoverageProbe {
public:
    CoverageProbe(std::span<NbSatObject> objects, NbProjPara& map)
        : prober_(objects), cells_(map), map_(map)
    {
    }

    // The first covered cell of one row or column. The first call of navigation takes a few
    // cells more than the walk before needed, because neighbours are alike; so a row that is
    // covered from its first cell costs two.
    bool alongLine(const Walk& walk, int outer, int& expected, NbCoveredPoint& hit)
    {
        const int length = walk.byRow ? map_.xNum : map_.yNum;
        int size = std::clamp(expected + 2, 1, chunk);
        for (int at = 0; at < length; at += size, size = std::min(size * 4, chunk)) {
            size = std::min(size, length - at);
            cells_.positions(walk, outer, at, size, lon_, lat_);
            const int found = prober_.first(lon_, lat_, size, hit);
            if (found == size) continue;
            expected = std::min(at + found, chunk);
            return true;
        }
        expected = chunk;
        return false;
    }

    // The first covered cell of the whole grid.
    bool find(const Walk& walk, NbCoveredPoint& hit)
    {
        const int lines = walk.byRow ? map_.yNum : map_.xNum;
        int expected = 6;
        for (int outer = 0; outer < lines; ++outer)
            if (alongLine(walk, outer, expected, hit)) return true;
        return false;
    }

    // Widest row of a latitude-longitude grid, and on the way the first covered cell.
    //
    // Deliberate: where the image's columns run westward the extents are negative, and what is kept
    // is 0, or 1 with a row that is not covered.
    bool findWidest(float& widest, NbCoveredPoint& firstHit)
    {
        bool any = false;
        int expectedWest = 6;
        int expectedEast = 6;
        for (int row = 0; row < map_.yNum; ++row) {
            NbCoveredPoint west;
            NbCoveredPoint east;
            float extent = 1;
            if (alongLine({true, false, false}, row, expectedWest, west)) {
                if (!any) firstHit = west;
                any = true;
                if (alongLine({true, false, true}, row, expectedEast, east))
                    extent = east.pixel - west.pixel + 1;
            }
            widest = std::max(widest, extent);
        }
        return any;
    }

private:
    Prober prober_;
    Cells cells_;
    NbProjPara& map_;
    double lon_[chunk]{};
    double lat_[chunk]{};
};

constexpr double noStart = 99999999;
constexpr double noEnd = 0;

// Smallest and largest positive time of a run of points of one object.
void takeTimes(NbSatObject& object, const double* lon, const double* lat, int n,
               std::vector<NbPointInfo>& info, double& smallest, double& largest)
{
    float pixel[chunk];
    float line[chunk];
    nbSatLonLatToPixLinInfo(&object, lon, lat, pixel, line, info.data(), n);
    for (int i = 0; i < n; ++i) {
        const double time = info[static_cast<std::size_t>(i)].time;
        if (!(time > 0)) continue;
        smallest = std::min(smallest, time);
        largest = std::max(largest, time);
    }
}

NbDateInts dateOf(std::span<const std::int16_t, 6> fields)
{
    return {fields[0], fields[1], fields[2], fields[3], fields[4], fields[5], 0};
}

} // namespace

NbGridEdges gridEdges(const NbProjPara& map)
{
    return {
        .west = map.baseLon - map.baseX * map.stepX,
        .east = map.baseLon + (static_cast<float>(map.xNum) - map.baseX - 1) * map.stepX,
        .north = map.baseLat + map.baseY * map.stepY,
        .south = map.baseLat - (static_cast<float>(map.yNum) - map.baseY - 1) * map.stepY,
    };
}

int NbCoverage::smallestLine() const
{
    const auto byLine = [](const auto& a, const auto& b) { return a.line < b.line; };
    return static_cast<int>(std::min_element(points.begin(), points.end(), byLine) -
                            points.begin());
}

int NbCoverage::largestLine() const
{
    const auto byLine = [](const auto& a, const auto& b) { return a.line < b.line; };
    return static_cast<int>(std::max_element(points.begin(), points.end(), byLine) -
                            points.begin());
}

bool probeCoverage(std::span<NbSatObject> objects, NbProjPara& map, NbCoverage& coverage)
{
    CoverageProbe probe(objects, map);
    auto& points = coverage.points;
    if (map.prjType == NB_PROJ_GRID) {
        if (!probe.findWidest(coverage.widest, points[0])) return false;
        probe.find({true, true, true}, points[1]);
        probe.find({false, true, false}, points[2]);
        probe.find({false, false, true}, points[3]);
        return true;
    }
    if (!probe.find({true, false, false}, points[0])) return false;
    probe.find({false, false, true}, points[1]);
    probe.find({false, true, false}, points[2]);
    probe.find({true, true, true}, points[3]);
    return true;
}

NbObservationTimes edgeTimes(std::span<NbSatObject> objects, NbProjPara& map,
                             const NbCoverage& coverage)
{
    const int startObject =
        coverage.points[static_cast<std::size_t>(coverage.smallestLine())].object;
    const int endObject = coverage.points[static_cast<std::size_t>(coverage.largestLine())].object;
    const struct {
        int column;
        int row;
        bool alongRow;
    } edges[] = {{0, 0, true}, {0, map.yNum - 1, true}, {0, 0, false}, {map.xNum - 1, 0, false}};

    Cells cells(map);
    std::vector<NbPointInfo> info(chunk);
    double lon[chunk];
    double lat[chunk];
    double start = noStart;
    double end = noEnd;
    double otherStart = 0; // of the two objects, where they differ, the ends nobody asks for
    double otherEnd = 0;
    for (const auto& edge : edges) {
        const int length = edge.alongRow ? map.xNum : map.yNum;
        for (int at = 0; at < length; at += chunk) {
            const int n = std::min(chunk, length - at);
            cells.edge(edge.column + (edge.alongRow ? at : 0), edge.row + (edge.alongRow ? 0 : at),
                       edge.alongRow, n, lon, lat);
            NbSatObject& first = objects[static_cast<std::size_t>(startObject)];
            if (startObject == endObject) {
                takeTimes(first, lon, lat, n, info, start, end);
                continue;
            }
            takeTimes(first, lon, lat, n, info, start, otherEnd);
            takeTimes(objects[static_cast<std::size_t>(endObject)], lon, lat, n, info, otherStart,
                      end);
        }
    }

    NbObservationTimes times{dateOf(objects[0].startTime), dateOf(objects[0].endTime)};
    if (start != noStart) nbDateMjdToInts(start, &times.start);
    if (end != noEnd) nbDateMjdToInts(end, &times.end);
    return times;
}
