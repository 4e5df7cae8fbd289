#ifndef NB_NGACV1_H
#define NB_NGACV1_H
/**
 * NOAA level 1b, global area coverage, the layout up to NOAA-14: the driver's operations. `p` is
 * the driver's record, the privateData of an object that nbNgacv1LinkSat filled. See
 * docs/ngacv1.md for the file's layout.
 *
 * The environment variable NB_NGAC_NAV_OVERLAP says which pass shows a place that two passes of a
 * file cover: NEW (the default) the later one, OLD the earlier one.
 */
#include "sat/nbSatObject.h"

#ifdef __cplusplus
extern "C" {
#endif

/** Results of opening. */
enum NbNgacv1OpenResult {
    NB_NGACV1_OPEN = 0,
    NB_NGACV1_REFUSED = 1, /* the message says why; also when memory ran out */
    NB_NGACV1_NO_FILE = 2
};

/** Opens a file and fills the object; one of NbNgacv1OpenResult. */
int nbNgacv1LinkSat(NbSatObject* object, const char* path);
/** Reads the headers of `path` into an empty record; one of NbNgacv1OpenResult. */
int nbNgacv1OpenFile(void* p, const char* path);
/** Frees the record; 0. Null is ignored. */
int nbNgacv1CloseFile(void* p);
/** Always -1: gaps are not filled. The width is stored. */
int nbNgacv1SetStopGap(void* p, int gap);

int nbNgacv1SetShift(void* p, const float* dPixel, const float* dLine);

int nbNgacv1GetChNum(void* p);
int nbNgacv1GetChInfo(void* p, int channel, int* pixels, int* lines, int* levels, char* name);
/** `name` may be several elements separated by commas: so many values has each pixel. */
int nbNgacv1SetElements(void* p, const char* name, int* pixels, int* lines, int* levels,
                        float* errorValue);

int nbNgacv1GetCalTable(void* p, const char* name, float* table, int* n);
int nbNgacv1GetChannel(void* p, int style);
/**
 * Physical value of a count on a line.
 *
 * @param channel  0 to 4
 * @param physics  1 albedo, 2 radiance, 3 temperature in kelvin (NOAA-14 only)
 * @return -9999.0 for a temperature of no radiance; -1.0 for a bad argument, a satellite without
 *         temperatures or a line that the file does not hold
 */
double nbNgacv1GetPhysicalValue(void* p, int line, int count, int channel, int physics);

/** Heights are ignored, with a warning once for the process. */
int nbNgacv1LonLatHgtToPixLinInfo(void* p, const double* lon, const double* lat,
                                  const double* height, float* pixel, float* line,
                                  NbPointInfo* info, int n);
int nbNgacv1PixLinToLonLatInfo(void* p, const float* pixel, const float* line, double* lon,
                               double* lat, NbPointInfo* info, int n);
/** At the first line, whatever the time; metres. The altitude is a nominal one. */
int nbNgacv1GetSatPosEf(void* p, double mjd, double* position);
/** The layout has no attitude: three zeros. */
int nbNgacv1GetSatAtt(void* p, double mjd, double* attitude);
int nbNgacv1ResetAtt(void* p, double mjd, const double* attitude, int absolute);

int nbNgacv1GetI2DataByPixLin(void* p, const float* pixel, const float* line, int16_t* out, int n);
int nbNgacv1GetR4DataByPixLin(void* p, const float* pixel, const float* line, float* out, int n);
int nbNgacv1GetI2ZoomData(void* p, const NbZoomRect* rect, int16_t* out);
int nbNgacv1GetR4ZoomData(void* p, const NbZoomRect* rect, float* out);

/** MJD of a time code of 6 bytes; 0.0 for the year 50. */
double nbNgacv1TcodeToMjd(const unsigned char* code);

/* Library-private */

/** Time of the last line that the file holds, MJD. */
double nbpNgacv1GetEndTime(void* p);
/** Observation time at a position, MJD; -1.0 for none. */
double nbpNgacv1GetScanTime(void* p, float pixel, float line);
/** Geometry of the place that a position shows; left as it is when the position has no time. */
void nbpNgacv1GetNavPointInfo(void* p, float pixel, float line, double lon, double lat,
                              NbPointInfo* info);
/** Channel and physics of one element; the physics again (-1 counts), or -99999 (logged). */
int nbpNgacv1CheckElem(void* p, const char* name, const char* caller, int* channel, int* physics);

#ifdef __cplusplus
}
#endif
#endif
