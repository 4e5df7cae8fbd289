#include "drivers/common/nbHimawariCodes.h"
#include "drivers/common/nbHimawariNames.h"
#include "drivers/rdat/nbRdatElemTable.h"
#include "drivers/rdat/nbRdatFile.h"
#include "util/nbLogFormat.h"
#include "util/nbNumber.h"

#include <algorithm>
#include <cstdio>

namespace {

constexpr std::size_t longestName = 8; // characters of a name without a suffix
constexpr std::size_t keptName = 6;
constexpr std::size_t channelTextSize = 256; // of a caller of GetChInfo
constexpr float invalidLevel = 65535.0F;

// Kind that a name selects in this file. 0: the band is known and the suffix is not;
// rdatNoElement: no name, or one of another band.
int rdatCheckElem(const NbRdatFile& file, const char* text)
{
    const auto name = nbpElemSplit(text, longestName, keptName);
    if (!name) return rdatNoElement;
    const int row = nbpElemFindRow(nbpElemResolve(name->channel, himawariAliases), rdatRows);
    if (row < 0 || row + 1 != file.header.band) return rdatNoElement;
    if (name->counts) return rdatCounts;
    const char* suffixes = rdatRows[row].suffixes;
    if (name->suffix == suffixes[1]) return file.solar() ? rdatAlbedo : rdatTemperature;
    return name->suffix == suffixes[4] ? rdatRadiance : 0;
}

} // namespace

int nbpRdatLevels(int band)
{
    return band >= 1 && band <= static_cast<int>(std::size(rdatLevels)) ? rdatLevels[band - 1] : 0;
}

int nbRdatGetChNum(void*)
{
    return 1;
}

int nbRdatGetChInfo(void* p, int channel, int* pixels, int* lines, int* levels, char* name)
{
    if (channel != 0) {
        nbpLogError("%s : bad channel number '%d'\n", "nbRdatGetChInfo()", channel);
        return 1;
    }
    const NbRdatFile* file = nbpRdatFile(p);
    *pixels = file->header.columns;
    *lines = file->header.lines;
    *levels = file->levels;
    const NbElemRow& row = rdatRows[file->header.band - 1];
    std::snprintf(name, channelTextSize, "%s/%s/%s", row.names, row.suffixes, row.text);
    return 0;
}

int nbRdatSetElements(void* p, const char* name, int* pixels, int* lines, int* levels,
                      float* errorValue)
{
    NbRdatFile* file = nbpRdatFile(p);
    file->kind = rdatNoElement;
    const int kind = rdatCheckElem(*file, name);
    if (kind == 0) {
        nbpLogFatal("%s : INTERNAL ERROR. bad return code(%d) hisdCheckElem( '%s' ) \n",
                    "nbRdatSetElements()", kind, name);
        return -1;
    }
    if (kind == rdatNoElement) return -1;
    file->kind = kind;
    *pixels = file->header.columns;
    *lines = file->header.lines;
    *levels = file->levels;
    *errorValue = invalidLevel;
    return kind == rdatCounts ? 10001 : 20001;
}

int nbRdatGetCalTable(void* p, const char* name, float* table, int* n)
{
    if (name == nullptr || *name == '\0' || n == nullptr || *n < 0 ||
        (table == nullptr && *n > 0)) {
        nbpLogError("%s : 渡された引数に問題があります\n", "nbRdatGetCalTable()");
        return -1;
    }
    const NbRdatFile& file = *nbpRdatFile(p);
    const int kind = rdatCheckElem(file, name);
    if (kind != rdatAlbedo && kind != rdatRadiance && kind != rdatTemperature) {
        nbpLogError("%s : bad element name '%s'\n", "nbRdatGetCalTable()", name);
        return -1;
    }
    // The calibration changes over the image. One place stands for all of it: away from the first
    // lines and columns, which may lie outside the scan proper.
    constexpr int place = 100;
    const int line = std::min(place, file.header.lines - 1);
    const int column = std::min(place, file.header.columns - 1);
    const int count = std::min(*n, file.levels);
    for (int i = 0; i < count; ++i) {
        const double value =
            nbpRdatFromRadiance(file, kind, nbpRdatRadiance(file, line, column, i));
        table[i] = value > -9000.0 ? nbpToFloat(value) : -1.0F;
    }
    *n = file.levels;
    return 0;
}

int nbRdatGetChannel(void* p, int style)
{
    const int band = nbpRdatFile(p)->header.band;
    if (style == 0) return band;
    return style == 1 ? himawariCodes[band - 1] : -1;
}
