#ifndef NB_SAT_ELEM_H
#define NB_SAT_ELEM_H
/**
 * Elements and channels of an open object, and the band formulas of the drivers.
 *
 * An element is what is selected by name: a channel's counts ("IR1") or a physical reading of it
 * ("IR1_T" temperature, "VIS_A" albedo, "_R" radiance).
 */
#include "sat/nbSatObject.h"

#ifdef __cplusplus
extern "C" {
#endif

/** Number of channels of the first object. */
int nbSatGetChNum(NbSatObject* object);

/**
 * Size and name of a channel.
 *
 * @param channel  0 up to the number of channels - 1; of native files always 0 to 11, those that
 *                 are not there with 0 pixels
 * @param name     at least 256 bytes: "names/physics/comment", each list separated by commas; HISD
 *                 of an unknown satellite leaves it as it is
 * @return 0; not 0 for a bad channel
 */
int nbSatGetChInfo(NbSatObject* object, int channel, int* pixels, int* lines, int* levels,
                   char* name);

/**
 * Selects an element on every linked object. A refused name leaves that object without a
 * selection. The level conversion of the object is dropped.
 *
 * @param pixels,lines,levels,errorValue  one entry per linked object
 * @return 10000 x (kind + 1) + values per pixel of the last object that took it: 10001 counts,
 *         20001 physical values; below 1 when none did (logged)
 */
int nbSatSetElements(NbSatObject* object, const char* name, int* pixels, int* lines, int* levels,
                     float* errorValue);

/** The same without the sizes; -1 also when memory ran out. */
int nbSatSetElems(NbSatObject* object, const char* name);

/**
 * Physical value of each level.
 *
 * @param table  room for *n floats; null with *n of 0 asks for the size only
 * @param n      in: room; out: number of levels
 * @return 0 or more, or -1
 */
int nbSatGetCalTable(NbSatObject* object, const char* name, float* table, int* n);

/**
 * Channel of the selected element. Style 0: the driver's number; style 1: the place in the
 * order common to all drivers; -1 none; -2 for an object that is not open (logged).
 */
int nbSatGetChannel(NbSatObject* object, int style);

/**
 * Makes the object's table for interpolation anew.
 *
 * @param n  in: levels to fill, at least 1; out: number of levels
 * @return that of nbSatGetCalTable; -1 also without memory. A negative result leaves no table.
 */
int nbSatGetIntpTbl(NbSatObject* object, const char* name, int* n);

/** Writes what is open to the log, at info level. */
void nbSatPrintInfo(NbSatObject* object);

/*
 * Band formulas. `band` is a row of the band tables, from 1 to 33. Radiance is per micrometre
 * (WaveLen, W m^-2 sr^-1 um^-1) or per wavenumber (WaveNum, mW m^-2 sr^-1 cm); temperature in
 * kelvin. An argument not above 0, a band outside the tables and a row without a sensor (see
 * nbSatBandTable.h) give -9999.0.
 */

/** The two wavelength Planck constants; -1 for a band outside 1 to 33. */
int nbSatSenPlanckCoeff2(int band, double* out);
/** d1, d2, d3, c1, c2, c3 of the wavelength set; -1 for a band outside 1 to 33. */
int nbSatSenPlanckCoeff(int band, double* out);
/** Radiance of a temperature, and temperature of a radiance. */
double nbSatSenPlanckRadWaveLen(int band, double temperature);
double nbSatSenPlanckRadWaveNum(int band, double temperature);
double nbSatSenPlanckTempWaveLen(int band, double radiance);
double nbSatSenPlanckTempWaveNum(int band, double radiance);
/** Radiance per wavenumber to per wavelength through temperature, and back. */
double nbSatRadNumToRadLen(int band, double radiance);
double nbSatRadLenToRadNum(int band, double radiance);
/** Albedo from radiance for the solar bands 1 to 17; NaN for any other. */
double nbSatGetAlbedoWaveLen(int band, double mjd, double radiance);

#ifdef __cplusplus
}
#endif
#endif
