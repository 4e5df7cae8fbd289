#include "drivers/common/nbHimawariNames.h"
#include "drivers/hisd/nbHisdElemTable.h"
#include "drivers/hisd/nbHisdFile.h"
#include "util/nbGuard.h"
#include "util/nbLogFormat.h"
#include "util/nbNumber.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <span>
#include <string_view>

namespace {

constexpr std::size_t longestName = 8; // characters of a name without a suffix
constexpr std::size_t keptName = 6;
constexpr std::size_t channelTextSize = 256; // of a caller of GetChInfo

// What belongs to a satellite.
struct Vocabulary {
    std::span<const NbElemRow> rows; // one a band, from band 1
    std::span<const NbElemAlias> aliases;
    std::span<const NbElemAlias> moreAliases;
    int lastSolarBand; // bands above it are thermal
};

Vocabulary vocabularyOf(const std::string& satellite)
{
    if (satellite.find("Himawari") != std::string::npos)
        return {hisdHimawariRows, himawariAliases, hisdHimawariAliases, 6};
    if (satellite.find("MTSAT") != std::string::npos)
        return {hisdMtsatRows, hisdMtsatAliases, {}, 1};
    return {{}, {}, {}, 0};
}

// Kind that a name selects in this file. 0: the band is known and the suffix is not;
// hisdNoElement: no name, or one of another band.
int hisdCheckElem(const NbHisdFile& file, const char* text)
{
    const auto name = nbpElemSplit(text, longestName, keptName);
    if (!name) return hisdNoElement;
    const Vocabulary words = vocabularyOf(file.satellite);
    const auto channel =
        nbpElemResolve(nbpElemResolve(name->channel, words.aliases), words.moreAliases);
    const int row = nbpElemFindRow(channel, words.rows);
    const int band = row + 1;
    if (row < 0 || band != file.band) return hisdNoElement;
    if (name->counts) return hisdCounts;
    const char* suffixes = words.rows[static_cast<std::size_t>(row)].suffixes;
    if (name->suffix == suffixes[1])
        return band <= words.lastSolarBand ? hisdAlbedo : hisdTemperature;
    return name->suffix == suffixes[4] ? hisdRadiance : 0;
}

// Physical value of each count for an element kind.
void makeCalibTable(const NbHisdCalibration& calibration, int kind, std::span<float> table)
{
    const auto radiance = [&](std::size_t i) {
        return static_cast<double>(i) * calibration.slope + calibration.intercept;
    };
    if (kind == hisdAlbedo) {
        for (std::size_t i = 0; i < table.size(); ++i)
            table[i] = nbpToFloat(radiance(i) * calibration.albedo);
    } else if (kind == hisdRadiance) {
        for (std::size_t i = 0; i < table.size(); ++i)
            table[i] = nbpToFloat(radiance(i));
    } else if (kind == hisdCounts) {
        for (std::size_t i = 0; i < table.size(); ++i)
            table[i] = static_cast<float>(i);
    } else if (kind == hisdTemperature) {
        // Planck's law in wavelength: h c^2 and h c / k in the figures of the file, radiance per
        // micrometre.
        const double c = calibration.lightSpeed;
        const double w = calibration.wavelength / 1000000;
        const double a = 2 * calibration.planck * (c * c) / std::pow(w, 5) / 1000000;
        const double b = calibration.planck * c / calibration.boltzmann / w;
        const double* p = calibration.polynomial;
        // Deliberate: a count whose radiance is not above 0 repeats the value before it, so that
        // the table has no invalid entry; the first one repeats 0.0. A mark in its place would
        // make cold space and the coldest cloud tops missing in every picture.
        float last = 0.0F;
        for (std::size_t i = 0; i < table.size(); ++i) {
            const double r = radiance(i);
            if (r > 0) {
                const double te = b / std::log(a / r + 1.0);
                last = nbpToFloat(p[0] + p[1] * te + p[2] * (te * te));
            }
            table[i] = last;
        }
    }
}

} // namespace

int nbHisdGetChNum(void*)
{
    return 1;
}

int nbHisdGetChInfo(void* p, int channel, int* pixels, int* lines, int* levels, char* name)
{
    if (channel != 0) {
        nbpLogError("%s : bad channel number '%d'\n", "nbHisdGetChInfo()", channel);
        return -1;
    }
    const NbHisdFile* file = nbpHisdFile(p);
    *pixels = file->columns;
    *lines = file->lastLine;
    *levels = file->levels();
    const auto rows = vocabularyOf(file->satellite).rows;
    if (file->band >= 1 && static_cast<std::size_t>(file->band) <= rows.size()) {
        const NbElemRow& row = rows[static_cast<std::size_t>(file->band) - 1];
        std::snprintf(name, channelTextSize, "%s/%s/%s", row.names, row.suffixes, row.text);
    } // no text for another satellite
    return 0;
}

int nbHisdSetElements(void* p, const char* name, int* pixels, int* lines, int* levels,
                      float* errorValue)
{
    NbHisdFile* file = nbpHisdFile(p);
    file->kind = hisdNoElement;
    const int kind = hisdCheckElem(*file, name);
    if (kind == 0) {
        nbpLogFatal("%s : INTERNAL ERROR. bad return code(%d) hisdCheckElem( '%s' ) \n",
                    "nbHisdSetElements()", kind, name);
        return -1;
    }
    if (kind == hisdNoElement) return -1;
    file->kind = kind;
    *pixels = file->columns;
    *lines = file->lines;
    *levels = file->levels();
    *errorValue = static_cast<float>(file->calibration.errorCount);
    makeCalibTable(file->calibration, kind, file->levelTable);
    return kind == hisdCounts ? 10001 : 20001;
}

int nbHisdGetCalTable(void* p, const char* name, float* table, int* n)
{
    if (name == nullptr || *name == '\0' || n == nullptr || *n < 0 ||
        (table == nullptr && *n > 0)) {
        nbpLogError("%s : 渡された引数に問題があります\n", "nbHisdGetCalTable()");
        return -1;
    }
    NbHisdFile* file = nbpHisdFile(p);
    const int kind = hisdCheckElem(*file, name);
    if (kind != hisdAlbedo && kind != hisdRadiance && kind != hisdTemperature) {
        nbpLogError("%s : bad element name '%s'\n", "nbHisdGetCalTable()", name);
        return -1;
    }
    // A table starts at count 0, so one that is cut is the beginning of the whole one.
    const auto count = static_cast<std::size_t>(std::min(*n, file->levels()));
    const std::span<float> out(table, count);
    if (kind == file->kind)
        std::copy_n(file->levelTable.begin(), count, out.begin());
    else
        makeCalibTable(file->calibration, kind, out);
    *n = file->levels();
    return 0;
}

int nbHisdGetChannel(void* p, int style)
{
    const NbHisdFile* file = nbpHisdFile(p);
    if (file->band == hisdNoElement) return -1;
    if (style == 0) return file->band;
    if (style != 1) return -1;
    std::span<const int> codes;
    if (file->satellite.find("Himawari") != std::string::npos)
        codes = himawariCodes;
    else if (file->satellite.find("MTSAT-2") != std::string::npos)
        codes = hisdMtsatCodes;
    const bool known = file->band >= 1 && static_cast<std::size_t>(file->band) <= codes.size();
    return known ? codes[static_cast<std::size_t>(file->band) - 1] : -1;
}

int nbpHisdPhysToLevel(void* p, float value)
{
    const NbHisdFile* file = nbpHisdFile(p);
    if (file->kind == hisdNoElement) return -1;
    const std::vector<float>& table = file->levelTable;
    const int last = file->levels() - 1;
    const auto at = [&](int level) { return table[static_cast<std::size_t>(level)]; };
    const bool rising = at(last) > at(0);
    const float low = rising ? at(0) : at(last);
    const float high = rising ? at(last) : at(0);
    if (!(value >= low && value <= high)) return -1;

    // Either way from the low end up. The level before the one above the value takes it when it
    // is nearer; on a tie the lower count does.
    if (rising) {
        // Deliberate: an entry is compared for equality only when it stands below another, so the
        // last one has no level for its own value, only for values nearly as high. To find it
        // gives a level where callers have had none.
        for (int i = 0; i < last; ++i) {
            if (at(i) == value) return i;
            if (at(i + 1) > value) return value - at(i) <= at(i + 1) - value ? i : i + 1;
        }
    } else {
        for (int i = last; i >= 0; --i) {
            if (at(i) == value) return i;
            if (at(i) > value) return i < last && value - at(i + 1) < at(i) - value ? i + 1 : i;
        }
    }
    return -1;
}
