#pragma once
/**
 * The private record of the GVAR driver, and what its units call of each other.
 */
#include "drivers/gvar/nbGvar.h"
#include "drivers/gvar/nbGvarBlocks.h"
#include "util/nbArray.h"

#include <array>
#include <cstdint>
#include <vector>

inline constexpr int gvarChannels = 5;
inline constexpr int gvarLevels = 1024;
inline constexpr int gvarOaWords = 336;

inline constexpr double gvarScanMs = 955.6177775;              // duration of a scan
inline constexpr double gvarTurnaroundMs = 198.454815;         // between two scans
inline constexpr double gvarEquatorialRadius = 6378.137;       // km
inline constexpr double gvarFlattening = 0.003352891869237217; // 1 / 298.25

// Increments of one cycle of the scan mirror's encoder.
inline constexpr double gvarCycleIncrements = 6136.0;
inline constexpr double gvarEwStep = (3.14159265358979323846 / 32) / gvarCycleIncrements; // radian
inline constexpr double gvarNsStep = (3.14159265358979323846 / 64) / gvarCycleIncrements; // radian

enum NbGvarElement {
    gvarNoElement = 0,
    gvarCounts = -1,
    gvarAlbedo = 1,
    gvarTemperature = 2,
    gvarRadiance = 3
};

// What an image line came to. The first three are also those of the whole search for a line.
enum NbGvarLineResult {
    gvarLineDone = 0,
    gvarLineNoMemory = -1,
    gvarLineOtherScan = -2, // its relative scan count is not the block's
    gvarLineTooLong = -3,
    gvarLineBad = -5,
    gvarLineBadBlock = -6, // CRC of the block
    gvarLineAhead = -7,    // the block belongs to a scan before the wanted one
    gvarLinePassed = -8,   // the block belongs to a scan behind the wanted one
    gvarLineFileEnd = -9
};

// Documentation block: the frame, in visible lines and pixels from 1.
struct NbGvarFrame {
    double startTime = 0; // of the frame, as all times here a number YYYYDDDHHMMSSmmm
    double epochTime = 0; // of the orbit and attitude words
    int firstScan = 0;    // scan number of the frame's first scan
    int west = 0, east = 0;
    int north = 0, south = 0;
    int subLine = 0; // of the sub-satellite point
    int subPixel = 0;
    double firstScanTime = 0; // of the first scan's start
    int direction = 0;        // 1: even scans run from the first pixel to the last
    bool imcOff = false;      // image motion compensation: orbit and attitude series are not used
    bool flipped = false;     // the satellite flies upside down
    std::array<double, gvarOaWords> oa{};
    int nsCycles = 0, ewCycles = 0; // of the scan mirror at the frame's centre
    int nsIncrements = 0, ewIncrements = 0;
};

struct NbGvarNavigation {
    double subLon = 0, subLat = 0;       // degree
    double distance = 0;                 // earth centre to satellite, km
    double roll = 0, pitch = 0, yaw = 0; // radian
    double rollMisalign = 0, pitchMisalign = 0;
    double orbitMatrix[9] = {};
    double matrix[9] = {};    // instrument to earth-fixed frame
    double satellite[3] = {}; // earth-fixed, equatorial radii
    double nsNominal = 0;     // scan angles at the frame's centre, radian
    double ewNominal = 0;
    float lineStep = 0; // visible line, radian
    double pixelStep = gvarEwStep;
};

// A line of counts. Empty while it is not in memory; never longer than its block.
struct NbGvarLine {
    NbArray<std::uint16_t> counts{NbAllocator<std::uint16_t>("nbpGetOneBlock()")};
    int pixels() const { return static_cast<int>(counts.size()); }
};

// A stretch of the file that was walked twice for nothing: standing at `block`, no line of the
// scans between `before` and `behind` is to be had.
struct NbGvarGap {
    std::size_t block = SIZE_MAX;
    int before = 0;
    int behind = 0;
};

struct NbGvarFile {
    int satellite = 0;
    int channel = -1; // -1 before the first selection
    int element = gvarNoElement;
    NbGvarHeader header; // kept last
    NbGvarFrame frame;
    NbGvarNavigation navigation;

    // The current channel's image.
    int lines = 0;
    int pixels = 0;
    float channelShiftPixel = 0; // from the computed to the told sub-satellite point
    float channelShiftLine = 0;
    int longestWords = 0; // of a line read so far, in 10-bit words; 0: none read
    std::vector<NbGvarLine> cache;
    std::vector<std::uint8_t> bad;      // 1: the line is flagged
    std::vector<std::int8_t> detectors; // index of each line's detector; -1 unknown
    int lowestDetector = 0;             // lowest line with a known one
    std::int64_t cachedBytes = 0;

    float shiftPixel = 0; // user's shift, taken off every position
    float shiftLine = 0;
    int stopGap = 0; // widest gap to fill, lines; 0: none

    NbGvarBlocks blocks;
    std::size_t firstBlock = 0;           // the first good documentation block
    std::size_t block = 0;                // next one to look at
    int scan = 0;                         // current scan, from 1 over the frame
    int relativeScan = 0;                 // likewise, as the lines count it
    int stepBackLine = -1;                // the last line that caused a step back
    std::vector<std::int64_t> scanBlocks; // stream layout: documentation block of each scan; -1
    NbGvarGap gap;

    std::vector<std::vector<float>> tables; // physical value of each count, a detector each

    int linesPerScan(int ofChannel) const;
    int linesPerScan() const { return linesPerScan(channel); }
};

inline NbGvarFile* nbpGvarFile(void* p)
{
    return static_cast<NbGvarFile*>(p);
}

// GOES-12 has its detectors in another order: one line of channel 4 a scan and two of channel 2.
inline int NbGvarFile::linesPerScan(int ofChannel) const
{
    const bool twelve = satellite == 12;
    switch (ofChannel) {
    case 0:
        return 8;
    case 2:
        return twelve ? 2 : 1;
    case 4:
        return twelve ? 1 : 2;
    default:
        return 2;
    }
}

// Size of a channel's image.
struct NbGvarSize {
    int lines, pixels;
};
NbGvarSize nbpGvarSize(const NbGvarFile& file, int channel);

// Pixel and line (from 0) of the sub-satellite point without any shift; false for none.
bool nbpGvarSubPoint(const NbGvarFile& file, int channel, double* pixel, double* line);

// Makes a line present: one of gvarLineDone, NoMemory, TooLong, Bad and FileEnd. The line lies in
// the image.
int nbpGvarReadLine(NbGvarFile* file, int line);
// Fills a bad line from those around it, as far as the gap to fill reaches.
void nbpGvarFillLine(NbGvarFile* file, int line);
