#include "frontend/run.h"

#include "frontend/adjust.h"
#include "frontend/channel.h"
#include "frontend/compressFile.h"
#include "frontend/coverage.h"
#include "frontend/difference.h"
#include "frontend/fetch.h"
#include "frontend/inputs.h"
#include "frontend/levelTable.h"
#include "frontend/mapGrid.h"
#include "frontend/nimbexFile.h"
#include "frontend/outputFile.h"
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
#include <cmath>
#include <csignal>
#include <filesystem>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace {

// The channel to convert, as its file has it.
struct Source {
    int pixels = 0;
    int lines = 0;
    int levels = 0;
    std::string channelName; // not of a difference
    std::string secondPath;  // of a difference of two files
};

// The level tables of a run.
struct Levels {
    std::vector<float> output; // value of each output level
    // Value of each source level; empty when the levels go out as they come in.
    std::vector<float> source;
};

// The picture to write.
struct Image {
    std::string label;
    Levels levels;
    int levelCount = 0;       // of the cells
    std::int16_t invalid = 0; // a cell without an image
    NbPlane<std::int16_t> cells;
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
    return NB_RUN_COMPLETE;
}

// Opens the input, or the first file of a difference by two names.
int openInputs(const NbSettings& settings, NbInputs& inputs, Source& source)
{
    std::string input = settings.inputName;
    std::string names = input;
    const auto paths =
        settings.difference != 0 ? differencePaths(settings.difference, input) : std::nullopt;
    if (paths) {
        input = names = paths->first; // the name given may be that of no file
        source.secondPath = paths->second;
    } else if (settings.listInput) {
        if (const int code = readNameList(input.c_str(), names); code != 0) return code;
    }
    const char* const output = settings.outputName.c_str();
    if (isInputFile(output, input, names) ||
        isInputFile(output, source.secondPath, source.secondPath)) {
        complain("%s: is an input file, another file expected for the output", output);
        return NB_RUN_OUTPUT_OPEN;
    }
    const std::pair<const char*, std::string> others[] = {
        {"setup file", settings.setupName},
        {"table file", settings.tableName.value_or("")},
        {"shift file", settings.shiftName.value_or("")}};
    for (const auto& [what, name] : others) {
        std::error_code none; // of a name without a file
        if (std::filesystem::is_regular_file(name, none) &&
            std::filesystem::equivalent(name, settings.outputName, none)) {
            complain("%s: is the %s, another file expected for the output", output, what);
            return NB_RUN_OUTPUT_OPEN;
        }
    }
    return inputs.open(names);
}

// Refuses a level count that neither the object nor the level tables can hold.
int checkLevels(const NbSettings& settings, int channel, int levels)
{
    constexpr int mostLevels = 32767;
    if (levels >= 2 && levels <= mostLevels) return NB_RUN_COMPLETE;
    complain("%s: channel %d has %d levels, 2 to %d expected", settings.inputName.c_str(), channel,
             levels, mostLevels);
    return NB_RUN_INPUT;
}

int unknownChannel(const NbSettings& settings, const char* name)
{
    complain("%s: nothing is known of a channel named '%s'", settings.inputName.c_str(), name);
    return NB_RUN_UNKNOWN_CHANNEL;
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
    name[sizeof name - 1] = '\0';
    // Of a channel that a file of several does not hold.
    if (result >= 0 && source.levels == 0 && !channelElements(name, settings.nameColumn, ""))
        return unknownChannel(settings, name);
    if (const int code = checkLevels(settings, settings.channel, result < 0 ? 0 : source.levels);
        code != 0)
        return code;
    source.channelName = name;
    object->levelNum = static_cast<std::int16_t>(source.levels);
    return NB_RUN_COMPLETE;
}

// The first channel of a difference, selected.
int readFirstChannel(const NbSettings& settings, const NbDifference& difference, NbInputs& inputs,
                     Source& source)
{
    NbSatObject* const object = inputs.first();
    if (selectDifferenceElement(object, difference.first) == nullptr) {
        complain("%s: has no element '%s' for the difference", object->fileName, difference.first);
        return NB_RUN_UNKNOWN_CHANNEL;
    }
    source.pixels = object->pixelNum;
    source.lines = object->lineNum;
    source.levels = object->levelNum;
    return checkLevels(settings, nbSatGetChannel(object, 0), source.levels);
}

// A crop counts in the channel's own pixels, and where a file's channels differ in size, its
// navigation does so once the channel is selected. The levels stay those that the channel has.
void selectForCrop(const NbSettings& settings, const Source& source, NbSatObject* object)
{
    const auto elements = channelElements(source.channelName, settings.nameColumn, "");
    if (!elements) return; // of a difference, whose first element is selected
    if (nbSatSetElems(object, elements->counts.c_str()) < 1)
        nbSatSetElems(object, elements->physical.c_str());
    object->levelNum = nbpWrap16(source.levels);
}

// The map of the run, settings changed by the setup file.
int setUpMap(NbSettings& settings, const Source& source, NbInputs& inputs, NbProjPara& map)
{
    map = defaultMap(settings.projection);
    if (!settings.setupName.empty()) applySetupFile(settings.setupName.c_str(), settings, map);
    map.roughX = settings.roughness;
    map.roughY = settings.roughness;
    if (settings.gap > 0) nbSatSetStopGap(inputs.first(), settings.gap);
    if (map.prjType == NB_PROJ_ZOOM) settleCrop(map, source.pixels, source.lines);
    if (!mapIsBounded(map)) {
        complain("a grid of %d columns and %d rows is too large", map.xNum, map.yNum);
        return NB_RUN_NO_MEMORY;
    }
    if (map.prjType == NB_PROJ_ZOOM) {
        selectForCrop(settings, source, inputs.first());
        nbSatSetNavToProj(inputs.first(), &map);
    }
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
        // Negative where the first covered cell lies farther right, or lower, than the last one.
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

// Says when levels have no value, as with a damaged calibration: a viewer has nothing to show.
void reportBadValues(const NbSettings& settings, const std::vector<float>& table)
{
    const auto bad = std::count_if(table.begin(), table.end(),
                                   [](float value) { return !std::isfinite(value); });
    if (bad > 0)
        complain("%s: %ld of %zu levels have no finite value, the calibration is damaged",
                 settings.inputName.c_str(), static_cast<long>(bad), table.size());
    else if (std::ranges::none_of(table, [](float value) { return value > 0; }))
        complain("%s: no level has a value, the channel's calibration is not known",
                 settings.inputName.c_str());
}

// The level tables of a difference: its scale, over the levels of either side.
void makeScale(const NbDifference& difference, Levels& levels)
{
    for (std::vector<float>* table : {&levels.output, &levels.source})
        fillLine(difference.low, difference.high, static_cast<int>(table->size()) - 1, *table);
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

// What has failed in this process so far.
struct Failures {
    long memory = nbpMemoryFailures;
    long reads = nbpReadFailures;
};

// The library goes on without what it cannot read or hold. Such an image looks like any other, so
// it is not written.
int checkWhole(const Failures& before)
{
    const Failures now;
    const bool lacksMemory = now.memory != before.memory;
    if (!lacksMemory && now.reads == before.reads) return NB_RUN_COMPLETE;
    complain("%s, and parts of the image may be missing",
             lacksMemory ? "memory ran out" : "an input file gave an error while it was read");
    return lacksMemory ? NB_RUN_NO_MEMORY : NB_RUN_INPUT;
}

// The levels of one channel, its label and its tables.
int makeChannelImage(NbSettings& settings, const Source& source, const std::string& prefix,
                     const Failures& before, NbInputs& inputs, NbProjPara& map, Image& image)
{
    NbSatObject* const object = inputs.first();
    const auto elements = channelElements(source.channelName, settings.nameColumn, prefix);
    if (!elements) return unknownChannel(settings, source.channelName.c_str());
    image.label = elements->label;
    if (!elements->keepsSunAdjust) settings.sunAdjust = 0;
    makeTables(object, *elements, settings.nonlinear, image.levels);
    reportBadValues(settings, image.levels.output);
    if (settings.landmark && inputs.named() == 1) {
        const std::string name = inputs.nameOfFirst();
        const NbLandmarkResult found = adjustByLandmark(object, name, map, settings);
        if (found == NbLandmarkResult::NotFound) return NB_RUN_FAILED;
        if (found == NbLandmarkResult::Matched) {
            if (const int code = checkWhole(before); code != 0) return code;
            const auto& shiftName = settings.shiftName;
            if (shiftName && isInputFile(shiftName->c_str(), settings.inputName, name))
                complain("%s: the shift is not written over the input", shiftName->c_str());
            else
                writeShiftFile(settings);
        }
    }
    for (NbSatObject& each : inputs.opened())
        AdjNavPara(&each, settings);
    image.levelCount = object->levelNum;
    image.invalid = nbpErrorLevel(object->errorValue);
    const int fetched = fetchLevels(inputs.opened(), map, settings, image.cells.span());
    return fetched < 0 ? NB_RUN_FAILED : NB_RUN_COMPLETE;
}

// The same of a difference of two channels.
int makeDifferenceImage(const NbSettings& settings, const NbDifference& difference,
                        const Source& source, const std::string& prefix, NbInputs& inputs,
                        NbProjPara& map, Image& image)
{
    image.label = prefix + difference.label;
    const int code = MakeDifImg(inputs, source.secondPath, difference, settings, map, image.cells,
                                image.invalid);
    if (code != 0) return code;
    image.levelCount = inputs.first()->levelNum;
    makeScale(difference, image.levels);
    return NB_RUN_COMPLETE;
}

// Converts into `out`, which it opens when all is ready to be written.
int convert(NbSettings& settings, const Failures& before, NbOutputFile& out)
{
    NbInputs inputs;
    Source source;
    NbProjPara map{};
    NbCoverage coverage;
    const NbDifference* const difference = differenceOf(settings.difference);
    int code = checkArguments(settings);
    if (code == 0) code = openInputs(settings, inputs, source);
    if (code == 0 && difference != nullptr && settings.projection < 0) code = NB_RUN_SILENT;
    if (code == 0)
        code = difference != nullptr ? readFirstChannel(settings, *difference, inputs, source)
                                     : readChannel(settings, inputs, source);
    if (code == 0) code = setUpMap(settings, source, inputs, map);
    if (code == 0) code = checkWhole(before); // what the run rests on: settings, names, headers
    if (code != 0) return code;
    // Before the coverage is sought, which takes long on a large grid: one that memory cannot hold
    // ends at once.
    Image image;
    image.cells = NbPlane<std::int16_t>(
        static_cast<std::size_t>(map.xNum) * static_cast<std::size_t>(map.yNum), "nimbex");
    code = probe(settings, inputs, map, coverage);
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

    image.levels.output.resize(static_cast<std::size_t>(levelCount));
    if (object->levelNum != levelCount || settings.tableName)
        image.levels.source.resize(static_cast<std::size_t>(object->levelNum));
    const std::string prefix = labelPrefix(header.satelliteWord, settings.sensorWord == 1);
    code = difference != nullptr
               ? makeDifferenceImage(settings, *difference, source, prefix, inputs, map, image)
               : makeChannelImage(settings, source, prefix, before, inputs, map, image);
    if (code != 0) return code;
    header.label = image.label;
    if (settings.versionCode > 10) fillSatellite(object, header);
    inputs.close();

    const auto conversion = makeConversion(settings, std::max(image.levelCount, 1), image.levels);
    const auto pixels = std::make_unique<NbPixelTable>();
    fillPixelTable(conversion, image.invalid, header, *pixels);
    if (code = checkWhole(before); code != 0) return code;
    code = out.open(settings.outputName);
    if (code != 0) return code;
    return writeNimbexFile(out, header, image.levels.output, *pixels, image.cells.span());
}

} // namespace

int runConversion(NbSettings settings)
{
    // A limit on file sizes, or a reader of the output that went away, is a write that fails and
    // has a code, not the end of the process.
    std::signal(SIGXFSZ, SIG_IGN);
    std::signal(SIGPIPE, SIG_IGN);
    // Where the parent ignores it, as its children would, no decoder's end could be waited for.
    std::signal(SIGCHLD, SIG_DFL);
    return nbpGuard("nimbex", int{NB_RUN_NO_MEMORY}, [&] {
        NbOutputFile out;
        int code = NB_RUN_COMPLETE;
        const Failures before{.reads = settings.earlierReadFailures};
        {
            const NbProgressLine progress;
            code = convert(settings, before, out);
        }
        // An element that there was no room for is not unknown.
        if (code == NB_RUN_UNKNOWN_CHANNEL && Failures().memory != before.memory)
            code = NB_RUN_NO_MEMORY;
        if (code == 0 && settings.compress) code = compressFile(out);
        return code == 0 ? out.finish() : code;
    });
}
