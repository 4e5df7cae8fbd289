#pragma once
/**
 * The private record of the NGAC driver, and what its units call of each other.
 */
#include "drivers/common/nbNoaaPass.h"
#include "drivers/ngac/nbNgac.h"

#include <array>
#include <cstdint>

// Infrared constants of the header, for channels 3B, 4 and 5.
struct NbNgacThermal {
    std::int32_t wavenumber = 0; // cm^-1 x 1000, x 100 for 3B
    std::int32_t constant1 = 0;  // kelvin x 100000
    std::int32_t constant2 = 0;  // x 1000000
};

// Calibration of a line, for channels 1, 2, 3A and for channels 3B, 4, 5.
struct NbNgacCalibration {
    int selection = 0; // what channel 3 is: 0 3B, 1 3A
    struct Visible {
        std::int32_t slope1 = 0;     // percent per count x 10000000
        std::int32_t intercept1 = 0; // percent x 1000000
        std::int32_t slope2 = 0;
        std::int32_t intercept2 = 0;
        std::int32_t intersection = 0; // count from which on the second set holds
    };
    std::array<Visible, 3> visible{};
    std::array<std::array<double, 3>, 3> infrared{}; // a0, a1, a2 x 1000000
};

struct NbNgacFile {
    NbNoaaImage image;
    char satName[16] = {};
    int version = 0; // of the format
    std::array<NbNgacThermal, 3> thermal{};
    std::array<std::int16_t, 3> attitude{}; // corrections: roll, pitch, yaw, degree / 1000
    // Of the lines that have been read; others are zero.
    NbArray<NbNgacCalibration> calibration{NbAllocator<NbNgacCalibration>("nbNgacOpenFile()")};
};

inline NbNgacFile* nbpNgacFile(void* p)
{
    return static_cast<NbNgacFile*>(p);
}

// Parts of a line's information.
double nbpNgacLineTime(NbCursor info);
void nbpNgacDecodeLine(NbCursor info, NbNoaaLine* out);
NbNgacCalibration nbpNgacDecodeCalibration(const NbNgacFile& file, NbCursor info);

// Place of a channel among the three visible or the three infrared ones.
std::size_t nbpNgacTableIndex(int channel);

double nbpNgacPhysicalValue(const NbNgacFile& file, const NbNgacCalibration& calibration, int count,
                            int channel, int physics);
