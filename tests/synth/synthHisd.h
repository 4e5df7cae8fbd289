#pragma once
/**
 * Writes Himawari Standard Data files for tests, demo and fuzzers, from the published layout.
 * The defaults make a small full disk: the same earth as the real one, in fewer columns.
 */
#include "tests/synth/synthBytes.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <vector>

struct SynthHisd {
    std::string satellite = "Himawari-8";
    int band = 13;
    int columns = 110;
    int diskLines = 110; // lines of the whole disk
    int firstLine = 1;   // of this file, counted from 1 over the disk
    int lines = 0;       // in this file; 0: from firstLine to the end of the disk
    int segment = 1;     // sequence number of this segment
    int segments = 1;
    bool bigEndian = false;

    // Observation of the whole disk, MJD: its first line at the start, its last at the end,
    // evenly between. Each file gets its part of it.
    double startMjd = 59062.0 + (3 * 3600 + 20.5) / 86400; // 2020-08-01 03:00:20.5
    double endMjd = 59062.0 + (3 * 3600 + 600.5) / 86400;

    // Block 3. cfac 0: the full disk fits the columns; coff, loff 0: its centre.
    double subLon = 140.7;
    std::int32_t cfac = 0;
    std::int32_t lfac = 0;
    float coff = 0;
    float loff = 0;

    // Block 4; -1e10 is the mark of an unknown value.
    double actualSubLon = 140.7105;
    double actualSubLat = 0.0231;
    double distance = 42166.2;
    double nadirLon = 140.709;
    double nadirLat = 0.011;

    // Block 5. Values of 0 take the band's usual ones.
    int validBits = 0;
    double wavelength = 0; // micrometre
    double slope = 0;
    double intercept = 0;
    double polynomial[3] = {0, 0, 0}; // infrared: effective to brightness temperature
    double albedo = 0;                // visible: radiance to albedo
    std::uint16_t errorCount = 65535;
    std::uint16_t outsideCount = 65534;
    int compression = 0; // block 2

    // Block 8.
    struct Correction {
        int line = 0;
        float column = 0;
        float lineShift = 0;
    };
    float rotationColumn = 0; // 0: the centre
    float rotationLine = 0;
    double rotationMicrorad = 0;
    std::vector<Correction> corrections = {};

    // Block 9; empty: every 10th line of the file and its last one, evenly in time.
    struct LineTime {
        int line = 0;
        double mjd = 0;
    };
    std::vector<LineTime> lineTimes = {};

    // Block 10; the raster is not touched by it.
    struct ErrorLine {
        int line = 0;
        int pixels = 0;
    };
    std::vector<ErrorLine> errorLines = {};

    // Lengths as the blocks state them; 0: the true one.
    int block1Length = 0;
    int block5Length = 0;

    // Fills one line of counts; line counts from 1 over the disk. Empty: count = (3 * column +
    // 7 * line) modulo the levels inside the disk (column from 1), outsideCount off it.
    std::function<void(int line, std::span<std::uint16_t> counts)> fill = {};

    std::vector<SynthPatch> patches = {}; // blocks 1 to 11 of the header, 12 the raster
    std::size_t cutAt = SIZE_MAX;         // the file ends here

    std::vector<std::byte> bytes() const;      // the whole file
    void write(const std::string& path) const; // line by line, for large ones

    // Offset of block 1 to 11 in the file, 12 the raster, 13 the end.
    std::size_t blockOffset(int block) const;
    // True when the centre of a disk position (column, line from 1) sees the earth.
    bool onEarth(double column, double line) const;
    // Count of the default pattern.
    std::uint16_t defaultCount(int column, int line) const;
    // Physical value of a count: brightness temperature or albedo, in double; NaN where an
    // infrared radiance is not above 0.
    double physical(int count) const;
    // The usual values in the place of zeros.
    SynthHisd resolved() const;
    // The `segmentCount` files of the disk, in order, with everything else as here; error lines
    // go to the segment that holds them.
    std::vector<SynthHisd> split(int segmentCount) const;
    // The name that the agency gives such a file.
    std::string fileName() const;
};
