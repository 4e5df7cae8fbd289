#pragma once
/**
 * Channels of the GOES imager, GOES-8 to GOES-12, and the physical readings of them.
 */
#include "drivers/gvar/nbGvarFile.h"

#include <iterator>

// Lists are separated by commas.
struct NbGvarElemRow {
    const char* names;
    const char* suffixes;
    const char* text;
    int commonOrder; // place in the order common to all drivers
};

inline constexpr NbGvarElemRow gvarElemTable[] = {
    {"VIS,1", "_A", "0.65μ,28μrad", 0},        {"IR4,3.9,2", "_T,_R", "3.9μ,112μrad", 4},
    {"IR3,WV,3", "_T,_R", "6.75μ,224μrad", 3}, {"IR1,IR,4", "_T,_R", "10.7μ,112μrad", 1},
    {"IR2,5", "_T,_R", "12μ/13μ,112μrad", 2},
};
static_assert(std::size(gvarElemTable) == gvarChannels);

struct NbGvarPhysicsRow {
    const char* suffix;
    int element; // NbGvarElement
};
inline constexpr NbGvarPhysicsRow gvarPhysicsTable[] = {
    {"A", gvarAlbedo},
    {"T", gvarTemperature},
    {"R", gvarRadiance},
};
