#pragma once
/**
 * The private record of the NGACV1 driver, and what its units call of each other.
 */
#include "drivers/common/nbNoaaPass.h"
#include "drivers/ngacv1/nbNgacv1.h"

#include <array>
#include <cstdint>

// Straight line of each channel on a line of the image.
struct NbNgacv1Calibration {
    std::array<std::int32_t, noaaSlots> slope{};     // x 2^30
    std::array<std::int32_t, noaaSlots> intercept{}; // x 2^22
};

struct NbNgacv1File {
    NbNoaaImage image;
    // Of the lines that have been read; others are zero.
    NbArray<NbNgacv1Calibration> calibration{
        NbAllocator<NbNgacv1Calibration>("nbNgacv1OpenFile()")};
};

inline NbNgacv1File* nbpNgacv1File(void* p)
{
    return static_cast<NbNgacv1File*>(p);
}

// Parts of a line's information.
double nbpNgacv1LineTime(NbCursor info);
void nbpNgacv1DecodeLine(NbCursor info, NbNoaaLine* out);
NbNgacv1Calibration nbpNgacv1DecodeCalibration(NbCursor info);

double nbpNgacv1PhysicalValue(const NbNgacv1File& file, const NbNgacv1Calibration& calibration,
                              int count, int channel, int physics);

// False, and says so, for a temperature of a satellite that has no constants for it.
bool nbpNgacv1HasValues(const NbNgacv1File& file, int physics);
