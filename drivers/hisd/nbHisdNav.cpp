#include "drivers/common/nbGeosTerms.h"
#include "drivers/common/nbRawNav.h"
#include "drivers/common/nbSameBits.h"
#include "drivers/common/nbWrapLon.h"
#include "drivers/hisd/nbHisdFile.h"
#include "geo/nbAstroUtl.h"
#include "sat/nbNavInfo.h"
#include "util/nbNumber.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <utility>

namespace {

constexpr double noPosition = -9999.0;
constexpr float noPositionF = -9999.0F;
constexpr double degPerRad = 57.29577951308232;
constexpr double radPerDeg = 0.017453292519943295; // pi / 180
constexpr double noTime = -1.0;                    // outside the image or the table of times
constexpr double badTime = -3.0;                   // the table has no time there

NbGeosPara geosOf(const NbHisdProjection& block)
{
    return {.distance = block.distance,
            .polarRadius = block.polarRadius,
            .e2 = block.e2,
            .flattening2 = block.flattening2,
            .slant = block.slant};
}

// Earth to column and line (from 1) of the disk.
class EarthToImage {
public:
    explicit EarthToImage(const NbHisdFile& file)
        : block_(file.projection), geos_(geosOf(file.projection))
    {
    }

    // False for what is no position. Height in metres. Column and line of a place behind the limb
    // are its direction as if the earth were clear; `limb` (km^2) is above 0 then.
    bool locate(double lon, double lat, double height, float* column, float* line, double* limb)
    {
        const auto meridian = [this](double latRad, double heightKm) {
            return nbpGeosMeridian(geos_, block_.ratio, latRad, heightKm);
        };
        NbGeosSight sight;
        if (!place_.see(geos_, block_.subLon, lon, lat, height, meridian, &sight)) return false;
        *limb = sight.limb;
        const double x = nbpGeosAngleX(sight) * degPerRad;
        const double y = nbpGeosAngleY(sight) * degPerRad;
        *column = nbpToFloat(block_.cfac * x * 0x1p-16 + static_cast<double>(block_.coff));
        *line = nbpToFloat(block_.lfac * y * 0x1p-16 + static_cast<double>(block_.loff));
        return true;
    }

private:
    const NbHisdProjection& block_;
    NbGeosPara geos_;
    NbGeosPlace place_;
};

// Column and line (from 1) of the disk to earth.
class ImageToEarth {
public:
    explicit ImageToEarth(const NbHisdFile& file)
        : block_(file.projection), geos_(geosOf(file.projection))
    {
    }

    // Error bits; outputs only where there are none. 0-based positions.
    int convert(float pixel, float line, double* lon, double* lat)
    {
        if (pixel == noPositionF || line == noPositionF) return NB_NAV_INPUT;
        x_.turn(pixel, [this](double at) { return angle(at, block_.coff, block_.cfac); });
        y_.turn(line, [this](double at) { return angle(at, block_.loff, block_.lfac); });
        const NbGeosHit hit = nbpGeosHit(geos_, x_.cosine(), x_.sine(), y_.cosine(), y_.sine());
        if (!hit.meets) return NB_NAV_LINE;
        if (!hit.front) return NB_NAV_LIMB;
        const double east = nbpGeosLonRad(hit) * degPerRad + block_.subLon;
        const double north = nbpGeosLatRad(geos_, hit) * degPerRad;
        if (!std::isfinite(east) || !std::isfinite(north)) return NB_NAV_INPUT;
        *lon = nbpWrapLonFloat<NbLonWest::stays>(east);
        *lat = north;
        return 0;
    }

private:
    static double angle(double position, float offset, std::int32_t factor)
    {
        return (position + 1 - static_cast<double>(offset)) * radPerDeg / (factor * 0x1p-16);
    }
    const NbHisdProjection& block_;
    NbGeosPara geos_;
    NbGeosScan x_, y_;
};

NbImageLimits limitsOf(const NbHisdFile& file)
{
    return {file.columns, file.firstLine, file.lastLine};
}

// Time of a line, linear between the entries around it; noTime for a line outside the table.
// The entry is the first one at or behind the line, also in a table that is out of order.
double lineTime(const NbHisdFile& file, int line)
{
    const auto& times = file.lineTimes;
    const auto& reach = file.lineTimesReach;
    if (times.empty() || line < times.front().line || line > times.back().line) return noTime;
    const auto found = std::lower_bound(reach.begin(), reach.end(), line);
    const auto& after = times[static_cast<std::size_t>(found - reach.begin())];
    if (after.line == line) return after.mjd;
    const auto& before = (&after)[-1]; // there is one: the first entry is not behind the line
    return before.mjd +
           (after.mjd - before.mjd) * (line - before.line) / (after.line - before.line);
}

// Time of a 0-based position, MJD; noTime or badTime.
double hisdGetScanTime(const NbHisdFile& file, float pixel, float line)
{
    const int column = nbpNearest16(static_cast<double>(pixel) + 1.0);
    const int diskLine = nbpNearest16(static_cast<double>(line) + 1.0);
    if (column < 1 || column > file.columns) return noTime;
    if (file.lineTimes.empty() || diskLine < file.lineTimes.front().line ||
        diskLine > file.lineTimes.back().line)
        return noTime;
    // Deliberate: the number of lines in this file is compared with a line number of the disk.
    // In a whole disk that is the last line, which has no next one to lead to. In a later segment
    // it is some other line or none, and the last line of its table has no time. Comparing with
    // the last line of the segment would give it one.
    const bool last = diskLine == file.lines;
    const double t1 = lineTime(file, diskLine);
    const double t2 = lineTime(file, last ? diskLine - 1 : diskLine + 1);
    if (t1 <= 0 || t2 <= 0) return badTime;
    const double along = (t2 - t1) * (column - 1) / file.columns;
    return last ? t1 - along : t1 + along;
}

// Fills the geometry of points, where the caller wants it: most calls are for positions alone.
class PointInfo {
public:
    PointInfo(const NbHisdFile& file, NbPointInfo* info) : file_(file), info_(info)
    {
        if (info == nullptr) return;
        const NbHisdNavigation& actual = file.navigation;
        double llr[3] = {actual.nadirLat, actual.nadirLon, actual.distance};
        // Deliberate: the stand-ins are crosswise. An unknown latitude clears the longitude and
        // an unknown longitude puts the sub-satellite longitude in the latitude's place. Files
        // without a nadir have had their angles computed so; straight, all of them move.
        if (actual.nadirLat == hisdUnknown) llr[1] = 0.0;
        if (actual.nadirLon == hisdUnknown) llr[0] = file.projection.subLon;
        if (actual.distance == hisdUnknown) llr[2] = file.projection.distance;
        nbLLRToXYZ(llr, satellite_);
    }

    // Record i of the call. A point without a scan time leaves it as it is.
    void set(int i, float pixel, float line, double lon, double lat) const
    {
        if (info_ == nullptr) return;
        const double mjd = hisdGetScanTime(file_, pixel, line);
        if (mjd > 0) nbNavSetPointInfo(mjd, satellite_, lon, lat, &info_[i]);
    }

private:
    const NbHisdFile& file_;
    NbPointInfo* info_;
    double satellite_[3] = {};
};

// The raw positions that let a list of segments share one navigation.

void rawPosition(void* p, const double* lon, const double* lat, float* pixel, float* line,
                 float* limb, int n)
{
    EarthToImage earth(*nbpHisdFile(p));
    nbpRawPosition(lon, lat, pixel, line, limb, n,
                   [&](double x, double y, float* rawPixel, float* rawLine, double* hidden) {
                       float column = 0;
                       float imageLine = 0;
                       if (!earth.locate(x, y, 0.0, &column, &imageLine, hidden)) return false;
                       *rawPixel = nbpFromZero(column);
                       *rawLine = nbpFromZero(imageLine);
                       return true;
                   });
}

int rawSame(const void* p, const void* q)
{
    const NbHisdProjection& a = static_cast<const NbHisdFile*>(p)->projection;
    const NbHisdProjection& b = static_cast<const NbHisdFile*>(q)->projection;
    return nbpSameBits(a.subLon, b.subLon) && a.cfac == b.cfac && a.lfac == b.lfac &&
           nbpSameBits(a.coff, b.coff) && nbpSameBits(a.loff, b.loff) &&
           nbpSameBits(a.distance, b.distance) && nbpSameBits(a.polarRadius, b.polarRadius) &&
           nbpSameBits(a.e2, b.e2) && nbpSameBits(a.ratio, b.ratio);
}

void rawLimit(void* p, float* pixel, float* line, const float* limb, int n)
{
    nbpRawLimitToImage(pixel, line, limb, n, limitsOf(*nbpHisdFile(p)));
}

void rawBounds(void* p, float box[4])
{
    nbpRawBounds(limitsOf(*nbpHisdFile(p)), box);
}

} // namespace

const NbSatRawNav nbpHisdRawNav = {
    .position = rawPosition, .same = rawSame, .limit = rawLimit, .bounds = rawBounds};

int nbHisdLonLatHgtToPixLinInfoDisk(void* p, const double* lon, const double* lat,
                                    const double* height, float* pixel, float* line,
                                    NbPointInfo* info, int n)
{
    const NbHisdFile& file = *nbpHisdFile(p);
    EarthToImage earth(file);
    const NbImageLimits limits = limitsOf(file);
    const PointInfo geometry(file, info);
    int result = 0;
    for (int i = 0; i < n; ++i) {
        float column = 0;
        float diskLine = 0;
        double limb = 0;
        const double metres = height != nullptr ? height[i] : 0.0;
        const bool known = earth.locate(lon[i], lat[i], metres, &column, &diskLine, &limb);
        pixel[i] = noPositionF;
        line[i] = noPositionF;
        int bits = 0;
        if (!known) {
            bits = NB_NAV_INPUT;
        } else if (!(limb <= 0)) {
            bits = NB_NAV_LIMB;
        } else {
            const float fromLeft = nbpFromZero(column);
            const float fromTop = nbpFromZero(diskLine);
            if (!limits.hasLine(fromTop)) bits |= NB_NAV_LINE;
            if (!limits.hasPixel(fromLeft)) bits |= NB_NAV_PIXEL;
            if (bits == 0) {
                pixel[i] = fromLeft;
                line[i] = fromTop;
            }
        }
        geometry.set(i, pixel[i], line[i], lon[i], lat[i]);
        result |= bits;
    }
    return result;
}

int nbHisdPixLinToLonLatInfoDisk(void* p, const float* pixel, const float* line, double* lon,
                                 double* lat, NbPointInfo* info, int n)
{
    const NbHisdFile& file = *nbpHisdFile(p);
    ImageToEarth image(file);
    const PointInfo geometry(file, info);
    int result = 0;
    for (int i = 0; i < n; ++i) {
        lon[i] = noPosition;
        lat[i] = noPosition;
        result |= image.convert(pixel[i], line[i], &lon[i], &lat[i]);
        geometry.set(i, pixel[i], line[i], lon[i], lat[i]);
    }
    return result;
}

int nbHisdGetSatPosEf(void* p, double, double* position)
{
    const NbHisdFile& file = *nbpHisdFile(p);
    const NbHisdNavigation& actual = file.navigation;
    const double lonLatDist[3] = {
        actual.subLon == hisdUnknown ? file.projection.subLon : actual.subLon,
        actual.subLat == hisdUnknown ? 0.0 : actual.subLat,
        actual.distance == hisdUnknown ? file.projection.distance : actual.distance};
    nbAstroLonLatDistToEf(lonLatDist, position);
    return 0;
}

// The raster is rectified: it has no attitude.
int nbHisdGetSatAtt(void*, double, double* attitude)
{
    std::fill_n(attitude, 3, 0.0);
    return 0;
}

int nbHisdResetAtt(void*, double, const double*, int)
{
    std::fprintf(stderr, "%s : このデータには対応していません。\n", "nbHisdResetAtt()");
    return 0;
}

double nbpHisdGetEndTime(void* p)
{
    const NbHisdFile& file = *nbpHisdFile(p);
    return hisdGetScanTime(file, static_cast<float>(file.columns) - 1.5F,
                           static_cast<float>(file.lastLine) - 1.5F);
}

double nbpHisdGetScanTime(void* p, float pixel, float line)
{
    return hisdGetScanTime(*nbpHisdFile(p), pixel - 1.5F, line - 1.5F);
}
