#pragma once
/**
 * The map grid before the setup file speaks: where each projection puts it, and how a crop of
 * the image gets its size.
 */
#include "geo/nbProj.h"

/** Defaults of projection 0 to 4 (ps, disk, grid, merc, lamb); of -1, a crop of the image. */
NbProjPara defaultMap(int projection);

/**
 * Settles columns, rows and source extents of a crop.
 *
 * A count below 1 takes the whole image at the given step; otherwise the step becomes the source
 * extent of all columns (rows), at most the image.
 */
void settleCrop(NbProjPara& map, int pixels, int lines);

/** False when a call of the library or a mark of the output could not hold the grid's size. */
bool mapIsBounded(const NbProjPara& map);
