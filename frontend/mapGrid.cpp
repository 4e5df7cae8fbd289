#include "frontend/mapGrid.h"

#include "util/nbNumber.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <iterator>
#include <limits>

namespace {

constexpr int gridSize = 501;

struct MapDefault {
    std::int16_t type;
    double stdLon;
    double stdLat1;
    double stdLat2;
    double height; // km
    int baseX;
    int baseY;
    double baseLon;
    double baseLat;
    double extent; // of the whole grid: km, degrees for the grid
};

constexpr int third = 2 * gridSize / 3; // the reference column of the maps around Japan
constexpr int half = gridSize / 2;
constexpr MapDefault mapDefaults[] = {
    {NB_PROJ_PS, 135, 90, 0, 0, third, half, 135, 35, 5000},
    {NB_PROJ_DISK, 140, 0, 0, 36000, half, half, 140, 0, 12000},
    {NB_PROJ_GRID, 0, 0, 0, 0, 0, 0, 120, 50, 30},
    {NB_PROJ_MERC, 140, 0, 0, 0, third, half, 140, 35, 5000},
    {NB_PROJ_LAMB, 135, 60, 0, 0, third, half, 135, 35, 5000},
};

void settleAxis(std::int32_t& count, double& step, int sourceSize)
{
    if (count < 1) {
        count = nbpTrunc32(std::floor(sourceSize / step + 0.5));
        step = sourceSize;
    } else {
        step = std::min(count * step, static_cast<double>(sourceSize));
    }
}

} // namespace

NbProjPara defaultMap(int projection)
{
    NbProjPara map{};
    if (projection < 0 || projection >= static_cast<int>(std::size(mapDefaults))) {
        map.prjType = NB_PROJ_ZOOM;
        map.stepX = 1;
        map.stepY = 1;
        return map;
    }
    const MapDefault& row = mapDefaults[projection];
    map.prjType = row.type;
    map.stdLon = row.stdLon;
    map.stdLat1 = row.stdLat1;
    map.stdLat2 = row.stdLat2;
    map.height = row.height;
    map.baseX = static_cast<float>(row.baseX);
    map.baseY = static_cast<float>(row.baseY);
    map.baseLon = row.baseLon;
    map.baseLat = row.baseLat;
    map.stepX = row.extent / (gridSize - 1);
    map.stepY = map.stepX;
    map.xNum = gridSize;
    map.yNum = gridSize;
    return map;
}

void settleCrop(NbProjPara& map, int pixels, int lines)
{
    settleAxis(map.xNum, map.stepX, pixels);
    settleAxis(map.yNum, map.stepY, lines);
}

bool mapIsBounded(const NbProjPara& map)
{
    // Less than an int holds: walks over cells and rows step past the end by a part of a run.
    constexpr std::int64_t most = std::numeric_limits<std::int32_t>::max() - 1024;
    const std::int64_t columns = map.xNum;
    const std::int64_t rows = map.yNum;
    if (columns > 0 && rows > most / columns) return false; // cells
    if (columns * 2 + 263 > most) return false;             // bytes of a row record
    // The source rectangle of a crop has 16-bit output sizes.
    constexpr int mostZoom = std::numeric_limits<std::int16_t>::max();
    return map.prjType != NB_PROJ_ZOOM || (columns <= mostZoom && rows <= mostZoom);
}
