#pragma once
/**
 * From samples to 16-bit output levels: the last step of every sample and zoom operation.
 */
#include "sat/nbSatObject.h"

#include <span>

// What a 16-bit output is made of, by the element's kind and the object's level conversion.
enum class NbLevelRoad {
    Counts,      // the counts as they are
    CountsTable, // counts, each through the conversion's table
    Values,      // physical values, converted one by one or cut to integers
    None         // a conversion of physical values on an element of counts
};
NbLevelRoad nbpSatLevelRoad(const NbSatObject& object);

// Counts to levels in place, for NbLevelRoad::CountsTable. The element's error value and every
// count that the table has no entry for, a missing one included, give the error level.
void nbpSatCountsToLevels(const NbSatObject& object, std::span<int16_t> counts);

// Whether a sample of the object is missing or invalid. A level that a conversion has given shows
// that by the error level alone; where valid samples have this level too, they count as missing.
bool nbpSatIsMissing(const NbSatObject& object, int16_t sample);
bool nbpSatIsMissing(const NbSatObject& object, float sample);

// Physical values to levels, for NbLevelRoad::Values. `out` holds as many.
void nbpSatValuesToLevels(const NbSatObject& object, std::span<const float> values, int16_t* out);
