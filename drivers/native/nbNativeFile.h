#pragma once
/**
 * The private record of the native driver, and what its units call of each other.
 */
#include "drivers/common/nbLineCache.h"
#include "drivers/native/nbNative.h"
#include "util/nbFile.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <span>
#include <vector>

inline constexpr int nativeChannels = 12;
inline constexpr int nativeHrv = 11; // the channel of high resolution, on a grid of its own
inline constexpr int nativeLevels = 1024;
inline constexpr int nativeLongestSide = std::numeric_limits<std::int16_t>::max();

enum NbNativeKind {
    nativeNoElement = 0,
    nativeAlbedo = 1,
    nativeTemperature = 2,
    nativeRadiance = 3,
    nativeCounts = 4
};

// Where the first line and the first column of a grid lie.
enum NbNativeOrigin : std::uint8_t {
    nativeNorthWest = 0,
    nativeSouthWest = 1,
    nativeSouthEast = 2,
    nativeNorthEast = 3
};

// One of the two grids, as image description and trailer give it.
struct NbNativeGrid {
    std::int32_t columns = 0;     // of the whole grid
    std::int32_t lineColumns = 0; // of a stored line: half of them in the grid of high resolution
    std::int32_t lines = 0;
    std::uint8_t origin = 0; // NbNativeOrigin
    std::int32_t south = 0;  // lines and columns that the image covers, from 1; of the lower
    std::int32_t north = 0;  // window of high resolution
    std::int32_t east = 0;
    std::int32_t west = 0;

    // Sizes that the library's 16-bit numbers hold.
    bool hasSizes() const
    {
        return lineColumns >= 1 && columns <= nativeLongestSide && lines >= 1 &&
               lines <= nativeLongestSide;
    }
};

enum NbNativeLineState : std::uint8_t {
    nativeLineUnread = 0,
    nativeLineRead = 1,
    nativeLineMissing = 2 // the file ends before it
};

inline constexpr double nativeTimeUnread = -2.0;
inline constexpr double nativeNoTime = -1.0;

struct NbNativeFile {
    bool lost = false; // after an error that ended the use of the file
    bool raw = false;  // begins with the level 1.5 header, holds one channel
    int satelliteId = 0;
    float subLon = 0;                               // of the projection, degree
    double startMjd = 0;                            // of the repeat cycle
    double sunDistance = 0;                         // astronomical units
    std::array<bool, nativeChannels> present{};     // channels marked in the file
    int channelCount = 0;                           // the marked ones; 1 in a raw file
    std::array<double, nativeChannels> slope{};     // count to radiance,
    std::array<double, nativeChannels> intercept{}; // mW m^-2 sr^-1 (cm^-1)^-1
    NbNativeGrid visIr;
    NbNativeGrid hrv;
    std::int64_t packetHeader = 0; // bytes before each line's side information
    std::int64_t dataOffset = 0;   // of the first line's side information
    NbFilePtr stream;              // reads the lines

    int channel = -1; // the current one
    int position = 0; // of its lines within a group
    int kind = nativeNoElement;
    int columns = 0; // of the current grid's lines
    int lines = 0;
    std::int16_t firstLine = 0; // window of the current grid
    std::int16_t lastLine = 0;
    std::int16_t firstColumn = 0;
    std::int16_t lastColumn = 0;
    std::int32_t coffHrv = 5567; // column of the sub-satellite point in the HRV grid, from 1
    std::int32_t loffHrv = 5567; // line likewise

    float shiftPixel = 0; // user's shift
    float shiftLine = 0;
    int stopGap = 0;

    std::vector<float> levelTable; // physical value of each count, for the selected element
    NbLineCache cache;             // states are NbNativeLineState
    // The lines in memory, null for the others; one more, of a single missing count, for what is
    // outside.
    std::vector<const std::uint16_t*> ready;
    std::vector<double> lineTimes; // MJD of each line, nativeTimeUnread or nativeNoTime
    std::vector<std::byte> packet; // side information and packed counts of one line

    const NbNativeGrid& gridOf(int ch) const { return ch == nativeHrv ? hrv : visIr; }
};

inline NbNativeFile* nbpNativeFile(void* p)
{
    return static_cast<NbNativeFile*>(p);
}

// What stands before the counts of a line.
struct NbNativeSide {
    double startMjd;   // of the repeat cycle
    std::int32_t line; // from 1
    int channel;       // from 0
    double mjd;        // mean acquisition time of the line
};
inline constexpr std::size_t nativeSideLength = 27;
NbNativeSide nbpNativeSide(std::span<const std::byte> bytes);

// Bytes of the packed counts of a line.
inline std::int64_t nbpNativePackedLength(std::int64_t columns)
{
    return columns * 10 / 8;
}

// Selects a grid and makes room for its lines; false, with a message, for a grid without a known
// origin. Throws when memory is out; nothing has changed then.
bool nbpNativeTakeGrid(NbNativeFile* file, int channel);
// Number of marked channels below one.
int nbpNativePosition(const NbNativeFile& file, int channel);
// Makes a line (from 0) present; results as nbpNativeReadOneLine.
int nbpNativeLine(NbNativeFile* file, int n);
// Acquisition time of a line (from 0), MJD; nativeNoTime for none.
double nbpNativeLineTime(NbNativeFile* file, int n);
// Ends the use of the file.
void nbpNativeLose(NbNativeFile* file);
// Physical value of a count, without messages; the count need not be one of 0 to 1023.
float nbpNativePhysical(const NbNativeFile& file, int kind, int level, int channel);
