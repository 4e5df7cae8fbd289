#include "drivers/common/nbWrapLon.h"
#include "drivers/gvar/nbGvarFile.h"
#include "drivers/gvar/nbGvarTime.h"
#include "geo/nbAstroUtl.h"
#include "geo/nbDate.h"
#include "sat/nbNavInfo.h"
#include "util/nbNumber.h"

#include <cmath>

namespace {

constexpr double noPosition = -9999.0;
constexpr float noPositionF = -9999.0F;
constexpr double degPerRad = 57.29577951308232;
constexpr double radPerDeg = 0.017453292519943295; // pi / 180
constexpr double rho = 1 - gvarFlattening;         // polar by equatorial radius
constexpr double firstDetector = 4.5; // visible lines from the scan's centre to its first one
constexpr double centreCycles = 2.5;  // east-west cycles at the instrument's own centre

// A visible line in the lines of a channel that are four or eight times as high. Both count
// from 1; the thermal detectors stand half a line lower.
struct LineRule {
    double factor;
    double offset;
};
constexpr LineRule wholeLines{1.0, 0.0};
constexpr LineRule quarterLines{0.25, 0.5 + 0.125};
constexpr LineRule eighthLines{0.125, 0.0625};

LineRule lineRule(int satellite, int channel)
{
    if (channel == 0) return wholeLines;
    const int eighth = satellite == 12 ? 4 : 2;
    return channel == eighth ? eighthLines : quarterLines;
}

double chLinToVisLin(int satellite, int channel, double line)
{
    if (channel == 0) return line;
    const LineRule rule = lineRule(satellite, channel);
    return ((line - 1) - rule.offset) / rule.factor + 1;
}

double chPixToVisPix(int channel, double pixel)
{
    return channel == 0 ? pixel : (pixel - 0.375) * 4;
}

// A longitude that needs wrapping keeps the precision of a float.
double wrapLon(double lon)
{
    if (std::abs(lon) > lonManyRounds) lon = std::fmod(lon, 360.0);
    while (lon > 180)
        lon = static_cast<double>(nbpToFloat(lon) - 360.0F);
    while (lon < -180)
        lon = static_cast<double>(nbpToFloat(lon) + 360.0F);
    return lon;
}

// What the scan mirror's misalignment does to a direction of elevation e and scan angle s: the
// additions to both in forward navigation. An upside-down satellite turns part of the signs.
struct Misalignment {
    double elevation;
    double scan;
};
Misalignment misalignment(const NbGvarFile& file, double e, double s)
{
    const double a = file.navigation.rollMisalign;
    const double b = file.navigation.pitchMisalign;
    const double sinE = std::sin(e);
    const double cosS = std::cos(s);
    const double roll = (1 - std::cos(e) / cosS) * a;
    if (file.frame.flipped)
        return {.elevation = -(1 / cosS - std::tan(s)) * sinE * b + roll, .scan = sinE * a};
    return {.elevation = (std::tan(s) + 1 / cosS) * sinE * b + roll, .scan = -sinE * a};
}

// East-west angle of the frame's centre from the instrument's: it turns the image a little.
double turnAngle(const NbGvarNavigation& nav)
{
    return nav.ewNominal - gvarCycleIncrements * centreCycles * gvarEwStep;
}

struct Direction {
    double line, pixel; // visible, from 1 over the instrument's field
    bool hidden;        // behind the limb; line and pixel are not set then
};

// Longitude and latitude in degrees, height in metres; the latitude is at most 90.
Direction lookAt(const NbGvarFile& file, double lon, double lat, double height, bool anySide)
{
    const NbGvarNavigation& nav = file.navigation;
    constexpr double k = 1 / (rho * rho);
    const double lonRad = wrapLon(lon) * radPerDeg;
    const double g = std::atan(std::tan(lat * radPerDeg) * (rho * rho));
    const double sinG = std::sin(g);
    const double radius = static_cast<double>(nbpToFloat(
        1 / std::sqrt(1 + (k - 1) * (sinG * sinG)) + height / (gvarEquatorialRadius * 1000)));
    const double x[3] = {radius * (std::cos(g) * std::cos(lonRad)),
                         radius * (std::cos(g) * std::sin(lonRad)), radius * sinG};
    double d[3];
    for (int i = 0; i < 3; ++i)
        d[i] = x[i] - nav.satellite[i];
    if (!anySide && !(k * d[2] * x[2] + d[1] * x[1] + d[0] * x[0] <= 0))
        return {.line = 0, .pixel = 0, .hidden = true};

    const double* m = nav.matrix;
    double u[3];
    for (int i = 0; i < 3; ++i)
        u[i] = m[i] * d[0] + m[3 + i] * d[1] + m[6 + i] * d[2];
    const double e = -std::atan(u[1] / u[2]);
    const double s = std::atan(u[0] / std::sqrt(u[2] * u[2] + u[1] * u[1]));
    const Misalignment off = misalignment(file, e, s);
    const double e1 = e + off.elevation;
    const double s1 = s + off.scan;
    const double g2 = turnAngle(nav);
    const double e2 = e1 * s1 * g2 + e1;
    return {.line = (nav.nsNominal - e2) / static_cast<double>(nav.lineStep) + firstDetector,
            .pixel = (s1 - e2 * e2 * g2 * 0.5 + nav.ewNominal) / nav.pixelStep + 1.0,
            .hidden = false};
}

// Time of a 0-based position, MJD.
double calcScanTime(const NbGvarFile& file, float pixel, float line)
{
    constexpr double t = gvarScanMs + gvarTurnaroundMs;
    const double l = static_cast<double>(line);
    const double x = static_cast<double>(pixel);
    const double pixels = file.pixels;
    int n = 0;
    if (file.channel == 0)
        n = l > 3 ? nbpTrunc16((l - 4) / 8) : -1;
    else
        n = nbpTrunc16(l / file.linesPerScan());
    double ms = n * t;
    // Deliberate: an even scan that runs backward ends at the last pixel, an odd one a pixel
    // behind it. Times of neighbouring scans differ by that one pixel's, 0.05 ms and more.
    if ((n & 1) == 0)
        ms += (file.frame.direction == 1 ? x : pixels - 1 - x) * gvarScanMs / pixels;
    else
        ms += (file.frame.direction == 0 ? x : pixels - x) * gvarScanMs / pixels;
    return nbDateAddMjd(nbpGvarMjd(file.frame.firstScanTime), nbpTrunc32(ms), 'r');
}

void setNavPointInfo(const NbGvarFile& file, float pixel, float line, double lon, double lat,
                     NbPointInfo* info)
{
    double satellite[3];
    for (int i = 0; i < 3; ++i)
        satellite[i] = file.navigation.satellite[i] * gvarEquatorialRadius;
    nbNavSetPointInfo(calcScanTime(file, pixel, line), satellite, lon, lat, info);
}

int gvarLonLatToPixLin(const NbGvarFile& file, double lon, double lat, double height, float* pixel,
                       float* line, NbPointInfo* info)
{
    *pixel = noPositionF;
    *line = noPositionF;
    // Deliberate: a place that is marked as none is no error, here and on the way back; a latitude
    // beyond the pole is.
    if (nbpToFloat(lat) == noPositionF) return 0;
    if (!(std::abs(lat) <= 90) || !std::isfinite(lon)) return NB_NAV_INPUT;
    const Direction to = lookAt(file, lon, lat, height, false);
    if (to.hidden) return NB_NAV_LIMB;
    const NbGvarFrame& frame = file.frame;
    const float l = nbpToFloat(
        nbpVisLinToChLin(file.satellite, file.channel, to.line - frame.north + 1) +
        static_cast<double>(file.channelShiftLine) - static_cast<double>(file.shiftLine) - 1);
    const float x = nbpToFloat(nbpVisPixToChPix(file.channel, to.pixel - frame.west + 1) +
                               static_cast<double>(file.channelShiftPixel) -
                               static_cast<double>(file.shiftPixel) - 1);
    if (!(l >= -0.5F && l <= static_cast<float>(file.lines) - 0.5F)) return NB_NAV_LINE;
    if (!(x >= -0.5F && x <= static_cast<float>(file.pixels) - 0.5F)) return NB_NAV_PIXEL;
    *pixel = x;
    *line = l;
    if (info != nullptr) setNavPointInfo(file, x, l, lon, lat, info);
    return 0;
}

} // namespace

double nbpVisLinToChLin(int satellite, int channel, double line)
{
    if (channel == 0) return line;
    const LineRule rule = lineRule(satellite, channel);
    return (line - 1) * rule.factor + rule.offset + 1;
}

double nbpVisPixToChPix(int channel, double pixel)
{
    return channel == 0 ? pixel : (pixel - 1) * 0.25 - 0.375 + 1;
}

NbGvarSize nbpGvarSize(const NbGvarFile& file, int channel)
{
    const NbGvarFrame& frame = file.frame;
    const auto chLin = [&](int line) { return nbpVisLinToChLin(file.satellite, channel, line); };
    const auto chPix = [&](int pixel) { return nbpVisPixToChPix(channel, pixel); };
    return {.lines = nbpTrunc32(1 + chLin(frame.south) - chLin(frame.north)),
            .pixels = nbpTrunc32(1 + chPix(frame.east) - chPix(frame.west))};
}

bool nbpGvarSubPoint(const NbGvarFile& file, int channel, double* pixel, double* line)
{
    const NbGvarNavigation& nav = file.navigation;
    if (!(std::abs(nav.subLat) <= 90) || !std::isfinite(nav.subLon)) return false;
    const Direction to = lookAt(file, nav.subLon, nav.subLat, 0, true);
    *line = nbpVisLinToChLin(file.satellite, channel, to.line - file.frame.north + 1) - 1;
    *pixel = nbpVisPixToChPix(channel, to.pixel - file.frame.west + 1) - 1;
    return std::isfinite(*line) && std::isfinite(*pixel);
}

int nbpGvarPixLinToLonLat(void* p, float pixel, float line, double* lon, double* lat,
                          NbPointInfo* info)
{
    const NbGvarFile& file = *nbpGvarFile(p);
    const NbGvarNavigation& nav = file.navigation;
    *lon = noPosition;
    *lat = noPosition;
    if (pixel == noPositionF || line == noPositionF) return 0;
    const double v =
        chLinToVisLin(file.satellite, file.channel,
                      static_cast<double>(line) + 1 + static_cast<double>(file.shiftLine) -
                          static_cast<double>(file.channelShiftLine));
    const double u = chPixToVisPix(file.channel, static_cast<double>(pixel) + 1 +
                                                     static_cast<double>(file.shiftPixel) -
                                                     static_cast<double>(file.channelShiftPixel));
    const double d =
        (firstDetector - ((file.frame.north - 1) + v)) * static_cast<double>(nav.lineStep) +
        nav.nsNominal;
    const double s = static_cast<double>(
        nbpToFloat((((file.frame.west - 1) + u) - 1) * nav.pixelStep - nav.ewNominal));
    // The misalignment is that of the distorted angles: a correction to a small correction.
    const Misalignment off = misalignment(file, d, s);
    const double e = d - off.elevation;
    const double a = nav.rollMisalign;
    const double s1 = file.frame.flipped ? s - std::sin(e) * a : std::sin(e) * a + s;
    const double g2 = turnAngle(nav);
    const double e2 = e - e * s1 * g2;
    const double s2 = e2 * e2 * g2 * 0.5 + s1;

    const double look[3] = {std::sin(s2), -std::sin(e2) * std::cos(s2),
                            std::cos(e2) * std::cos(s2)};
    const double* m = nav.matrix;
    const double* sat = nav.satellite;
    double w[3];
    for (int i = 0; i < 3; ++i)
        w[i] = m[3 * i] * look[0] + m[3 * i + 1] * look[1] + m[3 * i + 2] * look[2];
    const double wPolar = w[2] / rho;
    const double sPolar = sat[2] / rho;
    const double aa = w[0] * w[0] + w[1] * w[1] + wPolar * wPolar;
    const double bb = w[0] * sat[0] + w[1] * sat[1] + w[2] * sat[2] / (rho * rho);
    const double cc = sat[0] * sat[0] + sat[1] * sat[1] + sPolar * sPolar - 1;
    const double dd = bb * bb - aa * cc;
    if (!(dd >= 0)) return NB_NAV_INPUT;
    const double t = (-bb - std::sqrt(dd)) / aa;
    double place[3];
    for (int i = 0; i < 3; ++i)
        place[i] = t * w[i] + sat[i];
    if (!(place[0] * w[0] + place[1] * w[1] + place[2] * w[2] <= 0)) return NB_NAV_LIMB;
    *lon = std::atan2(place[1], place[0]) * degPerRad;
    *lat = std::atan(1 / (rho * rho) * place[2] /
                     std::sqrt(place[1] * place[1] + place[0] * place[0])) *
           degPerRad;
    if (info != nullptr) setNavPointInfo(file, pixel, line, *lon, *lat, info);
    return 0;
}

int nbGvarLonLatHgtToPixLinInfo(void* p, const double* lon, const double* lat, const double* height,
                                float* pixel, float* line, NbPointInfo* info, int n)
{
    const NbGvarFile& file = *nbpGvarFile(p);
    int result = 0;
    for (int i = 0; i < n; ++i)
        result |= gvarLonLatToPixLin(file, lon[i], lat[i], height != nullptr ? height[i] : 0.0,
                                     &pixel[i], &line[i], info != nullptr ? &info[i] : nullptr);
    return result;
}

int nbGvarPixLinToLonLatInfo(void* p, const float* pixel, const float* line, double* lon,
                             double* lat, NbPointInfo* info, int n)
{
    int result = 0;
    for (int i = 0; i < n; ++i)
        result |= nbpGvarPixLinToLonLat(p, pixel[i], line[i], &lon[i], &lat[i],
                                        info != nullptr ? &info[i] : nullptr);
    return result;
}

int nbGvarGetSatPosEf(void* p, double, double* position)
{
    const NbGvarNavigation& nav = nbpGvarFile(p)->navigation;
    const double lonLatDist[3] = {nav.subLon, nav.subLat,
                                  static_cast<double>(nbpToFloat(nav.distance * 1000))};
    nbAstroLonLatDistToEf(lonLatDist, position);
    return 0;
}

int nbGvarGetSatAtt(void* p, double, double* attitude)
{
    const NbGvarNavigation& nav = nbpGvarFile(p)->navigation;
    attitude[0] = nav.roll;
    attitude[1] = nav.pitch;
    attitude[2] = nav.yaw;
    return 0;
}

double nbpGvarGetEndTime(void* p)
{
    const NbGvarFile& file = *nbpGvarFile(p);
    const int scans = file.lines / file.linesPerScan();
    const double ms = scans * (gvarScanMs + gvarTurnaroundMs) + gvarScanMs;
    return nbDateAddMjd(nbpGvarMjd(file.frame.firstScanTime), nbpTrunc32(ms), 'r');
}
