#include "tools/view/overlay.h"

#include "geo/nbShoreMap.h"
#include "sat/nbSat.h"
#include "util/nbNumber.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <optional>
#include <stdexcept>

namespace nbView {
namespace {

constexpr double lineStep = 0.5; // degrees: straighter than a pixel over this

// Neither without a position nor as far away as a pole on a Mercator map.
bool hasImage(const MapGeometry::Points& points, std::size_t i)
{
    constexpr float far = 1e6F; // cells
    return points.x[i] != -9999.0F && std::fabs(points.x[i]) < far && std::fabs(points.y[i]) < far;
}

} // namespace

const Overlay::Ink Overlay::netInk{0.72, 0.86, 1.0, 0.65};
const Overlay::Ink Overlay::coastInk{1.0, 0.84, 0.3, 1.0};

std::string findShoreMap()
{
    namespace fs = std::filesystem;
    std::error_code none;
    if (const char* const named = std::getenv("NIMBL_MAP"); named != nullptr && *named != '\0')
        return named;
    constexpr char name[] = "nbMap30.dat";
    if (const char* const dir = nbpSatFindDataDir(name)) return std::string(dir) + name;
    // Beside the program: in an installation that was moved, and in a build.
    const fs::path program = fs::read_symlink("/proc/self/exe", none).parent_path();
    for (const char* const share : {"../share/nimbex", "../share"})
        if (const fs::path map = program / share / name; fs::exists(map, none)) return map.string();
    throw std::runtime_error(std::string("no map of shorelines was found; name one by --map or "
                                         "NIMBL_MAP, or install ") +
                             name);
}

// Which tiles of a shore map a picture shows.
class Overlay::Tiles {
public:
    Tiles(const NbShoreMap& map, const Overlay& overlay)
        : size_(map.tileSize()), columns_(map.columns()), rows_(map.rows()),
          wanted_(static_cast<std::size_t>(columns_) * static_cast<std::size_t>(rows_))
    {
        // Places of each tile that lie on the map, and the tiles of places of the map: one of the
        // two finds a tile that is much larger or much smaller than the map.
        constexpr int across = 4;
        MapGeometry::Points places;
        for (int row = 0; row < rows_; ++row)
            for (int column = 0; column < columns_; ++column)
                for (int i = 0; i <= across; ++i)
                    for (int j = 0; j <= across; ++j)
                        places.add(-180 + (column + 1.0 * i / across) * size_,
                                   90 - (row + 1.0 * j / across) * size_);
        overlay.geometry_.toCells(places);
        constexpr std::size_t perTile = (across + 1) * (across + 1);
        for (std::size_t i = 0; i < places.x.size(); ++i)
            if (overlay.shows(places.x[i], places.y[i])) wanted_[i / perTile] = 1;

        constexpr int samples = 64;
        MapGeometry::Points cells;
        for (int i = 0; i <= samples; ++i)
            for (int j = 0; j <= samples; ++j) {
                cells.x.push_back(nbpToFloat((overlay.columns_ - 1.0) * i / samples));
                cells.y.push_back(nbpToFloat((overlay.rows_ - 1.0) * j / samples));
            }
        overlay.geometry_.toEarth(cells);
        for (std::size_t i = 0; i < cells.lon.size(); ++i)
            if (std::fabs(cells.lat[i]) <= 90) want(cells.lon[i], cells.lat[i]);
    }

    // Wanted tiles and their neighbours: shores between two samples.
    bool has(int column, int row) const
    {
        for (int y = std::max(row - 1, 0); y <= std::min(row + 1, rows_ - 1); ++y)
            for (int x = column - 1; x <= column + 1; ++x)
                if (wanted_[index((x + columns_) % columns_, y)] != 0) return true;
        return false;
    }

private:
    std::size_t index(int column, int row) const
    {
        return static_cast<std::size_t>(row) * static_cast<std::size_t>(columns_) +
               static_cast<std::size_t>(column);
    }
    void want(double lon, double lat)
    {
        const int column = nbpTrunc32(std::floor((lon + 180) / size_));
        const int row = nbpTrunc32(std::floor((90 - lat) / size_));
        wanted_[index(((column % columns_) + columns_) % columns_, std::clamp(row, 0, rows_ - 1))] =
            1;
    }

    double size_;
    int columns_, rows_;
    std::vector<std::uint8_t> wanted_;
};

Overlay::Overlay(const MapGeometry& geometry, const GridFile& grid, CellScale scale, Canvas& canvas)
    : geometry_(geometry), columns_(grid.columns), rows_(grid.rows), scale_(scale),
      width_(scale.pixels(grid.columns)), height_(scale.pixels(grid.rows)), canvas_(canvas),
      lineWidth_(std::clamp(width_ / 1100.0, 0.8, 3.0))
{
}

bool Overlay::shows(float x, float y) const
{
    return x >= -1 && y >= -1 && x <= static_cast<float>(columns_) &&
           y <= static_cast<float>(rows_);
}

// The pixels of a line, in the parts of it that the map shows.
std::vector<std::vector<Overlay::Pixel>> Overlay::partsOf(const std::vector<Place>& line) const
{
    MapGeometry::Points points;
    for (std::size_t i = 0; i < line.size(); ++i) {
        const Place& to = line[i];
        if (i > 0) {
            const Place& from = line[i - 1];
            const double length =
                std::max(std::fabs(to.lon - from.lon), std::fabs(to.lat - from.lat));
            const int steps = nbpTrunc32(std::ceil(length / lineStep));
            for (int step = 1; step < steps; ++step) {
                const double part = 1.0 * step / steps;
                points.add(from.lon + part * (to.lon - from.lon),
                           from.lat + part * (to.lat - from.lat));
            }
        }
        points.add(to.lon, to.lat);
    }
    geometry_.toCells(points);

    // A stretch between two points is left out when it lies to one side of the map, or runs around
    // the back of it.
    std::vector<std::vector<Pixel>> parts(1);
    for (std::size_t i = 1; i < points.x.size(); ++i) {
        const std::size_t last = i - 1;
        const bool shown = hasImage(points, last) && hasImage(points, i) &&
                           !geometry_.isTorn(points.lon[last], points.lon[i]) &&
                           std::max(points.x[last], points.x[i]) >= -1 &&
                           std::max(points.y[last], points.y[i]) >= -1 &&
                           std::min(points.x[last], points.x[i]) <= static_cast<float>(columns_) &&
                           std::min(points.y[last], points.y[i]) <= static_cast<float>(rows_);
        if (!shown) {
            if (!parts.back().empty()) parts.emplace_back();
            continue;
        }
        const auto pixel = [&](std::size_t at) {
            return Pixel{scale_.position(static_cast<double>(points.x[at])),
                         scale_.position(static_cast<double>(points.y[at]))};
        };
        if (parts.back().empty()) parts.back().push_back(pixel(last));
        parts.back().push_back(pixel(i));
    }
    return parts;
}

void Overlay::addLine(const std::vector<Place>& line)
{
    addLine(line, "");
}

// A label stands where the line crosses a line a little inside the left or lower edge, or else the
// middle of the picture: a disk's lines end at its limb.
void Overlay::addLine(const std::vector<Place>& line, const std::string& label)
{
    cairo_t* const cairo = canvas_.cairo();
    const bool meridian = line.size() > 1 && line[0].lon == line[1].lon;
    const double edge = meridian ? height_ - 4 * lineWidth_ : 4 * lineWidth_;
    const double middle = (meridian ? height_ : width_) / 2.0;
    std::optional<Label> atEdge, inMiddle;
    const auto cross = [&](Pixel a, Pixel b, double where, std::optional<Label>& out) {
        const double from = (meridian ? a.y : a.x) - where, to = (meridian ? b.y : b.x) - where;
        if (out || (from < 0) == (to < 0)) return;
        const double share = from / (from - to);
        out = Label{label, a.x + share * (b.x - a.x), a.y + share * (b.y - a.y),
                    meridian ? 0.5 : 0.0};
    };
    for (const std::vector<Pixel>& part : partsOf(line)) {
        for (std::size_t i = 0; i < part.size(); ++i) {
            (i == 0 ? cairo_move_to : cairo_line_to)(cairo, part[i].x, part[i].y);
            if (i == 0 || label.empty()) continue;
            cross(part[i - 1], part[i], edge, atEdge);
            cross(part[i - 1], part[i], middle, inMiddle);
        }
    }
    if (!atEdge) atEdge = inMiddle;
    if (atEdge) labels_.push_back(*atEdge);
}

// The lines added so far, bright on a dark edge: they show on cloud and on sea.
void Overlay::strokeLines(double width, const Ink& ink)
{
    cairo_t* const cairo = canvas_.cairo();
    cairo_set_line_join(cairo, CAIRO_LINE_JOIN_ROUND);
    cairo_set_source_rgba(cairo, 0, 0, 0, 0.35);
    cairo_set_line_width(cairo, width + 1.4 * lineWidth_);
    cairo_stroke_preserve(cairo);
    cairo_set_source_rgba(cairo, ink.red, ink.green, ink.blue, ink.alpha);
    cairo_set_line_width(cairo, width);
    cairo_stroke(cairo);
}

void Overlay::net(double spacing)
{
    const auto name = [](double degrees, char positive, char negative) {
        std::string text = nbView::text(nbpToFloat(std::fabs(degrees))) + "\u00b0";
        if (degrees != 0 && std::fabs(degrees) != 180) text += degrees > 0 ? positive : negative;
        return text;
    };
    const int parallels = nbpTrunc32(std::ceil(90 / spacing - 1e-9)) - 1;
    for (int i = -parallels; i <= parallels; ++i)
        addLine({{-180, i * spacing}, {180, i * spacing}}, name(i * spacing, 'N', 'S'));
    // Where meridians meet at a pole, all of them together would blacken it.
    const double end = geometry_.isCylindrical() ? 90 : std::max(parallels * spacing, 80.0);
    const int meridians = nbpTrunc32(std::ceil(180 / spacing - 1e-9));
    for (int i = -meridians + 1; i <= meridians; ++i) {
        const double lon = std::min(i * spacing, 180.0);
        const double reach = std::remainder(lon, 90.0) == 0 ? 90 : end;
        addLine({{lon, -reach}, {lon, reach}}, name(lon, 'E', 'W'));
    }
    strokeLines(0.9 * lineWidth_, netInk);
    drawLabels();
}

void Overlay::drawLabels()
{
    cairo_t* const cairo = canvas_.cairo();
    const double size = std::clamp(width_ / 75.0, 8.0, 32.0);
    cairo_select_font_face(cairo, "sans-serif", CAIRO_FONT_SLANT_NORMAL, CAIRO_FONT_WEIGHT_BOLD);
    cairo_set_font_size(cairo, size);
    if (width_ < 200) labels_.clear(); // no room for them
    struct Box {
        double x, y, width; // from the lower left
    };
    std::vector<Box> drawn;
    for (const Label& label : labels_) {
        cairo_text_extents_t extents;
        cairo_text_extents(cairo, label.text.c_str(), &extents);
        const double width = extents.x_advance;
        const double x = label.x - label.anchor * width;
        const double y = label.y - 0.35 * size;
        const auto overlaps = [&](const Box& other) {
            return x < other.x + other.width && other.x < x + width &&
                   std::fabs(y - other.y) < size;
        };
        // Not where it would be cut off, nor over another.
        if (x < 0 || x + width > width_ || y - size < 0 || y > height_) continue;
        if (std::ranges::any_of(drawn, overlaps)) continue;
        drawn.push_back({x, y, width});
        cairo_move_to(cairo, x, y);
        cairo_text_path(cairo, label.text.c_str());
    }
    cairo_set_source_rgba(cairo, 0, 0, 0, 0.6);
    cairo_set_line_width(cairo, 0.25 * size);
    cairo_stroke_preserve(cairo);
    cairo_set_source_rgb(cairo, netInk.red, netInk.green, netInk.blue);
    cairo_fill(cairo);
    labels_.clear();
}

void Overlay::coast(const std::string& mapFile)
{
    const auto fail = [&](const std::string& problem) {
        throw std::runtime_error(mapFile + " : " + problem);
    };
    std::string problem;
    const auto map = NbShoreMap::open(mapFile, problem);
    if (!map) fail(problem);
    const Tiles tiles(*map, *this);
    NbShoreTile tile;
    std::vector<Place> line;
    for (int row = 0; row < map->rows(); ++row) {
        for (int column = 0; column < map->columns(); ++column) {
            if (!tiles.has(column, row)) continue;
            if (!map->read(column, row, tile, problem)) fail(problem);
            const double size = map->tileSize();
            const double west = -180 + column * size, north = 90 - row * size;
            const auto onBorder = [size](double a, double b, double border) {
                return std::fabs(a - border) < 1e-6 * size && std::fabs(b - border) < 1e-6 * size;
            };
            for (const auto& ring : tile.rings) {
                line.clear();
                for (std::size_t i = 0; i <= ring.size() && !ring.empty(); ++i) {
                    const NbShorePoint& point = ring[i % ring.size()];
                    if (i > 0) {
                        const NbShorePoint& last = ring[i - 1];
                        if (onBorder(last.lon, point.lon, west) ||
                            onBorder(last.lon, point.lon, west + size) ||
                            onBorder(last.lat, point.lat, north) ||
                            onBorder(last.lat, point.lat, north - size)) {
                            addLine(line);
                            line.clear();
                        }
                    }
                    line.push_back({point.lon, point.lat});
                }
                addLine(line);
            }
        }
    }
    strokeLines(lineWidth_, coastInk);
}

} // namespace nbView
