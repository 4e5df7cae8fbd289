#pragma once
/**
 * Images of a coast under clouds, displaced by a known amount: what landmark matching is tried on.
 */
#include "tests/support/support.h"
#include "tools/noise.h"

#include <cstdint>
#include <string>

struct LandmarkScene {
    enum class Format { Hisd, Hrit, Vissr };
    Format format = Format::Hisd;
    bool night = false; // infrared, land colder than the sea; otherwise visible, land brighter
    int size = 320;     // pixels and lines
    double km = 10;     // size of a pixel below the satellite
    // Middle of the image from that of the disk, pixels.
    double offPixel = -150;
    double offLine = -60;

    // The image shows at a pixel what its navigation says lies (dx, dy) pixels before it.
    double dx = 0;
    double dy = 0;
    double cloud = 0;    // share of the image
    double noise = 0.5;  // of each pixel, per cent of the span from the darkest to white
    double contrast = 1; // of land and sea
    std::uint32_t seed = 1;

    // Writes the image file; gives nbSatGetChannel(object, 0) of its channel.
    int write(const std::string& path) const;
};

// A map of the shores that the scenes show.
class LandmarkMap {
public:
    LandmarkMap();
    const std::string& path() const { return path_; }
    std::string directory() const { return dir_ / ""; }

private:
    TempDir dir_;
    std::string path_ = dir_ / "nbMap30.dat";
};
