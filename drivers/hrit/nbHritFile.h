#pragma once
/**
 * The private record of the HRIT driver, and what its units call of each other.
 */
#include "drivers/common/nbLineCache.h"
#include "drivers/common/nbRaster.h"
#include "drivers/hrit/nbHrit.h"
#include "util/nbArray.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

enum NbHritProjectionKind {
    hritUnknown = -1, // no navigation
    hritDisk = 1,
    hritPolar = 2,
    hritMercator = 3
};

// Record 2. Disk: columns and lines per degree of scan angle x 2^16; the others per unit of their
// plane. Offsets from 1.
struct NbHritProjection {
    int kind = hritUnknown;
    double subLon = 140.0; // sub-satellite longitude, degree
    double hemisphere = 0; // polar: 1 north, -1 south
    double reference = 0;  // polar: longitude of the line down from the pole, degree
    std::int32_t cfac = 0;
    std::int32_t lfac = 0;
    std::int32_t coff = 0;
    std::int32_t loff = 0;
};

// Record 3: physical values of some levels, ascending by level.
struct NbHritCalib {
    struct Entry {
        std::int32_t level;
        float value; // kelvin, or a fraction for solar channels
    };
    std::vector<Entry> entries; // never empty in an open file
    int levels = 0;
    bool tenBit = false; // levels 0 to 1023 and a last entry for invalid counts
};

// Record 130: where the projection's centre lies in single lines.
struct NbHritCompEntry {
    std::int32_t line = 0; // from 1 over the image
    float coff = 0;
    float loff = 0;
};

// Record 131.
struct NbHritTimeEntry {
    std::int32_t line = 0;
    double mjd = 0;
};

// Record 132.
struct NbHritQualityEntry {
    std::int32_t line = 0;
    double error = 0;
};

// Columns of a line that hold error counts, both ends included.
struct NbHritErrorBlock {
    int first;
    int last;
};

enum NbHritKind {
    hritNoElement = -9999,
    hritAlbedo = 1,
    hritRadiance = 2,
    hritTemperature = 3,
    hritCounts = 4
};

enum NbHritLineState : std::uint8_t {
    hritLineUnread = 0,
    hritLineSound = 1,       // read, no error blocks found
    hritLineRead = 2,        // read, not searched for error blocks
    hritLineBad = 3,         // its quality makes it a missing line
    hritLineFilled = 4,      // a missing line, filled
    hritLineErrors = 5,      // read, holds error blocks
    hritLineErrorsFilled = 6 // its error blocks are filled
};

// The place of a file line in memory is its slot, 0 to lines - 1. With a line shift it holds
// another line of the file than that of its own number.
struct NbHritFile {
    int channel = -1;         // place in the driver's channel table
    int kind = hritNoElement; // selected element
    int generation = 1;       // of the satellite: 2 for MTSAT-2
    NbHritProjection projection;
    NbHritCalib calib;
    std::vector<NbHritCompEntry> comp;
    std::vector<NbHritTimeEntry> times;
    std::string annotation;

    NbByteOrder order = NbByteOrder::Little; // of the headers
    NbRaster raster;
    NbArray<std::uint16_t> frame{NbAllocator<std::uint16_t>("nbHritOpenFile()")}; // the whole image
    NbFilePtr scanTime; // MJD of each infrared pixel; may be null

    int columns = -1;
    int lines = -1;     // of this file
    int firstLine = -1; // over the image, usually from 1
    int lastLine = -1;  // also the height that the object sees

    float shiftPixel = 0; // user's shift
    float shiftLine = 0;
    int stopGap = 0;
    double threshold = 1.0; // lines of this quality value and above count as missing

    std::vector<double> quality;   // of each file line; 0 good
    std::vector<float> columnComp; // column and line of the projection's centre, each file line
    std::vector<float> lineComp;
    std::vector<float> columnShift; // taken off positions, with the user's shift in it
    std::vector<float> lineShift;
    bool evenShift = true; // all of columnShift is the same

    std::vector<float> levelTable; // physical value of each level, for the selected element
    NbLineCache cache;             // states are NbHritLineState

    // Error blocks of the slots: those of slot n are blockCount[n] from blockStart[n] on.
    std::vector<NbHritErrorBlock> blocks;
    std::vector<std::uint32_t> blockStart;
    std::vector<std::uint16_t> blockCount;

    // A missing line is filled from its neighbours. Filling it once more gives the same as long as
    // no other line has been read or turned bad: then these say so.
    std::uint64_t linesRead = 0;
    struct Filling {
        std::uint64_t linesRead = 0; // when it was filled
        int sides = -1;              // with which; -1: not filled
    };
    std::vector<Filling> fillings;

    // Slots that samples may be taken from as they stand; null for the others. One slot more, of
    // a single missing count, for what is outside.
    std::vector<const std::uint16_t*> ready;
};

inline NbHritFile* nbpHritFile(void* p)
{
    return static_cast<NbHritFile*>(p);
}

// nbHritText: tables from the text records. Entries come out ascending by level or line.
int nbpHritChannelOf(std::string_view annotation); // -1: none
NbHritCalib nbpHritReadCalib(std::string_view text, int channel);
std::vector<NbHritCompEntry> nbpHritReadComp(std::string_view text);
std::vector<NbHritTimeEntry> nbpHritReadTimes(std::string_view text);
std::vector<NbHritQualityEntry> nbpHritReadQuality(std::string_view text);
NbHritProjection nbpHritReadProjection(std::string_view name);
// The projection's centre in a line; false for an empty table.
bool nbpHritComp(const std::vector<NbHritCompEntry>& table, float line, float* coff, float* loff);

// Makes the shifts of the lines from their centres and the user's shift.
void nbpHritApplyShift(NbHritFile* file);
// Forgets which slots are ready and which missing lines are filled.
void nbpHritResetReady(NbHritFile* file);

// Slot of a position relative to the file's first line.
int nbpHritSlot(const NbHritFile& file, float r);
// The counts of the slot at r, read and filled; null when the slot holds no line. `result` becomes
// 2 for a line of bad quality, -1 when memory is out.
const std::uint16_t* nbpHritLine(NbHritFile* file, float r, int* result);

// Image to earth by the file's own projection; -9999.0 where there is none.
void nbpHritToEarth(NbHritFile* file, const float* pixel, const float* line, double* lon,
                    double* lat, int n);
