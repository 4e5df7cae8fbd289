#pragma once
/**
 * Writes raw scan files (RDAT) for tests, demo and fuzzers, from the layout of the blocks. The
 * scan is that of a satellite at rest over the equator: its places on earth have a closed form,
 * which place() gives, while the file carries orbit and attitude in the inertial frame.
 */
#include "tests/synth/synthBytes.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

struct SynthRdat {
    char satellite = '8';
    int band = 13;
    int columns = 300;
    int lines = 200;
    bool bigEndian = false;

    double subLon = 140.7;     // degree
    double distance = 42166.2; // earth centre to satellite, km
    double eastRad = -0.02;    // line of sight of the image's centre
    double northRad = 0.09;
    double lineStep = 56e-6; // radians
    double pixelStep = 56e-6;
    bool southUp = false; // line 0 is the southernmost

    double startMjd = 59062.0 + (3 * 3600 + 20.5) / 86400; // 2020-08-01 03:00:20.5 UTC, column 0
    double scanSeconds = 8;                                // to the last column
    int leapSeconds = 37;
    int clockCount = 5; // of the PSIC block; 0: the observation's times are the scan's

    double attitude[3] = {}; // roll, pitch, yaw, radians
    double misalignment[10] = {};
    double fluctuation[2] = {}; // east, north, radians
    double coregistration[2] = {};
    std::uint32_t distortionMode = 0;
    double distortion[36] = {};
    int orbitCount = 3, attitudeCount = 3, mirrorCount = 11, distortionCount = 2,
        coregistrationCount = 2;

    // Calibration. Values of every line.
    double square = 1e-9, slope = -0.0037, intercept = 15.2, drift = 0, base = 0;
    double referenceMjd = 59062.0;
    std::uint32_t calibrationMode = 0;
    double a = 0, b = 0, c = 0; // of the mirror temperatures
    double wavelength = 10.4073;
    double polynomial[3] = {-0.116127314574, 1.00099153832, -1.76961091571e-06};
    double albedo = 0.0019;
    std::vector<double> temperatures[2] = {{300, 300.5}, {301, 301.5}}; // from the start, every 2 s
    double mirrorA[3] = {}, mirrorB[3] = {};
    double offsetRad = 0;

    // Word of a pixel; empty: the default count << 2.
    std::function<std::uint16_t(int column, int line)> word = {};

    // 1 creation, 2 structure, 3 observation, 4 calibration, 5 navigation, 6 PSIC, 7 lines.
    std::vector<SynthPatch> patches = {};
    std::size_t cutAt = SIZE_MAX;

    std::vector<std::byte> bytes() const;
    void write(const std::string& path) const;
    // Offset of block 1 to 7, 8 the end.
    std::size_t blockOffset(int block) const;
    // (3 x column + 7 x line) modulo 2048.
    static int defaultCount(int column, int line) { return (3 * column + 7 * line) % 2048; }

    // Line of sight of a position and where it meets the earth; radians, degrees, 0 up to 360.
    // Misalignment and distortion are not in it.
    struct Place {
        double east, north;
        bool onEarth;
        double lon, lat;
    };
    Place place(double column, double line) const;
};
