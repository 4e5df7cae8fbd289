#include "tools/view/mapGeometry.h"

#include "frontend/mapGrid.h"
#include "frontend/options.h"
#include "frontend/setupFile.h"
#include "geo/nbProjFrame.h"
#include "tools/view/commandLine.h"
#include "util/nbFile.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>

namespace nbView {
namespace {

using nbpProj::noPosition;

double turned(double lon)
{
    return std::remainder(lon, 360.0);
}

// Longitudes of nbProj are within a turn.
double withinTurn(double lon)
{
    return std::fabs(lon) <= 360 ? lon : turned(lon);
}

NbProjPara mapOfHeader(const GridFile& grid)
{
    NbProjPara map{};
    map.prjType = NB_PROJ_GRID;
    map.baseLon = withinTurn(grid.corners[0].lon);
    map.baseLat = grid.corners[0].lat;
    map.stepX = grid.stepX;
    map.stepY = grid.stepY;
    map.xNum = grid.columns;
    map.yNum = grid.rows;
    return map;
}

NbProjPara mapOfConversion(const std::string& word, const std::optional<std::string>& setup)
{
    const std::string option = "-p=" + word;
    const char* const argument = option.c_str();
    NbSettings settings = parseCommandLine({&argument, 1});
    if (settings.projection < 0)
        throw UsageError(option + " : ps, disk, grid, merc or lamb expected; where the cells of "
                                  "a crop lie is known to the image alone");
    NbProjPara map = defaultMap(settings.projection);
    if (setup) {
        if (!nbpFileOpenRead(setup->c_str()))
            throw std::runtime_error(*setup + " : cannot be opened for reading");
        applySetupFile(setup->c_str(), settings, map);
    }
    return map;
}

bool near(double a, double b, double tolerance)
{
    return std::fabs(a - b) <= tolerance;
}

} // namespace

MapGeometry::MapGeometry(const GridFile& grid, const std::optional<std::string>& word,
                         const std::optional<std::string>& setup)
{
    if (setup && !word) throw UsageError("--setup goes with -p=WORD");
    if (!word && !grid.isGrid)
        throw UsageError(grid.path + " : does not hold its projection; give the -p=WORD and the "
                                     "--setup FILE of its conversion");
    map_ = word ? mapOfConversion(*word, setup) : mapOfHeader(grid);
    const auto mismatch = [&](const std::string& what) {
        throw std::runtime_error(grid.path + " : " + what +
                                 (word ? "; -p and --setup must be those of its conversion" : ""));
    };
    if ((map_.prjType == NB_PROJ_GRID) != grid.isGrid)
        mismatch(grid.isGrid ? "is a latitude-longitude grid" : "is no latitude-longitude grid");
    if (map_.xNum != grid.columns || map_.yNum != grid.rows)
        mismatch("has " + std::to_string(grid.columns) + " x " + std::to_string(grid.rows) +
                 " cells, the setup " + std::to_string(map_.xNum) + " x " +
                 std::to_string(map_.yNum));
    // A first call tells whether the record is one that nbProj takes.
    float x = 0, y = 0;
    if (nbProjLonLatToXY(&map_.baseLon, &map_.baseLat, &x, &y, 1, &map_) != 0)
        mismatch("a parameter of its map is out of range");
    if (!fitsCorners(grid)) mismatch("its corners lie on another map");
    if (grid.isGrid) centreGrid();
}

// The header's corners are positions of cells.
bool MapGeometry::fitsCorners(const GridFile& grid) const
{
    constexpr double tolerance = 0.05; // of a cell: the header has floats
    if (grid.isGrid) {
        const double west = map_.baseLon - static_cast<double>(map_.baseX) * map_.stepX;
        const double north = map_.baseLat + static_cast<double>(map_.baseY) * map_.stepY;
        return near(turned(west - grid.corners[0].lon), 0, tolerance * map_.stepX) &&
               near(north, grid.corners[0].lat, tolerance * map_.stepY) &&
               near(map_.stepX / grid.stepX, 1, 1e-5) && near(map_.stepY / grid.stepY, 1, 1e-5);
    }
    Points points;
    for (const GridFile::Corner& corner : grid.corners)
        points.add(corner.lon, corner.lat);
    toCells(points);
    int onMap = 0;
    for (std::size_t i = 0; i < points.x.size(); ++i) {
        const auto x = static_cast<double>(points.x[i]);
        const auto y = static_cast<double>(points.y[i]);
        if (x == noPosition) continue; // a cell at the limb, rounded off it
        if (!near(x, std::round(x), tolerance) || !near(y, std::round(y), tolerance) ||
            !near(x, (map_.xNum - 1) / 2.0, map_.xNum / 2.0) ||
            !near(y, (map_.yNum - 1) / 2.0, map_.yNum / 2.0))
            return false;
        ++onMap;
    }
    return onMap > 0;
}

// Longitudes are taken within half a turn of the base point: it belongs in the grid's middle.
void MapGeometry::centreGrid()
{
    const double middle = (map_.xNum - 1) / 2.0;
    map_.baseLon =
        withinTurn(map_.baseLon + (middle - static_cast<double>(map_.baseX)) * map_.stepX);
    map_.baseX = nbpToFloat(middle);
}

void MapGeometry::toCells(Points& points) const
{
    NbProjPara map = map_;
    const std::size_t n = points.lon.size();
    points.x.assign(n, nbpToFloat(noPosition));
    points.y = points.x;
    if (n > 0)
        nbProjLonLatToXY(points.lon.data(), points.lat.data(), points.x.data(), points.y.data(),
                         static_cast<int>(n), &map);
}

void MapGeometry::toEarth(Points& points) const
{
    NbProjPara map = map_;
    const std::size_t n = points.x.size();
    points.lon.assign(n, noPosition);
    points.lat = points.lon;
    if (n > 0)
        nbProjXYToLonLat(points.x.data(), points.y.data(), points.lon.data(), points.lat.data(),
                         static_cast<int>(n), &map);
}

bool MapGeometry::isTorn(double lon0, double lon1) const
{
    if (map_.prjType == NB_PROJ_DISK || map_.prjType == NB_PROJ_PS) return false;
    const double centre = map_.prjType == NB_PROJ_GRID ? map_.baseLon : map_.stdLon;
    return std::fabs(turned(lon1 - centre) - turned(lon0 - centre)) > 180;
}

std::optional<SpatialReference> MapGeometry::reference() const
{
    SpatialReference out;
    const auto baseX = static_cast<double>(map_.baseX);
    const auto baseY = static_cast<double>(map_.baseY);
    if (map_.prjType == NB_PROJ_GRID) {
        if (map_.ellipsoid != 0) return {}; // rows are even in the parametric latitude
        out.definition = "EPSG:4326"; // latitudes are geodetic, as the image's navigation has them
        out.geographic = true;
        out.stepX = map_.stepX;
        out.stepY = map_.stepY;
        out.west = map_.baseLon - (baseX + 0.5) * out.stepX;
        out.north = map_.baseLat + (baseY + 0.5) * out.stepY;
        return out;
    }

    const bool polar = std::fabs(map_.stdLat1) == 90;
    std::string projection;
    double originLat = map_.stdLat1; // of the plane's zero, with stdLon
    switch (map_.prjType) {
    case NB_PROJ_DISK:
        if (map_.ellipsoid != 0) return {};
        projection = "+proj=nsper +lat_0=" + text(map_.stdLat1) + " +lon_0=" + text(map_.stdLon) +
                     " +h=" + text(map_.height * 1000);
        break;
    case NB_PROJ_PS:
        if (map_.ellipsoid != 0 && !polar) return {};
        projection =
            "+proj=stere +lat_0=" + text(map_.stdLat1) + " +lon_0=" + text(map_.stdLon) + " +k=1";
        break;
    case NB_PROJ_LAMB:
        // No cone: one that is a cylinder or a plane.
        if (polar || std::fabs(map_.stdLat2) == 90 || map_.stdLat1 == -map_.stdLat2) return {};
        projection = "+proj=lcc +lat_0=" + text(map_.stdLat1) + " +lon_0=" + text(map_.stdLon) +
                     " +lat_1=" + text(map_.stdLat1) + " +lat_2=" + text(map_.stdLat2);
        break;
    default: // NB_PROJ_MERC
        originLat = 0;
        projection = "+proj=merc +lon_0=" + text(map_.stdLon) + " +k=1";
        break;
    }
    const double radius = nb_ProjEquatRadius * 1000;
    const std::string earth = map_.ellipsoid == 0
                                  ? " +R=" + text(radius)
                                  : " +a=" + text(radius) + " +b=" +
                                        text(radius * std::sqrt(1 - nbpProj::ecc * nbpProj::ecc));
    out.definition = projection + " +x_0=0 +y_0=0" + earth + " +units=m +no_defs +type=crs";

    // Kilometres of the base point from the plane's zero, which stands on (0, 0) of a map of
    // 1 km cells. Floats of large numbers would be off by decimetres: the second step measures
    // from whole kilometres next to the point.
    NbProjPara plane = map_;
    plane.baseLon = map_.stdLon;
    plane.baseLat = originLat;
    plane.stepX = plane.stepY = 1;
    double km[2] = {0, 0};
    plane.baseX = plane.baseY = 0;
    for (int step = 0; step < 2; ++step) {
        float x = 0, y = 0;
        if (nbProjLonLatToXY(&map_.baseLon, &map_.baseLat, &x, &y, 1, &plane) != 0) return {};
        if (static_cast<double>(x) == noPosition) return {};
        km[0] = static_cast<double>(x) - static_cast<double>(plane.baseX);
        km[1] = static_cast<double>(y) - static_cast<double>(plane.baseY);
        plane.baseX = -std::round(nbpToFloat(km[0]));
        plane.baseY = -std::round(nbpToFloat(km[1]));
    }
    out.stepX = map_.stepX * 1000;
    out.stepY = map_.stepY * 1000;
    out.west = km[0] * 1000 - (baseX + 0.5) * out.stepX;
    out.north = -km[1] * 1000 + (baseY + 0.5) * out.stepY;
    return out;
}

} // namespace nbView
