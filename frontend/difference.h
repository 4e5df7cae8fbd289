#pragma once
/**
 * Difference images: the temperature of one infrared channel less that of another, in kelvin, as
 * levels on a fixed scale.
 */
#include "frontend/fetch.h"
#include "frontend/inputs.h"
#include "frontend/options.h"
#include "geo/nbProj.h"
#include "sat/nbSatObject.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

// A kind of difference.
struct NbDifference {
    const char* first; // elements: first less second
    const char* second;
    float low; // scale, kelvin: level 0 and the highest level
    float high;
    const char* label; // word behind the label's prefix
};

/** Difference 1 (split window), 2 (3.9 um less window), 3 (window less water vapour); else null. */
const NbDifference* differenceOf(int mode);

struct NbDifferencePaths {
    std::string first;
    std::string second;
};

/**
 * The two files of a difference by a channel's word in the name given, capitals before small
 * letters; nothing when the name holds no such word.
 *
 * Deliberate: in mode 1 a name whose only word is "SP1" makes the same file of both, the one
 * with "IR1". With "IR2" for the second the difference would be a true one, and users who link
 * such a name to a file of both channels would be asked for a file that they do not have.
 *
 * @param mode  1 to 3
 */
std::optional<NbDifferencePaths> differencePaths(int mode, std::string_view input);

/**
 * Selects an element of a difference on all linked objects, under another name where a file has
 * only that.
 *
 * @return the name that was taken; null for none (logged)
 */
const char* selectDifferenceElement(NbSatObject* object, const char* element);

/** One channel of a difference on the map grid. */
struct NbDifferencePlane {
    std::vector<float> table; // temperature of each level, K
    std::int16_t errorLevel = -1;
    NbPlane<std::uint8_t> owner;   // 255: no object gave the cell
    std::span<std::int16_t> cells; // levels
};

/**
 * Levels of the difference of two planes, into the first one's cells.
 *
 * A cell that either has no owner for gets the first plane's error level. One with a level
 * outside its table gets `lowLevel`, as does a difference below the scale; one above it gets
 * `highLevel`.
 */
void subtractPlanes(NbDifferencePlane& first, const NbDifferencePlane& second,
                    const NbDifference& difference, int lowLevel, int highLevel);

/**
 * Makes the level plane of a difference.
 *
 * @param inputs      the first file; the second element comes from it too when `secondPath` is
 *                    empty, otherwise it is closed and the second file is left open
 * @param map         of a crop: columns, rows and extents are settled here
 * @param cells       columns x rows; of a crop: made here
 * @param errorLevel  the cells' mark where there is no image
 * @return an NbRunCode. On success the object's level count is that of the first element.
 */
int MakeDifImg(NbInputs& inputs, const std::string& secondPath, const NbDifference& difference,
               const NbSettings& settings, NbProjPara& map, NbPlane<std::int16_t>& cells,
               std::int16_t& errorLevel);

/**
 * Corrects the 3.8 um temperatures (channel 4) of an HRIT file, when the nonlinear conversion is
 * asked for; any other table stays as it is.
 */
void AdjCalTbl(NbSatObject* object, bool nonlinear, std::span<float> table);
