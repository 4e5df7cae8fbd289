#include "frontend/adjust.h"

#include "drivers/vissr/nbVissr.h"
#include "frontend/coverage.h"
#include "frontend/outputFile.h"
#include "frontend/recover.h"
#include "sat/nbLm.h"
#include "sat/nbSat.h"
#include "sat/nbSatAnalSatId.h"
#include "sat/nbSatElem.h"
#include "util/nbFile.h"
#include "util/nbNumber.h"

#include <cstdio>

namespace {

constexpr double noLimit = -9999.0;

// Path of the landmark data file; nothing when there is none.
std::optional<std::string> findLandmarkMap(const NbSettings& settings)
{
    constexpr const char* name = "nbMap30.dat";
    if (settings.dataDirectory) {
        std::string path = *settings.dataDirectory + name;
        if (!nbpFileExists(path.c_str())) return std::nullopt;
        return path;
    }
    const char* const directory = nbpSatFindDataDir(name);
    if (directory == nullptr) return std::nullopt;
    return std::string(directory) + name;
}

// The number of landmarks that agree; 0 or less when the match failed.
int AdjLctMrk(NbSatObject* object, const char* inputName, const char* mapPath,
              const NbProjPara& map, NbSettings& settings)
{
    const int channel = nbSatGetChannel(object, 0);
    std::int16_t params[4];
    if (nbLmSetParam(inputName, channel, params) >= 1) return -9;

    double lon[2] = {noLimit, noLimit}; // west, east
    double lat[2] = {noLimit, noLimit}; // south, north
    if (settings.landmarkBox) {
        std::sscanf(settings.landmarkBox->c_str(), "%lf,%lf,%lf,%lf", &lat[1], &lon[0], &lat[0],
                    &lon[1]);
    } else if (map.prjType == NB_PROJ_GRID) {
        const NbGridEdges edges = gridEdges(map);
        lon[0] = edges.west;
        lon[1] = edges.east;
        lat[0] = edges.south;
        lat[1] = edges.north;
    }
    constexpr int widestWindow = 90; // half side; beyond it a search takes too long
    if (params[NB_LM_HALF_WINDOW] > widestWindow)
        for (std::int16_t& param : params)
            param = nbpWrap16(param / 2);

    std::fputs("landmark : ", stderr);
    float dPixel = 0;
    float dLine = 0;
    const int count = nbLmLandmark(params, inputName, channel, -settings.offsetX, -settings.offsetY,
                                   mapPath, lon, lat, &dPixel, &dLine, 0);
    if (count <= 0) return count;
    settings.offsetX -= dPixel;
    settings.offsetY -= dLine;
    std::fprintf(stderr, "chno=%d, pixel=%f, line=%f, num=%d\n", channel,
                 static_cast<double>(dPixel), static_cast<double>(dLine), count);
    return count;
}

} // namespace

void AdjNavPara(NbSatObject* object, const NbSettings& settings)
{
    const int channel = nbSatGetChannel(object, 0);
    if (object->fileFormatId == NB_FORMAT_VISSR && channel > 1)
        nbpVissrAlignCentreLine(object->privateData, channel);
    const std::int16_t linked = object->objectNum;
    if (linked > 1) object->objectNum = 1; // this record alone, not its list
    nbSatSetDiffPixLin(object, 0, 0);
    const bool meant = settings.offsetChannel < 0 || settings.offsetChannel == channel;
    if (meant && (settings.offsetX != 0 || settings.offsetY != 0)) {
        std::fprintf(stderr, "shift : chno=%d, pixel=%f, line=%f\n", channel,
                     static_cast<double>(settings.offsetX), static_cast<double>(settings.offsetY));
        nbSatSetDiffPixLin(object, -settings.offsetX, -settings.offsetY);
    }
    object->objectNum = linked;
}

NbLandmarkResult adjustByLandmark(NbSatObject* object, const std::string& inputName,
                                  const NbProjPara& map, NbSettings& settings)
{
    const auto mapPath = findLandmarkMap(settings);
    if (!mapPath) return NbLandmarkResult::Skipped;
    settings.offsetX = 0;
    settings.offsetY = 0;
    const int count = AdjLctMrk(object, inputName.c_str(), mapPath->c_str(), map, settings);
    return count > 0 ? NbLandmarkResult::Matched : NbLandmarkResult::NotFound;
}

void writeShiftFile(const NbSettings& settings)
{
    if (!settings.shiftName) return;
    NbOutputFile file;
    if (file.open(*settings.shiftName) != 0) return;
    const int written =
        std::fprintf(file.stream(), "%f,%f\n", static_cast<double>(settings.offsetX),
                     static_cast<double>(settings.offsetY));
    if (written < 0 || std::fflush(file.stream()) != 0)
        file.fail(NB_RUN_SHORT_WRITE, "cannot write the shift");
    else
        file.finish();
}
