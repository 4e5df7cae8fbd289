#include "sat/nbSatNav.h"

#include "geo/nbAstroUtl.h"
#include "geo/nbDate.h"
#include "geo/nbVector.h"
#include "util/nbLogFormat.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace {

constexpr const char* sourceName = "nbSatNav";
constexpr double noValue = -9999.0;
constexpr double degreesPerRadian = 57.29577951308232;

// Brings an angle into -180 to 180. Angles that no step of 360 reaches in reasonable time lose
// their whole turns first; what is not finite comes back as no number.
double wrap180(double degree)
{
    if (!(std::fabs(degree) <= 1e6)) degree = std::fmod(degree, 360.0);
    while (degree > 180)
        degree -= 360;
    while (degree < -180)
        degree += 360;
    return degree;
}

// Distance of two points along the surface, km.
double getDist(double lon1, double lat1, double lon2, double lat2)
{
    if (lon1 == lon2 && lat1 == lat2) return 0;
    lon1 = wrap180(lon1);
    lon2 = wrap180(lon2);
    lat1 = wrap180(lat1);
    lat2 = wrap180(lat2);
    for (double* lat : {&lat1, &lat2}) {
        if (*lat < -90)
            *lat = -(*lat + 180);
        else if (*lat > 90)
            *lat = 180 - *lat;
    }
    if (lon1 < 0) lon1 += 360;
    if (lon2 < 0) lon2 += 360;
    const double radian = std::numbers::pi / 180;
    double c =
        std::cos((lon2 - lon1) * radian) * std::cos(lat2 * radian) * std::cos(lat1 * radian) +
        std::sin(lat2 * radian) * std::sin(lat1 * radian);
    c = std::clamp(c, -1.0, 1.0); // rounding may go past the ends, where the root has no value
    const double arc = std::numbers::pi / 2 - std::atan(c / std::sqrt(1 - c * c));
    // Deliberate: the latitudes enter with their signs, so the radius grows from south to north.
    // A mean of their sizes looks better and moves every resolution, and with it which image
    // wins a cell when images overlap by resolution.
    const double radius = (lat1 + lat2) * 21.38500000000022 / 180 + 6356.755;
    return arc * radius;
}

struct EarthPoint {
    double lon = noValue;
    double lat = noValue;
    bool good = false;
};

EarthPoint earthPoint(NbSatObject* object, float pixel, float line)
{
    EarthPoint p;
    const int code = nbSatPixLinToLonLat(object, &pixel, &line, &p.lon, &p.lat, 1);
    p.good = code == 0 && p.lon != noValue && p.lat != noValue;
    return p;
}

double distance(const EarthPoint& a, const EarthPoint& b)
{
    return getDist(a.lon, a.lat, b.lon, b.lat);
}

// Size of the pixel at `centre` between its two neighbours on one axis.
double resolution(const EarthPoint& before, const EarthPoint& centre, const EarthPoint& after)
{
    if (before.good && centre.good && after.good)
        return (distance(before, centre) + distance(centre, after)) / 2;
    if (before.good && centre.good) return distance(before, centre);
    if (centre.good && after.good) return distance(centre, after);
    if (before.good && after.good) return distance(before, after) / 2;
    return noValue;
}

// Satellite position, earth-fixed, km. Drivers give km or metres: no satellite is 100000 km away
// and none within 100 km.
bool satPosition(const NbSatObject* object, double mjd, double* position)
{
    if (object->GetSatPosEf == nullptr) return false;
    if (object->GetSatPosEf(object->privateData, mjd, position) != 0) return false;
    if (nbVectorMag(position) > 100000)
        for (int i = 0; i < 3; ++i)
            position[i] /= 1000;
    return true;
}

void getSatSsp(const NbSatObject* object, double mjd, double* ssp)
{
    double position[3] = {};
    ssp[0] = ssp[1] = noValue;
    if (satPosition(object, mjd, position)) nbAstroEfToSsp(position, ssp);
}

double getSatDist(const NbSatObject* object, double mjd)
{
    double position[3] = {};
    return satPosition(object, mjd, position) ? nbVectorMag(position) : noValue;
}

void getSatAtt(const NbSatObject* object, double mjd, double* attitude)
{
    double radians[3] = {};
    const bool filled =
        object->GetSatAtt != nullptr && object->GetSatAtt(object->privateData, mjd, radians) == 0;
    for (int i = 0; i < 3; ++i)
        attitude[i] = filled ? radians[i] * degreesPerRadian : noValue;
}

} // namespace

extern "C" {

int nbSatPixLinToLonLatInfo(NbSatObject* object, const float* pixel, const float* line, double* lon,
                            double* lat, NbPointInfo* info, int n)
{
    if (info != nullptr && n > 0) std::fill_n(info, n, NbPointInfo{});
    if (object->PixLinToLonLatInfo != nullptr)
        return object->PixLinToLonLatInfo(object->privateData, pixel, line, lon, lat, info, n);
    if (n > 0) std::fill_n(lon, n, noValue);
    if (n > 0) std::fill_n(lat, n, noValue);
    return -1;
}

int nbSatPixLinToLonLat(NbSatObject* object, const float* pixel, const float* line, double* lon,
                        double* lat, int n)
{
    return nbSatPixLinToLonLatInfo(object, pixel, line, lon, lat, nullptr, n);
}

int nbSatLonLatHgtToPixLinInfo(NbSatObject* object, const double* lon, const double* lat,
                               const double* height, float* pixel, float* line, NbPointInfo* info,
                               int n)
{
    if (info != nullptr && n > 0) std::fill_n(info, n, NbPointInfo{});
    if (object->LonLatHgtToPixLinInfo != nullptr)
        return object->LonLatHgtToPixLinInfo(object->privateData, lon, lat, height, pixel, line,
                                             info, n);
    if (n > 0) std::fill_n(pixel, n, static_cast<float>(noValue));
    if (n > 0) std::fill_n(line, n, static_cast<float>(noValue));
    return -1;
}

int nbSatLonLatToPixLin(NbSatObject* object, const double* lon, const double* lat, float* pixel,
                        float* line, int n)
{
    return nbSatLonLatHgtToPixLinInfo(object, lon, lat, nullptr, pixel, line, nullptr, n);
}

int nbSatLonLatHgtToPixLin(NbSatObject* object, const double* lon, const double* lat,
                           const double* height, float* pixel, float* line, int n)
{
    return nbSatLonLatHgtToPixLinInfo(object, lon, lat, height, pixel, line, nullptr, n);
}

int nbSatLonLatToPixLinInfo(NbSatObject* object, const double* lon, const double* lat, float* pixel,
                            float* line, NbPointInfo* info, int n)
{
    return nbSatLonLatHgtToPixLinInfo(object, lon, lat, nullptr, pixel, line, info, n);
}

int nbSatGetResByPixLin(NbSatObject* object, const float* pixel, const float* line, double* resX,
                        double* resY, int n)
{
    int countX = 0;
    int countY = 0;
    for (int i = 0; i < n; ++i) {
        const float p = pixel[i];
        const float l = line[i];
        const EarthPoint centre = earthPoint(object, p, l);
        resX[i] = resolution(earthPoint(object, p - 1, l), centre, earthPoint(object, p + 1, l));
        resY[i] = resolution(earthPoint(object, p, l - 1), centre, earthPoint(object, p, l + 1));
        countX += resX[i] != noValue;
        countY += resY[i] != noValue;
    }
    return std::max(countX, countY);
}

int nbSatGetResByLonLat(NbSatObject* object, const double* lon, const double* lat, double* resX,
                        double* resY, int n)
{
    int sum = 0;
    for (int i = 0; i < n; ++i) {
        float pixel = 0;
        float line = 0;
        nbSatLonLatToPixLin(object, &lon[i], &lat[i], &pixel, &line, 1);
        sum += nbSatGetResByPixLin(object, &pixel, &line, &resX[i], &resY[i], 1);
    }
    return sum;
}

int nbSatGetNavInfo(NbSatObject* object, double* ssp, double* distance, double* attitude,
                    double* mjd)
{
    if (object->fileFormatId == 0) {
        nbpLogError("%s %s : 衛星オブジェクトが開かれていません \n", sourceName,
                    "nbSatGetNavInfo()");
        return -1;
    }
    const auto* t = object->startTime;
    const NbDateInts start = {t[0], t[1], t[2], t[3], t[4], t[5], 0};
    const double time = nbDateIntsToMjd(&start);
    if (ssp != nullptr) getSatSsp(object, time, ssp);
    if (distance != nullptr) *distance = getSatDist(object, time);
    if (attitude != nullptr) getSatAtt(object, time, attitude);
    if (mjd != nullptr) *mjd = time;
    return 0;
}

int nbSatGetSsp(NbSatObject* object, double* first, double* second)
{
    double ssp[2] = {};
    if (nbSatGetNavInfo(object, ssp, nullptr, nullptr, nullptr) != 0) return -1;
    *first = ssp[0];
    *second = ssp[1];
    return 0;
}

} // extern "C"
