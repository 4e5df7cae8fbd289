#ifndef NB_SAT_H
#define NB_SAT_H
/**
 * The satellite object: open, close, sort, settings.
 */
#include "sat/nbSatObject.h"

#ifdef __cplusplus
extern "C" {
#endif

/**
 * Opens a file, or a list of files.
 *
 * @param object  record to fill; for a list an array with one record a name
 * @param path    a path, perhaps with "?type=word" behind it to choose the format without
 *                looking (words: vissr hrit hrpt ngac svissr gvar hirid meteo mraw aapp ngacv1
 *                native jami mtp hisd); or several, separated by blanks or tabs: a path with at
 *                least one blank is a list. A name that does not open takes no record; the opened
 *                ones get objectNum and objectIndex.
 * @return 0 when (at least one) opened; -1 for a null or empty path; 1 for an unknown format or
 *         a list of which none opened; otherwise the driver's own code
 */
int nbSatOpenObject(NbSatObject* object, const char* path);

/**
 * Closes an object and frees what it owns. Deliberate: of a list only the first record is
 * closed; close the others one by one.
 *
 * @return 0; 1 for a record that is not open
 */
int nbSatCloseObject(NbSatObject* object);

/**
 * Opens one file of a list.
 *
 * @param names     `count` paths; sorted in place by time for a negative selector, so each
 *                  string must hold the longest name
 * @param selector  index into `names`, or -1 the last in time order, -2 the middle, -3 the first
 * @return number of files that open; 0 when the chosen one does not, or for another selector
 */
int nbSatMopenObject(NbSatObject* object, char** names, int count, int selector);

/**
 * Sorts file names by observation start; those that do not open go to the end.
 *
 * @param names  strings of which each must hold the longest name (at most 255 bytes)
 * @return how many files opened; 0 also when memory ran out
 */
int nbSatFileSort(char** names, int count);

/**
 * Shift in pixels and lines of each linked object, for its samples on a map: taken from positions
 * by HISD, HRIT, native (pixels alone), VISSR and GVAR, added to them by RDAT and NOAA. VISSR, GVAR
 * and NOAA give shifted positions, the others shift when they sample. In HRIT, as with the gap and
 * the quality, set before the first sample: lines that are in memory stay as they are. 0, or -1
 * when one of them is not open (logged; the others take it).
 */
int nbSatSetDiffPixLin(NbSatObject* object, float dPixel, float dLine);
int nbSatSetShift(NbSatObject* object, float dPixel, float dLine);

/**
 * Widest run of error pixels or lines that a driver may fill; 0 none. 0; -1 at a closed one, and
 * where a driver (those of NOAA) fills none.
 */
int nbSatSetStopGap(NbSatObject* object, int gap);

/** Attitude angles in radians: added (absolute 0) or set. 0, or -1 when closed. */
int nbSatResetAtt(NbSatObject* object, double mjd, double* attitude, int absolute);

/** Interpolation of samples: 0 nearest, 1 bilinear, 2 sinc, 3 cubic convolution. 0. */
int nbSatSetIntp(NbSatObject* object, int16_t method);

/**
 * Directory that holds a data file of the library, with its closing "/": "../DATA/",
 * "/NIMBL/DATA/", that of the file which the environment's NIMBL_MAP names when it is this one, or
 * the one of the installation, whichever comes first.
 *
 * @param search  asks for a walk over drives; there are none here, so it changes nothing
 * @return static buffer of 512 bytes, or null (logged) when no candidate holds the file
 */
char* nbSatGetDataDir(const char* fileName, int search);

/**
 * Looks a file name up among the linked objects.
 *
 * @param satName  at least 16 bytes
 * @param ymdhms   six fields of its start time
 * @return 0; 1 when no linked object has that name
 */
int nbSatGetFileInfo(NbSatObject* object, const char* fileName, char* satName, int16_t* ymdhms);

/** HRIT only: limit for accepting image quality. 0, or 1 for another format (logged). */
int nbSatSetImgQualThresh(NbSatObject* object, double threshold);

/** Library-private: nbSatGetDataDir for a file that need not be there, without a word. */
char* nbpSatFindDataDir(const char* fileName);

/** Library-private: raw positions of the object's driver; null when it has none. */
const NbSatRawNav* nbpSatRawNav(const NbSatObject* object);

#ifdef __cplusplus
}
#endif
#endif
