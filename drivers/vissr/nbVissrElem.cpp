#include "drivers/vissr/nbVissrElemTable.h"
#include "drivers/vissr/nbVissrFile.h"
#include "util/nbGuard.h"
#include "util/nbLogFormat.h"

#include <algorithm>
#include <cstdio>
#include <span>
#include <string_view>

namespace {

constexpr std::size_t channelTextSize = 256; // of a caller of GetChInfo

int checkElem(const NbVissrFile& file, const char* text, const char* caller)
{
    const std::string_view whole(text == nullptr ? "" : text);
    const std::size_t bar = whole.find('_');
    const bool counts = bar == std::string_view::npos;
    const NbElemRow& row = vissrRows[file.channel];
    if (!nbpElemIsListed(row.names, whole.substr(0, bar)) ||
        (!counts && !nbpElemIsListed(row.suffixes, whole.substr(bar)))) {
        nbpLogWarn("%s : bad element name '%s'\n", caller, whole.empty() ? "" : text);
        return vissrUnknownName;
    }
    if (counts) return vissrCountElement;
    for (const NbVissrPhysics& physics : vissrPhysics)
        if (physics.letter == whole.substr(bar + 1)) return physics.code;
    return vissrNoElement; // several suffixes at once
}

// Physical value of each level of an element that has them; empty for another.
std::span<const float> levelValues(const NbVissrFile& file, int element)
{
    const auto all = [&](const float* table) {
        return std::span<const float>(table, static_cast<std::size_t>(file.levels));
    };
    switch (element) {
    case vissrAlbedo:
        return all(file.vals);
    case vissrTemperature:
        return all(file.calibration.temperature);
    case vissrRadiance:
        return all(file.calibration.radiance);
    default:
        return {};
    }
}

} // namespace

int nbVissrGetChNum(void*)
{
    return 1;
}

int nbVissrGetChInfo(void* p, int channel, int* pixels, int* lines, int* levels, char* name)
{
    if (channel != 0) {
        nbpLogError("%s : bad channel number '%d'\n", "nbVissrGetChInfo()", channel);
        return -1;
    }
    const NbVissrFile* file = nbpVissrFile(p);
    *pixels = file->pixels;
    *lines = file->lines;
    *levels = file->levels;
    const NbElemRow& row = vissrRows[file->channel];
    std::snprintf(name, channelTextSize, "%s/%s/%s", row.names, row.suffixes, row.text);
    return 0;
}

int nbpVissrCheckElem(void* p, const char* name, const char* caller)
{
    return nbpGuard(caller, static_cast<int>(vissrUnknownName),
                    [&] { return checkElem(*nbpVissrFile(p), name, caller); });
}

int nbVissrSetElements(void* p, const char* name, int* pixels, int* lines, int* levels,
                       float* errorValue)
{
    constexpr const char* caller = "nbVissrSetElements()";
    NbVissrFile* file = nbpVissrFile(p);
    file->element = vissrNoElement;
    const int code = nbpVissrCheckElem(p, name, caller);
    if (code == vissrUnknownName) return -1;
    if (code == vissrNoElement) {
        nbpLogFatal("%s : INTERNAL ERROR. bad return code(%d)  nbpVissrCheckElem( '%s' ) \n",
                    caller, code, name);
        return -1;
    }
    const bool detectors = code == vissrDetectorCount;
    if (detectors != file->keepsDetectors) nbVissrClearDataCache(p);
    file->keepsDetectors = detectors;
    file->element = code;
    *pixels = file->pixels;
    *lines = file->lines;
    *levels = detectors ? vissrLevels : file->levels;
    *errorValue = -1.0F;
    return code == vissrCountElement || detectors ? 10001 : 20001;
}

int nbVissrGetCalTable(void* p, const char* name, float* table, int* n)
{
    constexpr const char* caller = "nbVissrGetCalTable()";
    const NbVissrFile* file = nbpVissrFile(p);
    const int code = nbpVissrCheckElem(p, name, caller);
    float byDetector[vissrDetectors * vissrCounts];
    std::span<const float> values = levelValues(*file, code);
    if (code == vissrDetectorCount) {
        for (int i = 0; i < vissrDetectors * vissrCounts; ++i)
            byDetector[i] = file->vals[file->sortIdx[i / vissrCounts][i % vissrCounts]];
        values = byDetector;
    }
    if (values.empty()) {
        nbpLogError("%s : bad element name '%s'\n", caller, name == nullptr ? "" : name);
        return -1;
    }
    const int room = table == nullptr ? 0 : std::clamp(*n, 0, static_cast<int>(values.size()));
    std::copy_n(values.begin(), room, table);
    *n = static_cast<int>(values.size());
    return 0;
}

int nbVissrGetChannel(void* p, int)
{
    const NbVissrFile* file = nbpVissrFile(p);
    return file->element == vissrNoElement ? -1 : file->channel;
}
