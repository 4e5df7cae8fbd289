#pragma once
/**
 * Channels and element names of the imager SEVIRI. Row numbers are channel numbers, from 0;
 * wavelengths in micrometres.
 */
#include "drivers/common/nbElemName.h"

#include <iterator>

inline constexpr NbElemRow nativeRows[] = {
    {"VIS,VS1,0.6,0,B03", "_A,_R", "0.56-0.71, 3.0km", ""},
    {"VS2,0.8,1,B04", "_A,_R", "0.74-0.88, 3.0km", ""},
    {"VS3,NIR,1.6,2,B05", "_A,_R", "1.50-1.78, 3.0km", ""},
    {"IR4,3.9,3,B07", "_T,_R", "3.48-4.36, 3.0km", ""},
    {"IR3,WV,6.2,4,B08", "_T,_R", "5.35-7.15, 3.0km", ""},
    {"IR5,7.3,5,B10", "_T,_R", "6.85-7.85, 3.0km", ""},
    {"IR6,8.7,6,B11", "_T,_R", "8.30-9.10, 3.0km", ""},
    {"IR7,OZN,9.7,7,B12", "_T,_R", "9.38-9.94, 3.0km", ""},
    {"IR1,IR,10.8,8,B13", "_T,_R", " 9.8-11.8, 3.0km", ""},
    {"IR2,12.0,9,B15", "_T,_R", "11.0-13.0, 3.0km", ""},
    {"IR8,13.4,10,B16", "_T,_R", "12.4-14.4, 3.0km", ""},
    {"HRV,0.75,11", "_A,_R", "0.60-0.90, 1.0km", ""},
};
static_assert(std::size(nativeRows) == 12);

inline constexpr NbElemRow nativeAbsentRow = {" None ", " None ", "  -  ", ""};

// Deliberate: "8.7" and "6" lead to 9.7 um, "OZN", "9.7" and "7" to 13.4 um, "13.4" to a name that
// no row has, and five band names to none, though the rows show them. Users' setup files select by
// these rules; to mend them selects another channel for the same name. Names of four characters
// are refused before they come here.
inline constexpr NbElemAlias nativeAliases[] = {
    {"VS1", "VIS"}, {"0.6", "VIS"},  {"0", "VIS"},    {"B03", "VIS"}, {"0.8", "VS2"},
    {"1", "VS2"},   {"B04", "VS2"},  {"1.6", "VS3"},  {"NIR", "VS3"}, {"B05", "VS3"},
    {"2", "VS3"},   {"3.9", "IR4"},  {"3", "IR4"},    {"B07", "IR4"}, {"6.2", "IR3"},
    {"WV", "IR3"},  {"4", "IR3"},    {"B08", "IR3"},  {"7.3", "IR5"}, {"B10", "IR5"},
    {"5", "IR5"},   {"8.7", "IR7"},  {"6", "IR7"},    {"OZN", "IR8"}, {"9.7", "IR8"},
    {"7", "IR8"},   {"IR", "IR1"},   {"10.8", "IR1"}, {"8", "IR1"},   {"12.0", "IR2"},
    {"9", "IR2"},   {"13.4", "IR9"}, {"B11", ""},     {"B12", ""},    {"B13", ""},
    {"B15", ""},    {"B16", ""},
};

// Place of each channel in the channel order common to all drivers.
inline constexpr int nativeCodes[] = {5, 6, 7, 4, 8, 3, 9, 10, 1, 2, 11, 0};
static_assert(std::size(nativeCodes) == std::size(nativeRows));
