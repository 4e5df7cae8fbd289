#pragma once
/**
 * Channels and element names of MTSAT and Himawari in HRIT. The channel is the row. Wavelengths in
 * micrometres.
 */
#include "drivers/common/nbElemName.h"

#include <iterator>

// Deliberate: row 15 shows 12.4, though band 16 lies at 13.3. The text is what users have seen and
// their scripts compare.
inline constexpr NbElemRow hritRows[] = {
    {"VIS,0", "_A,_R", "0.55-0.90, 1.0km", ""},   {"IR1,IR,1", "_T,_R", "10.3-11.3, 4.0km", ""},
    {"IR2,2", "_T,_R", "11.5-12.5, 4.0km", ""},   {"IR3,WV,3", "_T,_R", "6.5-7.0, 4.0km", ""},
    {"IR4,3.7,4", "_T,_R", "3.5-4.0, 4.0km", ""}, {"B01,0.47", "_A,_R", "0.47, 4.0km", ""},
    {"B02,0.51", "_A,_R", "0.51, 4.0km", ""},     {"B04,0.86", "_A,_R", "0.86, 4.0km", ""},
    {"B05,1.6", "_A,_R", "1.6,  4.0km", ""},      {"B06,2.3", "_A,_R", "2.3,  4.0km", ""},
    {"B09,6.9", "_T,_R", "6.9,  4.0km", ""},      {"B10,7.3", "_T,_R", "7.3,  4.0km", ""},
    {"B11,8.6", "_T,_R", "8.6,  4.0km", ""},      {"B12,9.6", "_T,_R", "9.6,  4.0km", ""},
    {"B14,11.2", "_T,_R", "11.2, 4.0km", ""},     {"B16,12.4", "_T,_R", "12.4, 4.0km", ""},
};
static_assert(std::size(hritRows) == 16);

inline constexpr NbElemAlias hritAliases[] = {
    {"IR", "IR1"},  {"WV", "IR3"},  {"3.7", "IR4"}, {"0", "VIS"},   {"1", "IR1"},
    {"2", "IR2"},   {"3", "IR3"},   {"4", "IR4"},   {"B03", "VIS"}, {"B07", "IR4"},
    {"B08", "IR3"}, {"B13", "IR1"}, {"B15", "IR2"},
};
