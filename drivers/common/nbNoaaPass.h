#pragma once
/**
 * What both layouts of NOAA level 1b (global area coverage of the AVHRR) share of a file: its
 * records, the earth location that every line carries, the counts, and the selected elements.
 */
#include "drivers/common/nbLineCache.h"
#include "util/nbArray.h"
#include "util/nbCursor.h"
#include "util/nbFile.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

inline constexpr int noaaPixels = 409;
inline constexpr int noaaSlots = 5;    // samples of a pixel
inline constexpr int noaaAnchors = 51; // points of a line with a location
inline constexpr int noaaLevels = 1024;
inline constexpr int noaaLongest = 32767;                 // lines
inline constexpr std::size_t noaaSampleLength = 682 * 4U; // three samples to a word

// Earth location of a line at pixels 4, 12, ... 404, and when it was scanned.
struct NbNoaaLine {
    double mjd = 0;      // not above 0: unknown
    double altitude = 0; // of the satellite, km
    std::array<double, noaaAnchors> lat{};
    std::array<double, noaaAnchors> lon{}; // -180 to 180
    // In parts of a degree, NbNoaaPass::perDegree.
    std::array<std::int16_t, noaaAnchors> sunZenith{};
    std::array<std::int16_t, noaaAnchors> satZenith{};
    std::array<std::int16_t, noaaAnchors> relAzimuth{}; // sun's azimuth minus the satellite's
};

// For cells of 10 degrees, from the south pole and the date line: a line that passes near by,
// -1 for none.
struct NbNoaaCells {
    static constexpr int rows = 18;
    static constexpr int columns = 36;
    using Layer = std::array<std::array<std::int16_t, columns>, rows>;
    Layer first;  // the later pass, or the only one
    Layer second; // the earlier of two passes
    Layer near;   // where both have none: a line of a cell close by
};

// The lines of a file as navigation sees them.
struct NbNoaaPass {
    NbArray<NbNoaaLine> line{NbAllocator<NbNoaaLine>("nbpNoaaLoadPass()")}; // that the file holds
    bool loaded = false;
    NbNoaaCells cells{};
    bool haveCells = false;
    double perDegree = 1;   // of the angles at the anchors
    bool satAngles = false; // there is more than the sun's zenith angle
    float shiftPixel = 0;   // user's shift
    float shiftLine = 0;

    int lines() const { return static_cast<int>(line.size()); }
};

// Where the line records stand. A record starts with information and samples follow it.
struct NbNoaaRecords {
    NbFilePtr stream;
    std::int64_t first = 0;     // offset of line 0
    std::int64_t length = 0;    // of a record
    std::size_t infoLength = 0; // up to the samples
    int lines = 0;              // as the header says
    int present = 0;            // whose information the file holds

    // Counts the lines that a file of this size holds.
    void countPresent(std::int64_t fileSize);
    // Reads the first bytes of a line's record; false when the file ends before.
    bool read(int n, std::span<std::byte> out) const;
};

// An element: samples of one channel.
struct NbNoaaElement {
    int channel = 0;  // -2 is 3A
    int physics = -1; // a code of the physics table; -1 counts

    int slot() const { return channel == -2 ? 2 : channel; }
};

struct NbNoaaImage {
    NbNoaaRecords records;
    NbNoaaPass pass;
    int satNumber = 0;
    std::vector<NbNoaaElement> elements; // selected; empty for none
    NbLineCache counts;                  // a line has noaaSlots counts for each pixel
    int stopGap = 0;                     // stored; gaps are not filled
};

// Samples packed three to a big-endian word behind two unused bits.
void nbpNoaaUnpack(std::span<const std::byte> packed, std::span<std::uint16_t> counts);

// Reads the location of every line, once. `decode` takes a line out of its record's information.
template <class Decode>
void nbpNoaaLoadPass(NbNoaaImage* image, Decode decode)
{
    NbNoaaPass& pass = image->pass;
    if (pass.loaded) return;
    std::vector<std::byte> info(image->records.infoLength);
    pass.line.resize(static_cast<std::size_t>(image->records.present));
    std::size_t n = 0;
    while (n < pass.line.size() && image->records.read(static_cast<int>(n), info)) {
        decode(NbCursor(info, NbByteOrder::Big), &pass.line[n]);
        ++n;
    }
    pass.line.resize(n);
    pass.loaded = true;
}
