#pragma once
/**
 * The private record of the HISD driver, and what its units call of each other.
 */
#include "drivers/common/nbLineCache.h"
#include "drivers/common/nbRaster.h"
#include "drivers/hisd/nbHisd.h"

#include <cstdint>
#include <string>
#include <vector>

// Block 3: the view of the virtual satellite in which the raster stands.
struct NbHisdProjection {
    double subLon = 0;     // sub-satellite point, degree
    std::int32_t cfac = 0; // columns per degree x 2^16
    std::int32_t lfac = 0; // lines likewise
    float coff = 0;        // column of the sub-satellite point, from 1
    float loff = 0;        // line likewise
    double distance = 0;   // earth centre to satellite, km
    double polarRadius = 0;
    double e2 = 0;          // (equatorial^2 - polar^2) / equatorial^2
    double ratio = 0;       // polar^2 / equatorial^2
    double flattening2 = 0; // equatorial^2 / polar^2
    double slant = 0;       // coefficient of the slant distance, km^2
};

// Block 4: where the satellite really was. hisdUnknown marks what the file does not know.
struct NbHisdNavigation {
    double subLon = 0; // degree
    double subLat = 0;
    double distance = 0; // km
    double nadirLon = 0;
    double nadirLat = 0;
};
inline constexpr double hisdUnknown = -10000000000.0;

// Block 5.
struct NbHisdCalibration {
    double wavelength = 0; // micrometre
    int validBits = 0;     // of a count, 1 to 14
    int errorCount = 0;    // count of an error pixel
    double slope = 0;      // count to radiance, W m^-2 sr^-1 um^-1
    double intercept = 0;
    double albedo = 0;         // visible: radiance to albedo
    double polynomial[3] = {}; // infrared: effective to brightness temperature
    double lightSpeed = 0;     // m/s
    double planck = 0;         // J s
    double boltzmann = 0;      // J/K
};

// Block 8: how far lines lie off the projection.
struct NbHisdCorrection {
    float column = 0; // centre of the rotation, from 1
    float line = 0;
    double rotation = 0; // microradian
    struct Entry {
        int line; // from 1 over the disk
        float columnShift;
        float lineShift;
    };
    std::vector<Entry> entries;
};

// The shift of each line, interpolated between the entries of block 8.
struct NbHisdLineComp {
    int start = 0;             // disk line of the first entry
    std::vector<float> column; // never empty in an open file
    std::vector<float> line;
    bool none = true; // all of them are 0
};

// Block 9.
struct NbHisdLineTime {
    int line; // from 1 over the disk
    double mjd;
};

enum NbHisdKind {
    hisdNoElement = -9999,
    hisdAlbedo = 1,
    hisdRadiance = 2,
    hisdTemperature = 3,
    hisdCounts = 4
};

enum NbHisdLineState : std::uint8_t {
    hisdLineUnread = 0,
    hisdLineRead = 1,         // filling was off when it was read
    hisdLineErrors = 2,       // has error pixels, nothing filled yet
    hisdLineFilledAlong = 3,  // filled along the line, pixels remain
    hisdLineFilledAcross = 4, // filled across lines, pixels remain
    hisdLineWhole = 5,        // no error pixels remain
    hisdLineSound = 6         // the file lists no error pixels for it
};

struct NbHisdFile {
    std::string satellite; // "Himawari-8", "MTSAT-2"
    double startMjd = 0;   // of the observation
    double endMjd = 0;
    int band = -1;
    int kind = hisdNoElement; // selected element
    NbHisdProjection projection;
    NbHisdNavigation navigation;
    NbHisdCalibration calibration;
    NbHisdCorrection correction;
    NbHisdLineComp comp;
    std::vector<NbHisdLineTime> lineTimes;
    std::vector<int> lineTimesReach;       // highest line among lineTimes[0 .. i]
    std::vector<std::int16_t> errorCounts; // error pixels of each file line

    NbRaster raster; // nothing that is read of it reads as zeros

    int lines = -1; // of this file
    int columns = -1;
    int firstLine = -1; // from 1 over the disk
    int lastLine = -1;  // also the height that the object sees

    float shiftPixel = 0; // user's shift, taken off every position
    float shiftLine = 0;
    int stopGap = 0; // widest gap to fill, pixels or lines; 0: none

    std::vector<float> levelTable; // physical value of each count, for the selected element
    NbLineCache cache;             // states are NbHisdLineState
    // Lines that samples may be taken from as they stand: read, and filled if filling is on.
    // Null for the others; one line more, of a single missing count, for what is outside.
    std::vector<const std::uint16_t*> ready;

    int levels() const { return 1 << calibration.validBits; }
};

inline NbHisdFile* nbpHisdFile(void* p)
{
    return static_cast<NbHisdFile*>(p);
}

// Forgets which lines are ready: after a change of the gap to fill.
void nbpHisdResetReady(NbHisdFile* file);

// The counts of a file line (0 to lines - 1), read and filled; null when memory is out.
const std::uint16_t* nbpHisdReadyLine(NbHisdFile* file, int n);

// Index of the shift that belongs to a disk line (from 1).
int nbpHisdCompIndex(const NbHisdFile& file, float diskLine);
