#include "sat/nbLmPlaces.h"

#include "sat/nbSatAnalSatId.h"
#include "sat/nbSatNav.h"
#include "util/nbNumber.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

namespace {

constexpr double noValue = -9999.0;
constexpr double radian = std::numbers::pi / 180;
constexpr double kmPerDegree = 111.19;

// A pixel this much longer than the finest one is too near the limb, where the coast is seen
// from the side.
constexpr double longestPixel = 2.5;

// Coast that takes part in the choice of places, points. More are thinned out: a navigation that
// searches takes a tenth of a millisecond for each.
constexpr std::size_t mostCoastPoints = 30000;

// A corner of the coast along the sides of a template makes 1; a straight coast 0.
constexpr float leastShape = 0.3F;

// Largest tile of a map, degrees: all of a tile that comes near a place lies on its half of the
// earth, which a plane at the place can show.
constexpr int largestTile = 30;

// A point of the coast, in the order of its ring.
struct CoastPoint {
    double lon, lat;
    bool first; // of a ring, or of a piece of it
};

double wrapped(double lon)
{
    return std::remainder(lon, 360.0);
}

bool inBox(const NbLmSearch& search, double lon, double lat)
{
    if (lat < search.south || lat > search.north) return false;
    const auto turned = [](double degrees) {
        const double rest = std::fmod(degrees, 360.0);
        return rest < 0 ? rest + 360 : rest;
    };
    if (search.east - search.west >= 360) return true;
    return turned(lon - search.west) <= turned(search.east - search.west);
}

// The tiles that an image may show, by rows.
class Tiles {
public:
    explicit Tiles(const NbShoreMap& map) : map_(map), seen_(count(map), 0) {}

    void see(double lon, double lat)
    {
        const double size = map_.tileSize();
        const int column = nbpTrunc32((wrapped(lon) + 180) / size);
        const int row = nbpTrunc32((90 - lat) / size);
        for (int dRow = -1; dRow <= 1; ++dRow)
            for (int dColumn = -1; dColumn <= 1; ++dColumn)
                set(column + dColumn, row + dRow);
    }
    // Calls visit(tile, west, south) for each tile seen; false when one cannot be read.
    template <class Visit>
    bool read(NbShoreMap& map, std::string& problem, Visit visit) const
    {
        NbShoreTile tile;
        for (int row = 0; row < map.rows(); ++row) {
            for (int column = 0; column < map.columns(); ++column) {
                if (!seen_[index(column, row)]) continue;
                if (!map.read(column, row, tile, problem)) return false;
                visit(tile, -180 + column * map.tileSize(), 90 - (row + 1) * map.tileSize());
            }
        }
        return true;
    }

private:
    static std::size_t count(const NbShoreMap& map)
    {
        return static_cast<std::size_t>(map.columns()) * static_cast<std::size_t>(map.rows());
    }
    std::size_t index(int column, int row) const
    {
        return static_cast<std::size_t>(row) * static_cast<std::size_t>(map_.columns()) +
               static_cast<std::size_t>(column);
    }
    void set(int column, int row)
    {
        if (row < 0 || row >= map_.rows()) return;
        seen_[index((column + map_.columns()) % map_.columns(), row)] = 1;
    }

    const NbShoreMap& map_;
    std::vector<char> seen_;
};

// Tiles under an image: those of the points of a net over it, and their neighbours.
Tiles tilesUnder(const NbLmView& view, const NbShoreMap& map)
{
    const NbSatObject* const object = view.object;
    constexpr int finest = 8; // pixels between points of the net
    const int columns = std::clamp(object->pixelNum / finest, 2, 96);
    const int rows = std::clamp(object->lineNum / finest, 2, 384);
    Tiles tiles(map);
    const auto n = static_cast<std::size_t>(columns);
    std::vector<float> pixel(n), line(n);
    std::vector<double> lon(n), lat(n);
    for (int row = 0; row < rows; ++row) {
        for (std::size_t i = 0; i < n; ++i)
            pixel[i] =
                nbpToFloat((object->pixelNum - 1.0) * static_cast<double>(i) / (columns - 1));
        std::ranges::fill(line, nbpToFloat((object->lineNum - 1.0) * row / (rows - 1)));
        view.toEarth(pixel, line, lon, lat);
        for (std::size_t i = 0; i < n; ++i)
            if (lon[i] != noValue) tiles.see(lon[i], lat[i]);
    }
    return tiles;
}

// The coast as chords of about one length: what is finer than that has no shape.
class Coast {
public:
    explicit Coast(double stepKm) : stepKm_(stepKm) {}

    void add(const NbShoreTile& tile, double west, double south, double size,
             const NbLmSearch& search)
    {
        const double edge = size * 1e-6; // nearer to the border than any point that is not on it
        const auto borders = [&](const NbShorePoint& a, const NbShorePoint& b) {
            const auto both = [&](double x, double y, double at) {
                return std::fabs(x - at) < edge && std::fabs(y - at) < edge;
            };
            return both(a.lon, b.lon, west) || both(a.lon, b.lon, west + size) ||
                   both(a.lat, b.lat, south) || both(a.lat, b.lat, south + size);
        };
        for (const auto& ring : tile.rings) {
            if (ring.empty()) continue;
            const double narrow = std::cos(ring.front().lat * radian);
            bool first = true; // the next chord begins a piece
            bool inside = false;
            NbShorePoint last = ring.back();
            NbShorePoint begin = last; // of the chord at hand
            for (const NbShorePoint& point : ring) {
                const bool shore = !borders(last, point) && inBox(search, point.lon, point.lat);
                if (shore && !inside) {
                    begin = last;
                    first = true;
                }
                inside = shore;
                last = point;
                if (!shore || std::hypot((point.lon - begin.lon) * narrow, point.lat - begin.lat) *
                                      kmPerDegree <
                                  stepKm_)
                    continue;
                if (first) points_.push_back({begin.lon, begin.lat, true});
                points_.push_back({point.lon, point.lat, false});
                first = false;
                begin = point;
            }
            if (points_.size() > mostCoastPoints) thin();
        }
    }
    const std::vector<CoastPoint>& points() const { return points_; }

private:
    // Every other point goes, and what is left of a piece without a chord.
    void thin()
    {
        stepKm_ *= 2;
        bool keep = false;
        std::erase_if(points_, [&](const CoastPoint& p) {
            keep = p.first || !keep;
            return !keep;
        });
        std::size_t kept = 0;
        for (std::size_t i = 0; i < points_.size(); ++i) {
            const bool lone = points_[i].first && (i + 1 == points_.size() || points_[i + 1].first);
            if (!lone) points_[kept++] = points_[i];
        }
        points_.resize(kept);
    }

    double stepKm_;
    std::vector<CoastPoint> points_;
};

// How much coast lies around each cell of an image, and in which directions.
class ShapeMap {
public:
    ShapeMap(int pixels, int lines, int halfTemplate)
        : cell_(std::max(
              {2, halfTemplate / 2, (std::max(pixels, lines) + mostCells - 1) / mostCells})),
          columns_(pixels / cell_ + 1), rows_(lines / cell_ + 1),
          unit_(2 * static_cast<float>(halfTemplate)),
          cells_(static_cast<std::size_t>(columns_) * static_cast<std::size_t>(rows_))
    {
    }

    void add(float x0, float y0, float x1, float y1)
    {
        const float dx = x1 - x0;
        const float dy = y1 - y0;
        const float length = std::hypot(dx, dy);
        const int column = nbpTrunc32((x0 + x1) / 2) / cell_;
        const int row = nbpTrunc32((y0 + y1) / 2) / cell_;
        if (!(length > 0) || column < 0 || row < 0 || column >= columns_ || row >= rows_) return;
        Tensor& t = cells_[index(column, row)];
        t.xx += dy * dy / length;
        t.xy -= dx * dy / length;
        t.yy += dx * dx / length;
    }

    struct Peak {
        float shape; // length of coast across the direction that has least of it, in templates
        int pixel, line;
    };
    // Middles of the cells with coast of more than one direction around them, best first.
    std::vector<Peak> peaks() const
    {
        constexpr int around = 2; // cells on each side make about a template
        std::vector<Peak> out;
        for (int row = 0; row < rows_; ++row) {
            for (int column = 0; column < columns_; ++column) {
                Tensor sum;
                for (int y = std::max(row - around, 0); y <= std::min(row + around, rows_ - 1); ++y)
                    for (int x = std::max(column - around, 0);
                         x <= std::min(column + around, columns_ - 1); ++x) {
                        const Tensor& t = cells_[index(x, y)];
                        sum = {sum.xx + t.xx, sum.xy + t.xy, sum.yy + t.yy};
                    }
                const float least =
                    ((sum.xx + sum.yy) - std::hypot(sum.xx - sum.yy, 2 * sum.xy)) / 2 / unit_;
                if (least >= leastShape)
                    out.push_back({least, column * cell_ + cell_ / 2, row * cell_ + cell_ / 2});
            }
        }
        std::ranges::stable_sort(out, std::ranges::greater{}, &Peak::shape);
        return out;
    }

private:
    static constexpr int mostCells = 2048; // a side
    // Of the normals of the coast, weighted by its length.
    struct Tensor {
        float xx = 0, xy = 0, yy = 0;
    };
    std::size_t index(int column, int row) const
    {
        return static_cast<std::size_t>(row) * static_cast<std::size_t>(columns_) +
               static_cast<std::size_t>(column);
    }

    int cell_; // pixels
    int columns_, rows_;
    float unit_;
    std::vector<Tensor> cells_;
};

ShapeMap shapeOf(const NbLmView& view, const Coast& coast, int halfTemplate)
{
    const auto& points = coast.points();
    const std::size_t n = points.size();
    std::vector<double> lon(n), lat(n);
    std::vector<float> pixel(n), line(n);
    for (std::size_t i = 0; i < n; ++i) {
        lon[i] = points[i].lon;
        lat[i] = points[i].lat;
    }
    view.toImage(lon, lat, pixel, line);
    ShapeMap shape(view.object->pixelNum, view.object->lineNum, halfTemplate);
    for (std::size_t i = 1; i < n; ++i)
        if (!points[i].first && pixel[i] >= 0 && pixel[i - 1] >= 0 && line[i] >= 0 &&
            line[i - 1] >= 0)
            shape.add(pixel[i - 1], line[i - 1], pixel[i], line[i]);
    return shape;
}

// The best places at least `spacing` apart whose windows lie in the image; farther apart when
// that would be more than `most`.
std::vector<NbLmPlace> spread(const std::vector<ShapeMap::Peak>& peaks, const NbSatObject& object,
                              const NbLmSearch& search, std::size_t most)
{
    const int margin = search.halfWindow + 1;
    std::vector<NbLmPlace> places;
    double spacing = search.spacing;
    for (;;) {
        places.clear();
        for (const auto& peak : peaks) {
            if (peak.pixel < margin || peak.line < margin ||
                peak.pixel >= object.pixelNum - margin || peak.line >= object.lineNum - margin)
                continue;
            const bool crowded = std::ranges::any_of(places, [&](const NbLmPlace& p) {
                return std::abs(p.pixel - peak.pixel) < spacing &&
                       std::abs(p.line - peak.line) < spacing;
            });
            if (!crowded) places.push_back({peak.pixel, peak.line, {}});
            if (places.size() > most) break;
        }
        if (places.size() <= most) return places;
        spacing *= 1.15;
    }
}

// Work that a search may take, in sums of its innermost loop.
std::size_t mostPlaces(const NbLmSearch& search)
{
    const std::int64_t shifts = search.shifts();
    const std::int64_t work = (2 * search.halfTemplate + 1) * shifts * shifts;
    return static_cast<std::size_t>(std::clamp<std::int64_t>(12'000'000 / work, 64, 400));
}

double longerSide(NbSatObject* object, float pixel, float line)
{
    double x = noValue;
    double y = noValue;
    nbSatGetResByPixLin(object, &pixel, &line, &x, &y, 1);
    return x == noValue || y == noValue ? noValue : std::max(x, y);
}

} // namespace

int nbpLmShiftSense(const NbSatObject* object)
{
    // Deliberate: these add the shift and all others take it off. The numbers of a shift file
    // mean what they always meant for each format.
    switch (object->fileFormatId) {
    case NB_FORMAT_RDAT:
    case NB_FORMAT_NGAC:
    case NB_FORMAT_NGACV1:
        return 1;
    default:
        return -1;
    }
}

double nbpLmFinestPixel(NbSatObject* object)
{
    constexpr int net = 17;
    double finest = noValue;
    for (int row = 0; row < net; ++row) {
        for (int column = 0; column < net; ++column) {
            const auto at = [](int size, int i) {
                return nbpToFloat(std::floor((size - 1.0) * (i + 0.5) / net));
            };
            const double km =
                longerSide(object, at(object->pixelNum, column), at(object->lineNum, row));
            if (km > 0 && (finest < 0 || km < finest)) finest = km;
        }
    }
    return finest;
}

std::vector<NbLmPlace> nbpLmPlaces(NbSatObject* object, NbShoreMap& map, const NbLmSearch& search,
                                   std::string& problem)
{
    if (map.tileSize() > largestTile) {
        problem = "shore map with tiles of " + std::to_string(std::lround(map.tileSize())) +
                  " degrees, at most " + std::to_string(largestTile) + " expected";
        return {};
    }
    const double finest = nbpLmFinestPixel(object);
    if (finest < 0) return {};
    const NbLmView view{object, search.startPixel, search.startLine};
    const Tiles tiles = tilesUnder(view, map);
    Coast coast(finest * search.halfTemplate / 4);
    if (!tiles.read(map, problem, [&](const NbShoreTile& tile, double west, double south) {
            coast.add(tile, west, south, map.tileSize(), search);
        }))
        return {};

    std::vector<NbLmPlace> chosen = spread(shapeOf(view, coast, search.halfTemplate).peaks(),
                                           *object, search, mostPlaces(search));
    std::ranges::sort(chosen, [](const NbLmPlace& a, const NbLmPlace& b) {
        return a.line != b.line ? a.line < b.line : a.pixel < b.pixel;
    });
    std::vector<NbLmPlace> places;
    std::vector<NbLmSurroundings> surroundings;
    for (NbLmPlace& place : chosen) {
        const double km =
            longerSide(object, static_cast<float>(place.pixel), static_cast<float>(place.line));
        if (km < 0 || km > longestPixel * finest) continue;
        // Beyond the template: pixels for its gradient and for moving it by parts of a pixel.
        NbLmSurroundings around(view, place.pixel, place.line, search.halfTemplate + 3);
        if (!around.good()) continue;
        places.push_back(std::move(place));
        surroundings.push_back(around);
    }
    NbLmSurroundings::Scratch scratch;
    const bool whole =
        tiles.read(map, problem, [&](const NbShoreTile& tile, double west, double south) {
            if (tile.rings.empty() && !tile.land) return;
            for (std::size_t i = 0; i < places.size(); ++i)
                if (surroundings[i].meets(west, south, map.tileSize()))
                    surroundings[i].add(tile, west, south, map.tileSize(), scratch,
                                        places[i].outline);
        });
    if (!whole) places.clear();
    return places;
}
