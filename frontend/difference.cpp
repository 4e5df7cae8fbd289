#include "frontend/difference.h"

#include "frontend/adjust.h"
#include "frontend/levelTable.h"
#include "frontend/mapGrid.h"
#include "frontend/recover.h"
#include "sat/nbSat.h"
#include "sat/nbSatAnalSatId.h"
#include "sat/nbSatElem.h"
#include "sat/nbSatProj.h"
#include "util/nbNumber.h"

#include <algorithm>
#include <cctype>
#include <cstring>

namespace {

constexpr NbDifference differences[] = {
    {"IR_T", "IR2_T", -12.8F, 12.7F, "SP"},
    {"IR4_T", "IR_T", -12.8F, 51.1F, "S2"},
    {"IR_T", "IR3_T", -12.8F, 51.1F, "S3"},
};

// How a mode's words change in the two names. `both` stands for the pair.
struct NameRule {
    std::string_view both;
    std::string_view first;
    std::string_view second;
    std::string_view bothInSecond; // what `both` becomes in the second name
    std::string_view firstBand;    // the other naming: by band numbers
    std::string_view secondBand;
};
constexpr NameRule nameRules[] = {
    {"SP1", "IR1", "IR2", "IR1", "B13", "B15"},
    {"SP2", "IR4", "IR1", "IR1", "B07", "B13"},
    {"SP3", "IR1", "IR3", "IR3", "B13", "B08"},
};

std::string inCase(std::string_view word, bool small)
{
    std::string out(word);
    if (small)
        std::transform(out.begin(), out.end(), out.begin(),
                       [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return out;
}

// Replaces the first `word`, if there is one.
void replaceWord(std::string& text, const std::string& word, const std::string& by)
{
    if (const auto at = text.find(word); at != std::string::npos) text.replace(at, word.size(), by);
}

std::optional<NbDifferencePaths> pathsByRule(const NameRule& rule, const std::string& input,
                                             bool small)
{
    const auto word = [&](std::string_view text) { return inCase(text, small); };
    const auto holds = [&](std::string_view text) {
        return input.find(word(text)) != std::string::npos;
    };
    NbDifferencePaths paths{input, input};
    if (holds(rule.both) || holds(rule.first)) {
        replaceWord(paths.first, word(rule.both), word(rule.first));
        // Twice: the word often names a folder too.
        replaceWord(paths.second, word(rule.first), word(rule.second));
        replaceWord(paths.second, word(rule.first), word(rule.second));
        replaceWord(paths.second, word(rule.both), word(rule.bothInSecond));
        return paths;
    }
    if (!holds(rule.firstBand)) return std::nullopt;
    replaceWord(paths.second, word(rule.firstBand), word(rule.secondBand));
    return paths;
}

// Temperature of each level of an element.
//
// Deliberate: where a file has no such table, its plain levels count as a line from 173 to 323 K.
// Levels made from its true temperatures, as a single channel's are, would change the differences
// of all files that are calibrated line by line.
std::vector<float> temperatureTable(NbSatObject* object, const char* element, bool nonlinear)
{
    constexpr float coldest = 173;
    constexpr float warmest = 323;
    std::vector<float> table(static_cast<std::size_t>(std::max<int>(object->levelNum, 0)));
    int room = static_cast<int>(table.size());
    if (nbSatGetCalTable(object, element, table.data(), &room) < 0)
        fillLine(coldest, warmest, std::max(static_cast<int>(table.size()) - 1, 1), table);
    else
        AdjCalTbl(object, nonlinear, table);
    return table;
}

// The plane of the element selected: its table, then its plain levels on the map.
int fetchPlane(NbInputs& inputs, const char* element, const NbSettings& settings, NbProjPara& map,
               NbDifferencePlane& plane)
{
    NbSatObject* const object = inputs.first();
    plane.errorLevel = nbpErrorLevel(object->errorValue);
    plane.table = temperatureTable(object, element, settings.nonlinear);
    plane.owner = NbPlane<std::uint8_t>(plane.cells.size(), "MakeDifImg()");
    const std::string counts(element, std::strcspn(element, "_")); // "IR_T" becomes "IR"
    nbSatSetElems(object, counts.c_str());
    for (NbSatObject& each : inputs.opened())
        AdjNavPara(&each, settings);
    const int mode = inputs.opened().size() > 1 ? settings.overlapMode : 0;
    const int result =
        fetchWithOwners(object, map, mode, 0, plane.cells.data(), nullptr, plane.owner.data());
    return result < 0 ? NB_RUN_FAILED : NB_RUN_COMPLETE;
}

int openSecond(NbInputs& inputs, const std::string& path, const NbSettings& settings,
               NbProjPara& map)
{
    inputs.close();
    if (inputs.open(path) != 0) {
        complain("%s: the second file of the difference does not open", path.c_str());
        return NB_RUN_INPUT;
    }
    if (settings.gap > 0) nbSatSetStopGap(inputs.first(), settings.gap);
    if (map.prjType == NB_PROJ_ZOOM) nbSatSetNavToProj(inputs.first(), &map);
    return NB_RUN_COMPLETE;
}

int unknownElement(const NbSatObject* object, const char* element)
{
    complain("%s: has no element '%s' for the difference",
             object->fileName != nullptr ? object->fileName : "", element);
    return NB_RUN_UNKNOWN_CHANNEL;
}

} // namespace

const NbDifference* differenceOf(int mode)
{
    return mode >= 1 && mode <= 3 ? &differences[mode - 1] : nullptr;
}

std::optional<NbDifferencePaths> differencePaths(int mode, std::string_view input)
{
    const NameRule& rule = nameRules[mode - 1];
    const std::string name(input);
    if (auto paths = pathsByRule(rule, name, false)) return paths;
    return pathsByRule(rule, name, true);
}

const char* selectDifferenceElement(NbSatObject* object, const char* element)
{
    // The first object's calibration is that of all. Of a list another one may have the element.
    const auto takes = [object](const char* name) {
        return nbSatSetElems(object, name) >= 1 && object->elemNum > 0;
    };
    if (takes(element)) return element;
    constexpr const char* radiometer = "AVHRR3_T"; // its 3.7 um channel
    if (std::strcmp(element, "IR4_T") == 0 && takes(radiometer)) return radiometer;
    return nullptr;
}

void subtractPlanes(NbDifferencePlane& first, const NbDifferencePlane& second,
                    const NbDifference& difference, int lowLevel, int highLevel)
{
    constexpr std::uint8_t noOwner = 255;
    const auto levels = static_cast<float>(highLevel - lowLevel);
    const float extent = difference.high - difference.low;
    const auto low = static_cast<std::int16_t>(lowLevel);
    const auto high = static_cast<std::int16_t>(highLevel);
    // Counts past int16's sign bit are large as unsigned: one test for both ends.
    const auto place = [](std::int16_t cell) {
        return std::size_t{static_cast<std::uint16_t>(cell)};
    };
    const auto firstLevels = std::min<std::size_t>(first.table.size(), 32768);
    const auto secondLevels = std::min<std::size_t>(second.table.size(), 32768);
    const auto firstOwner = first.owner.span();
    const auto secondOwner = second.owner.span();

    for (std::size_t i = 0; i < first.cells.size(); ++i) {
        std::int16_t& cell = first.cells[i];
        if (firstOwner[i] == noOwner || secondOwner[i] == noOwner) {
            cell = first.errorLevel;
            continue;
        }
        const std::size_t a = place(cell);
        const std::size_t b = place(second.cells[i]);
        if (a >= firstLevels || b >= secondLevels) {
            cell = low;
            continue;
        }
        const float d = first.table[a] - second.table[b];
        if (!(d >= difference.low)) { // also where a table holds no number
            cell = low;
        } else if (d > difference.high) {
            cell = high;
        } else {
            // Not below 0, so cutting it is rounding down.
            const float level = (d - difference.low) * levels / extent;
            cell = nbpWrap16(nbpTrunc32(level + 0.5) + lowLevel);
        }
    }
}

int MakeDifImg(NbInputs& inputs, const std::string& secondPath, const NbDifference& difference,
               const NbSettings& settings, NbProjPara& map, NbPlane<std::int16_t>& cells,
               std::int16_t& errorLevel)
{
    NbSatObject* const object = inputs.first();
    const int highLevel = object->levelNum - 1;
    const char* element = selectDifferenceElement(object, difference.first);
    if (element == nullptr) return unknownElement(object, difference.first);
    if (map.prjType == NB_PROJ_ZOOM) {
        settleCrop(map, object->pixelNum, object->lineNum);
        if (!mapIsBounded(map)) return NB_RUN_NO_MEMORY;
        nbSatSetNavToProj(object, &map);
        const auto size = static_cast<std::size_t>(map.xNum) * static_cast<std::size_t>(map.yNum);
        cells = NbPlane<std::int16_t>(size, "MakeDifImg()");
    }

    NbDifferencePlane first;
    first.cells = cells.span();
    if (const int code = fetchPlane(inputs, element, settings, map, first); code != 0) return code;
    if (!secondPath.empty()) {
        if (const int code = openSecond(inputs, secondPath, settings, map); code != 0) return code;
    }
    element = selectDifferenceElement(object, difference.second);
    if (element == nullptr) return unknownElement(object, difference.second);
    NbPlane<std::int16_t> secondCells(cells.size(), "MakeDifImg()");
    NbDifferencePlane second;
    second.cells = secondCells.span();
    if (const int code = fetchPlane(inputs, element, settings, map, second); code != 0) return code;

    subtractPlanes(first, second, difference, 0, highLevel);
    errorLevel = first.errorLevel;
    object->levelNum = nbpWrap16(static_cast<std::int64_t>(first.table.size()));
    return NB_RUN_COMPLETE;
}

void AdjCalTbl(NbSatObject* object, bool nonlinear, std::span<float> table)
{
    constexpr int channel = 4;
    if (!nonlinear || object->fileFormatId != NB_FORMAT_HRIT ||
        nbSatGetChannel(object, 0) != channel)
        return;
    for (float& v : table) {
        if (v > 253.15) {
            v = nbpToFloat(1.0698 * v - 10.959);
        } else if (v >= 198.15) {
            const double c = v - 273.15;
            v = nbpToFloat(-0.0004 * c * c * c - 0.0463 * c * c - 0.1167 * c - 0.3799 + 273.15);
        } else {
            v = nbpToFloat(0.8763 * v + 16.331);
        }
    }
}
