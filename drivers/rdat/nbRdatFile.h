#pragma once
/**
 * The private record of the RDAT driver, and what its units call of each other.
 *
 * Times are MJD, UTC. Lines of sight are given by two angles in the sensor frame, radians:
 * north (positive to the north) and east (positive to the east). Pairs of them stand in the
 * order in which the file has them, east first, and leave the driver as "first" = north,
 * "second" = east.
 */
#include "drivers/rdat/nbRdat.h"
#include "geo/nbVec3.h"
#include "util/nbArray.h"
#include "util/nbCursor.h"
#include "util/nbUtlFreer.h"

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <span>
#include <vector>

inline constexpr double rdatNone = -9999.0; // no value

// A table of the header: values at times, as the file has them.
template <std::size_t width>
struct NbRdatTimed {
    double mjd = 0; // below 0: an entry that counts for nothing
    std::array<double, width> value{};
};
template <std::size_t width>
using NbRdatTable = std::vector<NbRdatTimed<width>>;

// What a distortion record holds, as places in its 36 values.
inline constexpr std::size_t rdatDistWidth = 36;
inline constexpr std::size_t rdatDistEstimated = 0;   // 10: misalignment, as the fixed one
inline constexpr std::size_t rdatDistTable = 10;      // 2: north, east
inline constexpr std::size_t rdatDistPolynomial = 12; // 12
inline constexpr std::size_t rdatDistAttitude = 33;   // 3: roll, pitch, yaw

inline constexpr std::size_t rdatMisalignment = 10; // parameters of it

struct NbRdatCalibration {
    double referenceMjd = 0; // the time from which a line's intercept moves
    double a = 0, b = 0, c = 0;
    double wavelength = 0;          // micrometre
    double polynomial[3] = {};      // effective to brightness temperature
    double albedo = 0;              // radiance to albedo
    std::uint32_t mode = 0;         // below 2: the base is the intercept moved on in time
    NbRdatTable<1> temperatures[2]; // of the two mirrors, kelvin
    double mirrorA[3] = {};         // emissivity of the mirrors over their angles
    double mirrorB[3] = {};
    double offsetRad = 0; // mirror offset angle
};

struct NbRdatNavigation {
    NbRdatTable<6> orbit;    // J2000: position km, velocity km/s
    NbRdatTable<3> attitude; // roll, pitch, yaw, radians
    NbRdatTable<4> mirror;   // scan angle east, north; fluctuation east, north
    NbRdatTable<rdatDistWidth> distortion;
    NbRdatTable<2> coregistration; // east, north
    std::array<double, rdatMisalignment> misalignment{};
    std::uint32_t distortionMode = 0; // 1 estimated, 2 polynomial, 3 table
};

// What a line's record says.
struct NbRdatLine {
    double mjd = 0; // of its first pixel
    double square = 0, slope = 0, intercept = 0;
    double drift = 0; // of the intercept, per day
    double base = 0;
    double rayEast = 0; // of its detector, radians
    double rayNorth = 0;
};

struct NbRdatHeader {
    int satellite = 0; // 8 or 9
    float leapDays = 0;
    int lines = 0;
    int columns = 0;
    std::int64_t firstLine = 0; // offset
    std::int64_t lineSize = 0;
    int band = 0;
    double lineStep = 0; // radians
    double pixelStep = 0;
    double startMjd = 0; // of the observation
    double endMjd = 0;
    NbRdatCalibration calibration;
    NbRdatNavigation navigation;
    double clockSeconds = 0;          // length of a tick
    std::vector<std::uint32_t> clock; // counts of it over the scan
};

// Everything that is fixed for a column: all its lines are taken at the same time.
struct NbRdatColumn {
    double mjd = 0;
    double mirrorTemp[2] = {};
    double scan[2] = {};        // mirror angles: east, north
    double fluctuation[2] = {}; // of the line of sight: east, north
    double position[3] = {};    // J2000, km
    double velocity[3] = {};    // km/s
    double thetaRad = 0;        // Greenwich sidereal angle
    double np[9] = {};          // J2000 to true equator and equinox of date
    double attitude[3] = {};    // roll, pitch, yaw, radians
    std::array<double, rdatDistWidth> distortion{};
    double coregistration[2] = {}; // east, north
    double sensorToJ2k[9] = {};
    double sensorToEf[9] = {};
    double positionEf[3] = {}; // km
    double normal1[2] = {};    // of the first mirror: x, y; its z is 0
    double normal2[2] = {};    // of the second mirror: y, z; its x is 0
    // Calibration. The emissivities are those of the file's polynomials at the column's angles.
    double g = 0, f = 0;
    double emitted[2] = {}; // radiance of the mirrors
};

// A column's satellite and sensor, prepared for many lines of sight.
struct NbRdatSight {
    double m[9]; // sensor to earth-fixed
    NbVec3 s;    // the satellite, in equatorial radii
    double c;    // s on the ellipsoid
};
struct NbRdatSights {
    double eqR = 0; // figure of the earth that they are made with, km
    double plR = 0;
    double f = 0; // axis ratio
    std::vector<NbRdatSight> columns;
};

// Physical values of pixels, computed on demand: rdatNone before. What is kept is the difference of
// their bits from those of rdatNone, so that memory that the system gives zeroed, and as long as
// nobody touches it at no cost, says rdatNone.
class NbRdatCache {
public:
    void reset(std::size_t pixels, const char* caller)
    {
        bits_.reset(
            static_cast<std::uint64_t*>(nbUtlCalloc(pixels, sizeof(std::uint64_t), caller)));
        if (!bits_) throw std::bad_alloc();
    }
    double get(std::size_t at) const { return std::bit_cast<double>(bits_[at] ^ none); }
    void set(std::size_t at, double value)
    {
        bits_[at] = std::bit_cast<std::uint64_t>(value) ^ none;
    }

private:
    static constexpr auto none = std::bit_cast<std::uint64_t>(rdatNone);
    std::unique_ptr<std::uint64_t[], NbUtlFreer> bits_;
};

enum NbRdatKind {
    rdatNoElement = -9999,
    rdatAlbedo = 1,
    rdatRadiance = 2,
    rdatTemperature = 3,
    rdatCounts = 4
};

struct NbRdatFile {
    NbRdatHeader header;
    std::vector<NbRdatLine> lines;
    std::vector<NbRdatColumn> columns; // empty in dump mode: then nothing has a place
    NbArray<std::uint16_t> words;      // pixels: count << 2, bit 0 set for an invalid one

    // Rows of the image, a value a column.
    NbArray<double> first;  // angles of the line of sight: north
    NbArray<double> second; // east
    NbArray<double> lon;    // 0 up to 360
    NbArray<double> lat;
    NbRdatCache radiance;
    NbRdatCache physical;
    NbRdatSights sights; // of the columns

    double lonMin = 9999.0, lonMax = -9999.0; // of all pixels on the earth
    double latMin = 9999.0, latMax = -9999.0;
    double refFirst = rdatNone; // angles of pixel (0, 0)
    double refSecond = rdatNone;
    float lineStep = 0; // of the first angle from line to line, with its true sign
    int levels = 0;
    int kind = rdatNoElement;
    float shiftPixel = 0; // user's shift, added to every position that is read
    float shiftLine = 0;

    NbRdatFile();
    bool inside(int column, int line) const
    {
        return column >= 0 && column < header.columns && line >= 0 && line < header.lines;
    }
    std::size_t at(int column, int line) const
    {
        return static_cast<std::size_t>(line) * static_cast<std::size_t>(header.columns) +
               static_cast<std::size_t>(column);
    }
    bool solar() const { return header.band < 7; }
};

inline double nbpRdatTo360(double lon)
{
    return lon < 0 ? lon + 360 : lon;
}

inline NbRdatFile* nbpRdatFile(void* p)
{
    return static_cast<NbRdatFile*>(p);
}

// nbRdatGetRdatFile: headers, lines and pixels of the file's bytes. One of NbRdatOpenResult.
int nbpRdatGetRdat(std::span<const std::byte> bytes, const char* path, NbRdatFile* file);
// nbRdatIpFileHeader: the header's tables at the time of each column. False without them.
bool nbpRdatIpFileHeader(NbRdatFile* file);
// nbRdatLocate: the line of sight and the place of every pixel.
void nbpRdatLocate(NbRdatFile* file);
// Makes the sights for the figure of the earth that holds now, unless they are. They have room
// after nbpRdatLocate: then it throws nothing.
const NbRdatSights& nbpRdatSights(NbRdatFile* file);
// nbRdatElem: levels of a band; 0 for none that there is.
int nbpRdatLevels(int band);
// nbRdatCalib: what is fixed for a column.
void nbpRdatPrepareCalib(NbRdatFile* file);
// Value of a count for an element kind 1 to 3, not above -9000 where there is none.
double nbpRdatRadiance(const NbRdatFile& file, int line, int column, int count);
double nbpRdatFromRadiance(const NbRdatFile& file, int kind, double radiance);
