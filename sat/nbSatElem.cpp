#include "sat/nbSatElem.h"

#include "sat/nbNavInfo.h"
#include "sat/nbSatBandTable.h"
#include "sat/nbSatLinked.h"
#include "util/nbGuard.h"
#include "util/nbLogFormat.h"
#include "util/nbNumber.h"
#include "util/nbUtlFreer.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>
#include <memory>
#include <numbers>
#include <vector>

namespace {

constexpr const char* sourceName = "nbSatElem";
constexpr double noValue = -9999.0;

// Entries of intpTable: every count that a sample can have indexes it, also when the table was
// made for an element of fewer levels.
constexpr int intpTableSize = std::numeric_limits<std::int16_t>::max() + 1;

void clearSelection(NbSatObject& object)
{
    nbUtlFree(object.elemName);
    object.elemName = nullptr;
    object.pixelNum = 0;
    object.lineNum = 0;
    object.levelNum = 0;
    object.elemNum = 0;
    object.elemKind = 0;
}

// The row of a band; null outside the rows in use.
const NbPlanckBand* bandRow(int band)
{
    if (band < 1 || band > planckBandLast) return nullptr;
    return &planckBandTable[static_cast<std::size_t>(band - 1)];
}

double polynomial(const std::array<double, 3>& c, double x)
{
    return c[0] + c[1] * x + c[2] * (x * x);
}

double radianceOf(const NbPlanckSet& set, double temperature)
{
    if (!(temperature > 0) || set.c1 == 0) return noValue;
    return set.c1 / (std::exp(set.c2 / polynomial(set.bandC, temperature)) - 1);
}

double temperatureOf(const NbPlanckSet& set, double radiance)
{
    if (!(radiance > 0) || set.c1 == 0) return noValue;
    return polynomial(set.bandD, set.c2 / std::log(set.c1 / radiance + 1));
}

} // namespace

extern "C" {

int nbSatGetChNum(NbSatObject* object)
{
    if (object->GetChNum == nullptr) return -1;
    return object->GetChNum(object->privateData);
}

int nbSatGetChInfo(NbSatObject* object, int channel, int* pixels, int* lines, int* levels,
                   char* name)
{
    if (object->GetChInfo == nullptr) return -1;
    return object->GetChInfo(object->privateData, channel, pixels, lines, levels, name);
}

int nbSatSetElements(NbSatObject* object, const char* name, int* pixels, int* lines, int* levels,
                     float* errorValue)
{
    // `name` may be the text of one of the objects, which goes while the list is walked.
    const std::unique_ptr<char, NbUtlFreer> kept(
        name != nullptr ? nbpSatCopyText(name, "nbSatSetElements()") : nullptr);
    int result = -1;
    std::size_t i = 0;
    for (NbSatObject& one : nbpSatLinked(object)) {
        const std::size_t at = i++;
        std::unique_ptr<char, NbUtlFreer> copy(
            kept ? nbpSatCopyText(kept.get(), "nbSatSetElements()") : nullptr);
        int code = -1;
        // A name that there is no room for is refused, and the driver's selection goes with the
        // object's: they have to agree about the values per pixel.
        if (one.SetElements != nullptr)
            code = one.SetElements(one.privateData, copy ? copy.get() : "", &pixels[at], &lines[at],
                                   &levels[at], &errorValue[at]);
        nbUtlFree(one.lut);
        one.lut = nullptr;
        if (code < 1 || !copy) {
            clearSelection(one);
            continue;
        }
        // Deliberate: a table that is there stays, also when it was made for another element; the
        // interpolated values of the second element are then those of the first one's table. A
        // fresh table would change the results of every run that interpolates two elements.
        if (one.intpMethod > 0 && code / 10000 != 1 && one.intpTable == nullptr &&
            nbSatGetIntpTbl(&one, kept.get(), &levels[at]) != 0) {
            std::fprintf(stderr, "%s : テーブル作成に失敗しました \n", "nbSatSetElements()");
            std::fprintf(stderr, "正常に内挿が行えないおそれがあります \n");
        }
        nbUtlFree(one.elemName);
        one.elemName = copy.release();
        one.pixelNum = nbpWrap16(pixels[at]);
        one.lineNum = nbpWrap16(lines[at]);
        one.levelNum = nbpWrap16(levels[at]);
        one.elemNum = nbpWrap16(code % 10000);
        one.elemKind = nbpWrap16(code / 10000 - 1);
        one.errorValue = errorValue[at];
        result = code;
    }
    if (result < 0)
        nbpLogError("%s : bad elementName '%s' <%d>\n", "nbSatSetElements()",
                    kept ? kept.get() : "", result);
    return result;
}

int nbSatSetElems(NbSatObject* object, const char* name)
{
    return nbpGuard("nbSatSetElems()", -1, [&] {
        const std::size_t count = nbpSatLinked(object).size();
        std::vector<int> sizes(3 * count);
        std::vector<float> errorValue(count);
        return nbSatSetElements(object, name, sizes.data(), sizes.data() + count,
                                sizes.data() + 2 * count, errorValue.data());
    });
}

int nbSatGetCalTable(NbSatObject* object, const char* name, float* table, int* n)
{
    if (object->fileFormatId == 0 || object->GetCalTable == nullptr) return -1;
    return object->GetCalTable(object->privateData, name, table, n);
}

int nbSatGetChannel(NbSatObject* object, int style)
{
    if (object->fileFormatId == 0 || object->privateData == nullptr) {
        nbpLogError("%s %s : 衛星オブジェクトが開かれていません \n", sourceName,
                    "nbSatGetChannel()");
        return -2;
    }
    if (object->GetChannel == nullptr) return -1;
    return object->GetChannel(object->privateData, style);
}

int nbSatGetIntpTbl(NbSatObject* object, const char* name, int* n)
{
    nbUtlFree(object->intpTable);
    object->intpTable = nullptr;
    if (*n < 1) return -1;
    const int room = std::max(*n, intpTableSize);
    auto* table = static_cast<float*>(
        nbUtlMalloc(static_cast<std::size_t>(room) * sizeof(float), "nbSatGetIntpTbl()"));
    if (table == nullptr) return -1;
    std::fill_n(table, room, -1.0F); // counts beyond the levels have no value
    const int result = nbSatGetCalTable(object, name, table, n);
    if (result < 0)
        nbUtlFree(table); // nothing to interpolate with: the samplers then refuse
    else
        object->intpTable = table;
    return result;
}

void nbSatPrintInfo(NbSatObject* object)
{
    const auto* t = object->startTime;
    nbpLogInfo("file name : '%s'\n", object->fileName != nullptr ? object->fileName : "");
    nbpLogInfo("satellite : '%.*s'\n", static_cast<int>(sizeof object->satName), object->satName);
    nbpLogInfo("ymdhms    : %4d %02d %02d %02d %02d %02d\n", t[0], t[1], t[2], t[3], t[4], t[5]);
    if (object->elemName != nullptr) nbpLogInfo("selected  : '%s'\n", object->elemName);
    const int channels = nbSatGetChNum(object);
    nbpLogInfo("channel   : %d\n", channels);
    nbpLogInfo("          pixel  line  level  name  / physics  / comment\n");
    for (int i = 0; i < channels; ++i) {
        int pixels = 0;
        int lines = 0;
        int levels = 0;
        char name[512] = "";
        nbSatGetChInfo(object, i, &pixels, &lines, &levels, name);
        nbpLogInfo("    [%d]  %6d,%6d,%5d '%s'\n", i, pixels, lines, levels, name);
    }
    nbpLogInfo("fileFormatId : <%d>\n", object->fileFormatId);
}

int nbSatSenPlanckCoeff2(int band, double* out)
{
    const NbPlanckBand* row = bandRow(band);
    if (row == nullptr) return -1;
    out[0] = row->wavelength.c1;
    out[1] = row->wavelength.c2;
    return 0;
}

int nbSatSenPlanckCoeff(int band, double* out)
{
    const NbPlanckBand* row = bandRow(band);
    if (row == nullptr) return -1;
    std::copy_n(row->wavelength.bandD.data(), 3, out);
    std::copy_n(row->wavelength.bandC.data(), 3, out + 3);
    return 0;
}

double nbSatSenPlanckRadWaveLen(int band, double temperature)
{
    const NbPlanckBand* row = bandRow(band);
    return row == nullptr ? noValue : radianceOf(row->wavelength, temperature);
}

double nbSatSenPlanckRadWaveNum(int band, double temperature)
{
    const NbPlanckBand* row = bandRow(band);
    return row == nullptr ? noValue : radianceOf(row->wavenumber, temperature);
}

double nbSatSenPlanckTempWaveLen(int band, double radiance)
{
    const NbPlanckBand* row = bandRow(band);
    return row == nullptr ? noValue : temperatureOf(row->wavelength, radiance);
}

double nbSatSenPlanckTempWaveNum(int band, double radiance)
{
    const NbPlanckBand* row = bandRow(band);
    return row == nullptr ? noValue : temperatureOf(row->wavenumber, radiance);
}

double nbSatRadNumToRadLen(int band, double radiance)
{
    const double temperature = nbSatSenPlanckTempWaveNum(band, radiance);
    return temperature < 0 ? noValue : nbSatSenPlanckRadWaveLen(band, temperature);
}

double nbSatRadLenToRadNum(int band, double radiance)
{
    const double temperature = nbSatSenPlanckTempWaveLen(band, radiance);
    return temperature < 0 ? noValue : nbSatSenPlanckRadWaveNum(band, temperature);
}

double nbSatGetAlbedoWaveLen(int band, double mjd, double radiance)
{
    if (band < 1 || band > static_cast<int>(irradianceTable.size()))
        return std::numeric_limits<double>::quiet_NaN();
    const double irradiance = irradianceTable[static_cast<std::size_t>(band - 1)];
    if (band >= 8 && band <= 11) {
        // Deliberate: `mjd` enters as a day count, as if it were the day of the year. The callers
        // of these bands pass either; taking an MJD's day of the year here moves their albedo by
        // up to 7 percent.
        const double factor = 1 - 0.0167 * std::cos(2 * std::numbers::pi * (mjd - 3) / 365);
        return factor * factor * 100 * radiance / irradiance;
    }
    const double distance = nbNavGetDistanceSunAndEarth(mjd) / 149597870.7; // astronomical units
    if (band <= 7) return distance * distance * std::numbers::pi * radiance / irradiance;
    return distance * distance * radiance / irradiance;
}

} // extern "C"
