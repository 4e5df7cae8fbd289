#include "drivers/common/nbGeosTerms.h"
#include "drivers/common/nbRawNav.h"
#include "drivers/common/nbSameBits.h"
#include "drivers/common/nbWrapLon.h"
#include "drivers/hrit/nbHritFile.h"
#include "drivers/hrit/nbHritGeos.h"
#include "geo/nbAstroUtl.h"
#include "sat/nbNavInfo.h"
#include "util/nbNumber.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <numbers>

namespace {

constexpr double noPosition = -9999.0;
constexpr float noPositionF = -9999.0F;
constexpr double noTime = -1.0;
constexpr double pi = std::numbers::pi;
constexpr double degPerRad = 57.29577951308232;
constexpr double radPerDeg = 0.017453292519943295; // pi / 180

bool isPlace(double lon, double lat)
{
    return lon != noPosition && std::isfinite(lon) && lat >= -90 && lat <= 90;
}

// One pixel of a projection's plane, columns and lines.
double perUnit(std::int32_t factor)
{
    return factor * 0x1p-16;
}

NbImageLimits limitsOf(const NbHritFile& file)
{
    return {file.columns, file.firstLine, file.lastLine};
}

// The projections. Each has a way to the image, `locate`, which gives column and line from 1 and
// error bits, and a way to the earth, `place`, from 0-based positions that lie in the image.

class DiskImage {
public:
    explicit DiskImage(const NbHritFile& file) : p_(file.projection) {}

    // False for what is no position. Height in metres. Column and line of a place behind the limb
    // are its direction as if the earth were clear; `limb` (km^2) is above 0 then.
    bool direct(double lon, double lat, double height, float* column, float* line, double* limb)
    {
        NbGeosSight sight;
        if (!place_.see(hritGeos, p_.subLon, lon, lat, height, nbpHritMeridian, &sight))
            return false;
        *limb = sight.limb;
        const double x = nbpGeosAngleX(sight) * degPerRad;
        const double y = nbpGeosAngleY(sight) * degPerRad;
        *column = nbpToFloat(p_.cfac * x * 0x1p-16 + p_.coff);
        *line = nbpToFloat(perUnit(p_.lfac) * y + p_.loff);
        return true;
    }

    int locate(double lon, double lat, double height, float* column, float* line)
    {
        double limb = 0;
        if (!direct(lon, lat, height, column, line, &limb)) return NB_NAV_INPUT;
        return limb <= 0 ? 0 : NB_NAV_LIMB;
    }

private:
    const NbHritProjection& p_;
    NbGeosPlace place_;
};

class DiskEarth {
public:
    explicit DiskEarth(const NbHritFile& file) : p_(file.projection) {}

    int place(float pixel, float line, double* lon, double* lat)
    {
        x_.turn(pixel, [this](double at) { return angle(at, p_.coff, p_.cfac); });
        y_.turn(line, [this](double at) { return angle(at, p_.loff, p_.lfac); });
        const NbGeosHit hit = nbpGeosHit(hritGeos, x_.cosine(), x_.sine(), y_.cosine(), y_.sine());
        if (!hit.meets) return NB_NAV_LINE;
        if (!hit.front) return NB_NAV_LIMB;
        const double east = nbpGeosLonRad(hit) * degPerRad + p_.subLon;
        *lat = nbpGeosLatRad(hritGeos, hit) * degPerRad;
        *lon = std::isfinite(east) ? nbpWrapLonFloat<NbLonWest::becomes180>(east) : east;
        return 0;
    }

private:
    static double angle(double position, std::int32_t offset, std::int32_t factor)
    {
        return (position + 1 - offset) * radPerDeg / perUnit(factor);
    }
    const NbHritProjection& p_;
    NbGeosScan x_, y_;
};

// Polar stereographic on a sphere; the plane's unit is twice its radius.
class PolarImage {
public:
    explicit PolarImage(const NbHritFile& file)
        : p_(file.projection), reference_(nbpWrapLon(p_.reference))
    {
    }
    int locate(double lon, double lat, double /* height */, float* column, float* line) const
    {
        if (!isPlace(lon, lat)) return NB_NAV_INPUT;
        lon = nbpWrapLon(lon);
        const double turn = 180 - reference_;
        const double d = ((lon + turn) - (reference_ + turn)) * radPerDeg;
        const double t = std::tan((pi / 2 - lat * radPerDeg * p_.hemisphere) * 0.5);
        *column = nbpToFloat(p_.cfac * t * std::sin(d) * 0x1p-16 + p_.coff);
        *line = nbpToFloat(perUnit(p_.lfac) * t * std::cos(d) + p_.loff);
        return 0;
    }

private:
    const NbHritProjection& p_;
    double reference_;
};

class PolarEarth {
public:
    explicit PolarEarth(const NbHritFile& file)
        : p_(file.projection), reference_(nbpWrapLon(p_.reference))
    {
    }
    int place(float pixel, float line, double* lon, double* lat) const
    {
        const double x = (static_cast<double>(pixel) + 1 - p_.coff) / perUnit(p_.cfac);
        const double y = (static_cast<double>(line) + 1 - p_.loff) / perUnit(p_.lfac);
        const double s = y == 0 ? 1.0 : y / std::abs(y);
        // Deliberate: above the pole (y below 0) half a circle comes on top of an angle that knows
        // its quadrant, so longitudes there lie opposite to those that lead to the position. Images
        // end below the pole; turning them back moves what others have made of the rest.
        *lon = (1 - s) * p_.hemisphere * 90 + std::atan2(x, y) * degPerRad + reference_;
        *lat = (90 - std::atan(std::sqrt(x * x + y * y)) * 114.59155902616465) * p_.hemisphere;
        return 0;
    }

private:
    const NbHritProjection& p_;
    double reference_;
};

// Mercator on a sphere; the plane's unit is half the equator.
class MercImage {
public:
    explicit MercImage(const NbHritFile& file) : p_(file.projection) {}
    int locate(double lon, double lat, double /* height */, float* column, float* line) const
    {
        if (!isPlace(lon, lat)) return NB_NAV_INPUT;
        const double x = nbpWrapLon(lon, 0, 360) / 180;
        const double y = std::log(std::tan((pi / 2 - lat * radPerDeg) * 0.5));
        *column = nbpToFloat(p_.cfac * x * 0x1p-16 + p_.coff);
        *line = nbpToFloat(perUnit(p_.lfac) * y / pi + p_.loff);
        return 0;
    }

private:
    const NbHritProjection& p_;
};

class MercEarth {
public:
    explicit MercEarth(const NbHritFile& file) : p_(file.projection) {}
    int place(float pixel, float line, double* lon, double* lat) const
    {
        *lon = (static_cast<double>(pixel) + 1 - p_.coff) / perUnit(p_.cfac) * 180;
        const double y = 3.1415927 * (static_cast<double>(line) + 1 - p_.loff) / perUnit(p_.lfac);
        *lat = 90 - 2 * std::atan(std::exp(y)) * degPerRad;
        return 0;
    }

private:
    const NbHritProjection& p_;
};

// Time of a line, linear between the entries around it; noTime for a line outside the table.
double lineTime(const NbHritFile& file, int line)
{
    const auto& times = file.times;
    if (times.empty() || line < times.front().line || line > times.back().line) return noTime;
    const auto after = std::ranges::lower_bound(times, line, {}, &NbHritTimeEntry::line);
    if (after->line == line) return after->mjd;
    const auto before = after - 1; // there is one: the first entry is not behind the line
    const double step = static_cast<double>(line) - before->line;
    const double steps = static_cast<double>(after->line) - before->line;
    return before->mjd + (after->mjd - before->mjd) * step / steps;
}

// Time of a pixel in the scan time file, a raster of one double for each infrared pixel.
double rasterTime(const NbHritFile& file, int column, int line)
{
    std::int64_t l = line - 1;
    std::int64_t c = column - 1;
    std::int64_t width = file.columns;
    if (file.channel == 0) { // four times as dense
        l /= 4;
        c /= 4;
        width /= 4;
    }
    constexpr std::int64_t size = sizeof(double);
    std::FILE* in = file.scanTime.get();
    std::byte bytes[size];
    double value = noTime;
    if (nbpFileSeek(in, (l * width + c) * size) && std::fread(bytes, size, 1, in) == 1)
        std::memcpy(&value, bytes, size);
    // Deliberate: the mark of no time is turned round with the rest. In a file of the other byte
    // order it is then a time just above 0, and points beyond the raster have angles of the first
    // day of the count instead of none.
    if (file.order != nbCpuByteOrder) {
        auto turned = std::bit_cast<std::array<std::byte, sizeof value>>(value);
        std::ranges::reverse(turned);
        value = std::bit_cast<double>(turned);
    }
    return value;
}

// Time of a 0-based position, MJD; noTime where the tables have none.
double hritGetScanTime(const NbHritFile& file, float pixel, float line)
{
    const int column = nbpNearest16(static_cast<double>(pixel) + 1.0);
    const int lin = nbpNearest16(static_cast<double>(line) + 1.0);
    if (file.scanTime) return rasterTime(file, column, lin);
    if (file.times.empty() || lin < file.times.front().line || lin > file.times.back().line)
        return noTime;
    const bool last = lin == file.times.back().line;
    const double t1 = lineTime(file, lin);
    const double t2 = lineTime(file, last ? lin - 1 : lin + 1);
    if (!(t1 > 0 && t2 > 0)) return noTime;
    const double along = (t2 - t1) * (column - 1) / (file.columns - 1);
    return last ? t1 - along : t1 + along;
}

// Fills the geometry of points.
class PointInfo {
public:
    explicit PointInfo(const NbHritFile& file) : file_(file)
    {
        const double llr[3] = {0.0, file.projection.subLon, hritGeos.distance};
        nbLLRToXYZ(llr, satellite_);
    }
    // A point without a scan time leaves `info` as it is.
    void set(float pixel, float line, double lon, double lat, NbPointInfo* info) const
    {
        const double mjd = hritGetScanTime(file_, pixel, line);
        if (mjd > 0) nbNavSetPointInfo(mjd, satellite_, lon, lat, info);
    }

private:
    const NbHritFile& file_;
    double satellite_[3];
};

template <class Image>
int toImage(const NbHritFile& file, const double* lon, const double* lat, const double* height,
            float* pixel, float* line, NbPointInfo* info, int n)
{
    Image image(file);
    const NbImageLimits limits = limitsOf(file);
    const PointInfo geometry(file);
    int result = 0;
    for (int i = 0; i < n; ++i) {
        float column = 0;
        float imageLine = 0;
        const double metres = height != nullptr ? height[i] : 0.0;
        int bits = image.locate(lon[i], lat[i], metres, &column, &imageLine);
        pixel[i] = noPositionF;
        line[i] = noPositionF;
        if (bits == 0) {
            const float fromLeft = nbpFromZero(column);
            const float fromTop = nbpFromZero(imageLine);
            if (!limits.hasLine(fromTop)) bits |= NB_NAV_LINE;
            if (!limits.hasPixel(fromLeft)) bits |= NB_NAV_PIXEL;
            if (bits == 0) {
                pixel[i] = fromLeft;
                line[i] = fromTop;
                if (info != nullptr) geometry.set(pixel[i], line[i], lon[i], lat[i], &info[i]);
            }
        }
        result |= bits;
    }
    return result;
}

// Positions to the earth without anything else.
template <class Earth>
void toEarth(const NbHritFile& file, const float* pixel, const float* line, double* lon,
             double* lat, int n)
{
    Earth earth(file);
    const NbImageLimits limits = limitsOf(file);
    for (int i = 0; i < n; ++i) {
        lon[i] = lat[i] = noPosition;
        if (!limits.hasPixel(pixel[i]) || !limits.hasLine(line[i])) continue;
        double east = noPosition;
        double north = noPosition;
        if (earth.place(pixel[i], line[i], &east, &north) != 0) continue;
        if (!std::isfinite(east) || !std::isfinite(north)) continue;
        lon[i] = east;
        lat[i] = north;
    }
}

// Deliberate: the result is 0 whatever the points were; a failed one shows by its marks alone.
// Callers that test the result go on past the limb because of it.
template <class Earth>
int toEarthInfo(const NbHritFile& file, const float* pixel, const float* line, double* lon,
                double* lat, NbPointInfo* info, int n)
{
    toEarth<Earth>(file, pixel, line, lon, lat, n);
    if (info != nullptr) {
        const PointInfo geometry(file);
        for (int i = 0; i < n; ++i)
            geometry.set(pixel[i], line[i], lon[i], lat[i], &info[i]);
    }
    return 0;
}

// The raw positions of the disk, by which a list of segments shares one navigation.

void rawPosition(void* p, const double* lon, const double* lat, float* pixel, float* line,
                 float* limb, int n)
{
    DiskImage image(*nbpHritFile(p));
    nbpRawPosition(lon, lat, pixel, line, limb, n,
                   [&](double x, double y, float* rawPixel, float* rawLine, double* hidden) {
                       float column = 0;
                       float imageLine = 0;
                       if (!image.direct(x, y, 0.0, &column, &imageLine, hidden)) return false;
                       *rawPixel = nbpFromZero(column);
                       *rawLine = nbpFromZero(imageLine);
                       return true;
                   });
}

int rawSame(const void* p, const void* q)
{
    const NbHritProjection& a = static_cast<const NbHritFile*>(p)->projection;
    const NbHritProjection& b = static_cast<const NbHritFile*>(q)->projection;
    return a.kind == b.kind && nbpSameBits(a.subLon, b.subLon) && a.cfac == b.cfac &&
           a.lfac == b.lfac && a.coff == b.coff && a.loff == b.loff;
}

void rawLimit(void* p, float* pixel, float* line, const float* limb, int n)
{
    nbpRawLimitToImage(pixel, line, limb, n, limitsOf(*nbpHritFile(p)));
}

void rawBounds(void* p, float box[4])
{
    nbpRawBounds(limitsOf(*nbpHritFile(p)), box);
}

} // namespace

const NbSatRawNav nbpHritRawNav = {
    .position = rawPosition, .same = rawSame, .limit = rawLimit, .bounds = rawBounds};

int nbpHritHasRawNav(const void* p)
{
    return static_cast<const NbHritFile*>(p)->projection.kind == hritDisk;
}

void nbpHritToEarth(NbHritFile* file, const float* pixel, const float* line, double* lon,
                    double* lat, int n)
{
    switch (file->projection.kind) {
    case hritDisk:
        return toEarth<DiskEarth>(*file, pixel, line, lon, lat, n);
    case hritPolar:
        return toEarth<PolarEarth>(*file, pixel, line, lon, lat, n);
    case hritMercator:
        return toEarth<MercEarth>(*file, pixel, line, lon, lat, n);
    default:
        std::fill_n(lon, n, noPosition);
        std::fill_n(lat, n, noPosition);
    }
}

int nbHritLonLatHgtToPixLinInfoDisk(void* p, const double* lon, const double* lat,
                                    const double* height, float* pixel, float* line,
                                    NbPointInfo* info, int n)
{
    return toImage<DiskImage>(*nbpHritFile(p), lon, lat, height, pixel, line, info, n);
}

int nbHritPixLinToLonLatInfoDisk(void* p, const float* pixel, const float* line, double* lon,
                                 double* lat, NbPointInfo* info, int n)
{
    return toEarthInfo<DiskEarth>(*nbpHritFile(p), pixel, line, lon, lat, info, n);
}

int nbHritLonLatHgtToPixLinInfoPolar(void* p, const double* lon, const double* lat,
                                     const double* height, float* pixel, float* line,
                                     NbPointInfo* info, int n)
{
    return toImage<PolarImage>(*nbpHritFile(p), lon, lat, height, pixel, line, info, n);
}

int nbHritPixLinToLonLatInfoPolar(void* p, const float* pixel, const float* line, double* lon,
                                  double* lat, NbPointInfo* info, int n)
{
    return toEarthInfo<PolarEarth>(*nbpHritFile(p), pixel, line, lon, lat, info, n);
}

int nbHritLonLatHgtToPixLinInfoMerc(void* p, const double* lon, const double* lat,
                                    const double* height, float* pixel, float* line,
                                    NbPointInfo* info, int n)
{
    return toImage<MercImage>(*nbpHritFile(p), lon, lat, height, pixel, line, info, n);
}

int nbHritPixLinToLonLatInfoMerc(void* p, const float* pixel, const float* line, double* lon,
                                 double* lat, NbPointInfo* info, int n)
{
    return toEarthInfo<MercEarth>(*nbpHritFile(p), pixel, line, lon, lat, info, n);
}

// Deliberate: metres, while the other drivers give km. What takes the direction alone does not
// notice; what takes the distance has scaled it.
int nbHritGetSatPosEf(void* p, double, double* position)
{
    const double lonLatDist[3] = {nbpHritFile(p)->projection.subLon, 0.0, 42164000.0};
    nbAstroLonLatDistToEf(lonLatDist, position);
    return 0;
}

// The image is rectified: it has no attitude.
int nbHritGetSatAtt(void*, double, double* attitude)
{
    std::fill_n(attitude, 3, 0.0);
    return 0;
}

int nbHritResetAtt(void*, double, const double*, int)
{
    std::fprintf(stderr, "%s : このデータには対応していません。\n", "nbHritResetAtt()");
    return 0;
}

double nbpHritGetEndTime(void* p)
{
    const NbHritFile& file = *nbpHritFile(p);
    return hritGetScanTime(file, static_cast<float>(file.columns) - 1.5F,
                           static_cast<float>(file.lastLine) - 1.5F);
}
