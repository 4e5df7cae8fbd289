#ifndef NB_SAT_MGET_PROJ_DATA_H
#define NB_SAT_MGET_PROJ_DATA_H
/**
 * One map grid from a list of files.
 */
#include "geo/nbProj.h"
#include "sat/nbSatObject.h"

#ifdef __cplusplus
extern "C" {
#endif

/**
 * The grid of nbSatGetProjData.h from a list of files. Each is opened in turn with the element and
 * level conversion of `object`.
 *
 * @param names  `count` paths, sorted in place by time: each string must hold the longest
 * @param mode   NbOverlapMode, or 11 smallest and 12 largest sun zenith angle; with 0 the last
 *               one in the order of time decides alone
 * @param info   xNum x yNum records of the winners, or null
 * @return 0 or a positive count; 0 when nothing opened; -1 on failure (logged)
 */
int nbSatMgetI2ProjData(NbSatObject* object, char** names, int count, int mode, NbProjPara* proj,
                        int16_t* out, NbPointInfo* info);
int nbSatMgetR4ProjData(NbSatObject* object, char** names, int count, int mode, NbProjPara* proj,
                        float* out, NbPointInfo* info);

#ifdef __cplusplus
}
#endif
#endif
