#ifndef NB_GVAR_H
#define NB_GVAR_H
/**
 * GOES imager data in the GVAR block stream: the driver's operations. `p` is the driver's record,
 * the privateData of an object that nbGvarLinkSat filled. See docs/gvar.md for the file's layout.
 */
#include "sat/nbSatObject.h"

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/** Results of opening. */
enum NbGvarOpenResult {
    NB_GVAR_OPEN = 0,
    NB_GVAR_NO_MEMORY = 1,
    NB_GVAR_NO_FRAME = 2, /* no block in the file describes a frame that can be read */
    NB_GVAR_NO_FILE = 3
};

/** Opens a file and fills the object; one of NbGvarOpenResult. */
int nbGvarLinkSat(NbSatObject* object, const char* path);
/** Reads the first good documentation block into an empty record; one of NbGvarOpenResult. */
int nbGvarOpenFile(void* p, const char* path);
/** Frees the record; 0. Null is ignored. */
int nbGvarCloseFile(void* p);

int nbGvarSetStopGap(void* p, int gap);
int nbGvarSetShift(void* p, const float* dPixel, const float* dLine);

int nbGvarGetChNum(void* p);
int nbGvarGetChInfo(void* p, int channel, int* pixels, int* lines, int* levels, char* name);
int nbGvarSetElements(void* p, const char* name, int* pixels, int* lines, int* levels,
                      float* errorValue);
/** The table of the channel's first detector. */
int nbGvarGetCalTable(void* p, const char* name, float* table, int* n);

int nbGvarGetChannel(void* p, int style);

int nbGvarLonLatHgtToPixLinInfo(void* p, const double* lon, const double* lat, const double* height,
                                float* pixel, float* line, NbPointInfo* info, int n);
int nbGvarPixLinToLonLatInfo(void* p, const float* pixel, const float* line, double* lon,
                             double* lat, NbPointInfo* info, int n);
int nbGvarGetSatPosEf(void* p, double mjd, double* position); /* metres */
int nbGvarGetSatAtt(void* p, double mjd, double* attitude);   /* roll, pitch, yaw, radians */

/** Number of bad lines met; -10 (float form) without a physical element. */
int nbGvarGetI2DataByPixLin(void* p, const float* pixel, const float* line, int16_t* out, int n);
int nbGvarGetR4DataByPixLin(void* p, const float* pixel, const float* line, float* out, int n);
int nbGvarGetI2ZoomData(void* p, const NbZoomRect* rect, int16_t* out);
int nbGvarGetR4ZoomData(void* p, const NbZoomRect* rect, float* out);

/* Library-private */

/** CRC-16: polynomial 0x1021, start 0xFFFF, most significant bit first, complemented. */
uint16_t nbpGvarCalcCrc(int length, const void* data);
/**
 * Finds the good copy of a block header and keeps it in the record.
 *
 * @param buffer  at least 100 bytes from the start of a block
 * @return offset of the block's data; -1 without a sync prefix, -3 without a good copy
 */
int nbpGvarGetHeader(const void* buffer, void* p);
/**
 * Takes a documentation block over into the record; its header is the one kept last.
 *
 * @param buffer  26624 bytes
 * @return 0; -1 for a wrong CRC, -2 for a block whose times do not fit
 */
int nbpGvarGetBlock0(void* p, const void* buffer, int offset);
/** Orbit, attitude and scale values from the words of the documentation block. */
void nbpGvarCalcOA(void* p);
/** Visible line or pixel (from 1) to that of a channel. */
double nbpVisLinToChLin(int satellite, int channel, double line);
double nbpVisPixToChPix(int channel, double pixel);
/** Makes a channel current, with an empty cache: 0, 2 without a sub-satellite point, -1 no memory.
 */
int nbpGvarChgCh(void* p, int channel);
/** One position; bits of NbNavError. `info` may be null. */
int nbpGvarPixLinToLonLat(void* p, float pixel, float line, double* lon, double* lat,
                          NbPointInfo* info);
/**
 * Physical value of each of the 1024 counts.
 *
 * @param detector  from 1
 * @param physics   1 albedo, 2 temperature, 3 radiance
 * @return 0, or -1 (logged) when the satellite has no such detector
 */
int nbpGvarGetCalTable(void* p, float* table, int channel, int detector, int physics);
/** A decimal number YYYYDDDHHMMSSmmm to year, month, day, hour, minute, second, millisecond. */
void nbpBcdTimeToInt(double bcd, int32_t* ymdhmsr);
/** End of the current channel's last scan, MJD. */
double nbpGvarGetEndTime(void* p);

#ifdef __cplusplus
}
#endif
#endif
