#ifndef NB_NGAC_H
#define NB_NGAC_H
/**
 * NOAA level 1b, global area coverage, the layout of NOAA-15 on and of MetOp: the driver's
 * operations. `p` is the driver's record, the privateData of an object that nbNgacLinkSat filled.
 * See docs/ngac.md for the file's layout.
 *
 * The environment variable NB_NGAC_NAV_OVERLAP says which pass shows a place that two passes of a
 * file cover: NEW (the default) the later one, OLD the earlier one.
 */
#include "sat/nbSatObject.h"

#ifdef __cplusplus
extern "C" {
#endif

/** Results of opening. */
enum NbNgacOpenResult {
    NB_NGAC_OPEN = 0,
    NB_NGAC_REFUSED = 1, /* the message says why; also when memory ran out */
    NB_NGAC_NO_FILE = 2
};

/** Opens a file and fills the object; one of NbNgacOpenResult. */
int nbNgacLinkSat(NbSatObject* object, const char* path);
/** Reads the headers of `path` into an empty record; one of NbNgacOpenResult. */
int nbNgacOpenFile(void* p, const char* path);
/** Frees the record; 0. Null is ignored. */
int nbNgacCloseFile(void* p);
/** Always -1: gaps are not filled. The width is stored. */
int nbNgacSetStopGap(void* p, int gap);

int nbNgacSetShift(void* p, const float* dPixel, const float* dLine);

int nbNgacGetChNum(void* p);
int nbNgacGetChInfo(void* p, int channel, int* pixels, int* lines, int* levels, char* name);
/** `name` may be several elements separated by commas: so many values has each pixel. */
int nbNgacSetElements(void* p, const char* name, int* pixels, int* lines, int* levels,
                      float* errorValue);

int nbNgacGetCalTable(void* p, const char* name, float* table, int* n);
int nbNgacGetChannel(void* p, int style);
/**
 * Physical value of a count on a line.
 *
 * @param channel  0 to 4, -2 for channel 3A
 * @param physics  1 albedo, 2 radiance, 3 temperature in kelvin
 * @return -9999.0 for a temperature of no radiance; -1.0 for a bad argument or a line that the
 *         file does not hold
 */
double nbNgacGetPhysicalValue(void* p, int line, int count, int channel, int physics);

/** Heights are ignored, with a warning once for the process. */
int nbNgacLonLatHgtToPixLinInfo(void* p, const double* lon, const double* lat, const double* height,
                                float* pixel, float* line, NbPointInfo* info, int n);
int nbNgacPixLinToLonLatInfo(void* p, const float* pixel, const float* line, double* lon,
                             double* lat, NbPointInfo* info, int n);
/** At the first line, whatever the time; metres. */
int nbNgacGetSatPosEf(void* p, double mjd, double* position);
int nbNgacGetSatAtt(void* p, double mjd, double* attitude);
int nbNgacResetAtt(void* p, double mjd, const double* attitude, int absolute);

int nbNgacGetI2DataByPixLin(void* p, const float* pixel, const float* line, int16_t* out, int n);
int nbNgacGetR4DataByPixLin(void* p, const float* pixel, const float* line, float* out, int n);
int nbNgacGetI2ZoomData(void* p, const NbZoomRect* rect, int16_t* out);
int nbNgacGetR4ZoomData(void* p, const NbZoomRect* rect, float* out);

/** MJD of a year, a day of the year (from 1) and milliseconds of the day. */
double nbNgacDateToMjd(int year, int day, uint32_t millisecond);

/* Library-private */

/** Time of the last line that the file holds, MJD. */
double nbpNgacGetEndTime(void* p);
/** Observation time at a position, MJD; -1.0 for none. */
double nbpNgacGetScanTime(void* p, float pixel, float line);
/** Geometry of the place that a position shows; left as it is when the position has no time. */
void nbpNgacGetNavPointInfo(void* p, float pixel, float line, double lon, double lat,
                            NbPointInfo* info);
/** Channel and physics of one element; the physics again (-1 counts), or -99999 (logged). */
int nbpNgacCheckElem(void* p, const char* name, const char* caller, int* channel, int* physics);

#ifdef __cplusplus
}
#endif
#endif
