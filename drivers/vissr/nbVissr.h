#ifndef NB_VISSR_H
#define NB_VISSR_H
/**
 * VISSR image files of spinning satellites, one channel a file: the driver's operations. `p` is
 * the driver's record, the privateData of an object that nbVissrLinkSat filled. Channels: 0
 * visible, 1 to 3 infrared. See docs/vissr.md for the file's layout.
 */
#include "sat/nbSatObject.h"

#ifdef __cplusplus
extern "C" {
#endif

/** Results of opening. All but NB_VISSR_OPEN are logged. */
enum NbVissrOpenResult {
    NB_VISSR_OPEN = 0,
    NB_VISSR_NO_MEMORY = 1,
    NB_VISSR_NO_VARIANT = 1, /* no satellite name where any variant has it */
    NB_VISSR_BAD_BLOCK = 2,  /* sizes that nothing can rest on */
    NB_VISSR_NO_FILE = 3,
    NB_VISSR_NO_CHANNEL = 4
};

/** Opens a file and fills the object; one of NbVissrOpenResult. */
int nbVissrLinkSat(NbSatObject* object, const char* path);
/** Reads the documentation of `path` into an empty record; one of NbVissrOpenResult. */
int nbVissrOpenFile(void* p, const char* path);
/** Frees the record; 0. Null is ignored. */
int nbVissrCloseFile(void* p);
/** Forgets the lines read so far; 0. */
int nbVissrClearDataCache(void* p);
/** Widest run of missing lines to fill from its neighbours. Lines filled before stay. */
int nbVissrSetStopGap(void* p, int gap);

int nbVissrSetShift(void* p, const float* dPixel, const float* dLine);

int nbVissrGetChNum(void* p);
int nbVissrGetChInfo(void* p, int channel, int* pixels, int* lines, int* levels, char* name);
/** Elements: "VIS" (levels of all detectors on one scale), "VIS_A", "VIS_L" (detector and count),
 * "IR1", "IR1_T", "IR1_R" and the channels' other names. */
int nbVissrSetElements(void* p, const char* name, int* pixels, int* lines, int* levels,
                       float* errorValue);

int nbVissrGetCalTable(void* p, const char* name, float* table, int* n);
int nbVissrGetChannel(void* p, int style);

/**
 * Navigation. NB_VISSR_NAV_IR_CH in the environment, three digits, names the channel whose
 * parameters each infrared channel uses; "113" without it.
 */
int nbVissrLonLatHgtToPixLinInfo(void* p, const double* lon, const double* lat,
                                 const double* height, float* pixel, float* line, NbPointInfo* info,
                                 int n);
int nbVissrPixLinToLonLatInfo(void* p, const float* pixel, const float* line, double* lon,
                              double* lat, NbPointInfo* info, int n);
/** Metres; 0, or -1 for a time outside the file's tables, which writes nothing. */
int nbVissrGetSatPosEf(void* p, double mjd, double* position);
/** 0; -9999.0 three times for a time outside the file's tables. */
int nbVissrGetSatAtt(void* p, double mjd, double* attitude);

/* Samples: the number of points that missing lines cost; negative: nothing could be read. */
int nbVissrGetI2DataByPixLin(void* p, const float* pixel, const float* line, int16_t* out, int n);
int nbVissrGetR4DataByPixLin(void* p, const float* pixel, const float* line, float* out, int n);
int nbVissrGetI2ZoomData(void* p, const NbZoomRect* rect, int16_t* out);
int nbVissrGetR4ZoomData(void* p, const NbZoomRect* rect, float* out);
/**
 * State of a line, counted from 0: 0 good, 1 outside the image, 2 outside the lines of the file,
 * 3 missing in the file.
 */
int nbVissrIsErrorLine(void* p, int line);

/* Library-private */

/** Code of an element name: -1 counts, 1 _A, 2 _T, 3 _R, 4 _L; -99999 for none (logged). */
int nbpVissrCheckElem(void* p, const char* name, const char* caller);
/**
 * State of the satellite at a time.
 *
 * @param position  earth-fixed, metres
 * @param spin      unit vector of the spin axis, earth-fixed
 * @param sun       unit vector
 * @param angle     from the sun to the scan's centre around the spin axis, radians
 * @return 0; 1 for a time outside the orbit, 2 outside the attitude table, with nothing written
 */
int nbpVissrGetInsertValue(void* p, double mjd, double* position, double* spin, double* sun,
                           double* angle);
/** Observation time of the image's last pixel, MJD. */
double nbpVissrGetEndTime(void* p);
/** One point each way, by the parameters of the file's own channel; bits of NbNavError. */
int nbpVissrLonLatToPixLin(void* p, double lon, double lat, double height, float* pixel,
                           float* line, NbPointInfo* info);
int nbpVissrPixLinToLonLat(void* p, float pixel, float line, double* lon, double* lat,
                           NbPointInfo* info);
/** Longitude below the satellite at the start of the scan, degrees; -9999.0 for unknown. */
double nbpVissrGetStartLon(void* p);
/**
 * Gives an infrared channel from 2 on the centre line of channel 1 when the two differ by less
 * than half a line. For a channel that takes its navigation from channel 1 nothing changes.
 */
void nbpVissrAlignCentreLine(void* p, int channel);

#ifdef __cplusplus
}
#endif
#endif
