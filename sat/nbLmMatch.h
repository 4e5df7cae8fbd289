#pragma once
/**
 * The displacement that the places of a coast agree on.
 */
#include "sat/nbLmPlaces.h"
#include "sat/nbLmWindow.h"

#include <vector>

enum class NbLmVerdict {
    NoPeak,   // nothing that looks like the coast, or too much that does
    Disputed, // a peak elsewhere than most
    Poor,     // agrees, but land and sea are not told apart well enough
    Matched
};

struct NbLmMatch {
    int pixel = 0; // the place
    int line = 0;
    NbLmVerdict verdict = NbLmVerdict::NoPeak;
    NbLmShift shift = {}; // not of NoPeak
};

struct NbLmResult {
    int matches = 0; // 0: no displacement can be told
    NbLmShift shift;
    std::vector<NbLmMatch> places; // all that were tried
};

// Matches the selected element of an open object at the places. Nothing when memory is out.
NbLmResult nbpLmMatch(NbSatObject* object, const std::vector<NbLmPlace>& places,
                      const NbLmSearch& search);
