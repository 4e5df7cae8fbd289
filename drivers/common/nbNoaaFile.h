#pragma once
/**
 * What both layouts of NOAA level 1b do alike when a file is opened and linked, and with a user's
 * settings. `caller` names the operation in messages.
 */
#include "drivers/common/nbNoaaPass.h"
#include "sat/nbSatObject.h"

#include <array>
#include <cstddef>

// False, and says so, when there is no such file.
bool nbpNoaaOpenStream(NbNoaaRecords* records, const char* path, const char* caller);

// True when the header's number of lines makes sense; says when it does not.
bool nbpNoaaCheckLines(const NbNoaaRecords& records, const char* path, const char* caller);

// Time of a line, MJD; 0 when the file does not hold it. `lineTime` takes it out of the first
// `length` bytes of the line's information.
template <std::size_t length, class LineTime>
double nbpNoaaTimeOfLine(const NbNoaaRecords& records, int n, LineTime lineTime)
{
    std::array<std::byte, length> info;
    if (!records.read(n, info)) return 0;
    return lineTime(NbCursor(info, NbByteOrder::Big));
}

// Sets size and times of an object; its name and operations are the driver's.
void nbpNoaaFillObject(NbSatObject* object, const NbNoaaImage& image, double startMjd,
                       double endMjd);

int nbpNoaaSetStopGap(NbNoaaImage* image, int gap, const char* caller);
int nbpNoaaSetShift(NbNoaaPass* pass, const float* dPixel, const float* dLine);
