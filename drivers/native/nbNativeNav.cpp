#include "drivers/common/nbGeosTerms.h"
#include "drivers/common/nbRawNav.h"
#include "drivers/common/nbSameBits.h"
#include "drivers/common/nbWrapLon.h"
#include "drivers/native/nbNativeFile.h"
#include "geo/nbAstroUtl.h"
#include "sat/nbNavInfo.h"
#include "util/nbNumber.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr double noPosition = -9999.0;
constexpr float noPositionF = -9999.0F;
constexpr double degPerRad = 57.29577951308232;
constexpr double radPerDeg = 0.017453292519943295; // pi / 180

// The normalised geostationary earth of the image description. The figures were rounded apart.
constexpr NbGeosPara nativeGeos = {
    .distance = 42164.0,
    .polarRadius = 6356.5838,
    .e2 = 0.00675701,
    .flattening2 = 1.006803,
    .slant = 1737121856.0,
};
constexpr double radiusRatio = 0.993243; // polar^2 / equatorial^2

// Columns and lines per radian x 2^16 of a grid that begins in the south-east, and the
// sub-satellite point, from 1.
constexpr double cfacVisIr = -781648343.0;
constexpr double cfacHrv = -2344944937.0;
constexpr double coffVisIr = 1856.0;

struct View {
    double subLon;
    double cfac, lfac;
    double coff, loff;

    explicit View(const NbNativeFile& file) : subLon(static_cast<double>(file.subLon))
    {
        const bool isHrv = file.channel == nativeHrv;
        const auto origin = file.gridOf(file.channel).origin;
        cfac = lfac = isHrv ? cfacHrv : cfacVisIr;
        coff = isHrv ? file.coffHrv : coffVisIr;
        loff = isHrv ? file.loffHrv : coffVisIr;
        if (origin == nativeNorthWest || origin == nativeSouthWest) cfac = -cfac;
        if (origin == nativeNorthWest || origin == nativeNorthEast) lfac = -lfac;
    }
};

// A point of the earth in its meridian plane. Height in km.
NbGeosMeridian meridianOf(double latRad, double heightKm)
{
    const double c = std::atan(radiusRatio * std::sin(latRad) / std::cos(latRad));
    const double u = std::sin(c);
    const double w = std::sqrt(1 - u * u);
    const double r = heightKm + nativeGeos.polarRadius / std::sqrt(1.0 - nativeGeos.e2 * (w * w));
    return {.axis = r * w, .north = r * u};
}

class EarthToImage {
public:
    explicit EarthToImage(const NbNativeFile& file) : view_(file) {}

    // False for what is no position. Height in metres. Pixel and line (from 0) of a place behind
    // the limb are its direction as if the earth were clear; `limb` (km^2) is above 0 then.
    bool locate(double lon, double lat, double height, float* pixel, float* line, double* limb)
    {
        NbGeosSight sight;
        if (!place_.see(nativeGeos, view_.subLon, lon, lat, height, meridianOf, &sight))
            return false;
        *limb = sight.limb;
        const double x = nbpGeosAngleX(sight);
        const double y = nbpGeosAngleY(sight);
        *pixel = nbpToFloat((x * 0x1p-16 * view_.cfac + view_.coff) - 1);
        *line = nbpToFloat((view_.loff + y * 0x1p-16 * view_.lfac) - 1);
        return true;
    }

private:
    View view_;
    NbGeosPlace place_;
};

class ImageToEarth {
public:
    explicit ImageToEarth(const NbNativeFile& file) : view_(file) {}

    // Outputs stay as they are where the line of sight has no point.
    void convert(float pixel, float line, double* lon, double* lat)
    {
        x_.turn(pixel, [&](double at) { return (at + 1 - view_.coff) / (view_.cfac * 0x1p-16); });
        y_.turn(line, [&](double at) { return (at + 1 - view_.loff) / (view_.lfac * 0x1p-16); });
        const NbGeosHit hit =
            nbpGeosHit(nativeGeos, x_.cosine(), x_.sine(), y_.cosine(), y_.sine());
        if (!hit.meets || !hit.front) return;
        const double east = nbpGeosLonRad(hit) * degPerRad + view_.subLon;
        const double north = nbpGeosLatRad(nativeGeos, hit) * degPerRad;
        if (!std::isfinite(east) || !std::isfinite(north)) return;
        *lon = nbpWrapLonFloat<NbLonWest::becomes180>(east);
        *lat = north;
    }

private:
    View view_;
    NbGeosScan x_, y_;
};

// Time of a position, MJD; nativeNoTime for none. The last line has none.
double nativeGetScanTime(NbNativeFile* file, float line)
{
    const int number = nbpNearest16(static_cast<double>(line) + 1.0); // from 1
    if (number < 1 || number > file->lines - 1) return nativeNoTime;
    return nbpNativeLineTime(file, number - 1);
}

// Geometry of a point. One without a time leaves `info` as it is.
void nativeSetPointInfo(NbNativeFile* file, float line, double lon, double lat, NbPointInfo* info)
{
    const double mjd = nativeGetScanTime(file, line);
    if (!(mjd > 0)) return;
    const double llr[3] = {0.0, static_cast<double>(file->subLon), nativeGeos.distance};
    double satellite[3];
    nbLLRToXYZ(llr, satellite);
    nbNavSetPointInfo(mjd, satellite, lon, lat, info);
}

// The raw positions, which spare map cells behind the limb.

void rawPosition(void* p, const double* lon, const double* lat, float* pixel, float* line,
                 float* limb, int n)
{
    const NbNativeFile& file = *nbpNativeFile(p);
    EarthToImage earth(file);
    nbpRawPosition(lon, lat, pixel, line, limb, n,
                   [&](double x, double y, float* rawPixel, float* rawLine, double* hidden) {
                       return !file.lost && earth.locate(x, y, 0.0, rawPixel, rawLine, hidden);
                   });
}

int rawSame(const void* p, const void* q)
{
    const auto* a = static_cast<const NbNativeFile*>(p);
    const auto* b = static_cast<const NbNativeFile*>(q);
    const View v(*a);
    const View w(*b);
    return !a->lost && !b->lost && nbpSameBits(v.subLon, w.subLon) && nbpSameBits(v.cfac, w.cfac) &&
           nbpSameBits(v.lfac, w.lfac) && nbpSameBits(v.coff, w.coff) &&
           nbpSameBits(v.loff, w.loff);
}

// A place that is seen has a position, also where the file's lines do not reach.
void rawLimit(void*, float* pixel, float* line, const float* limb, int n)
{
    nbpRawLimit(pixel, line, limb, n, [](float, float) { return true; });
}

// The disk: its edge lies asin(6378.169 / 42164) = 0.1519 from the centre.
void rawBounds(void* p, float box[4])
{
    const View view(*nbpNativeFile(p));
    const double radius = 0.152 * std::abs(view.cfac) * 0x1p-16;
    box[0] = nbpToFloat(view.coff - 1 - radius);
    box[1] = nbpToFloat(view.coff - 1 + radius);
    box[2] = nbpToFloat(view.loff - 1 - radius);
    box[3] = nbpToFloat(view.loff - 1 + radius);
}

} // namespace

const NbSatRawNav nbpNativeRawNav = {
    .position = rawPosition, .same = rawSame, .limit = rawLimit, .bounds = rawBounds};

int nbNativeLonLatHgtToPixLinInfo(void* p, const double* lon, const double* lat,
                                  const double* height, float* pixel, float* line,
                                  NbPointInfo* info, int n)
{
    NbNativeFile* file = nbpNativeFile(p);
    EarthToImage earth(*file);
    int result = 0;
    for (int i = 0; i < n; ++i) {
        double limb = 0;
        const double metres = height != nullptr ? height[i] : 0.0;
        int bits = 0;
        if (file->lost || !earth.locate(lon[i], lat[i], metres, &pixel[i], &line[i], &limb))
            bits = NB_NAV_INPUT;
        else if (!(limb <= 0))
            bits = NB_NAV_LIMB;
        if (bits != 0) {
            pixel[i] = noPositionF;
            line[i] = noPositionF;
        } else if (info != nullptr) {
            nativeSetPointInfo(file, line[i], lon[i], lat[i], &info[i]);
        }
        result |= bits;
    }
    return file->lost ? -1 : result;
}

// Deliberate: the result is 0, also when points have no place on earth; only their outputs show
// it. Callers take another result for a failure of the whole call.
int nbNativePixLinToLonLatInfo(void* p, const float* pixel, const float* line, double* lon,
                               double* lat, NbPointInfo* info, int n)
{
    NbNativeFile* file = nbpNativeFile(p);
    ImageToEarth image(*file);
    for (int i = 0; i < n; ++i) {
        lon[i] = noPosition;
        lat[i] = noPosition;
        if (file->lost) continue;
        image.convert(pixel[i], line[i], &lon[i], &lat[i]);
        if (info != nullptr) nativeSetPointInfo(file, line[i], lon[i], lat[i], &info[i]);
    }
    return file->lost ? -1 : 0;
}

int nbNativeGetSatPosEf(void* p, double, double* position)
{
    const NbNativeFile* file = nbpNativeFile(p);
    if (file->lost) return -1;
    const double lonLatDist[3] = {static_cast<double>(file->subLon), 0.0, nativeGeos.distance};
    nbAstroLonLatDistToEf(lonLatDist, position);
    return 0;
}

// The image is rectified: it has no attitude.
int nbNativeGetSatAtt(void* p, double, double* attitude)
{
    std::fill_n(attitude, 3, 0.0);
    return nbpNativeFile(p)->lost ? -1 : 0;
}
