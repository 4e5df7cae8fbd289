#ifndef NB_HRIT_H
#define NB_HRIT_H
/**
 * HRIT image segments of MTSAT and Himawari: the driver's operations. `p` is the driver's record,
 * the privateData of an object that nbHritLinkSat filled. See docs/hrit.md for the file's layout.
 */
#include "sat/nbSatObject.h"

#ifdef __cplusplus
extern "C" {
#endif

/** Results of opening. */
enum NbHritOpenResult {
    NB_HRIT_OPEN = 0,
    NB_HRIT_NO_MEMORY = 1,
    NB_HRIT_NO_FILE = 2,
    NB_HRIT_SHORT = 3,      /* a record ends early, or holds what nothing can rest on */
    NB_HRIT_UNREADABLE = 4, /* no image, one byte a pixel, or a compression that cannot be read */
};

/** Result of a read that touched a line of bad quality; the other samples are good. */
enum { NB_HRIT_BAD_LINE = 2 };

/**
 * Path of the scan time file for objects opened from now on; empty: none. The environment
 * variable NB_HRIT_SCANTIME goes before it.
 */
extern char nb_Hrit_STF[256];
/** 1: objects opened from now on read their whole image at once. */
extern int16_t nb_hrit_get_alldata;
/**
 * The image that was read so last, columns x lines counts in the byte order of its file. Belongs to
 * its object; null when there is none or it has been closed.
 */
extern const uint16_t* nb_hrit_frameData;

/** Opens a file and fills the object; one of NbHritOpenResult. */
int nbHritLinkSat(NbSatObject* object, const char* path);
/** Reads the headers of `path` into an empty record; one of NbHritOpenResult. */
int nbHritOpenFile(void* p, const char* path);
/** Frees the record; 0. Null is ignored. */
int nbHritCloseFile(void* p);
/** Widest gap to fill, pixels or lines; 0: none. MTSAT-2 files alone are filled. */
int nbHritSetStopGap(void* p, int gap);
/** Lines that are in memory already stay where they are. */
int nbHritSetShift(void* p, const float* dPixel, const float* dLine);

int nbHritGetChNum(void* p);
int nbHritGetChInfo(void* p, int channel, int* pixels, int* lines, int* levels, char* name);
int nbHritSetElements(void* p, const char* name, int* pixels, int* lines, int* levels,
                      float* errorValue);
int nbHritGetCalTable(void* p, const char* name, float* table, int* n);
int nbHritGetChannel(void* p, int style);

/* Earth to image gives error bits; image to earth always gives 0. */
int nbHritLonLatHgtToPixLinInfoDisk(void* p, const double* lon, const double* lat,
                                    const double* height, float* pixel, float* line,
                                    NbPointInfo* info, int n);
int nbHritPixLinToLonLatInfoDisk(void* p, const float* pixel, const float* line, double* lon,
                                 double* lat, NbPointInfo* info, int n);
int nbHritLonLatHgtToPixLinInfoPolar(void* p, const double* lon, const double* lat,
                                     const double* height, float* pixel, float* line,
                                     NbPointInfo* info, int n);
int nbHritPixLinToLonLatInfoPolar(void* p, const float* pixel, const float* line, double* lon,
                                  double* lat, NbPointInfo* info, int n);
int nbHritLonLatHgtToPixLinInfoMerc(void* p, const double* lon, const double* lat,
                                    const double* height, float* pixel, float* line,
                                    NbPointInfo* info, int n);
int nbHritPixLinToLonLatInfoMerc(void* p, const float* pixel, const float* line, double* lon,
                                 double* lat, NbPointInfo* info, int n);
/** In metres, not in km. */
int nbHritGetSatPosEf(void* p, double mjd, double* position);
int nbHritGetSatAtt(void* p, double mjd, double* attitude);
int nbHritResetAtt(void* p, double mjd, const double* attitude, int absolute);

/* Reads: 0, NB_HRIT_BAD_LINE, or -1 without memory or, for floats, without a physical element. */
int nbHritGetI2DataByPixLin(void* p, const float* pixel, const float* line, int16_t* out, int n);
int nbHritGetR4DataByPixLin(void* p, const float* pixel, const float* line, float* out, int n);
int nbHritGetI2ZoomData(void* p, const NbZoomRect* rect, int16_t* out);
int nbHritGetR4ZoomData(void* p, const NbZoomRect* rect, float* out);

/* Library-private */

/** Level of a physical value by the file's calibration table; -1 for none. */
int nbpHritPhysToLevel(void* p, float value);
/** Makes a line present: 0 read now, 1 was there, 2 bad quality, -1 no memory. */
int nbpHritReadOneLine(void* p, float line);
/** Observation time of the image's last pixel, MJD; -1.0 for none. */
double nbpHritGetEndTime(void* p);
/** Lines of this quality value and above count as missing. */
void nbpHritSetImgQualThresh(void* p, double threshold);
/** Raw positions, for files in the disk projection alone. */
extern const NbSatRawNav nbpHritRawNav;
int nbpHritHasRawNav(const void* p);

#ifdef __cplusplus
}
#endif
#endif
