#pragma once
/**
 * Shorelines of the GSHHG data set in its binned form.
 */
#include "tools/map/shoreSource.h"

// Land of a binned GSHHG file. Lakes are water, islands in them land; the ice front is the shore
// of Antarctica. Throws std::runtime_error, also where the netCDF library was not at hand.
ShoreSource readGshhg(const std::string& path);
