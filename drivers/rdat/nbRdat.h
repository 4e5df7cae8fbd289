#ifndef NB_RDAT_H
#define NB_RDAT_H
/**
 * Raw scan data of Himawari-8 and -9 (RDAT): the driver's operations. `p` is the driver's
 * record, the privateData of an object that nbRdatLinkSat filled. See docs/rdat.md for the
 * layout and the frames.
 */
#include "sat/nbSatObject.h"

#ifdef __cplusplus
extern "C" {
#endif

/** Results of opening. */
enum NbRdatOpenResult {
    NB_RDAT_OPEN = 0,
    NB_RDAT_NO_MEMORY = 1,
    NB_RDAT_NO_STATUS = 2,
    NB_RDAT_NO_FILE = 3,
    NB_RDAT_NO_READ = 4,
    NB_RDAT_BAD_SIZE = 21,       /* wrong id, wrong size, or lines that the file cannot hold */
    NB_RDAT_BAD_COUNT = 22,      /* a count of a block out of range, or a table without entries */
    NB_RDAT_NO_TABLE_MEMORY = 31 /* memory for a table of the header */
};

/** 1: headers are read without their tables; nothing is located. For listings. 0 at start. */
extern int16_t nb_Rdat_Dump_Mode;
/** 1: only mirror angles and scan times change over the scan; the rest stays. 0 at start. */
extern int16_t ipfhMode;
/** 1: the last angles of the distortion records are added to the attitude. 0 at start. */
extern int16_t distAttMode;

/** Opens a file and fills the object; one of NbRdatOpenResult. */
int nbRdatLinkSat(NbSatObject* object, const char* path);
/** Reads and locates `path` into an empty record; one of NbRdatOpenResult. */
int nbRdatOpenFile(void* p, const char* path);
/** Frees the record; 0. Null is ignored. */
int nbRdatCloseFile(void* p);
/** Raw scans have no gaps to fill: nothing happens; 0. */
int nbRdatSetStopGap(void* p, int gap);

int nbRdatSetShift(void* p, const float* dPixel, const float* dLine);

int nbRdatGetChNum(void* p);
/** 0, or 1 for another channel than 0 (logged). */
int nbRdatGetChInfo(void* p, int channel, int* pixels, int* lines, int* levels, char* name);

int nbRdatSetElements(void* p, const char* name, int* pixels, int* lines, int* levels,
                      float* errorValue);
/** Values at line 100 and column 100: the calibration changes over the image. */
int nbRdatGetCalTable(void* p, const char* name, float* table, int* n);

int nbRdatGetChannel(void* p, int style);

/** Heights are not used. The number of points without a position; -1 when none has one. */
int nbRdatLonLatHgtToPixLinInfo(void* p, const double* lon, const double* lat, const double* height,
                                float* pixel, float* line, NbPointInfo* info, int n);
/** 0, or 1 when a point lies outside the image or misses the earth. */
int nbRdatPixLinToLonLatInfo(void* p, const float* pixel, const float* line, double* lon,
                             double* lat, NbPointInfo* info, int n);
/** At the start of the scan, whatever the time: 0, or -1 for a file without tables. */
int nbRdatGetSatPosEf(void* p, double mjd, double* position);
int nbRdatGetSatAtt(void* p, double mjd, double* attitude);

/** Samples; the number of invalid ones, or -1. */
int nbRdatGetI2DataByPixLin(void* p, const float* pixel, const float* line, int16_t* out, int n);
int nbRdatGetR4DataByPixLin(void* p, const float* pixel, const float* line, float* out, int n);
int nbRdatGetI2ZoomData(void* p, const NbZoomRect* rect, int16_t* out);
int nbRdatGetR4ZoomData(void* p, const NbZoomRect* rect, float* out);

/* Library-private */

/**
 * Radiance (W m^-2 sr^-1 um^-1) of a level, four times a count, at a line and column of the
 * image; -9999.0 for an odd level.
 */
double nbpRdatVisCalib(void* p, int line, int column, int level);
double nbpRdatIrCalib(void* p, int line, int column, int level);
double nbpRdatRadToAlb(void* p, double radiance);
double nbpRdatRadToTbb(void* p, double radiance);
/** The two angles of a pixel's line of sight in the sensor frame, radians; 0, or -1 outside. */
int nbpRdatPixLinToLos(void* p, float pixel, float line, double* first, double* second);
/**
 * The point in which a line of sight of a column meets an ellipsoid of equatorial and polar
 * radius radii[0] and radii[1], or comes closest to the earth's centre; J2000, in the unit of
 * the radii, which is that of the orbit: km. 0, or -1 for a column outside the image.
 */
int nbpRdatCalcPointOnEarthJ2k(void* p, int column, const double* radii, double first,
                               double second, double* out);

#ifdef __cplusplus
}
#endif
#endif
