#pragma once
/**
 * Interpolation between located points of an AVHRR pass. Degrees.
 */
#include "drivers/common/nbNoaaPass.h"
#include "util/nbNumber.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

inline constexpr double noaaRadPerDeg = 0.017453292519943295; // pi / 180
inline constexpr double noaaDegPerRad = 57.29577951308232;

struct NbNoaaPlace {
    double lon = 0;
    double lat = 0;
};

// The anchor left of a pixel, at most the one before the last: the outer pixels extrapolate.
inline int nbpNoaaCell(double pixel)
{
    return std::clamp(nbpTrunc32(std::floor((pixel - 4) * 0.125)), 0, noaaAnchors - 2);
}

// Pixel of an anchor.
inline double nbpNoaaAnchorPixel(int k)
{
    return 8 * k + 4;
}

inline NbNoaaPlace nbpNoaaAnchor(const NbNoaaLine& line, int k)
{
    const auto i = static_cast<std::size_t>(k);
    return {.lon = line.lon[i], .lat = line.lat[i]};
}

// Places that lie around a point, in a plane where they can be mixed: longitude and latitude, or,
// above 87 degrees of latitude (of the first place), a plane that touches the pole, where
// longitudes have no jump.
template <std::size_t N>
class NbNoaaPlane {
public:
    explicit NbNoaaPlane(const std::array<NbNoaaPlace, N>& place)
        : polar_(!(std::fabs(place[0].lat) <= 87)), pole_(place[0].lat > 0 ? 90 : -90)
    {
        if (!polar_) {
            double west = place[0].lon;
            double east = west;
            for (const NbNoaaPlace& one : place) {
                west = std::min(west, one.lon);
                east = std::max(east, one.lon);
            }
            across_ = east - west > 180; // the date line
        }
        for (std::size_t i = 0; i < N; ++i)
            project(place[i], &x[i], &y[i]);
    }

    void project(const NbNoaaPlace& place, double* px, double* py) const
    {
        if (polar_) {
            const double r = std::fabs(pole_ - place.lat);
            *px = r * std::cos(place.lon * noaaRadPerDeg);
            *py = r * std::sin(place.lon * noaaRadPerDeg);
        } else {
            *px = across_ && place.lon < -30.0 ? place.lon + 360 : place.lon;
            *py = place.lat;
        }
    }

    NbNoaaPlace place(double px, double py) const
    {
        // Outer pixels extrapolate over the date line from either side.
        if (!polar_) return {.lon = px > 180 ? px - 360 : px < -180 ? px + 360 : px, .lat = py};
        const double r = std::sqrt(px * px + py * py);
        return {.lon = std::atan2(py, px) * noaaDegPerRad,
                .lat = pole_ > 0 ? pole_ - r : pole_ + r};
    }

    bool polar() const { return polar_; }

    std::array<double, N> x;
    std::array<double, N> y;

private:
    bool polar_;
    bool across_ = false;
    double pole_;
};

// The four anchors around a position: two of the line before it, two of the line behind.
struct NbNoaaCorners {
    const NbNoaaLine* before;
    const NbNoaaLine* after;
    int i;    // line before
    int k;    // anchor on the left
    double u; // part of the way down
    double v; // part of the way to the right

    // The pass has at least two lines; the outer pixels and half lines extrapolate.
    NbNoaaCorners(const NbNoaaPass& pass, double pixel, double line)
        : i(std::clamp(nbpTrunc32(line), 0, pass.lines() - 2)), k(nbpNoaaCell(pixel)), u(line - i),
          v((pixel - nbpNoaaAnchorPixel(k)) * 0.125)
    {
        before = &pass.line[static_cast<std::size_t>(i)];
        after = before + 1;
    }

    NbNoaaPlane<4> plane() const
    {
        return NbNoaaPlane<4>({nbpNoaaAnchor(*before, k), nbpNoaaAnchor(*before, k + 1),
                               nbpNoaaAnchor(*after, k), nbpNoaaAnchor(*after, k + 1)});
    }

    double mix(const std::array<double, 4>& x) const
    {
        return (1 - u) * ((1 - v) * x[0] + v * x[1]) + u * ((1 - v) * x[2] + v * x[3]);
    }
};
