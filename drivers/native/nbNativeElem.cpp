#include "drivers/native/nbNativeElemTable.h"

#include "drivers/native/nbNativeCalib.h"
#include "drivers/native/nbNativeFile.h"
#include "util/nbGuard.h"
#include "util/nbLogFormat.h"
#include "util/nbNumber.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace {

constexpr std::size_t longestName = 3;       // characters of a channel's name
constexpr std::size_t channelTextSize = 256; // of a caller of GetChInfo
constexpr double pi = 3.14159265358979323846;

bool isSolar(int channel)
{
    return channel < 3 || channel == nativeHrv;
}

// What a name selects.
struct Selection {
    int channel = -1;
    int kind = nativeNoElement; // a known channel with an unknown suffix has none
    // The number that messages show: negative for no channel.
    int code = -9999;

    bool isPhysical() const { return code >= 0 && kind >= nativeAlbedo && kind <= nativeRadiance; }
};

Selection nativeCheckElem(const char* text)
{
    Selection s;
    const auto name = nbpElemSplit(text, longestName, longestName);
    if (!name || name->channel.size() > longestName) return s;
    if (name->counts) s.kind = nativeCounts;
    s.channel = nbpElemFindRow(nbpElemResolve(name->channel, nativeAliases), nativeRows);
    if (s.channel >= 0 && !name->counts) {
        const char* suffixes = nativeRows[s.channel].suffixes;
        if (name->suffix == suffixes[1])
            s.kind = isSolar(s.channel) ? nativeAlbedo : nativeTemperature;
        else if (name->suffix == suffixes[4])
            s.kind = nativeRadiance;
    }
    s.code = s.channel * 10 + s.kind;
    return s;
}

bool hasChannel(const NbNativeFile& file, int channel)
{
    return channel >= 0 && channel < nativeChannels &&
           file.present[static_cast<std::size_t>(channel)];
}

int badChannel(const char* caller, int channel)
{
    nbpLogError("%s : bad channel number '%d'\n", caller, channel);
    return -1;
}

// The image description's size of a channel's grid.
void fullSize(const NbNativeFile& file, int channel, int* pixels, int* lines)
{
    const NbNativeGrid& grid = file.gridOf(channel);
    *pixels = grid.columns;
    *lines = grid.lines;
}

} // namespace

float nbpNativePhysical(const NbNativeFile& file, int kind, int level, int channel)
{
    const auto c = static_cast<std::size_t>(channel);
    const NbNativeSatellite* satellite = nbpNativeSatellite(file.satelliteId);
    double r = level * file.slope[c] + file.intercept[c];
    if (r < 0) r = 0;
    float value = 0;
    if (kind == nativeTemperature) {
        // Planck's law in wavenumber, 1/m: 2 h c^2 and h c / k, radiance in mW and per 1/cm.
        const double v = satellite != nullptr ? satellite->wavenumber[c] : 0.0;
        if (r == 0 || v == 0) return 0;
        value =
            nbpToFloat(v * 0.0143877 / std::log(1.19014e-16 * (v * v * v) * 100000.0 / r + 1.0));
    } else if (kind == nativeAlbedo) {
        const double f = satellite != nullptr ? satellite->irradiance[c] : 0.0;
        if (f == 0) return 0;
        const double d = file.sunDistance;
        value = std::clamp(nbpToFloat(r * pi * (d * d) / f), 0.0F, 1.0F);
    } else if (kind == nativeRadiance) {
        value = nbpToFloat(r);
    } else {
        return -1.0F;
    }
    return value < 0 ? 0.0F : value;
}

float nbpNativeLevelToPhys(void* p, int kind, int level, int channel)
{
    constexpr const char* caller = "nbpNativeLevelToPhys()";
    if (level > nativeLevels) {
        nbpLogError("%s : level=%d > 1024. physElem=%d\n", caller, level, kind);
        return -1.0F;
    }
    if (channel < 0 || channel >= nativeChannels) return -1.0F;
    if (kind == nativeTemperature && isSolar(channel))
        nbpLogError("%s : チャンネル番号が間違っています(ch = %d)\n", caller, channel);
    else if (kind == nativeAlbedo && !isSolar(channel))
        nbpLogError("%s : チャネル番号が間違っています(ch = %d)\n", caller, channel);
    else if (kind < nativeAlbedo || kind > nativeRadiance)
        nbpLogFatal("%s : INTERNAL ERROR ( physics = %d ).\n", caller, kind);
    return nbpNativePhysical(*nbpNativeFile(p), kind, level, channel);
}

int nbNativeGetChNum(void* p)
{
    const NbNativeFile* file = nbpNativeFile(p);
    return file->lost ? -1 : file->channelCount;
}

int nbNativeGetChInfo(void* p, int channel, int* pixels, int* lines, int* levels, char* name)
{
    const NbNativeFile* file = nbpNativeFile(p);
    if (file->lost) return -1;
    if (channel < 0 || channel > nativeChannels) return badChannel("nbNativeGetChInfo()", channel);
    const bool there = hasChannel(*file, channel);
    *pixels = *lines = *levels = 0;
    if (there) {
        fullSize(*file, channel, pixels, lines);
        *levels = nativeLevels;
    }
    const NbElemRow& row = there ? nativeRows[channel] : nativeAbsentRow;
    std::snprintf(name, channelTextSize, "%s/%s/%s", row.names, row.suffixes, row.text);
    return 0;
}

int nbNativeSetElements(void* p, const char* name, int* pixels, int* lines, int* levels,
                        float* errorValue)
{
    NbNativeFile* file = nbpNativeFile(p);
    const Selection s = nativeCheckElem(name);
    if (file->lost || s.code < 0) return -1;
    // Deliberate: a raw file marks none of its channels, so it has no element to select, although
    // the lines of its one channel can be read. To take that channel for marked would make such
    // files convertible, by whatever channel number their first line holds.
    if (!hasChannel(*file, s.channel)) return badChannel("nbNativeSetElements()", s.channel);
    if (s.kind == nativeNoElement) return -1;
    if (s.channel != file->channel) {
        if (nbpNativeSetChParam(file, s.channel) != 0) {
            std::fputs("Can't Get Channel parametor!", stderr);
            nbpNativeLose(file);
            return 1;
        }
        file->channel = s.channel;
    }
    fullSize(*file, s.channel, pixels, lines);
    *levels = nativeLevels;
    *errorValue = -1.0F;
    file->position = nbpNativePosition(*file, s.channel);
    file->kind = s.kind;
    for (int level = 0; level < nativeLevels; ++level)
        file->levelTable[static_cast<std::size_t>(level)] =
            nbpNativePhysical(*file, s.kind, level, s.channel);
    return s.kind == nativeCounts ? 10001 : 20001;
}

int nbNativeGetCalTable(void* p, const char* name, float* table, int* n)
{
    constexpr const char* caller = "nbNativeGetCalTable()";
    const NbNativeFile* file = nbpNativeFile(p);
    if (file->lost) return -1;
    if (name == nullptr || *name == '\0' || n == nullptr || *n < 0 ||
        (table == nullptr && *n > 0)) {
        nbpLogError("%s : 渡された引数に問題があります\n", caller);
        return -1;
    }
    const Selection s = nativeCheckElem(name);
    if (!s.isPhysical()) {
        nbpLogError("%s : bad element name '%s' %d\n", caller, name, s.code);
        return -1;
    }
    for (int level = 0; level < std::min(*n, nativeLevels); ++level)
        table[level] = nbpNativePhysical(*file, s.kind, level, s.channel);
    *n = nativeLevels;
    return 0;
}

int nbNativeGetChannel(void* p, int style)
{
    const NbNativeFile* file = nbpNativeFile(p);
    if (file->lost) return -1;
    return style == 0 ? file->channel : nativeCodes[file->channel];
}
