#include "frontend/run.h"

#include "frontend/adjust.h"
#include "frontend/channel.h"
#include "frontend/coverage.h"
#include "frontend/fetch.h"
#include "frontend/inputs.h"
#include "frontend/levelTable.h"
#include "frontend/mapGrid.h"
#include "frontend/nimbexFile.h"
#include "frontend/progress.h"
#include "frontend/recover.h"
#include "frontend/setupFile.h"
#include "sat/nbSat.h"
#include "sat/nbSatElem.h"
#include "sat/nbSatNav.h"
#include "sat/nbSatProj.h"
#include "sat/nbSatSetLut.h"
#include "util/nbGuard.h"
#include "util/nbNumber.h"

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

namespace {

// The channel to convert, as its file has it.
struct Source {
    int pixels = 0;
    int lines = 0;
    int levels = 0;
    std::string channelName;
};

// The level tables of a run.
struct Levels {
    std::vector<float> output; // value of each output level
    // Value of each source level; empty when the levels go out as they come in.
    std::vector<float> source;
};

int checkArguments(const NbSettings& settings)
{
    if (settings.nameCount < 2) {
        complain("%d file name%s given, input-file and output-file expected", settings.nameCount,
                 settings.nameCount == 1 ? "" : "s");
        return NB_RUN_BAD_ARGUMENTS;
    }
    if (settings.difference < 0 || settings.difference > 3) {
        complain("difference mode %d asked for, 1 to 3 expected", settings.difference);
        return NB_RUN_BAD_ARGUMENTS;
    }
    if (settings.difference != 0) {
        complain("this build does not make difference images (-s) yet");
        return NB_RUN_FAILED;
    }
    return NB_RUN_COMPLETE;
}

int openInputs(const NbSettings& settings, NbInputs& inputs)
{
    std::string names = settings.inputName;
    if (settings.listInput) {
        if (const int code = readNameList(settings.inputName.c_str(), names); code != 0)
            return code;
    }
    if (isInputFile(settings.outputName.c_str(), settings.inputName, names)) {
        complain("%s: is an input file, another file expected for the output",
                 settings.outputName.c_str());
        return NB_RUN_OUTPUT_OPEN;
    }
    return inputs.open(names);
}

int readChannel(const NbSettings& settings, NbInputs& inputs, Source& source)
{
    NbSatObject* const object = inputs.first();
    const char* const path = settings.inputName.c_str();
    const int channels = nbSatGetChNum(object);
    if (settings.channel < 0 || settings.channel >= channels) {
        complain("%s: channel %d asked for, 0 to %d expected", path, settings.channel,
                 channels - 1);
        return NB_RUN_BAD_ARGUMENTS;
    }
    char name[1024] = ""; // a driver's text has at most 255 bytes
    const int result = nbSatGetChInfo(object, settings.channel, &source.pixels, &source.lines,
                                      &source.levels, name);
    constexpr int mostLevels = 32767;
    if (result < 0 || source.levels < 2 || source.levels > mostLevels) {
        complain("%s: channel %d has %d levels, 2 to %d expected", path, settings.channel,
                 source.levels, mostLevels);
        return NB_RUN_INPUT;
    }
    name[sizeof name - 1] = '\0';
    source.channelName = name;
    object->levelNum = static_cast<std::int16_t>(source.levels);
    return NB_RUN_COMPLETE;
}

// The map of the run, settings changed by the setup file.
int setUpMap(NbSettings& settings, const Source& source, NbInputs& inputs, NbProjPara& map)
{
    map = defaultMap(settings.projection);
    if (!settings.setupName.empty()) applySetupFile(settings.setupName.c_str(), settings, map);
    map.roughX = settings.roughness;
    map.roughY = settings.roughness;
    if (settings.compress) {
        complain("this build does not compress (-z) yet");
        return NB_RUN_FAILED;
    }
    if (settings.gap > 0) nbSatSetStopGap(inputs.first(), settings.gap);
    if (map.prjType == NB_PROJ_ZOOM) settleCrop(map, source.pixels, source.lines);
    if (!mapIsBounded(map)) {
        complain("a grid of %d columns and %d rows is too large", map.xNum, map.yNum);
        return NB_RUN_NO_MEMORY;
    }
    if (map.prjType == NB_PROJ_ZOOM) nbSatSetNavToProj(inputs.first(), &map);
    return NB_RUN_COMPLETE;
}

int probe(const NbSettings& settings, NbInputs& inputs, NbProjPara& map, NbCoverage& coverage)
{
    if (probeCoverage(inputs.opened(), map, coverage)) return NB_RUN_COMPLETE;
    complain("%s: no cell of the grid lies on the image", settings.inputName.c_str());
    return NB_RUN_NO_COVERAGE;
}

// Geometry of the header. `levels`: of the output.
void fillHeader(const NbSettings& settings, const NbProjPara& map, const NbCoverage& coverage,
                int levels, NbGridHeader& header)
{
    const auto& points = coverage.points;
    header.isGrid = map.prjType == NB_PROJ_GRID;
    header.columns = map.xNum;
    header.rows = map.yNum;
    header.stepX = nbpToFloat(map.stepX);
    header.stepY = nbpToFloat(map.stepY);
    header.pixelBytes = levels >= 257 ? 2 : 1;
    header.table = layOutTable(levels, settings.extended);
    header.correction = settings.correction;
    header.versionCode = settings.versionCode;

    if (header.isGrid) {
        const float top = points[static_cast<std::size_t>(coverage.smallestLine())].line;
        const float bottom = points[static_cast<std::size_t>(coverage.largestLine())].line;
        // Negative where the image's columns or lines run against the map's.
        header.imageWidth = nbpTrunc32(coverage.widest);
        header.imageHeight = nbpTrunc32(bottom - top + 1);
        if (points[0].pixel > points[1].pixel) header.imageWidth = -header.imageWidth;
        if (points[0].line > points[1].line) header.imageHeight = -header.imageHeight;
        const NbGridEdges edges = gridEdges(map);
        const float north = nbpToFloat(edges.north);
        const float south = nbpToFloat(edges.south);
        const float west = nbpToFloat(edges.west);
        const float east = nbpToFloat(edges.east);
        header.corners = {{{north, west}, {north, east}, {south, west}, {south, east}}};
        return;
    }
    for (std::size_t i = 0; i < points.size(); ++i)
        header.corners[i] = {nbpToFloat(points[i].lat), nbpToFloat(points[i].lon)};
}

// Selects the channel's counts and makes the output's level table. An element without a
// calibration is selected as physical values instead, and converted to levels on a line.
void makeTables(NbSatObject* object, const NbChannelElements& elements, bool nonlinear,
                Levels& levels)
{
    std::vector<float>& wanted = levels.source.empty() ? levels.output : levels.source;
    nbSatSetElems(object, elements.counts.c_str());
    int room = static_cast<int>(wanted.size());
    if (nbSatGetCalTable(object, elements.physical.c_str(), wanted.data(), &room) >= 0) {
        if (!levels.source.empty()) spreadLevels(levels.source, nonlinear, levels.output);
        return;
    }
    nbSatSetElems(object, elements.physical.c_str());
    const float range[] = {elements.low, elements.high};
    const std::int16_t ends[] = {0, nbpWrap16(object->levelNum - 1)};
    nbSatSetLutByTable(object, range, ends, 2, 0);
    fillLine(elements.low, elements.high, static_cast<int>(levels.output.size()) - 1,
             levels.output);
    if (!levels.source.empty())
        fillLine(elements.low, elements.high,
                 std::max(nbpWrap16(static_cast<int>(levels.source.size()) - 1), std::int16_t{1}),
                 levels.source);
}

// Satellite position and attitude of the header, from version 1.1 on.
void fillSatellite(NbSatObject* object, NbGridHeader& header)
{
    double ssp[2] = {0, 0}; // longitude, latitude
    double distance = 0;    // km
    double attitude[3] = {0, 0, 0};
    nbSatGetNavInfo(object, ssp, &distance, attitude, nullptr);
    for (std::size_t i = 0; i < 3; ++i)
        header.attitude[i] = nbpToFloat(attitude[i]);
    header.subLat = nbpToFloat(ssp[1]);
    header.subLon = nbpToFloat(ssp[0]);
    header.distanceM = nbpToFloat(distance * 1000);
}

// Output level of each source level, with the user's table file and inversion applied to the
// output's table.
std::vector<std::uint16_t> makeConversion(const NbSettings& settings, int sourceLevels,
                                          Levels& levels)
{
    if (settings.tableName) readTableFile(settings.tableName->c_str(), levels.output);
    if (settings.inverted) std::reverse(levels.output.begin(), levels.output.end());
    if (levels.source.empty()) return sameLevels(sourceLevels, settings.inverted);
    return nearestLevels(levels.source, levels.output, sourceLevels);
}

int convert(NbSettings& settings)
{
    NbInputs inputs;
    Source source;
    NbProjPara map{};
    NbCoverage coverage;
    int code = checkArguments(settings);
    if (code == 0) code = openInputs(settings, inputs);
    if (code == 0) code = readChannel(settings, inputs, source);
    if (code == 0) code = setUpMap(settings, source, inputs, map);
    if (code == 0) code = probe(settings, inputs, map, coverage);
    if (code != 0) return code;

    NbSatObject* const object = inputs.first();
    const int levelCount = settings.bitCount > 3 ? 1 << settings.bitCount : source.levels;
    NbGridHeader header;
    header.satelliteWord = GetSatName(*object).substr(0, 8);
    header.satelliteWord.resize(8, ' ');
    const NbObservationTimes times = edgeTimes(inputs.opened(), map, coverage);
    header.start = times.start;
    header.end = times.end;
    fillHeader(settings, map, coverage, levelCount, header);
    NbPlane<std::int16_t> cells(
        static_cast<std::size_t>(map.xNum) * static_cast<std::size_t>(map.yNum), "nimbex");

    Levels levels;
    levels.output.resize(static_cast<std::size_t>(levelCount));
    if (object->levelNum != levelCount || settings.tableName)
        levels.source.resize(static_cast<std::size_t>(object->levelNum));
    const std::string prefix = labelPrefix(header.satelliteWord, settings.sensorWord == 1);
    const auto elements = channelElements(source.channelName, settings.nameColumn, prefix);
    if (!elements) {
        complain("%s: nothing is known of a channel named '%s'", settings.inputName.c_str(),
                 source.channelName.c_str());
        return NB_RUN_UNKNOWN_CHANNEL;
    }
    header.label = elements->label;
    if (!elements->keepsSunAdjust) settings.sunAdjust = 0;
    makeTables(object, *elements, settings.nonlinear, levels);
    if (settings.landmark && inputs.opened().size() == 1) adjustByLandmark(settings);

    for (NbSatObject& each : inputs.opened())
        AdjNavPara(&each, settings);
    const int sourceLevels = std::max<int>(object->levelNum, 1);
    const std::int16_t invalid = nbpErrorLevel(object->errorValue);
    const int fetched = fetchLevels(inputs.opened(), map, settings, cells.span());
    if (settings.versionCode > 10) fillSatellite(object, header);
    inputs.close();
    if (fetched < 0) return NB_RUN_FAILED;

    const auto conversion = makeConversion(settings, sourceLevels, levels);
    const auto pixels = std::make_unique<NbPixelTable>();
    fillPixelTable(conversion, invalid, header, *pixels);
    return writeNimbexFile(settings.outputName, header, levels.output, *pixels, cells.span());
}

} // namespace

int runConversion(NbSettings settings)
{
    const NbProgressLine progress;
    return nbpGuard("nimbex", int{NB_RUN_NO_MEMORY}, [&] { return convert(settings); });
}
