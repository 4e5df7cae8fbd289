#ifndef NB_NATIVE_H
#define NB_NATIVE_H
/**
 * Native files of Meteosat Second Generation, level 1.5: the driver's operations. `p` is the
 * driver's record, the privateData of an object that nbNativeLinkSat filled. See docs/native.md
 * for the file's layout.
 *
 * A line that is not the one that stands in its place ends the use of the file: the record stays
 * valid memory, and every later query of it gives -1 and no values.
 */
#include "sat/nbSatObject.h"

#ifdef __cplusplus
extern "C" {
#endif

/** Results of opening. */
enum NbNativeOpenResult {
    NB_NATIVE_OPEN = 0,
    NB_NATIVE_FAILED = 1 /* no file, a short one, a bad grid, or memory; a message says which */
};

/** Opens a file and fills the object; one of NbNativeOpenResult. */
int nbNativeLinkSat(NbSatObject* object, const char* path);
/** Reads the headers of `path` into an empty record; one of NbNativeOpenResult. */
int nbNativeOpenFile(void* p, const char* path);
/** Frees the record; 0. Null is ignored. */
int nbNativeCloseFile(void* p);
/** Stored and not used: this driver fills no gaps. */
int nbNativeSetStopGap(void* p, int gap);
/** Only the shift along the line is used, and only by samples at positions. */
int nbNativeSetShift(void* p, const float* dPixel, const float* dLine);

int nbNativeGetChNum(void* p);
int nbNativeGetChInfo(void* p, int channel, int* pixels, int* lines, int* levels, char* name);
/**
 * 20001, 10001, or -1 for a name or channel that the file has not. 1 when the channel's lines
 * have no room in memory; the record is of no more use then.
 */
int nbNativeSetElements(void* p, const char* name, int* pixels, int* lines, int* levels,
                        float* errorValue);
int nbNativeGetCalTable(void* p, const char* name, float* table, int* n);
int nbNativeGetChannel(void* p, int style);

int nbNativeLonLatHgtToPixLinInfo(void* p, const double* lon, const double* lat,
                                  const double* height, float* pixel, float* line,
                                  NbPointInfo* info, int n);
int nbNativePixLinToLonLatInfo(void* p, const float* pixel, const float* line, double* lon,
                               double* lat, NbPointInfo* info, int n);
int nbNativeGetSatPosEf(void* p, double mjd, double* position);
int nbNativeGetSatAtt(void* p, double mjd, double* attitude);

/** 0, 1 when a line could not be read (its samples are missing), or -1 when memory ran out. */
int nbNativeGetI2DataByPixLin(void* p, const float* pixel, const float* line, int16_t* out, int n);
int nbNativeGetR4DataByPixLin(void* p, const float* pixel, const float* line, float* out, int n);
int nbNativeGetI2ZoomData(void* p, const NbZoomRect* rect, int16_t* out);
int nbNativeGetR4ZoomData(void* p, const NbZoomRect* rect, float* out);

/* Library-private */

/** Takes the grid of a channel (0 to 11) and drops all cached lines: 0, or 1 when it has none. */
int nbpNativeSetChParam(void* p, int channel);
/** Physical value of a count (0 to 1024) of a channel by a kind of element; -1.0 for none. */
float nbpNativeLevelToPhys(void* p, int kind, int level, int channel);
/** Makes a line of the selected channel present: 0; 1 when it cannot be; -1 no memory. */
int nbpNativeReadOneLine(void* p, int line);
/** Raw positions of the driver. */
extern const NbSatRawNav nbpNativeRawNav;

#ifdef __cplusplus
}
#endif
#endif
