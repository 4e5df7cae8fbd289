#ifndef NB_SAT_NAV_H
#define NB_SAT_NAV_H
/**
 * Navigation of an open object: image to earth and back, resolution, sub-satellite point.
 *
 * The position forms give 0 or the bits of NbNavError ORed over the points; a point without a
 * result has -9999.0 in both outputs. From earth to image RDAT gives the number of such points
 * instead, or -1 when all are. They give -1 and marks everywhere when the driver has no such
 * navigation.
 */
#include "sat/nbSatObject.h"

#ifdef __cplusplus
extern "C" {
#endif

/** `info`: n records, or null. `height`: above the ellipsoid in metres, or null for 0. */
int nbSatPixLinToLonLat(NbSatObject* object, const float* pixel, const float* line, double* lon,
                        double* lat, int n);
int nbSatPixLinToLonLatInfo(NbSatObject* object, const float* pixel, const float* line, double* lon,
                            double* lat, NbPointInfo* info, int n);
int nbSatLonLatToPixLin(NbSatObject* object, const double* lon, const double* lat, float* pixel,
                        float* line, int n);
int nbSatLonLatHgtToPixLin(NbSatObject* object, const double* lon, const double* lat,
                           const double* height, float* pixel, float* line, int n);
int nbSatLonLatToPixLinInfo(NbSatObject* object, const double* lon, const double* lat, float* pixel,
                            float* line, NbPointInfo* info, int n);
int nbSatLonLatHgtToPixLinInfo(NbSatObject* object, const double* lon, const double* lat,
                               const double* height, float* pixel, float* line, NbPointInfo* info,
                               int n);

/**
 * Size of a pixel on earth along both image axes, km; -9999.0 where neither neighbour counts.
 *
 * @return the larger of the two counts of entries with a size; 0 for n below 1
 */
int nbSatGetResByPixLin(NbSatObject* object, const float* pixel, const float* line, double* resX,
                        double* resY, int n);
/** The same at earth positions; the results of the points are summed. */
int nbSatGetResByLonLat(NbSatObject* object, const double* lon, const double* lat, double* resX,
                        double* resY, int n);

/**
 * Facts at the start of the observation; any pointer may be null. What the driver cannot tell is
 * -9999.0; an object that is not open leaves all four as they are.
 *
 * @param ssp       sub-satellite longitude and geodetic latitude, degrees (two values)
 * @param distance  earth centre to satellite, km
 * @param attitude  three angles, degrees
 * @param mjd       the time
 * @return 0, or -1 for an object that is not open (logged)
 */
int nbSatGetNavInfo(NbSatObject* object, double* ssp, double* distance, double* attitude,
                    double* mjd);
/** Sub-satellite longitude and latitude; 0 or -1 as above. */
int nbSatGetSsp(NbSatObject* object, double* first, double* second);

#ifdef __cplusplus
}
#endif
#endif
