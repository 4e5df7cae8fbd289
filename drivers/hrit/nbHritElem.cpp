#include "drivers/hrit/nbHritCalib.h"
#include "drivers/hrit/nbHritElemTable.h"
#include "drivers/hrit/nbHritFile.h"
#include "sat/nbSatElem.h"
#include "util/nbLogFormat.h"
#include "util/nbMath.h"
#include "util/nbNumber.h"

#include <algorithm>
#include <cstdio>
#include <span>

namespace {

constexpr std::size_t longestName = 3;       // characters of a channel's name
constexpr std::size_t channelTextSize = 256; // of a caller of GetChInfo

// Kind that a name selects in this file. 0: the channel is known and the suffix is not;
// hritNoElement: no name, or one of another channel.
int hritCheckElem(const NbHritFile& file, const char* text)
{
    const auto name = nbpElemSplit(text, longestName, longestName);
    if (!name || name->channel.size() > longestName) return hritNoElement;
    const int row = nbpElemFindRow(nbpElemResolve(name->channel, hritAliases), hritRows);
    if (row < 0 || row != file.channel) return hritNoElement;
    if (name->counts) return hritCounts;
    const char* suffixes = hritRows[row].suffixes;
    // Deliberate: an albedo of the near infrared bands (rows 5 to 9) is of the temperatures' kind.
    // Both kinds read the same table; the number reaches callers.
    if (name->suffix == suffixes[1]) return row == 0 ? hritAlbedo : hritTemperature;
    return name->suffix == suffixes[4] ? hritRadiance : 0;
}

bool isPhysical(int kind)
{
    return kind == hritAlbedo || kind == hritRadiance || kind == hritTemperature;
}

// Value of a level in the file's own table, linear between its entries.
double hritGetPhysFromTable(const NbHritCalib& calib, int level)
{
    const auto& entries = calib.entries;
    const auto after = std::ranges::lower_bound(entries, level, {}, &NbHritCalib::Entry::level);
    if (after == entries.end()) return static_cast<double>(entries.back().value);
    if (after == entries.begin() || after->level == level) return static_cast<double>(after->value);
    const auto before = after - 1;
    const double low = static_cast<double>(before->value);
    const double high = static_cast<double>(after->value);
    const double steps = static_cast<double>(after->level) - before->level;
    return low + (high - low) * (static_cast<double>(level) - before->level) / steps;
}

float hritLevelToPhys(const NbHritFile& file, int kind, int level)
{
    if (!isPhysical(kind)) return -1.0F;
    const auto& ends = hritRadianceEnds[file.generation == 2 ? 1 : 0];
    const bool hasEnds = file.channel >= 0 && file.channel < static_cast<int>(ends.size());
    if (kind == hritRadiance && file.calib.tenBit && hasEnds) {
        const NbHritRadianceEnds& end = ends[static_cast<std::size_t>(file.channel)];
        return nbpToFloat(level * (end.high - end.low) / (file.calib.levels - 1) + end.low);
    }
    const double value = hritGetPhysFromTable(file.calib, level);
    if (kind != hritRadiance) return nbpToFloat(value);
    if (file.channel == 0) return nbpToFloat(value * ends[0].high);
    const int offset = file.generation == 2 ? 15 : 7; // of the satellite's rows of band constants
    return nbpToFloat(nbSatSenPlanckRadWaveLen(file.channel + offset, value));
}

void makeCalibTable(const NbHritFile& file, int kind, std::span<float> table)
{
    int level = 0;
    for (float& value : table)
        value = hritLevelToPhys(file, kind, level++);
}

} // namespace

int nbHritGetChNum(void*)
{
    return 1;
}

int nbHritGetChInfo(void* p, int channel, int* pixels, int* lines, int* levels, char* name)
{
    if (channel != 0) {
        nbpLogError("%s : bad channel number '%d'\n", "nbHritGetChInfo()", channel);
        return -1;
    }
    const NbHritFile* file = nbpHritFile(p);
    *pixels = file->columns;
    *lines = file->lastLine;
    *levels = file->calib.levels;
    if (file->channel >= 0) { // no text for an unknown channel
        const NbElemRow& row = hritRows[file->channel];
        std::snprintf(name, channelTextSize, "%s/%s/%s", row.names, row.suffixes, row.text);
    }
    return 0;
}

int nbHritSetElements(void* p, const char* name, int* pixels, int* lines, int* levels,
                      float* errorValue)
{
    NbHritFile* file = nbpHritFile(p);
    file->kind = hritNoElement;
    const int kind = hritCheckElem(*file, name);
    if (kind == 0) {
        nbpLogFatal("%s : INTERNAL ERROR. bad return code(%d)  hritCheckElem( '%s' ) \n",
                    "nbHritSetElements()", kind, name);
        return -1;
    }
    if (kind < 0) return -1;
    file->kind = kind;
    *pixels = file->columns;
    *lines = file->lastLine;
    *levels = file->calib.levels;
    *errorValue = -1.0F;
    if (kind == hritCounts) return 10001;
    makeCalibTable(*file, kind, file->levelTable);
    return 20001;
}

int nbHritGetCalTable(void* p, const char* name, float* table, int* n)
{
    if (name == nullptr || *name == '\0' || n == nullptr || *n < 0 ||
        (table == nullptr && *n > 0)) {
        nbpLogError("%s : 渡された引数に問題があります\n", "nbHritGetCalTable()");
        return -1;
    }
    const NbHritFile* file = nbpHritFile(p);
    const int kind = hritCheckElem(*file, name);
    if (!isPhysical(kind)) {
        nbpLogError("%s : bad element name '%s'\n", "nbHritGetCalTable()", name);
        return -1;
    }
    makeCalibTable(*file, kind, std::span<float>(table, static_cast<std::size_t>(*n)));
    *n = file->calib.levels;
    return 0;
}

int nbHritGetChannel(void* p, int)
{
    const NbHritFile* file = nbpHritFile(p);
    return file->kind == hritNoElement ? -1 : file->channel;
}

int nbpHritPhysToLevel(void* p, float value)
{
    const auto& entries = nbpHritFile(p)->calib.entries;
    const float first = entries.front().value;
    const float last = entries.back().value;
    const bool rising = last > first;
    if (!(value >= (rising ? first : last) && value <= (rising ? last : first))) return -1;

    // From the low end up, whichever way the levels go. `a` stands next before `b` on the way.
    const auto walk = [value](auto it, auto end) {
        for (; it != end; ++it) {
            const auto& a = *it;
            if (a.value == value) return a.level;
            if (it + 1 == end) break;
            const auto& b = *(it + 1);
            if (!(a.value < value && value < b.value)) continue;
            const double along = (static_cast<double>(value) - static_cast<double>(a.value)) /
                                 (static_cast<double>(b.value) - static_cast<double>(a.value));
            const double steps = static_cast<double>(b.level) - a.level;
            return nbpTrunc32(nbMathRound(a.level + steps * along, -1));
        }
        return std::int32_t{-1};
    };
    return rising ? walk(entries.begin(), entries.end()) : walk(entries.rbegin(), entries.rend());
}
