#pragma once
/**
 * The scene as an imager records it: counts of one band, line by line.
 */
#include "tests/synth/synthHisd.h"
#include "tools/landMask.h"
#include "tools/weather.h"

#include <cstdint>
#include <span>
#include <vector>

// Low-precision position of the sun (The Astronomical Almanac, page C5): 0.01 degree.
struct SunDirection {
    double x, y, z; // unit vector, earth-fixed: x to longitude 0, z north
};
SunDirection sunDirection(double mjd);

class Scene {
public:
    // `disk` says band, size, navigation and time.
    Scene(const SynthHisd& disk, const std::vector<LandRing>& land);
    // Counts of a disk line, from 1. May be called from several threads at once.
    void line(int line, std::span<std::uint16_t> counts) const;

private:
    double physicalToCount(double value) const;
    double value(const Cover& cover, double cosSun, double cosView, double cosGlint, float land,
                 float shade) const;

    SynthHisd disk_;
    Weather weather_;
    LandMask land_;
    bool infrared_;
    bool vapour_;                     // a band in which water vapour hides the ground
    double lowest_, step_;            // of countOf_
    std::vector<float> countOf_;      // counts at evenly spaced physical values
    std::vector<double> sinX_, cosX_; // of each column's scan angle
};
