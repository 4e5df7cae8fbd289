#ifndef NB_SAT_GET_DATA_BY_PIX_LIN_H
#define NB_SAT_GET_DATA_BY_PIX_LIN_H
/**
 * Samples of the selected element at image positions, interpolated as the object's intpMethod
 * says and converted by its level conversion.
 *
 * @param pixel,line  n positions, 0-based; -9999.0 for none
 * @param out         n x elemNum values. I2: counts or levels, -1 for a missing count; R4: values,
 *                    where missing -1.0 or, interpolated, the object's errorValue: test both
 * @return 0 or a positive count; -1 on failure, logged but for a closed object and an interpolation
 *         that cannot be had. Where memory ran out, GVAR's lines are missing instead.
 */
#include "sat/nbSatObject.h"

#ifdef __cplusplus
extern "C" {
#endif

int nbSatGetI2DataByPixLin(NbSatObject* object, const float* pixel, const float* line, int16_t* out,
                           int n);
int nbSatGetR4DataByPixLin(NbSatObject* object, const float* pixel, const float* line, float* out,
                           int n);

#ifdef __cplusplus
}
#endif
#endif
