#include "tools/overlay.h"

#include <algorithm>
#include <cmath>
#include <fstream>
#include <map>
#include <numbers>
#include <stdexcept>

namespace {

constexpr double degree = std::numbers::pi / 180;
constexpr double earthKm = 6378.14;

// Keywords of a setup file and their values.
using Setup = std::map<std::string, double>;

void readSetup(const std::string& path, Setup* setup)
{
    std::ifstream file(path);
    if (!file) throw std::runtime_error(path + " does not open");
    std::string word;
    for (double value = 0; file >> word && word != ";" && file >> value;)
        (*setup)[word] = value;
}

double turned(double lon)
{
    return std::remainder(lon, 360.0);
}

// Kilometres on the map plane, y northward.
MapFunction plane(const std::string& projection, const Setup& setup)
{
    const double lon0 = setup.at("PRJCLON");
    const double lat0 = setup.at("PRJCLAT") * degree;
    if (projection == "merc") {
        return [=](double lon, double lat) -> std::optional<MapPoint> {
            if (std::fabs(lat) > 89) return {};
            return MapPoint{earthKm * turned(lon - lon0) * degree,
                            earthKm * std::asinh(std::tan(lat * degree))};
        };
    }
    // Azimuthal about (lon0, lat0): stereographic, or the view from a height.
    const bool disk = projection == "disk";
    const double eye = 1 + setup.at("STAALT") / earthKm; // in radii from the centre
    return [=](double lon, double lat) -> std::optional<MapPoint> {
        const double d = (lon - lon0) * degree;
        const double phi = lat * degree;
        const double east = std::cos(phi) * std::sin(d);
        const double north =
            std::sin(phi) * std::cos(lat0) - std::cos(phi) * std::sin(lat0) * std::cos(d);
        const double up =
            std::sin(phi) * std::sin(lat0) + std::cos(phi) * std::cos(lat0) * std::cos(d);
        if (up < (disk ? 1 / eye : -0.9)) return {};
        const double scale = earthKm * (disk ? (eye - 1) / (eye - up) : 2 / (1 + up));
        return MapPoint{scale * east, scale * north};
    };
}

} // namespace

MapFunction mapFunction(const GridFile& grid, const std::string& projection,
                        const std::string& setupFile)
{
    if (grid.isGrid) {
        const double west = static_cast<double>(grid.west);
        const double north = static_cast<double>(grid.north);
        const double stepX = static_cast<double>(grid.stepX);
        const double stepY = static_cast<double>(grid.stepY);
        const double middle = west + stepX * grid.columns / 2;
        return [=](double lon, double lat) -> std::optional<MapPoint> {
            const double near = middle + turned(lon - middle);
            return MapPoint{(near - west) / stepX, (north - lat) / stepY};
        };
    }
    const bool disk = projection == "disk";
    if (projection != "ps" && projection != "merc" && !disk)
        throw std::runtime_error("--projection=" + projection + " : ps, merc or disk expected");
    Setup setup{{"PRJCLON", projection == "ps" ? 135 : 140},
                {"PRJCLAT", projection == "ps" ? 90 : 0},
                {"STAALT", 36000},
                {"STDXPOS", disk ? 250 : 334},
                {"STDYPOS", 250},
                {"STDLON", projection == "ps" ? 135 : 140},
                {"STDLAT", disk ? 0 : 35},
                {"STDXSIZ", disk ? 24 : 10},
                {"STDYSIZ", disk ? 24 : 10}};
    if (!setupFile.empty()) readSetup(setupFile, &setup);
    const MapFunction onPlane = plane(projection, setup);
    const auto base = onPlane(setup["STDLON"], setup["STDLAT"]);
    if (!base) throw std::runtime_error("the reference point has no image");
    const double baseX = setup["STDXPOS"];
    const double baseY = setup["STDYPOS"];
    const double stepX = setup["STDXSIZ"];
    const double stepY = setup["STDYSIZ"];
    return [=](double lon, double lat) -> std::optional<MapPoint> {
        const auto p = onPlane(lon, lat);
        if (!p) return {};
        return MapPoint{baseX + (p->x - base->x) / stepX, baseY - (p->y - base->y) / stepY};
    };
}

void Overlay::coast(const MapFunction& map, const std::vector<LandRing>& rings, std::uint8_t colour)
{
    for (const LandRing& ring : rings) {
        for (std::size_t i = 1; i < ring.points.size(); ++i) {
            const auto& a = ring.points[i - 1];
            const auto& b = ring.points[i];
            // The polygons are cut at 180 degrees and closed at the pole: no coast.
            if (std::fabs(a.lon) > 179.99 && std::fabs(b.lon) > 179.99) continue;
            if (a.lat < -89 || b.lat < -89) continue;
            path(map, a.lon, a.lat, b.lon, b.lat, colour);
        }
    }
}

void Overlay::net(const MapFunction& map, int spacing, std::uint8_t colour)
{
    for (int lat = -90 + spacing; lat < 90; lat += spacing)
        path(map, -180, lat, 180, lat, colour);
    for (int lon = -180; lon < 180; lon += spacing)
        path(map, lon, -85, lon, 85, colour);
}

// A line that is straight in longitude and latitude.
void Overlay::path(const MapFunction& map, double lon0, double lat0, double lon1, double lat1,
                   std::uint8_t colour)
{
    const double length = std::max(std::fabs(lon1 - lon0), std::fabs(lat1 - lat0));
    const long steps = std::clamp(std::lround(std::ceil(length / 0.5)), 1L, 1000L);
    std::optional<MapPoint> before = map(lon0, lat0);
    for (long i = 1; i <= steps; ++i) {
        const double part = static_cast<double>(i) / static_cast<double>(steps);
        const auto point = map(lon0 + part * (lon1 - lon0), lat0 + part * (lat1 - lat0));
        if (before && point) stroke(*before, *point, colour);
        before = point;
    }
}

void Overlay::stroke(MapPoint a, MapPoint b, std::uint8_t colour)
{
    const auto scaled = [this](double cell) { return (cell + 0.5) / reduction_; };
    const double x0 = scaled(a.x), y0 = scaled(a.y), x1 = scaled(b.x), y1 = scaled(b.y);
    if (std::max(x0, x1) < 0 || std::max(y0, y1) < 0 || std::min(x0, x1) > width_ ||
        std::min(y0, y1) > height_)
        return;
    const double length = std::max(std::fabs(x1 - x0), std::fabs(y1 - y0));
    if (length > width_ / 2.0) return; // around the back of the map
    const long steps = std::lround(std::ceil(length)) + 1;
    for (long i = 0; i <= steps; ++i) {
        const double part = static_cast<double>(i) / static_cast<double>(steps);
        const long x = std::lround(std::floor(x0 + part * (x1 - x0)));
        const long y = std::lround(std::floor(y0 + part * (y1 - y0)));
        if (x >= 0 && x < width_ && y >= 0 && y < height_)
            pixels_[static_cast<std::size_t>(y * width_ + x)] = colour;
    }
}
