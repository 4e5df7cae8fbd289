#ifndef NB_SAT_GET_ZOOM_DATA_H
#define NB_SAT_GET_ZOOM_DATA_H
/**
 * A rectangle of the image, resampled to an output size and converted like the samples of
 * nbSatGetDataByPixLin.h. `out` holds outWidth x outHeight x elemNum values, row by row. NOAA's
 * drivers leave those off the image as they find them: fill `out` with -1 before.
 *
 * @return 0 or a positive count; -1 on failure (logged)
 */
#include "sat/nbSatObject.h"

#ifdef __cplusplus
extern "C" {
#endif

int nbSatGetI2ZoomData(NbSatObject* object, const NbZoomRect* rect, int16_t* out);
int nbSatGetR4ZoomData(NbSatObject* object, const NbZoomRect* rect, float* out);
/** From positions that may lie between pixels; outWidth and outHeight at least 2. */
int nbSatGetI2ZoomDataIntp(NbSatObject* object, const NbZoomRectF* rect, int16_t* out);
int nbSatGetR4ZoomDataIntp(NbSatObject* object, const NbZoomRectF* rect, float* out);

#ifdef __cplusplus
}
#endif
#endif
