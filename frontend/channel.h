#pragma once
/**
 * From a channel's name to the elements that hold its counts and its physical values, and to
 * the label of the output file.
 */
#include "sat/nbSatObject.h"

#include <optional>
#include <string>
#include <string_view>

struct NbChannelElements {
    std::string counts;   // element of the plain levels
    std::string physical; // element of temperature or albedo
    float low = 0;        // physical range, for an element without a calibration table
    float high = 0;
    std::string label; // of the output file; not padded, perhaps longer than its 8 bytes
    bool keepsSunAdjust = false;
};

/**
 * The elements of a channel.
 *
 * @param channelName  text of nbSatGetChInfo
 * @param nameColumn   0 short ("VS"), 1 long ("VIS3") or 2 band ("B03") words in the label
 * @param prefix       begins the label
 * @return nothing for a name that no rule fits
 */
std::optional<NbChannelElements> channelElements(std::string_view channelName, int nameColumn,
                                                 std::string_view prefix);

/** Satellite word of the output's header, not padded, perhaps longer than its 8 bytes. */
std::string GetSatName(const NbSatObject& object);

/**
 * Prefix of the label: the satellite word up to its hyphen, such as "MTSAT-"; empty when that
 * would be longer than 6 characters.
 *
 * @param satelliteWord  8 bytes, padded with blanks
 */
std::string labelPrefix(std::string_view satelliteWord, bool fixedSensor);
