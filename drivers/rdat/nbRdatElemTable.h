#pragma once
/**
 * Bands and element names of raw scan data. Band numbers are row numbers, from 1. Wavelengths in
 * micrometres.
 */
#include "drivers/common/nbElemName.h"

#include <iterator>

inline constexpr NbElemRow rdatRows[] = {
    {"B01,1,VISB,VIS1,VS1,0.47", "_A,_R", "0.47,", " 1.0km"},
    {"B02,2,VISG,VIS2,VS2,0.51", "_A,_R", "0.51,", " 1.0km"},
    {"B03,3,VISR,VIS3,VIS,VS3,0.64", "_A,_R", "0.64,", " 0.5km"},
    {"B04,4,VS4,0.86", "_A,_R", "0.86,", " 2.0km"},
    {"B05,5,VS5,1.6", "_A,_R", "1.6 ,", " 2.0km"},
    {"B06,6,VS6,2.3", "_A,_R", "2.3 ,", " 2.0km"},
    {"B07,IR4,7,3.9", "_T,_R", "3.9 ,", " 2.0km"},
    {"B08,8,IR3,WV,6.2", "_T,_R", "6.2 ,", " 2.0km"},
    {"B09,9,6.9", "_T,_R", "6.9 ,", " 2.0km"},
    {"B10,10,7.3", "_T,_R", "7.3 ,", " 2.0km"},
    {"B11,11,8.6", "_T,_R", "8.6 ,", " 2.0km"},
    {"B12,12,9.6", "_T,_R", "9.6 ,", " 2.0km"},
    {"B13,13,IR1,IR,10.4", "_T,_R", "10.4,", " 2.0km"},
    {"B14,14,11.2", "_T,_R", "11.2,", " 2.0km"},
    {"B15,15,IR2,12.4", "_T,_R", "12.4,", " 2.0km"},
    {"B16,16,13.3", "_T,_R", "13.3,", " 2.0km"},
};
static_assert(std::size(rdatRows) == 16);

// Levels of each band: counts of 11, 12 or 14 bits.
inline constexpr int rdatLevels[] = {2048, 2048, 2048, 2048, 2048, 2048, 16384, 2048,
                                     2048, 4096, 4096, 4096, 4096, 4096, 4096,  2048};
static_assert(std::size(rdatLevels) == std::size(rdatRows));
