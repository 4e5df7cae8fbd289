#pragma once
/**
 * The raw positions by which a map is laid over a list of files of one view: what the drivers'
 * NbSatRawNav operations share.
 */
#include "drivers/common/nbImageLimits.h"
#include "util/nbNumber.h"

#include <limits>

// Raw positions of n places. locate(lon, lat, &pixel, &line, &limb) gives the position (from 0)
// of one at height 0, and how far it lies behind the limb (km^2, above 0: behind); false for what
// is no place, which has no number in any output.
template <class Locate>
void nbpRawPosition(const double* lon, const double* lat, float* pixel, float* line, float* limb,
                    int n, Locate locate)
{
    for (int i = 0; i < n; ++i) {
        double hidden = 0;
        if (locate(lon[i], lat[i], &pixel[i], &line[i], &hidden))
            limb[i] = nbpToFloat(hidden);
        else
            pixel[i] = line[i] = limb[i] = std::numeric_limits<float>::quiet_NaN();
    }
}

// Leaves the positions that are seen and for which inside(pixel, line) holds; the others become
// -9999.0.
template <class Inside>
void nbpRawLimit(float* pixel, float* line, const float* limb, int n, Inside inside)
{
    constexpr float noPosition = -9999.0F;
    for (int i = 0; i < n; ++i) {
        const bool keep = (limb[i] <= 0.0F) & inside(pixel[i], line[i]);
        pixel[i] = keep ? pixel[i] : noPosition;
        line[i] = keep ? line[i] : noPosition;
    }
}

// To the lines and columns of a file.
inline void nbpRawLimitToImage(float* pixel, float* line, const float* limb, int n,
                               const NbImageLimits& limits)
{
    nbpRawLimit(pixel, line, limb, n,
                [limits](float p, float l) { return limits.hasPixel(p) & limits.hasLine(l); });
}

// Left, right, top and bottom of a file's image.
inline void nbpRawBounds(const NbImageLimits& limits, float box[4])
{
    box[0] = limits.left;
    box[1] = limits.right;
    box[2] = limits.top;
    box[3] = limits.bottom;
}
