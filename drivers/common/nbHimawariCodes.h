#pragma once
/**
 * The imager of Himawari-8 and -9 among the channels of all drivers.
 */

// Place of bands 1 to 16 in the channel order common to all drivers. Code 9 belongs to no band.
inline constexpr int himawariCodes[] = {7, 8, 0, 5, 6, 10, 4, 3, 11, 12, 13, 14, 1, 15, 2, 16};
static_assert(sizeof himawariCodes == 16 * sizeof(int));
