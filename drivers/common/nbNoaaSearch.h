#pragma once
/**
 * Where a place lies in an AVHRR pass.
 */
#include "drivers/common/nbNoaaPass.h"

// Lines from which a search starts, for each cell of the earth.
NbNoaaCells nbpNoaaMakeCells(const NbNoaaPass& pass);

/**
 * Searches a place from a line on.
 *
 * @return 0 and a position; otherwise a bit of NbNavError and nothing is written
 */
int nbpNoaaSearch(const NbNoaaPass& pass, double lon, double lat, int line, float* pixelOut,
                  float* lineOut);
