#pragma once
/**
 * Writes VISSR image files of a spinning satellite for tests and fuzzers, from the published
 * layout: both variants, ASCII or EBCDIC texts (with IEEE or IBM reals), any channel. The defaults
 * make a small full disk with the geometry of the real one, scanned in 25 minutes.
 *
 * All that the file's tables hold is linear in time, so what a reader interpolates is what the
 * functions below say.
 */
#include "tests/synth/synthBytes.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

struct SynthVissrVector {
    double x = 0, y = 0, z = 0;
};
inline SynthVissrVector operator+(SynthVissrVector a, SynthVissrVector b)
{
    return {a.x + b.x, a.y + b.y, a.z + b.z};
}
inline SynthVissrVector operator*(double k, SynthVissrVector a)
{
    return {k * a.x, k * a.y, k * a.z};
}
inline double dot(SynthVissrVector a, SynthVissrVector b)
{
    return a.x * b.x + a.y * b.y + a.z * b.z;
}
inline SynthVissrVector cross(SynthVissrVector a, SynthVissrVector b)
{
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

struct SynthVissr {
    int variant = 0;     // 0: records of a line; 1: records of two lines
    bool ebcdic = false; // and reals of IBM
    int channel = 1;     // 0 visible, 1 to 3 infrared; variant 1 has 0 and 1
    std::string satellite = "GMS-5";
    std::string startText = "20000601023000";
    int columns = 110;
    int lines = 110;
    int firstLine = 1;             // of those that the file has
    int lastLine = 0;              // 0: all
    int tail = 0;                  // variant 1: a second header with this last line; 0: blanks
    std::vector<int> missing = {}; // lines without a good record, from 1
    int lineGap = 0;               // bytes before the pixels; 0: the usual number

    // Scan. Steps of 0: the disk fits the image.
    double originMjd = 51696.0 + 2.5 / 24; // 2000-06-01 02:30
    double spinRate = 0;                   // turns a minute; 0: the image takes 25 minutes
    int sensorsPerScan = 0;                // 0: 4 for the visible channel, 1 for the others
    float lineStep = 0;
    float pixStep = 0;
    float centreLine = 0; // 0: the image's centre
    float centrePixel = 0;
    float tilt = 0.002F; // radian
    float lineOffset = 0.001F;
    float pixelOffset = -0.003F;
    // Differences of channels 0 to 3 from the centre line of the file's own.
    float centreLineShift[4] = {0, 0, 0, 0};

    double subLon = 140.0;
    int orbitEntries = 12; // every 5 minutes from 5 minutes before the scan
    int attitudeEntries = 20;

    // Calibration.
    std::function<float(int detector, int count)> albedo = {}; // empty: see albedoOf
    float radianceOf(int count) const;                         // infrared
    float temperatureOf(int count) const;                      // kelvin
    float albedoOf(int detector, int count) const;
    // Detector of a visible line, from 1.
    int detectorOf(int line) const;
    // Pixel byte; column and line from 1. Empty: (3 * column + 7 * line) modulo the counts.
    std::function<int(int column, int line)> fill = {};
    int countOf(int column, int line) const;

    std::vector<SynthPatch> patches = {};
    std::size_t cutAt = SIZE_MAX; // the file ends here

    std::vector<std::byte> bytes() const;

    // What the file tells, as functions of time (MJD).
    SynthVissrVector position(double mjd) const; // earth-fixed, metres
    SynthVissrVector inertialPosition(double mjd) const;
    SynthVissrVector inertialVelocity(double mjd) const;
    double greenwich(double mjd) const; // degree, without wrapping
    double sunRightAscension(double mjd) const;
    double sunDeclination(double mjd) const;
    double axisRightAscension(double mjd) const; // radian
    double axisDeclination(double mjd) const;
    double sunAngle(double mjd) const; // radian, without wrapping
    // Of the spin axis in the frame of `rotation` and earth-fixed; the sun, earth-fixed.
    SynthVissrVector axis(double mjd) const;
    SynthVissrVector axisEarthFixed(double mjd) const;
    SynthVissrVector sun(double mjd) const;
    double rotation(int row, int column) const;
    double misalignment(int row, int column) const; // of the sensor's columns, from the angles

    // The usual values in the place of zeros.
    SynthVissr resolved() const;
    std::size_t blockOffset(std::string_view name) const;
    std::size_t recordSize() const;           // of one line
    std::size_t lineOffsetOf(int line) const; // of its control word
};
