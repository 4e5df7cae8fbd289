#ifndef NB_SAT_SET_LUT_H
#define NB_SAT_SET_LUT_H
/**
 * Level conversion set on an object: what nbSatGetI2DataByPixLin and its kin then give are
 * output levels. Each applies to every linked object with an element of one value per pixel.
 *
 * @return 0 when at least one object took it, otherwise -1
 */
#include "sat/nbSatObject.h"

#ifdef __cplusplus
extern "C" {
#endif

int nbSatSetLutByBiasScale(NbSatObject* object, float bias, float scale, int levels,
                           int errorLevel);
int nbSatSetLutByTable(NbSatObject* object, const float* tableX, const int16_t* tableY, int n,
                       int errorLevel);
int nbSatSetLutByTableStair(NbSatObject* object, const float* tableX, const int16_t* tableY, int n,
                            int errorLevel);
int nbSatSetLutByMinMax(NbSatObject* object, float min, float max, int levels, int errorLevel);

#ifdef __cplusplus
}
#endif
#endif
