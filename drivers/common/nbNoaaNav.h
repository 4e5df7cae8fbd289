#pragma once
/**
 * Positions on an AVHRR pass. A pass has no fixed geometry: the way to the earth interpolates
 * between the 51 located points that each line carries, the way back is a search. Pixel and line
 * are 0-based floats; results are the bits of NbNavError ORed over the points.
 */
#include "drivers/common/nbNoaaPass.h"
#include "sat/nbSatObject.h"

#include <cstddef>
#include <vector>

int nbpNoaaPixLinToLonLat(const NbNoaaPass& pass, const float* pixel, const float* line,
                          double* lon, double* lat, NbPointInfo* info, int n);

// `caller` and `source` name the operation in messages. Makes the table of cells at the first call.
int nbpNoaaLonLatToPixLin(NbNoaaPass* pass, const double* lon, const double* lat,
                          const double* height, float* pixel, float* line, NbPointInfo* info, int n,
                          const char* caller, const char* source);

// Time at a position, MJD; -1.0 when the lines have none.
double nbpNoaaScanTime(const NbNoaaPass& pass, float pixel, float line);

// Fills `info` for the place that a position shows; leaves it when the position has no time.
void nbpNoaaPointInfo(const NbNoaaPass& pass, float pixel, float line, double lon, double lat,
                      NbPointInfo* info);

// Where the satellite was at a line, earth-fixed, in units of which a kilometre has `perKm`.
void nbpNoaaSatPosition(const NbNoaaLine& line, double perKm, double* position);

// The same of the first line; -1 when the file does not hold it. `decode` takes a line out of its
// record's information.
template <class Decode>
int nbpNoaaFirstSatPosition(const NbNoaaRecords& records, Decode decode, double perKm,
                            double* position)
{
    std::vector<std::byte> info(records.infoLength);
    if (!records.read(0, info)) return -1;
    NbNoaaLine line;
    decode(NbCursor(info, NbByteOrder::Big), &line);
    nbpNoaaSatPosition(line, perKm, position);
    return 0;
}

// Sets both outputs of n points to the mark of no position.
template <class Number>
void nbpNoaaNoPosition(Number* a, Number* b, int n)
{
    for (int i = 0; i < n; ++i)
        a[i] = b[i] = static_cast<Number>(-9999);
}
