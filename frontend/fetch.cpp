#include "frontend/fetch.h"

#include "sat/nbSatGetProjData.h"
#include "sat/nbSatNav.h"
#include "sat/nbSatProj.h"
#include "util/nbNumber.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <numbers>
#include <vector>

namespace {

constexpr std::uint8_t noOwner = 255;

// Selectors of nbSatGetI2ProjData: field of NbPointInfo + 1.
enum InfoSelector { sunZenithSelector = 4, glintAngleSelector = 7 };

// Sun zenith and glint angle of each cell of a crop, which the projecting does not give: from
// the cells' earth positions in the image that gave them.
void cropAngles(std::span<NbSatObject> objects, NbProjPara& map,
                std::span<const std::uint8_t> owner, std::span<double> zenith,
                std::span<double> glint)
{
    const auto columns = static_cast<std::size_t>(map.xNum);
    std::vector<float> x(columns);
    std::vector<float> y(columns);
    std::vector<float> pixel(columns);
    std::vector<float> line(columns);
    std::vector<double> lon(columns);
    std::vector<double> lat(columns);
    std::vector<NbPointInfo> info(columns);
    for (std::size_t i = 0; i < columns; ++i)
        x[i] = static_cast<float>(i);
    for (int row = 0; row < map.yNum; ++row) {
        const auto owners = owner.subspan(static_cast<std::size_t>(row) * columns, columns);
        const auto zeniths = zenith.subspan(static_cast<std::size_t>(row) * columns, columns);
        std::fill(zeniths.begin(), zeniths.end(), 90.0); // no angle: no adjustment
        std::fill(y.begin(), y.end(), static_cast<float>(row));
        for (std::size_t k = 0; k < objects.size(); ++k) {
            if (std::find(owners.begin(), owners.end(), k) == owners.end()) continue;
            nbSatSetNavToProj(&objects[k], &map); // not every segment can place another's lines
            if (nbProjXYToLonLat(x.data(), y.data(), lon.data(), lat.data(), map.xNum, &map) < 0)
                continue;
            nbSatLonLatToPixLinInfo(&objects[k], lon.data(), lat.data(), pixel.data(), line.data(),
                                    info.data(), map.xNum);
            for (std::size_t i = 0; i < columns; ++i) {
                if (owners[i] != k || line[i] == -9999.0F) continue;
                zeniths[i] = info[i].sunZenith;
                if (!glint.empty())
                    glint[static_cast<std::size_t>(row) * columns + i] = info[i].glintAngle;
            }
        }
    }
    nbSatSetNavToProj(&objects[0], &map);
}

int fetchStrip(std::span<NbSatObject> objects, NbProjPara& map, int mode,
               std::span<std::int16_t> cells, std::span<std::uint8_t> owner,
               std::span<double> zenith, std::span<double> glint)
{
    NbSatObject* const object = objects.data();
    if (map.prjType == NB_PROJ_ZOOM) {
        const int result =
            fetchWithOwners(object, map, mode, 0, cells.data(), nullptr, owner.data());
        if (result >= 0) cropAngles(objects, map, owner, zenith, glint);
        return result;
    }
    const int result = fetchWithOwners(object, map, mode, sunZenithSelector, cells.data(),
                                       zenith.data(), owner.data());
    if (result < 0 || glint.empty()) return result;
    return fetchWithOwners(object, map, mode, glintAngleSelector, cells.data(), glint.data(),
                           owner.data());
}

int fetchSunAdjusted(std::span<NbSatObject> objects, NbProjPara& map, int mode, int sunAdjust,
                     std::span<std::int16_t> cells)
{
    const char* const caller = "fetchSunAdjusted()";
    const int rows = map.yNum;
    const float baseY = map.baseY;
    std::int64_t strips = std::abs(std::int64_t{sunAdjust});
    if (strips > rows || map.prjType == NB_PROJ_ZOOM) strips = 1;
    const int height = static_cast<int>(rows / strips);
    const int lastHeight = static_cast<int>(rows - height * (strips - 1)); // the tallest

    const auto columns = static_cast<std::size_t>(map.xNum);
    const std::size_t most = columns * static_cast<std::size_t>(lastHeight);
    NbPlane<double> zenith(most, caller);
    NbPlane<double> glint = sunAdjust < 0 ? NbPlane<double>(most, caller) : NbPlane<double>();
    NbPlane<std::uint8_t> owner(most, caller);
    const int levels = objects[0].levelNum;

    int result = 0;
    for (std::int64_t strip = 0; strip < strips && result >= 0; ++strip) {
        map.yNum = strip == strips - 1 ? lastHeight : height;
        const std::size_t size = columns * static_cast<std::size_t>(map.yNum);
        const auto levelsHere = cells.subspan(
            columns * static_cast<std::size_t>(height) * static_cast<std::size_t>(strip), size);
        const auto glintHere = glint.span().first(glint.size() == 0 ? 0 : size);
        result = fetchStrip(objects, map, mode, levelsHere, owner.span().first(size),
                            zenith.span().first(size), glintHere);
        if (result >= 0)
            divideBySunHeight(levelsHere, owner.span().first(size), zenith.span().first(size),
                              glintHere, levels);
        map.baseY -= static_cast<float>(height);
    }
    map.yNum = rows;
    map.baseY = static_cast<float>(nbpTrunc32(baseY));
    return result;
}

} // namespace

int fetchWithOwners(NbSatObject* object, NbProjPara& map, int mode, int infoSel,
                    std::int16_t* cells, double* info, std::uint8_t* owner)
{
    if (mode == 0) object->objectNum = 0;
    const int result = nbSatGetI2ProjData(object, &map, cells, mode, infoSel, info, owner);
    if (mode == 0) object->objectNum = 1;
    return result;
}

void divideBySunHeight(std::span<std::int16_t> cells, std::span<const std::uint8_t> owner,
                       std::span<const double> zenith, std::span<const double> glint, int levels)
{
    constexpr double radian = std::numbers::pi / 180;
    for (std::size_t i = 0; i < cells.size(); ++i) {
        if (cells[i] <= 0 || owner[i] == noOwner || !(zenith[i] < 90)) continue;
        double c = std::cos(zenith[i] * radian);
        if (c < 0.3) c = 0.3;
        if (!glint.empty() && glint[i] < 53) {
            const float g = nbpToFloat(std::cos(glint[i] * radian));
            if (g > 0.6) c = c / (1.6 - g);
        }
        const int level = nbpTrunc32(cells[i] / c);
        cells[i] = static_cast<std::int16_t>(std::max(std::min(level, levels - 1), 0));
    }
}

int fetchLevels(std::span<NbSatObject> objects, NbProjPara& map, const NbSettings& settings,
                std::span<std::int16_t> cells)
{
    // With one file open there is nothing to choose from.
    const int mode = objects.size() > 1 ? settings.overlapMode : 0;
    if (settings.sunAdjust != 0)
        return fetchSunAdjusted(objects, map, mode, settings.sunAdjust, cells);
    if (settings.versionCode <= 10)
        return nbSatGetI2ProjData(objects.data(), &map, cells.data(), mode, 0, nullptr, nullptr);

    NbPlane<std::uint8_t> owner(cells.size(), "fetchLevels()");
    const int result =
        fetchWithOwners(objects.data(), map, mode, 0, cells.data(), nullptr, owner.data());
    const auto owners = owner.span();
    for (std::size_t i = 0; i < cells.size(); ++i)
        cells[i] = owners[i] == noOwner ? std::int16_t{-1} : cells[i];
    return result;
}
