#ifndef NB_HISD_H
#define NB_HISD_H
/**
 * Himawari Standard Data: the driver's operations. `p` is the driver's record, the privateData
 * of an object that nbHisdLinkSat filled. See docs/hisd.md for the file's layout.
 */
#include "sat/nbSatObject.h"

#ifdef __cplusplus
extern "C" {
#endif

/** Results of opening. */
enum NbHisdOpenResult {
    NB_HISD_OPEN = 0,
    NB_HISD_NO_MEMORY = 1,
    NB_HISD_NO_FILE = 2,
    NB_HISD_BAD_BLOCK = 3, /* the message names the block */
    NB_HISD_COMPRESSED = 4
};

/** Opens a file and fills the object; one of NbHisdOpenResult. */
int nbHisdLinkSat(NbSatObject* object, const char* path);
/** Reads the headers of `path` into an empty record; one of NbHisdOpenResult. */
int nbHisdOpenFile(void* p, const char* path);
/** Frees the record; 0. Null is ignored. */
int nbHisdCloseFile(void* p);

int nbHisdSetStopGap(void* p, int gap);
int nbHisdSetShift(void* p, const float* dPixel, const float* dLine);
/** The object's driver record. */
void* nbHisdFileOfSatObject(NbSatObject* object);

int nbHisdGetChNum(void* p);
int nbHisdGetChInfo(void* p, int channel, int* pixels, int* lines, int* levels, char* name);
int nbHisdSetElements(void* p, const char* name, int* pixels, int* lines, int* levels,
                      float* errorValue);
int nbHisdGetCalTable(void* p, const char* name, float* table, int* n);
int nbHisdGetChannel(void* p, int style);

int nbHisdLonLatHgtToPixLinInfoDisk(void* p, const double* lon, const double* lat,
                                    const double* height, float* pixel, float* line,
                                    NbPointInfo* info, int n);
int nbHisdPixLinToLonLatInfoDisk(void* p, const float* pixel, const float* line, double* lon,
                                 double* lat, NbPointInfo* info, int n);
int nbHisdGetSatPosEf(void* p, double mjd, double* position);
int nbHisdGetSatAtt(void* p, double mjd, double* attitude);
int nbHisdResetAtt(void* p, double mjd, const double* attitude, int absolute);

int nbHisdGetI2DataByPixLin(void* p, const float* pixel, const float* line, int16_t* out, int n);
int nbHisdGetR4DataByPixLin(void* p, const float* pixel, const float* line, float* out, int n);
int nbHisdGetI2ZoomData(void* p, const NbZoomRect* rect, int16_t* out);
int nbHisdGetR4ZoomData(void* p, const NbZoomRect* rect, float* out);

/* Library-private */

/** Nearest count for a physical value of the selected element; -1 for none. */
int nbpHisdPhysToLevel(void* p, float value);
/** Makes a file line present: 0 read now, 1 was there, -1 no memory. */
int nbpHisdReadOneLine(void* p, float line);
/** Observation time of the image's last pixel, MJD. */
double nbpHisdGetEndTime(void* p);
/** Observation time at a position counted from 1.5, MJD; below 0 for none. */
double nbpHisdGetScanTime(void* p, float pixel, float line);
/** Raw positions of the driver. */
extern const NbSatRawNav nbpHisdRawNav;

#ifdef __cplusplus
}
#endif
#endif
