#include "sat/nbNavInfo.h"

#include "geo/nbAstroBase.h"
#include "geo/nbAstroUtl.h"
#include "geo/nbVector.h"

#include <cmath>
#include <limits>

namespace {

// The sun at one time. Points of one image line share their time, and the sun is the dearest
// part of a record, so each thread keeps the last one, with the settings that it hangs on.
struct Sun {
    double mjd = std::numeric_limits<double>::quiet_NaN(); // equal to no time
    double eqR = 0;
    double plR = 0;
    int16_t wgs84 = 0;
    double ef[3] = {0, 0, 0};
    double distance = 0;
};

const Sun& sunAt(double mjd)
{
    thread_local Sun sun;
    if (sun.mjd != mjd || sun.eqR != nb_Astro_eqR || sun.plR != nb_Astro_plR ||
        sun.wgs84 != nb_Astro_Wgs84) {
        nbAstroGetSunPosInEf(mjd, sun.ef);
        sun.distance = nbVectorMag(sun.ef);
        sun.mjd = mjd;
        sun.eqR = nb_Astro_eqR;
        sun.plR = nb_Astro_plR;
        sun.wgs84 = nb_Astro_Wgs84;
    }
    return sun;
}

double angleDeg(const double* a, const double* b)
{
    return nbVectorAngle(a, b) * nbpAstroRadToDeg;
}

// Direction from a surface point to `target` in the horizon frame of `m`, km.
void directionTo(const double* target, const double* point, const double* m, double* hc)
{
    const double d[3] = {target[0] - point[0], target[1] - point[1], target[2] - point[2]};
    nbpAstroMultVec(m, d, hc);
}

} // namespace

double nbNavGetDistanceSunAndEarth(double mjd)
{
    // Mean anomaly of the sun. Taking 360 away again and again is exact, and so is the remainder.
    double g = mjd * 0.98560027 + 315.253;
    if (g >= 360) g = std::fmod(g, 360.0);
    g *= nbpAstroDegToRad;
    return (1.00014 - 0.01672 * std::cos(g) - 0.00014 * std::cos(2 * g)) * 149597870;
}

void nbNavSetPointInfo(double mjd, const double* satPosEf, double lon, double lat,
                       NbPointInfo* info)
{
    const Sun& sun = sunAt(mjd);
    *info = NbPointInfo{};
    info->time = mjd;
    info->sunDistance = sun.distance;

    const double back[3] = {-satPosEf[0], -satPosEf[1], 0};
    // Deliberate: the sun's direction is taken as the sum of both positions, although `back`
    // points from the satellite to the earth. Mended to the difference, the angle moves by up
    // to 0.03 degree.
    const double sunward[3] = {sun.ef[0] - back[0], sun.ef[1] - back[1], 0};
    info->phaseAngle = angleDeg(sunward, back);
    if (lon == -9999.0 || lat == -9999.0) return;

    double point[3];
    double m[9];
    double toSun[3];
    double toSat[3];
    nbAstroLonLatToEf(lon, lat, point);
    nbpAstroHorizonMatrix(lon, lat, m);
    directionTo(sun.ef, point, m, toSun);
    directionTo(satPosEf, point, m, toSat);
    nbAstroHcToZenithAzimuth(toSun, &info->sunZenith, &info->sunAzimuth);
    nbAstroHcToZenithAzimuth(toSat, &info->satZenith, &info->satAzimuth);
    info->satSunAngle = angleDeg(toSun, toSat);
    const double mirror[3] = {-toSun[0], -toSun[1], toSun[2]};
    info->glintAngle = angleDeg(mirror, toSat);
    info->satDistance = nbVectorMag(toSat);
}

void nbXYZToLLR(const double* xyz, double* llr)
{
    double lonLatDist[3];
    nbAstroEfToLonLatDist(xyz, lonLatDist);
    llr[0] = lonLatDist[1];
    llr[1] = lonLatDist[0];
    llr[2] = lonLatDist[2];
}

void nbLLRToXYZ(const double* llr, double* xyz)
{
    const double lonLatDist[3] = {llr[1], llr[0], llr[2]};
    nbAstroLonLatDistToEf(lonLatDist, xyz);
}

void nbLatLonToXYZ(double lat, double lon, double* xyz)
{
    nbAstroLonLatToEf(lon, lat, xyz);
}

double nbCalcLocalR(double lat)
{
    return nbAstroGetLocalR(lat);
}

double nbCalcGeocentricLat(double lat)
{
    return nbAstroGetGeocLat(lat);
}
