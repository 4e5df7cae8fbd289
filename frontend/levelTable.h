#pragma once
/**
 * The output's level table, which gives each output level its physical value, and the
 * conversion of the image's levels to output levels.
 */
#include <cstdint>
#include <span>
#include <vector>

/**
 * Spreads the values of a calibration over the output levels. The flat ends of a saturated
 * calibration are left out.
 *
 * @param source     value of each source level, at least 2
 * @param nonlinear  along a fixed cubic instead of evenly
 * @param out        value of each output level, at least 2
 */
void spreadLevels(std::span<const float> source, bool nonlinear, std::span<float> out);

/** out[i] = i (high - low) / divisor + low, in float. */
void fillLine(float low, float high, int divisor, std::span<float> out);

/** Replaces entries by the records of a file, "index value" each. No such file changes nothing. */
void readTableFile(const char* path, std::span<float> table);

/**
 * Output level of each source level: the one whose value is nearest to the source level's, the
 * lowest of equals. A level with no value nearer than 9999 is placed by its number.
 *
 * @param levels  how many source levels; those behind the end of `source` are placed by number
 */
std::vector<std::uint16_t> nearestLevels(std::span<const float> source,
                                         std::span<const float> table, int levels);

/** Every level itself; inverted: the levels from the top. */
std::vector<std::uint16_t> sameLevels(int levels, bool inverted);
