#include "drivers/gvar/nbGvarCalib.h"
#include "drivers/gvar/nbGvarElemTable.h"
#include "drivers/gvar/nbGvarFile.h"
#include "util/nbGuard.h"
#include "util/nbLogFormat.h"
#include "util/nbNumber.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <optional>
#include <string_view>
#include <utility>

namespace {

constexpr std::size_t channelTextSize = 256; // of a caller of GetChInfo
constexpr float errorValueR4 = -1.0F;

// What a name selects.
struct Selection {
    int channel;
    int element; // NbGvarElement; gvarNoElement: the channel is known and the suffix is not
};

// First and second word of a name, whatever stands between them and behind.
struct Words {
    std::string_view first, second;
};
Words splitName(std::string_view name)
{
    constexpr std::string_view between = "_,";
    const auto take = [&] {
        name.remove_prefix(std::min(name.find_first_not_of(between), name.size()));
        const auto word = name.substr(0, name.find_first_of(between));
        name.remove_prefix(word.size());
        return word;
    };
    Words words;
    words.first = take();
    words.second = take();
    return words;
}

// Deliberate: a word is found anywhere in the list, also inside a name: "3" is in "3.9" and so
// selects the 3.9 um channel and not the one that has the number 3, "4" is in "IR4". Scripts
// name channels so; whole names would give them another channel.
bool contains(const char* list, std::string_view word)
{
    return std::string_view(list).find(word) != std::string_view::npos;
}

std::optional<Selection> gvarCheckElem(const char* name)
{
    constexpr const char* caller = "gvarCheckElem()";
    const char* text = name == nullptr ? "" : name;
    const Words words = splitName(text);
    const std::string_view channelName = words.first == "IR" ? "IR1" : words.first;
    const auto* row = words.first.empty()
                          ? std::end(gvarElemTable)
                          : std::ranges::find_if(gvarElemTable, [&](const NbGvarElemRow& r) {
                                return contains(r.names, channelName);
                            });
    if (row == std::end(gvarElemTable)) {
        nbpLogWarn("%s : bad element name '%s'\n", caller, text);
        return std::nullopt;
    }
    const int channel = static_cast<int>(row - gvarElemTable);
    if (words.second.empty()) return Selection{.channel = channel, .element = gvarCounts};
    if (contains(row->suffixes, words.second))
        for (const NbGvarPhysicsRow& physics : gvarPhysicsTable)
            if (words.second == physics.suffix)
                return Selection{.channel = channel, .element = physics.element};
    nbpLogWarn("%s : bad element name '%s'\n", caller, text);
    return Selection{.channel = channel, .element = gvarNoElement};
}

// Number of detectors that have a calibration of their own.
int detectorsOf(const NbGvarFile& file)
{
    if (file.channel == 0) return 8;
    return file.channel == (file.satellite == 12 ? 4 : 2) ? 1 : 2;
}

struct Coefficients {
    NbGvarVisible visible{};
    NbGvarScale scale{};
    NbGvarInfrared infrared{};
};

std::optional<Coefficients> initCoefficient(int satellite, int channel, int detector)
{
    if (satellite < 8 || satellite > 12) satellite = 9;
    // Deliberate: the eight visible detectors share the figures of the first. They have had their
    // own at the station, where the lines are made alike.
    if (channel == 0 || channel == 2 || (detector != 1 && detector != 2)) detector = 1;
    Coefficients out;
    if (channel == 0) {
        out.visible = gvarVisible[satellite - 8];
        return out;
    }
    if (channel < 0 || channel >= gvarChannels) return std::nullopt;
    const int key = satellite * 100 + channel * 10 + detector;
    const auto* row = std::ranges::find(gvarInfrared, key, &NbGvarInfrared::key);
    if (row == std::end(gvarInfrared)) return std::nullopt;
    out.infrared = *row;
    out.scale = satellite == 12 && channel == 4 ? gvarScale13 : gvarScales[channel - 1];
    return out;
}

double xgToAlbedo(const NbGvarVisible& c, double count)
{
    return (count * c.m + (-c.m * gvarVisibleB)) * c.k;
}

double xgToR(const NbGvarScale& c, double count)
{
    return std::max((count - c.offset) / c.gain, 0.0);
}

double rToTbb(const NbGvarInfrared& c, double r)
{
    // Deliberate: no radiance is 100 K and not a missing value, so that cold space is drawn cold.
    if (!(r > 0)) return 100.0;
    return gvarC2 * c.nu / std::log(gvarC1 * (c.nu * c.nu * c.nu) / r + 1) * c.bc2 + c.bc1;
}

} // namespace

int nbGvarGetChNum(void*)
{
    return gvarChannels;
}

int nbGvarGetChInfo(void* p, int channel, int* pixels, int* lines, int* levels, char* name)
{
    if (channel < 0 || channel >= gvarChannels) {
        nbpLogError("%s : bad channel number '%d'\n", "nbGvarGetChInfo()", channel);
        return -1;
    }
    const NbGvarSize size = nbpGvarSize(*nbpGvarFile(p), channel);
    *pixels = size.pixels;
    *lines = size.lines;
    *levels = gvarLevels;
    const NbGvarElemRow& row = gvarElemTable[channel];
    std::snprintf(name, channelTextSize, "%s/%s/%s", row.names, row.suffixes, row.text);
    return 0;
}

int nbpGvarGetCalTable(void* p, float* table, int channel, int detector, int physics)
{
    const auto c = initCoefficient(nbpGvarFile(p)->satellite, channel, detector);
    if (!c) {
        nbpLogError("%s : Can't Set Coefficients for Calculation \n", "nbpGvarGetCalTable()");
        return -1;
    }
    for (int x = 0; x < gvarLevels; ++x) {
        double value = 0;
        if (physics == gvarAlbedo)
            value = xgToAlbedo(c->visible, x);
        else if (physics == gvarTemperature)
            value = rToTbb(c->infrared, xgToR(c->scale, x));
        else if (physics == gvarRadiance)
            value = xgToR(c->scale, x);
        table[x] = nbpToFloat(value);
    }
    return 0;
}

int nbGvarSetElements(void* p, const char* name, int* pixels, int* lines, int* levels,
                      float* errorValue)
{
    constexpr const char* caller = "nbGvarSetElements()";
    return nbpGuard(caller, -1, [&] {
        NbGvarFile* file = nbpGvarFile(p);
        file->element = gvarNoElement;
        file->tables.clear();
        const char* text = name == nullptr ? "" : name;
        const auto selected = gvarCheckElem(name);
        if (!selected) {
            nbpLogError("%s : bad element name '%s'\n", caller, text);
            return -1;
        }
        if (nbpGvarChgCh(file, selected->channel) != 0) return -1;
        if (selected->element == gvarNoElement) {
            nbpLogWarn("%s : bad element name '%s'\n", caller, text);
            return -1;
        }
        std::vector<std::vector<float>> tables;
        if (selected->element != gvarCounts) {
            for (int i = 1; i <= detectorsOf(*file); ++i) {
                tables.emplace_back(static_cast<std::size_t>(gvarLevels));
                if (nbpGvarGetCalTable(file, tables.back().data(), file->channel, i,
                                       selected->element) != 0)
                    return -1;
            }
        }
        file->tables = std::move(tables);
        file->element = selected->element;
        *pixels = file->pixels;
        *lines = file->lines;
        *levels = gvarLevels;
        *errorValue = errorValueR4;
        return file->element == gvarCounts ? 10001 : 20001;
    });
}

int nbGvarGetCalTable(void* p, const char* name, float* table, int* n)
{
    constexpr const char* caller = "nbGvarGetCalTable()";
    return nbpGuard(caller, -1, [&] {
        const char* text = name == nullptr ? "" : name;
        const auto selected = gvarCheckElem(name);
        if (!selected || selected->element < gvarAlbedo) {
            nbpLogError("%s : bad element name '%s'\n", caller, text);
            return -1;
        }
        float whole[gvarLevels];
        if (nbpGvarGetCalTable(p, whole, selected->channel, 1, selected->element) != 0) {
            nbpLogError("%s : Can't Get Calibration Table '%s'\n", caller, text);
            return -1;
        }
        if (table != nullptr) std::copy_n(whole, std::clamp(*n, 0, gvarLevels), table);
        *n = gvarLevels;
        return 0;
    });
}

int nbGvarGetChannel(void* p, int style)
{
    const NbGvarFile* file = nbpGvarFile(p);
    if (file->element == gvarNoElement) return -1;
    return style == 0 ? file->channel : gvarElemTable[file->channel].commonOrder;
}
