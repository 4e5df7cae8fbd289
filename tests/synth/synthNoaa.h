#pragma once
/**
 * Writes NOAA level 1b files of global area coverage for tests and fuzzers, from the published
 * layouts: the NOAA KLM User's Guide (records of 4608 bytes) and the Polar Orbiter Data User's
 * Guide (records of 3220 bytes). The pass comes from a circular orbit around a turning sphere and
 * the scan geometry of the AVHRR, so that every pixel has a place in closed form.
 */
#include "tests/synth/synthBytes.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <vector>

struct SynthPlace {
    double lon = 0; // -180 to 180
    double lat = 0;
};

// A circular orbit, seen line by line.
struct SynthOrbit {
    double inclination = 98.8; // degree
    double altitude = 850;     // km above a sphere of 6371 km
    double nodeLon = 0;        // longitude of the ascending node at the time of line 0, degree
    double startArg = 0;       // degrees flown since the ascending node at line 0
    double secondsPerLine = 0.5;

    // Any pixel and line, whole or not; pixels run from right to left as seen in flight.
    SynthPlace place(double pixel, double line) const;
    double satZenith(double pixel) const; // at a pixel of any line, degree
};

struct SynthNoaa {
    int lines = 120;
    SynthOrbit orbit = {};
    int year = 2002;
    int day = 187;                        // of the year
    std::uint32_t millisecond = 68640000; // 19:04
    // Count of a sample; slot 0 to 4. Empty: (7 * line + 3 * pixel + 101 * slot) modulo 1024.
    std::function<int(int line, int pixel, int slot)> fill = {};
    std::vector<SynthPatch> patches = {};
    std::size_t cutAt = SIZE_MAX; // the file ends here

    int count(int line, int pixel, int slot) const;
};

// The layout of NOAA-15 on and of MetOp.
struct SynthNgac : SynthNoaa {
    std::string name = "NSS.GHRR.NK.D02187.S1904.E2058.B0921517.GC";
    std::string format = "NOAA Level 1b v2";
    std::string channels = "YYYYY";
    std::string bits = "10";
    int version = 2;
    int lineCount642 = -1;                                  // -1: the number of lines
    std::int32_t thermal[3][3] = {{266750, 30000, 998000},  // 3B: 2667.5 cm^-1
                                  {928146, 45000, 998500},  // 4
                                  {833253, 50000, 999000}}; // 5
    std::int16_t headerAttitude[3] = {100, -200, 300};
    std::int16_t attitude[3] = {11, 22, -33};
    // What channel 3 is on a line: 0 3B, 1 3A. Empty: 3B.
    std::function<int(int line)> selection = {};
    // Channels 1, 2, 3A: slope and intercept twice, and the count where the second pair begins.
    std::int32_t visible[3][5] = {{505000, -2000000, 1510000, -52000000, 501},
                                  {600000, -2400000, 1800000, -62000000, 502},
                                  {300000, -1200000, 1900000, -81000000, 500}};
    // Channels 3B, 4, 5: a0, a1, a2.
    std::int32_t infrared[3][3] = {
        {2500000, -2600, 0}, {180000000, -190000, 12}, {200000000, -200000, 10}};

    std::vector<std::byte> bytes() const;
    static constexpr std::size_t firstLine = 512 + 4608;
    static constexpr std::size_t recordLength = 4608;
};

// The layout up to NOAA-14.
struct SynthNgacv1 : SynthNoaa {
    SynthNgacv1() { year = 1996; }
    int satellite = 3;    // NOAA-14
    bool leading = false; // block of 122 bytes in front
    std::int32_t slope[5] = {115000000, 120000000, -1700000, -180000000, -190000000};
    std::int32_t intercept[5] = {-17000000, -17500000, 7000000, 720000000, 790000000};

    std::vector<std::byte> bytes() const;
    static constexpr std::size_t firstLine = 6440; // without the leading block
    static constexpr std::size_t recordLength = 3220;
};
