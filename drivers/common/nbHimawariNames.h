#pragma once
/**
 * Other names of the bands of Himawari-8 and -9, which rectified and raw data take alike.
 */
#include "drivers/common/nbElemName.h"

// "VS4" to "VS6", which the drivers' channel texts show, are no names.
inline constexpr NbElemAlias himawariAliases[] = {
    {"1", "B01"},    {"2", "B02"},    {"3", "B03"},    {"4", "B04"},    {"5", "B05"},
    {"6", "B06"},    {"7", "B07"},    {"8", "B08"},    {"9", "B09"},    {"10", "B10"},
    {"11", "B11"},   {"12", "B12"},   {"13", "B13"},   {"14", "B14"},   {"15", "B15"},
    {"16", "B16"},   {"0.47", "B01"}, {"0.51", "B02"}, {"0.64", "B03"}, {"0.86", "B04"},
    {"1.6", "B05"},  {"2.3", "B06"},  {"3.9", "B07"},  {"6.2", "B08"},  {"6.9", "B09"},
    {"7.3", "B10"},  {"8.6", "B11"},  {"9.6", "B12"},  {"10.4", "B13"}, {"11.2", "B14"},
    {"12.4", "B15"}, {"13.3", "B16"}, {"VISB", "B01"}, {"VIS1", "B01"}, {"VS1", "B01"},
    {"VISG", "B02"}, {"VIS2", "B02"}, {"VS2", "B02"},  {"VISR", "B03"}, {"VIS3", "B03"},
    {"VS3", "B03"},  {"VIS", "B03"},  {"IR1", "B13"},  {"IR", "B13"},   {"IR2", "B15"},
    {"IR3", "B08"},  {"WV", "B08"},   {"IR4", "B07"},
};
