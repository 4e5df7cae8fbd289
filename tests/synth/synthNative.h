#pragma once
/**
 * Writes native files of Meteosat Second Generation, level 1.5, for tests and fuzzers, from the
 * published layout. The defaults make three channels, one of them HRV, in few lines and columns;
 * the view of the earth is that of the real grids, so a small image is their first corner.
 */
#include "tests/synth/synthBytes.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

struct SynthNative {
    bool raw = false; // begins with the level 1.5 header and holds `channels[0]` alone
    // Where the satellite id stands behind text headers: 0x1421 in the files of the ground
    // segment. In raw files it is 3.
    std::size_t idOffset = 0x1421;
    int satelliteId = 322;
    std::vector<int> channels = {0, 8, 11}; // from 0, ascending; 11 is HRV
    float subLon = 0;
    int columns = 30; // VIS/IR grid
    int lines = 20;
    int hrvColumns = 88; // of the grid; a stored line has half of them
    int hrvLines = 60;
    int origin = 2; // 0 north-west, 1 south-west, 2 south-east, 3 north-east
    int hrvOrigin = 2;
    // Trailer: south, north, east, west of VIS/IR, of the lower and of the upper HRV window.
    std::array<std::int32_t, 12> coverage = {1, 20, 1, 30, 5, 40, 7, 50, 41, 60, 3, 46};
    double slope = 0.02; // of channel 0; channel c has (c + 1) times as much
    double offset = -1;  // likewise

    int day = 22859;                // of the repeat cycle, since 1958-01-01: 2020-08-02
    std::uint32_t startMs = 900000; // of that day
    std::uint32_t lineMs = 200; // from one line of any grid to the next, from line 1 at the start

    // Count of a pixel; column from 0, line from 1. Empty: defaultCount.
    std::function<int(int channel, int column, int line)> count = {};

    std::vector<SynthPatch> patches = {};
    std::size_t cutAt = SIZE_MAX;

    std::vector<std::byte> bytes() const;
    void write(const std::string& path) const; // line by line, for large ones; no damage

    static int defaultCount(int channel, int column, int line);
    std::size_t dataOffset() const;    // of the first packet
    std::size_t trailerOffset() const; // of the trailer's first byte
    // Of a line's packet (its packet header) in a file of this description; line from 1.
    std::size_t packetOffset(int channel, int line) const;
    // Of the image description: type of projection, then the sub-satellite longitude, ...
    std::size_t descriptionOffset() const;
};
