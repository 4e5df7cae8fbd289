#pragma once
/**
 * Writes GVAR files of the GOES imager for tests and fuzzers, from the published layout of the
 * blocks. The defaults make a small sector around the middle of the instrument's field.
 */
#include "tests/synth/synthBytes.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

// What is wrong with one block. Scans count from 0, a block is known by its id.
struct SynthGvarDamage {
    int scan = 0;
    int block = 0xF0;
    bool missing = false;
    int headerCopies = 0;  // bits 0 to 2: copies with a wrong CRC
    bool invalid = false;  // data valid byte 0
    int badByte = -1;      // a byte of the data that is inverted behind its CRC's back
    int line = 0;          // of the block, from 0, to which the rest applies
    int words = -1;        // stated length of the line
    int detector = -1;     // stated detector
    int relativeScan = -1; // stated relative scan count
    int junk = 0;          // bytes of noise in front of the block (stream layout)
    int junkBits = 0xFF;   // of each byte of noise; with 3 most of them look like a block's start
};

struct SynthGvar {
    bool records = true; // records of 26624 bytes, otherwise a stream
    bool longPrefix = false;
    int satellite = 9;

    // The frame, visible lines and pixels over the instrument's field, from 1.
    int north = 7801, south = 7864;
    int west = 15201, east = 15600;
    int pixelOffset = 0, lineOffset = 0;
    // Sub-satellite point; 0: where a satellite without attitude over the equator has it.
    int subLine = 0, subPixel = 0;
    int firstScan = 101; // scan number of the first scan
    bool directionBit = false;
    bool flipped = false;
    bool imcOff = true;

    // Times as sixteen decimal digits YYYYDDDHHMMSSmmm.
    std::uint64_t startTime = 1999123120000000;
    std::uint64_t epochTime = 1999123120000000;
    std::uint64_t headerTime = 1999123120001000; // of the first scan; each later one second more
    std::uint64_t imcTime = 0;                   // 0: the header's

    int nsCycles = 4, nsIncrements = 3068; // the instrument's own centre
    int ewCycles = 2, ewIncrements = 3068;
    // Words of orbit and attitude, cut to 24 bits; counts and orders are written as whole numbers.
    // Without word 4 the reference longitude is -1.3125 radian, 75.2 W.
    std::map<int, double> oa = {};
    // Words between the end of a line's pixels and the next line.
    int spareWords = 0;

    std::vector<SynthGvarDamage> damage = {};
    std::size_t cutAt = SIZE_MAX; // the file ends here

    // Count of a pixel; empty: (31 channel + 7 line + 3 pixel + line pixel / 16) modulo 1024.
    std::function<int(int channel, int line, int pixel)> count = {};

    int scans() const;
    int linesPerScan(int channel) const;
    int lines(int channel) const;
    int pixels(int channel) const;
    int countAt(int channel, int line, int pixel) const;
    std::vector<std::byte> bytes() const;
    void write(const std::string& path) const; // scan by scan, for large ones
    // The same with the whole disk as its frame: about 400 MB.
    SynthGvar fullDisk() const;
};

// A word as the ground station's computers write a real number.
std::uint32_t synthGvarReal(double value);
// CRC of headers and blocks.
std::uint16_t synthGvarCrc(const std::byte* data, std::size_t size);
