#pragma once
/**
 * Places along the coast that an image may be matched at.
 */
#include "geo/nbShoreMap.h"
#include "sat/nbLmOutline.h"
#include "sat/nbSatObject.h"

#include <cstdint>
#include <string>
#include <vector>

// What a search asks for. Sizes in pixels.
struct NbLmSearch {
    int halfWindow = 0;
    int halfTemplate = 0;
    int spacing = 0;
    int leastMatches = 0;
    double west = -180, east = 180; // of the coasts; west may be the larger
    double south = -90, north = 90;
    // Taken for the image's displacement before the search; what is found adds to it.
    double startPixel = 0, startLine = 0;

    int reach() const { return halfWindow - halfTemplate; }
    // Shifts in a row that are tried.
    int shifts() const { return 2 * reach() + 1; }
};

struct NbLmPlace {
    int pixel = 0;
    int line = 0;
    NbLmOutline outline; // of the land within the template, and some pixels around
};

// Which way a format's shift acts: samples of a place are taken at its position plus (1) or less
// (-1) what nbSatSetDiffPixLin gives.
int nbpLmShiftSense(const NbSatObject* object);

// Size of the finest pixel of an image, km: the longer of its sides; below 0 when no pixel of it
// is on earth.
double nbpLmFinestPixel(NbSatObject* object);

/**
 * Places with coast of more than one direction, evenly spread over the image, in the order of
 * its lines. Empty, with the reason in `problem`, when the map cannot be read.
 */
std::vector<NbLmPlace> nbpLmPlaces(NbSatObject* object, NbShoreMap& map, const NbLmSearch& search,
                                   std::string& problem);
