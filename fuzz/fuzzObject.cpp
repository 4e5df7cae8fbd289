#include "fuzz/fuzzObject.h"

#include "geo/nbProj.h"
#include "sat/nbSat.h"
#include "sat/nbSatElem.h"
#include "sat/nbSatGetDataByPixLin.h"
#include "sat/nbSatGetProjData.h"
#include "sat/nbSatGetZoomData.h"
#include "sat/nbSatNav.h"

#include <algorithm>
#include <array>
#include <numeric>
#include <string>
#include <vector>

namespace {

constexpr int points = 8;
constexpr int mapSize = 8;

// A small map around a place of the image.
NbProjPara mapAround(double lon, double lat, unsigned choice)
{
    constexpr std::array types = {NB_PROJ_GRID, NB_PROJ_PS, NB_PROJ_DISK, NB_PROJ_MERC};
    const bool known = lon >= -180 && lon <= 180 && lat > -90 && lat < 90; // not the mark, no NaN
    NbProjPara map{};
    map.prjType = static_cast<std::int16_t>(types[choice % types.size()]);
    map.baseLon = map.stdLon = known ? lon : 140;
    map.baseLat = known ? lat : 30;
    map.stdLat1 = map.prjType == NB_PROJ_PS ? 90 : 0;
    map.height = 36000;
    map.baseX = map.baseY = mapSize / 2.0F;
    map.stepX = map.stepY = map.prjType == NB_PROJ_GRID ? 0.5 : 50;
    map.xNum = map.yNum = mapSize;
    map.roughX = map.roughY = 6;
    return map;
}

// Positions, samples, rectangles and maps of what is selected, or of nothing.
void useSelected(NbSatObject* object, unsigned choices)
{
    const auto width = static_cast<float>(object->pixelNum);
    const auto height = static_cast<float>(object->lineNum);
    const std::array<float, points> pixel = {width / 2, 0, width - 1, 3.4F, width, -1, -9999, 1e9F};
    const std::array<float, points> line = {height / 2, 0,     height - 1, 5.6F,
                                            height,     -9999, 1,          1e9F};
    std::array<double, points> lon{};
    std::array<double, points> lat{};
    std::array<NbPointInfo, points> info{};
    nbSatPixLinToLonLatInfo(object, pixel.data(), line.data(), lon.data(), lat.data(), info.data(),
                            points);
    std::array<float, points> backPixel{};
    std::array<float, points> backLine{};
    nbSatLonLatToPixLinInfo(object, lon.data(), lat.data(), backPixel.data(), backLine.data(),
                            info.data(), points);
    std::array<double, points> resX{};
    std::array<double, points> resY{};
    nbSatGetResByPixLin(object, pixel.data(), line.data(), resX.data(), resY.data(), 2);

    std::array<std::int16_t, mapSize * mapSize> counts{};
    std::array<float, mapSize * mapSize> values{};
    nbSatGetI2DataByPixLin(object, pixel.data(), line.data(), counts.data(), points);
    nbSatGetR4DataByPixLin(object, pixel.data(), line.data(), values.data(), points);
    std::array<float, 64> along{};
    std::iota(along.begin(), along.end(), 0.0F);
    std::array<float, 64> sameLine{};
    sameLine.fill(height / 2);
    nbSatGetI2DataByPixLin(object, along.data(), sameLine.data(), counts.data(), 64);

    const NbZoomRect whole{0, 0, 0, 0, mapSize, mapSize};
    const NbZoomRect part{1, 1, 20, 30, mapSize, mapSize};
    const NbZoomRectF between{0.5F, 1.5F, 20, 30, mapSize, mapSize};
    nbSatGetI2ZoomData(object, &whole, counts.data());
    nbSatGetR4ZoomData(object, &part, values.data());
    nbSatGetR4ZoomDataIntp(object, &between, values.data());

    NbProjPara map = mapAround(lon[0], lat[0], choices >> 5);
    const int overlap = static_cast<int>(choices & 15U) % (NB_OVERLAP_LOWEST_SATELLITE + 1);
    std::array<double, mapSize * mapSize> zenith{};
    std::array<std::uint8_t, mapSize * mapSize> owner{};
    nbSatGetI2ProjData(object, &map, counts.data(), overlap, 2, zenith.data(), owner.data());
    map.roughX = map.roughY = 1;
    nbSatGetR4ProjData(object, &map, values.data(), overlap, 0, nullptr, nullptr);
}

void useElement(NbSatObject* object, const std::string& name, unsigned choices)
{
    if (nbSatSetElems(object, name.c_str()) < 1 || object->elemNum != 1) return;
    // Room for the levels that are told, or for all that a driver may know, which takes long.
    int levels = (choices & 128U) != 0 ? 70000 : std::max<int>(object->levelNum, 0);
    std::vector<float> table(static_cast<std::size_t>(levels));
    nbSatGetCalTable(object, name.c_str(), table.data(), &levels);
    nbSatGetChannel(object, 0);
    nbSatGetChannel(object, 1);
    nbSatSetIntp(object, static_cast<std::int16_t>(choices >> 2 & 3U));
    useSelected(object, choices);
}

void useChannel(NbSatObject* object, int channel, unsigned choices)
{
    int pixels = 0;
    int lines = 0;
    int levels = 0;
    std::array<char, 1024> text{};
    if (nbSatGetChInfo(object, channel, &pixels, &lines, &levels, text.data()) < 0) return;
    std::string name = text.data();
    name.resize(std::min(name.find_first_of(",/"), name.size()));
    for (const char* const suffix : {"", "_T", "_A", "_R", "_L"})
        useElement(object, name + suffix, choices);
}

} // namespace

void fuzzObject(const std::string& path, const char* type, unsigned choices)
{
    const bool listed = (choices & 16U) != 0;
    const std::string name = path + type;
    std::array<NbSatObject, 2> objects{};
    NbSatObject* const object = objects.data();
    if (nbSatOpenObject(object, listed ? (name + " " + name).c_str() : name.c_str()) != 0) return;
    nbSatPrintInfo(object);
    std::array<double, 2> ssp{};
    double distance = 0;
    std::array<double, 3> attitude{};
    double mjd = 0;
    nbSatGetNavInfo(object, ssp.data(), &distance, attitude.data(), &mjd);
    nbSatSetStopGap(object, static_cast<int>(choices & 3U));
    if (listed) {
        attitude = {1e-4, -1e-4, 2e-4};
        nbSatSetShift(object, 1.5F, -2.5F);
        nbSatResetAtt(object, mjd, attitude.data(), 0);
    }
    useSelected(object, choices);
    const int channels = nbSatGetChNum(object);
    for (int channel = -1; channel < channels && channel < 16; ++channel)
        useChannel(object, channel, choices);
    for (NbSatObject& each : objects)
        nbSatCloseObject(&each);
}
