#ifndef NB_SAT_PROJ_H
#define NB_SAT_PROJ_H
/**
 * A satellite's own image as a map projection (NB_PROJ_ZOOM): a crop of the image in pixels and
 * lines, stretched over the columns and rows of a grid.
 */
#include "geo/nbProj.h"
#include "sat/nbSatObject.h"

#ifdef __cplusplus
extern "C" {
#endif

/**
 * Makes `para` (type NB_PROJ_ZOOM, with xNum and yNum set) use the object's navigation.
 *
 * baseX, baseY are the first source pixel and line, stepX, stepY the source extents. The object
 * must outlive the record's use.
 *
 * @return 0, or -1 for another type (logged)
 */
int nbSatSetNavToProj(NbSatObject* object, NbProjPara* para);

/* Library-private: the record's two functions. */
int nbpSatProjLonLatToXY(const double* lon, const double* lat, float* x, float* y, int n,
                         NbProjPara* para);
int nbpSatProjXYToLonLat(const float* x, const float* y, double* lon, double* lat, int n,
                         NbProjPara* para);

#ifdef __cplusplus
}
#endif
#endif
