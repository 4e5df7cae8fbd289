#pragma once
/**
 * Dates as a satellite object holds them: year, month, day, hour, minute, second, 16 bits each.
 */
#include "geo/nbDate.h"
#include "util/nbNumber.h"

#include <algorithm>
#include <cstdint>
#include <iterator>

// Date of an MJD. What does not fit in 16 bits loses its upper bits.
inline void nbpDateFields(double mjd, std::int16_t out[6])
{
    NbDateInts date{};
    nbDateMjdToInts(mjd, &date);
    const std::int32_t fields[6] = {date.year, date.month,  date.day,
                                    date.hour, date.minute, date.second};
    std::transform(std::begin(fields), std::end(fields), out,
                   [](std::int32_t field) { return nbpWrap16(field); });
}
