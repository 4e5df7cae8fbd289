#pragma once
/**
 * The settings of a run, and the command line that fills them.
 */
#include "util/nbFile.h"

#include <optional>
#include <span>
#include <string>

// Filled by the command line, then by the setup file; fixed afterwards, but for the shift, which
// a landmark match moves, and the sun adjustment, which an infrared channel turns off.
struct NbSettings {
    std::string inputName;
    std::string outputName;
    std::string setupName; // empty: none
    int nameCount = 0;     // names given, at most 3

    bool listInput = false; // the input file is a list of names
    int overlapMode = 0;    // NbOverlapMode
    int channel = 0;
    int gap = 0; // widest run of error pixels and lines to fill
    int difference = 0;

    int projection = 2; // row of the projection defaults; -1: the image itself, cropped
    int roughness = 6;  // lattice step of exact positions, columns and rows

    int bitCount = 0; // bits per output pixel; up to 3: the channel's own levels
    bool inverted = false;
    bool nonlinear = false;
    int sunAdjust = 0; // number of strips; negative: with the glint term
    std::optional<std::string> tableName;

    float offsetX = 0; // shift of the image, pixels and lines
    float offsetY = 0;
    int offsetChannel = -1;               // channel that the shift is for; negative: all
    std::optional<std::string> shiftName; // file that the shift came from
    bool landmark = false;
    std::optional<std::string> landmarkBox;   // "lat0,lon0,lat1,lon1"
    std::optional<std::string> dataDirectory; // prefix of the landmark data file's name

    int versionCode = 10; // 10 x major + minor of the output format
    bool compress = false;
    bool extended = false; // the level table gets a block with room for its marks
    int correction = 0;    // goes to the header as it stands
    int nameColumn = 0;    // column of the channel names, 0 to 2
    int sensorWord = 0;    // 1: the label begins with a fixed sensor, not with the satellite

    // Of this process, before the command line had its own files read.
    long earlierReadFailures = nbpReadFailures;
};

/** Settings of a command line without the program's own name. */
NbSettings parseCommandLine(std::span<const char* const> arguments);

/** The usage lines, to standard output. */
void printUsage();
