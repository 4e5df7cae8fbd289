#include "sat/nbLm.h"

#include "drivers/vissr/nbVissr.h"
#include "sat/nbLmMatch.h"
#include "sat/nbSat.h"
#include "sat/nbSatAnalSatId.h"
#include "sat/nbSatElem.h"
#include "util/nbGuard.h"
#include "util/nbLogFormat.h"
#include "util/nbNumber.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <string_view>

namespace {

constexpr double noValue = -9999.0;
constexpr int largestWindow = 512; // half sides: sums of counts fit 32 bits
constexpr int largestTemplate = 256;
constexpr float farthestStart = 32767.0F; // pixels: no image is larger

// An object that closes itself.
struct OpenObject {
    OpenObject() = default;
    OpenObject(const OpenObject&) = delete;
    OpenObject& operator=(const OpenObject&) = delete;
    ~OpenObject()
    {
        if (object.fileFormatId != 0) nbSatCloseObject(&object);
    }
    NbSatObject object{};
};

enum Opening { opened = 0, noFile = 1, noChannel = 2, noEarth = 3, noMemory = 4 };

// Opens a file and selects the counts of a channel by its number.
Opening openChannel(const char* path, int channel, const char* caller, NbSatObject* object)
{
    if (path == nullptr || nbSatOpenObject(object, path) != 0) {
        nbpLogError("%s : %s: cannot be opened\n", caller, path != nullptr ? path : "(no path)");
        return noFile;
    }
    const int channels = nbSatGetChNum(object);
    for (int i = 0; i < channels; ++i) {
        int pixels = 0;
        int lines = 0;
        int levels = 0;
        char text[512] = "";
        if (nbSatGetChInfo(object, i, &pixels, &lines, &levels, text) < 0 || pixels <= 0) continue;
        const std::string_view names = text;
        const std::string name(names.substr(0, names.find_first_of(",/")));
        if (name.empty() || nbSatSetElems(object, name.c_str()) < 1) continue;
        if (nbSatGetChannel(object, 0) == channel && object->pixelNum > 0 && object->lineNum > 0) {
            // A shift is found for an image as it is fetched, with its centre line aligned.
            if (object->fileFormatId == NB_FORMAT_VISSR)
                nbpVissrAlignCentreLine(object->privateData, channel);
            return opened;
        }
    }
    nbpLogError("%s : %s: has no channel %d\n", caller, path, channel);
    return noChannel;
}

// False for a box of what is no number.
bool readBox(const double lonBox[2], const double latBox[2], NbLmSearch& search)
{
    const auto limit = [](double value, double none) { return value == noValue ? none : value; };
    search.west = limit(lonBox[0], -180);
    search.east = limit(lonBox[1], 180);
    search.south = limit(latBox[0], -90);
    search.north = limit(latBox[1], 90);
    if (search.south > search.north) std::swap(search.south, search.north);
    return std::isfinite(search.west) && std::isfinite(search.east) &&
           std::isfinite(search.south) && std::isfinite(search.north);
}

} // namespace

extern "C" {

int nbLmSetParam(const char* path, int channel, int16_t params[4])
{
    constexpr const char* caller = "nbLmSetParam()";
    return nbpGuard(caller, int{noMemory}, [&]() -> int {
        OpenObject input;
        if (const Opening code = openChannel(path, channel, caller, &input.object); code != opened)
            return code;
        const double km = nbpLmFinestPixel(&input.object);
        if (!(km > 0)) {
            nbpLogError("%s : %s: no pixel of it lies on earth\n", caller, path);
            return noEarth;
        }
        // Land and sea of some tens of kilometres, but of enough pixels to be told from chance;
        // displacements of as many kilometres, but at least of some pixels.
        const double halfTemplate = std::clamp(std::round(32 / km), 12.0, 80.0);
        const double reach = std::clamp(std::round(24 / km), 9.0, 48.0);
        params[NB_LM_HALF_WINDOW] = nbpTrunc16(halfTemplate + reach);
        params[NB_LM_HALF_TEMPLATE] = nbpTrunc16(halfTemplate);
        params[NB_LM_SPACING] = nbpTrunc16(halfTemplate);
        params[NB_LM_LEAST_MATCHES] = params[NB_LM_HALF_WINDOW] > 90 ? 12 : 6;
        return 0;
    });
}

int nbLmLandmark(const int16_t params[4], const char* path, int channel, float dPixel0,
                 float dLine0, const char* mapPath, const double lonBox[2], const double latBox[2],
                 float* dPixel, float* dLine, int flag)
{
    constexpr const char* caller = "nbLmLandmark()";
    *dPixel = 0;
    *dLine = 0;
    return nbpGuard(caller, -1, [&] {
        NbLmSearch search;
        search.halfWindow = params[NB_LM_HALF_WINDOW];
        search.halfTemplate = params[NB_LM_HALF_TEMPLATE];
        search.spacing = params[NB_LM_SPACING];
        search.leastMatches = std::max<int>(params[NB_LM_LEAST_MATCHES], 1);
        if (search.halfTemplate < 2 || search.halfTemplate > largestTemplate ||
            search.reach() < 2 || search.halfWindow > largestWindow || search.spacing < 1 ||
            !readBox(lonBox, latBox, search) ||
            !(std::fabs(dPixel0) <= farthestStart && std::fabs(dLine0) <= farthestStart)) {
            nbpLogError("%s : half window %d, half template %d, spacing %d, start %g,%g or box are "
                        "no search\n",
                        caller, search.halfWindow, search.halfTemplate, search.spacing,
                        static_cast<double>(dPixel0), static_cast<double>(dLine0));
            return -1;
        }
        OpenObject input;
        NbSatObject* const object = &input.object;
        if (openChannel(path, channel, caller, object) != opened) return -1;
        std::string problem;
        const auto map = NbShoreMap::open(mapPath, problem);
        std::vector<NbLmPlace> places;
        const int sense = nbpLmShiftSense(object);
        search.startPixel = sense * static_cast<double>(dPixel0);
        search.startLine = sense * static_cast<double>(dLine0);
        if (map) places = nbpLmPlaces(object, *map, search, problem);
        if (!problem.empty()) {
            nbpLogError("%s : %s: %s\n", caller, mapPath, problem.c_str());
            return -1;
        }
        const NbLmResult result = nbpLmMatch(object, places, search);
        if (flag != 0)
            for (const NbLmMatch& match : result.places)
                if (match.verdict == NbLmVerdict::Matched)
                    nbpLogInfo("%s : pixel=%d, line=%d, dPixel=%.2f, dLine=%.2f\n", caller,
                               match.pixel, match.line, match.shift.x, match.shift.y);
        if (result.matches == 0) return 0;
        *dPixel = nbpToFloat(sense * result.shift.x);
        *dLine = nbpToFloat(sense * result.shift.y);
        return result.matches;
    });
}

} // extern "C"
