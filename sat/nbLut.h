#ifndef NB_LUT_H
#define NB_LUT_H
/**
 * Plain level conversions of arrays: physical values or counts to output levels.
 *
 * A value equal to `errorValue` becomes `errorLevel`, and so does one that is not a number, except
 * in the float stair form: there it keeps the level of the value before it. A table without
 * entries gives `errorLevel` for all. n values.
 */
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/** Level: (value - bias) / scale to the nearest, limited to 0 and levels - 1. */
void nbLutR4ToI2ByBiasScale(float bias, float scale, int levels, const float* in, int16_t* out,
                            float errorValue, int16_t errorLevel, int n);
void nbLutI2ToI2ByBiasScale(float bias, float scale, int levels, const int16_t* in, int16_t* out,
                            int errorValue, int16_t errorLevel, int n);
/** The same from the range's ends: scale (max - min) / (levels - 1). */
void nbLutR4ToI2ByMinMax(float min, float max, int levels, const float* in, int16_t* out,
                         float errorValue, int16_t errorLevel, int n);
void nbLutI2ToI2ByMinMax(float min, float max, int levels, const int16_t* in, int16_t* out,
                         int errorValue, int16_t errorLevel, int n);
/** Linear between ascending breakpoints x with levels y, constant beyond the ends. */
void nbLutR4ToI2ByTable(const float* x, const int16_t* y, int tableNum, const float* in,
                        int16_t* out, float errorValue, int16_t errorLevel, int n);
void nbLutI2ToI2ByTable(const float* x, const int16_t* y, int tableNum, const int16_t* in,
                        int16_t* out, int errorValue, int16_t errorLevel, int n);
/** The level of the breakpoint at or below the value. */
void nbLutR4ToI2ByTableStair(const float* x, const int16_t* y, int tableNum, const float* in,
                             int16_t* out, float errorValue, int16_t errorLevel, int n);
void nbLutI2ToI2ByTableStair(const float* x, const int16_t* y, int tableNum, const int16_t* in,
                             int16_t* out, int errorValue, int16_t errorLevel, int n);

#ifdef __cplusplus
}
#endif
#endif
