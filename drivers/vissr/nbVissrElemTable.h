#pragma once
/**
 * Channels and elements of VISSR files. Row number is channel number. Wavelengths in micrometres.
 */
#include "drivers/common/nbElemName.h"

#include <iterator>
#include <string_view>

inline constexpr NbElemRow vissrRows[] = {
    {"VIS,0", "_A,_L", "0.55-0.90, 1.25km", ""},
    {"IR1,IR,1", "_T,_R", "10.5-11.5, 5.0km", ""},
    {"IR2,2", "_T,_R", "11.5-12.5, 5.0km", ""},
    {"IR3,WV,3", "_T,_R", "6.5-7.0, 5.0km", ""},
};
static_assert(std::size(vissrRows) == 4);

// What the letter behind "_" selects.
struct NbVissrPhysics {
    std::string_view letter;
    int code;
};
inline constexpr NbVissrPhysics vissrPhysics[] = {{"A", 1}, {"L", 4}, {"R", 3}, {"T", 2}};
