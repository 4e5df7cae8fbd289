#ifndef NB_SAT_GET_PROJ_DATA_H
#define NB_SAT_GET_PROJ_DATA_H
/**
 * Map grids: the selected element at every cell of a map.
 */
#include "geo/nbProj.h"
#include "sat/nbSatObject.h"

#ifdef __cplusplus
extern "C" {
#endif

/** Which object takes a cell that several cover. */
enum NbOverlapMode {
    NB_OVERLAP_FIRST = 0, /* the first object alone decides */
    NB_OVERLAP_LATEST_FILE = 1,
    NB_OVERLAP_EARLIEST_FILE = 2,
    NB_OVERLAP_LATEST_POINT = 3, /* by the observation time of the point */
    NB_OVERLAP_EARLIEST_POINT = 4,
    NB_OVERLAP_FINEST = 5, /* smallest resolution value */
    NB_OVERLAP_COARSEST = 6,
    NB_OVERLAP_SMALLEST = 7, /* by the sample itself */
    NB_OVERLAP_LARGEST = 8,
    NB_OVERLAP_HIGHEST_SATELLITE = 9, /* smallest satellite zenith angle */
    NB_OVERLAP_LOWEST_SATELLITE = 10
};

/**
 * The grid of `proj` (xNum columns, yNum rows) from the selected element.
 *
 * Positions are exact on a lattice of every roughX-th column and roughY-th row and bilinear
 * between, exact again along the earth's edge and the image's half line.
 *
 * With objectNum 1 the arguments behind `out` are ignored. With more objects their results are
 * merged cell by cell; with objectNum set to 0 by the caller the one object is treated likewise,
 * which gives the owner and information planes of a single file.
 *
 * @param out       xNum x yNum values; where nothing covers the cell, what a sample without a
 *                  position gives (-1, errorValue, or the error level of a conversion)
 * @param mode      NbOverlapMode; a negative one acts as 0
 * @param infoSel   1 to 10: field infoSel - 1 of NbPointInfo goes to infoOut; below 1: none
 * @param infoOut   xNum x yNum values or null; -9999.0 where no object gave the cell
 * @param ownerOut  xNum x yNum bytes or null: objectIndex of the object that gave the cell, or
 *                  255
 * @return 0 or a positive count; negative on failure (logged), also for an element of several
 *         values per pixel, and for more than 254 objects to merge or to crop
 */
int nbSatGetI2ProjData(NbSatObject* object, NbProjPara* proj, int16_t* out, int mode, int infoSel,
                       double* infoOut, uint8_t* ownerOut);
int nbSatGetR4ProjData(NbSatObject* object, NbProjPara* proj, float* out, int mode, int infoSel,
                       double* infoOut, uint8_t* ownerOut);

#ifdef __cplusplus
}
#endif
#endif
