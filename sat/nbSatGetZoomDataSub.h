#ifndef NB_SAT_GET_ZOOM_DATA_SUB_H
#define NB_SAT_GET_ZOOM_DATA_SUB_H
/**
 * A nearest zoom built on the object's sample operations, for drivers whose own zoom has nothing
 * better. A source width or height of 0 means up to the image's end; columns beyond the right
 * edge and rows below the last line are left as they were.
 *
 * @return result of the last sample call; 0 when there was none; -1 when memory ran out
 */
#include "sat/nbSatObject.h"

#ifdef __cplusplus
extern "C" {
#endif

int nbSatGetI2ZoomDataSub(NbSatObject* object, const NbZoomRect* rect, int16_t* out);
int nbSatGetR4ZoomDataSub(NbSatObject* object, const NbZoomRect* rect, float* out);

#ifdef __cplusplus
}
#endif
#endif
