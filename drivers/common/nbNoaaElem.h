#pragma once
/**
 * Elements of the AVHRR, which both layouts of NOAA level 1b name alike.
 */
#include "drivers/common/nbNoaaPass.h"
#include "util/nbNumber.h"

#include <cstddef>
#include <span>
#include <vector>

enum NbNoaaPhysics {
    noaaCounts = -1,
    noaaAlbedo = 1,
    noaaRadiance = 2,
    noaaTemperature = 3,
    noaaNoElement = -99999
};

/**
 * Takes the name of one element apart.
 *
 * @return its physics, or noaaNoElement (logged with the caller's name); `element` is written
 *         only when the name is good
 */
int nbpNoaaCheckElem(const NbNoaaImage& image, const char* name, const char* caller,
                     NbNoaaElement* element);

// The same with the outputs of the drivers' own operation.
int nbpNoaaCheckElem(const NbNoaaImage& image, const char* name, const char* caller, int* channel,
                     int* physics);

// The next ones are what the slots of these names do; `caller` names them in messages.

int nbpNoaaGetChInfo(const NbNoaaImage& image, int channel, int* pixels, int* lines, int* levels,
                     char* name, const char* caller);
int nbpNoaaSetElements(NbNoaaImage* image, const char* names, int* pixels, int* lines, int* levels,
                       float* errorValue, const char* caller);
int nbpNoaaGetChannel(const NbNoaaImage& image, int style);

// Says, once a call, that counts have no physical value when they are among the elements.
void nbpNoaaReportCounts(const NbNoaaImage& image, const char* caller);

// Temperature of a radiance that has none.
inline constexpr double noaaNoTemperature = -9999.0;

/**
 * Begins a calibration table: checks the arguments of the slot and takes the name apart.
 *
 * @param n  room in `table`; set to the length of a whole table
 * @return entries to fill; -1 for a bad argument or a name that has no table
 */
int nbpNoaaTableRoom(const NbNoaaImage& image, const char* name, const float* table, int* n,
                     const char* caller, NbNoaaElement* element);

// The coefficients from which a table is made: those of the first line that has them. `decode`
// takes a line's out of its information, `fits` says whether they will do.
template <class Calibration, class Decode, class Fits>
bool nbpNoaaFindCalibration(const NbNoaaRecords& records, Calibration* out, Decode decode,
                            Fits fits)
{
    std::vector<std::byte> info(records.infoLength);
    for (int n = 0; records.read(n, info); ++n) {
        *out = decode(NbCursor(info, NbByteOrder::Big));
        if (fits(*out)) return true;
    }
    return false;
}

// Fills a table with the values of counts from 0. One without a temperature repeats the value
// before it.
template <class ValueOf>
void nbpNoaaFillTable(std::span<float> table, ValueOf valueOf)
{
    for (std::size_t i = 0; i < table.size(); ++i) {
        const double value = valueOf(static_cast<int>(i));
        table[i] = value == noaaNoTemperature && i > 0 ? table[i - 1] : nbpToFloat(value);
    }
}
