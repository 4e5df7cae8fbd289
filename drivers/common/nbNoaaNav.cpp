#include "drivers/common/nbNoaaNav.h"

#include "drivers/common/nbNoaaAnchor.h"
#include "drivers/common/nbNoaaSearch.h"
#include "geo/nbAstroUtl.h"
#include "sat/nbNavInfo.h"
#include "util/nbLogFormat.h"

#include <atomic>
#include <cmath>
#include <cstdlib>
#include <string_view>

namespace {

constexpr double noPosition = -9999.0;
constexpr float noPositionF = -9999.0F;

std::array<double, 4> anglesOf(const NbNoaaCorners& c,
                               const std::array<std::int16_t, noaaAnchors> NbNoaaLine::*member,
                               double perDegree)
{
    const auto at = static_cast<std::size_t>(c.k);
    const auto& a = c.before->*member;
    const auto& b = c.after->*member;
    return {a[at] / perDegree, a[at + 1] / perDegree, b[at] / perDegree, b[at + 1] / perDegree};
}

double shifted(float position, float shift)
{
    return static_cast<double>(position + shift);
}

bool hasPixel(double pixel)
{
    return pixel >= -0.5 && pixel <= noaaPixels - 0.5;
}

bool hasLine(const NbNoaaPass& pass, double line)
{
    return pass.lines() >= 2 && line >= -0.5 && line <= pass.lines() - 0.5;
}

// Relative azimuth at a position. It jumps where the satellite stands overhead, so there its sine
// and cosine are mixed, each anchor as strong as the satellite is low.
double relAzimuth(const NbNoaaCorners& c, double perDegree)
{
    const auto azimuth = anglesOf(c, &NbNoaaLine::relAzimuth, perDegree);
    if (c.k < 23 || c.k > 27) return c.mix(azimuth);
    const auto zenith = anglesOf(c, &NbNoaaLine::satZenith, perDegree);
    std::array<double, 4> s;
    std::array<double, 4> t;
    for (std::size_t i = 0; i < 4; ++i) {
        s[i] = zenith[i] * std::sin(azimuth[i] * noaaRadPerDeg);
        t[i] = zenith[i] * std::cos(azimuth[i] * noaaRadPerDeg);
    }
    return std::atan2(c.mix(s), c.mix(t)) * noaaDegPerRad;
}

// Searches one place from the lines that its cell names.
int locate(const NbNoaaPass& pass, bool olderFirst, double lon, double lat, float* pixel,
           float* line)
{
    if (lat == noPosition) return 0; // an empty cell of a map
    if (lon == noPosition || !std::isfinite(lon) || !std::isfinite(lat)) return NB_NAV_INPUT;
    // Whole turns go first, so that any longitude has a cell.
    const int turned = nbpTrunc32(std::floor(std::fmod(lon, 360.0) + 180));
    const int column = (turned + 360) / 10 % NbNoaaCells::columns;
    const int row = std::clamp(nbpTrunc32(std::floor(lat + 90)) / 10, 0, NbNoaaCells::rows - 1);
    const auto r = static_cast<std::size_t>(row);
    const auto c = static_cast<std::size_t>(column);
    int candidates[2] = {pass.cells.first[r][c], pass.cells.second[r][c]};
    if (olderFirst) std::swap(candidates[0], candidates[1]);
    if (candidates[0] < 0 && candidates[1] < 0) {
        const int near = pass.cells.near[r][c];
        const bool found = near >= 0 && nbpNoaaSearch(pass, lon, lat, near, pixel, line) == 0;
        return found ? 0 : NB_NAV_CONVERGENCE;
    }
    int code = 0;
    for (const int from : candidates) {
        if (from < 0) continue;
        code = nbpNoaaSearch(pass, lon, lat, from, pixel, line);
        if (code == 0) return 0;
    }
    return code;
}

// What the user wants of a place that two passes show.
bool wantsOlder(const char* caller, const char* source)
{
    const char* text = std::getenv("NB_NGAC_NAV_OVERLAP");
    if (text == nullptr) return false;
    const std::string_view word = text;
    if (word == "OLD") return true;
    if (word != "NEW")
        nbpLogWarn("%s %s : bad enviroment 'NB_NGAC_NAV_OVERLAP=%s'\n", source, caller, text);
    return false;
}

} // namespace

int nbpNoaaPixLinToLonLat(const NbNoaaPass& pass, const float* pixel, const float* line,
                          double* lon, double* lat, NbPointInfo* info, int n)
{
    int result = 0;
    for (int j = 0; j < n; ++j) {
        lon[j] = noPosition;
        lat[j] = noPosition;
        const double x = shifted(pixel[j], pass.shiftPixel);
        const double y = shifted(line[j], pass.shiftLine);
        int bits = 0;
        if (!hasPixel(x)) bits |= NB_NAV_PIXEL;
        if (!hasLine(pass, y)) bits |= NB_NAV_LINE;
        if (bits == 0) {
            const NbNoaaCorners corners(pass, x, y);
            const NbNoaaPlane<4> plane = corners.plane();
            const NbNoaaPlace place = plane.place(corners.mix(plane.x), corners.mix(plane.y));
            lon[j] = place.lon;
            lat[j] = place.lat;
            if (info != nullptr)
                nbpNoaaPointInfo(pass, pixel[j], line[j], lon[j], lat[j], &info[j]);
        }
        result |= bits;
    }
    return result;
}

int nbpNoaaLonLatToPixLin(NbNoaaPass* pass, const double* lon, const double* lat,
                          const double* height, float* pixel, float* line, NbPointInfo* info, int n,
                          const char* caller, const char* source)
{
    if (height != nullptr) {
        static std::atomic<bool> warned = false; // for the process, whatever the format
        if (!warned.exchange(true)) nbpLogWarn("%s : height is not support\n", caller);
    }
    if (!pass->haveCells) {
        pass->cells = nbpNoaaMakeCells(*pass);
        pass->haveCells = true;
    }
    const bool olderFirst = wantsOlder(caller, source);
    int result = 0;
    for (int j = 0; j < n; ++j) {
        pixel[j] = noPositionF;
        line[j] = noPositionF;
        const int code = locate(*pass, olderFirst, lon[j], lat[j], &pixel[j], &line[j]);
        if (code == 0 && pixel[j] != noPositionF && info != nullptr)
            nbpNoaaPointInfo(*pass, pixel[j], line[j], lon[j], lat[j], &info[j]);
        result |= code;
    }
    return result;
}

double nbpNoaaScanTime(const NbNoaaPass& pass, float pixel, float line)
{
    constexpr double noTime = -1.0;
    const double x = shifted(pixel, pass.shiftPixel);
    const double y = shifted(line, pass.shiftLine);
    if (pass.lines() < 2 || !std::isfinite(x) || !std::isfinite(y)) return noTime;
    const int last = pass.lines() - 2;
    const int i = std::clamp(nbpTrunc32(y), 0, last);
    // Deliberate: from the line before the last one the time runs toward the line above it, so it
    // falls along that line. Taken from the last line it would rise as on all others; the two
    // differ by a second at most.
    const int next = i == last ? i - 1 : i + 1;
    if (next < 0) return noTime;
    const double t1 = pass.line[static_cast<std::size_t>(i)].mjd;
    const double t2 = pass.line[static_cast<std::size_t>(next)].mjd;
    if (!(t1 > 0) || !(t2 > 0)) return noTime;
    return t1 + (t2 - t1) * x / (noaaPixels - 1);
}

void nbpNoaaPointInfo(const NbNoaaPass& pass, float pixel, float line, double lon, double lat,
                      NbPointInfo* info)
{
    const double mjd = nbpNoaaScanTime(pass, pixel, line);
    if (!(mjd > 0)) return;
    const NbNoaaCorners c(pass, shifted(pixel, pass.shiftPixel), shifted(line, pass.shiftLine));
    double satellite[3];
    nbpNoaaSatPosition(*c.before, 1, satellite);
    nbNavSetPointInfo(mjd, satellite, lon, lat, info);
    info->sunZenith = c.mix(anglesOf(c, &NbNoaaLine::sunZenith, pass.perDegree));
    if (!pass.satAngles) return;
    info->satZenith = c.mix(anglesOf(c, &NbNoaaLine::satZenith, pass.perDegree));
    const double azimuth = info->sunAzimuth - relAzimuth(c, pass.perDegree);
    info->satAzimuth = azimuth < 0 ? azimuth + 360 : azimuth >= 360 ? azimuth - 360 : azimuth;
}

void nbpNoaaSatPosition(const NbNoaaLine& line, double perKm, double* position)
{
    const double lonLatDist[3] = {line.lon[25], line.lat[25],
                                  (nbAstroGetLocalR(line.lat[25]) + line.altitude) * perKm};
    nbAstroLonLatDistToEf(lonLatDist, position);
}
