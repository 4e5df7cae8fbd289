#pragma once
/**
 * Writes HRIT image segments for tests and benchmarks, from the published layout. The defaults make
 * a small full disk of MTSAT-1R's first infrared channel: the same earth as the real one, in fewer
 * columns.
 */
#include "tests/synth/synthBytes.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <vector>

struct SynthHrit {
    std::string annotation = "IMG_DK01IR1_200608010300_001 MTSAT1";
    std::string projection = "GEOS(140.00)";
    int columns = 110;
    int imageLines = 110; // of the whole image
    int firstLine = 1;    // of this file, counted from 1 over the image
    int lines = 0;        // in this file; 0: from firstLine to the end of the image
    int segment = 1;
    int segments = 1;
    bool bigEndian = true;

    // Record 2. Factors of 0: the full disk fits the columns; offsets of 0: its centre.
    std::int32_t cfac = 0;
    std::int32_t lfac = 0;
    std::int32_t coff = 0;
    std::int32_t loff = 0;

    int fileType = 0;
    int bitsPerPixel = 10;
    int compression = 0;

    // Text records as they stand in the file. Empty: usual ones. "-": none at all.
    std::string calib = {};   // 3: levels 0 to 1023 and 65535, 330 K to 130 K
    std::string comp = {};    // 130: every 10th line, the header's offsets
    std::string times = {};   // 131: every 10th line from startMjd to endMjd
    std::string quality = {}; // 132: nothing

    double startMjd = 53948.125; // 2006-08-01 03:00, the image's first line
    double endMjd = 53948.145;   // its last line

    // Fills one line of counts; line counts from 1 over the image. Empty: (3 * column + 7 * line)
    // modulo 1000, column from 1.
    std::function<void(int line, std::span<std::uint16_t> counts)> fill = {};
    // Stands in the place of the raster when it is not empty.
    std::vector<std::byte> image = {};

    std::vector<std::byte> bytes() const; // the whole file
    void write(const std::string& path) const;

    // Offset of the k-th record (0 to 9, in file order), 10 the image, 11 the end.
    std::size_t recordOffset(int k) const;
    // The usual values in the place of zeros and empty texts.
    SynthHrit resolved() const;
    // The files of the image, in order, with everything else as here. Each reaches `overlap` lines
    // into the next one.
    std::vector<SynthHrit> split(int segmentCount, int overlap = 0) const;
};
