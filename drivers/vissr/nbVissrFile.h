#pragma once
/**
 * The private record of the VISSR driver.
 */
#include "drivers/common/nbLineCache.h"
#include "drivers/vissr/nbVissr.h"
#include "util/nbFile.h"

#include <array>
#include <cstdint>
#include <string>
#include <vector>

inline constexpr int vissrChannels = 4;
inline constexpr int vissrVisible = 0;
inline constexpr int vissrDetectors = 4; // of the visible channel
inline constexpr int vissrCounts = 64;   // of a visible pixel
inline constexpr int vissrLevels = 256;  // most of any element

// Block "trans": how the spinning sensor sees. Arrays are by channel; a channel that a variant
// does not know is 0 in all of them.
struct NbVissrTransform {
    double originMjd = 0; // start of the scan
    float lineStep[vissrChannels] = {};
    float pixStep[vissrChannels] = {};
    float centreLine[vissrChannels] = {};
    float centrePixel[vissrChannels] = {}; // the centre is the sum of both parts
    float centrePixelRest[vissrChannels] = {};
    float sensorsPerScan[vissrChannels] = {}; // lines of one turn
    float lineCount[vissrChannels] = {};
    float pixelCount[vissrChannels] = {};
    float tilt = 0;        // of the sensor around its line of sight, radian
    float lineOffset = 0;  // of the line of sight, radian
    float pixelOffset = 0; // likewise
    // The same misalignment for the way from image to earth: column j is row j of the file.
    double misalignment[3][3] = {};
    double spinRate = 0; // turns a minute
};

// One entry of block "attitude"; angles in radian.
struct NbVissrAttitude {
    double mjd = 0;
    double rightAscension = 0; // of the spin axis, around x, from z
    double declination = 0;    // toward x
    double sunAngle = 0;       // from the sun to the scan's centre around the spin axis
};

// One entry of the blocks "orbit1" and "orbit2"; angles in degree.
struct NbVissrOrbit {
    double mjd = 0;
    double inertialPosition[3] = {};
    double inertialVelocity[3] = {};
    double position[3] = {}; // earth-fixed, metres
    double greenwich = 0;
    double sunRightAscension = 0;
    double sunDeclination = 0;
    double rotation[9] = {}; // rows of the file; their transpose turns the spin axis
};

// The calibration block of the file's channel.
struct NbVissrCalibration {
    float albedo[vissrDetectors][vissrCounts] = {}; // visible
    float radiance[vissrLevels] = {};               // infrared, by count
    float temperature[vissrLevels] = {};            // likewise, kelvin
};

// Codes of the selected element.
enum NbVissrElement {
    vissrUnknownName = -99999,
    vissrCountElement = -1,
    vissrNoElement = 0,
    vissrAlbedo = 1,
    vissrTemperature = 2,
    vissrRadiance = 3,
    vissrDetectorCount = 4
};

enum NbVissrLineState : std::uint8_t {
    vissrLineUnread = 0,
    vissrLineRead = 1,   // from the file, or filled
    vissrLineMissing = 2 // and not to be filled with the gap that is set
};

// Results of nbVissrIsErrorLine and of reading a line.
enum NbVissrLineResult {
    vissrGoodLine = 0,
    vissrOffImage = 1,
    vissrOffFile = 2,
    vissrMissingLine = 3,
    vissrNoMemoryForLine = -1
};

struct NbVissrFile {
    NbFilePtr data;
    std::int64_t size = 0; // bytes; 0 when it cannot be told
    bool ebcdic = false;   // texts; reals are IBM's then
    int variant = 0;       // 0 or 1
    std::int64_t recordSize = 0;
    std::array<std::int32_t, 9> header = {}; // see docs/vissr.md

    int channel = -1;
    std::string satellite;
    std::array<std::int16_t, 6> start = {}; // year to second
    int lineGap = 0;                        // bytes between control word and first pixel
    NbVissrTransform transform;
    std::vector<NbVissrAttitude> attitude; // at most 33
    std::vector<NbVissrOrbit> orbit;       // at most 18
    NbVissrCalibration calibration;

    int lines = 0; // of the image
    int pixels = 0;
    int levels = vissrLevels;
    int firstLine = 0;                   // of the file, from 1
    int lastLine = 0;                    // below firstLine for none
    std::vector<std::int32_t> lineTable; // record of each line, from 1; below 1: missing
    std::uint8_t sortIdx[vissrDetectors][vissrCounts] = {}; // visible: level of each count
    float vals[vissrLevels] = {};                           // albedo of each level

    int element = vissrNoElement; // NbVissrElement
    bool keepsDetectors = false;  // the lines in memory are detector and count, not levels
    float shiftPixel = 0;         // user's shift, taken off every position
    float shiftLine = 0;
    int stopGap = 0;               // widest gap to fill, lines; 0: none
    NbLineCache cache;             // samples of the selected element; states are NbVissrLineState
    std::vector<std::byte> record; // room for one line of the file

    bool visible() const { return channel == vissrVisible; }
};

inline NbVissrFile* nbpVissrFile(void* p)
{
    return static_cast<NbVissrFile*>(p);
}

// Reads n bytes at an offset. What the file does not have is zeros.
void nbpVissrReadAt(const NbVissrFile& file, std::int64_t offset, std::byte* out, std::size_t n);
