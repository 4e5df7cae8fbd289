#ifndef NB_NAV_INFO_H
#define NB_NAV_INFO_H
/**
 * Geometry of a point on earth: sun, satellite, glint. Knows no driver.
 */
#include "sat/nbSatObject.h"

#ifdef __cplusplus
extern "C" {
#endif

/** Distance of sun and earth at a time, km. */
double nbNavGetDistanceSunAndEarth(double mjd);

/**
 * Fills one record.
 *
 * @param mjd       observation time of the point
 * @param satPosEf  satellite, earth-fixed, km
 * @param lon,lat   the point, degrees; -9999.0 in either clears all but time, sunDistance and
 *                  phaseAngle
 */
void nbNavSetPointInfo(double mjd, const double* satPosEf, double lon, double lat,
                       NbPointInfo* info);

/** Earth-fixed position to (latitude, longitude, distance), and back; degrees, km. */
void nbXYZToLLR(const double* xyz, double* llr);
void nbLLRToXYZ(const double* llr, double* xyz);
/** Surface point, km. */
void nbLatLonToXYZ(double lat, double lon, double* xyz);
/** Radius of the earth at a geodetic latitude, km. */
double nbCalcLocalR(double lat);
/** Geocentric latitude of a geodetic one, degrees. */
double nbCalcGeocentricLat(double lat);

#ifdef __cplusplus
}
#endif
#endif
