#pragma once
/**
 * Bands and element names of Himawari-8/9 and of MTSAT-2 in Himawari Standard Data. Band numbers
 * are row numbers, from 1. Wavelengths in micrometres.
 */
#include "drivers/common/nbElemName.h"
#include "drivers/common/nbHimawariCodes.h"

#include <iterator>

inline constexpr NbElemRow hisdHimawariRows[] = {
    {"B01,1,VISB,VIS1,VS1,0.47", "_A,_R", "0.47,", "1.0km"},
    {"B02,2,VISG,VIS2,VS2,0.51", "_A,_R", "0.51,", " 1.0km"},
    {"B03,3,VISR,VIS3,VS3,VIS,0.64", "_A,_R", "0.64,", " 0.5km"},
    {"B04,4,VS4,0.86", "_A,_R", "0.86,", " 2.0km"},
    {"B05,5,VS5,1.6,AVHRR2", "_A,_R", "1.6 ,", " 2.0km"},
    {"B06,6,VS6,2.3,AVHRR3A", "_A,_R", "2.3 ,", " 2.0km"},
    {"B07,7,IR4,3.9", "_T,_R", "3.9 ,", " 2.0km"},
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
static_assert(std::size(hisdHimawariRows) == 16);

inline constexpr NbElemRow hisdMtsatRows[] = {
    {"B01,1,VIS", "_A,_R", "0.55-0.90, 1.0km", ""},
    {"B02,2,IR4", "_T,_R", "3.5-4.0, 4.0km", ""},
    {"B03,3,IR3,WV", "_T,_R", "6.5-7.0, 4.0km", ""},
    {"B04,4,IR1,IR", "_T,_R", "10.3-11.3, 4.0km", ""},
    {"B05,5,IR2", "_T,_R", "11.5-12.5, 4.0km", ""},
};
static_assert(std::size(hisdMtsatRows) == 5);

// Names of Himawari's bands in this format alone; the others stand in nbHimawariNames.h.
//
// Deliberate: both lead one band lower than the rows above show them, and "VS4" to "VS6", which
// the rows show, are no names. Users' setup files select by these rules; to mend them selects
// another band for the same name.
inline constexpr NbElemAlias hisdHimawariAliases[] = {{"AVHRR2", "B04"}, {"AVHRR3A", "B05"}};

inline constexpr NbElemAlias hisdMtsatAliases[] = {
    {"1", "B01"},   {"2", "B02"},   {"3", "B03"},  {"4", "B04"},   {"5", "B05"},  {"VIS", "B01"},
    {"IR4", "B02"}, {"IR3", "B03"}, {"WV", "B03"}, {"IR1", "B04"}, {"IR", "B04"}, {"IR2", "B05"},
};

// Place of each band in the channel order common to all drivers; Himawari's stand in
// nbHimawariCodes.h.
static_assert(std::size(himawariCodes) == std::size(hisdHimawariRows));
inline constexpr int hisdMtsatCodes[] = {0, 4, 3, 1, 2};
static_assert(std::size(hisdMtsatCodes) == std::size(hisdMtsatRows));
