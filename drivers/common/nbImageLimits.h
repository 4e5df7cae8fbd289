#pragma once
/**
 * Which positions lie on the lines and columns of a file.
 */
#include <cmath>

// Limits for 0-based positions: the nearest column is one of 1 to columns, the nearest line one
// of the file's. All of them are whole numbers and a half, exact in float.
struct NbImageLimits {
    float left, right, top, bottom; // left and top belong to the file

    NbImageLimits(int columns, int firstLine, int lastLine)
        : left(-0.5F), right(static_cast<float>(columns) - 0.5F),
          top(static_cast<float>(firstLine) - 1.5F), bottom(static_cast<float>(lastLine) - 0.5F)
    {
    }
    bool hasPixel(float pixel) const { return pixel >= left && pixel < right; }
    bool hasLine(float line) const { return line >= top && line < bottom; }
};

// Position from 0 of a position from 1. The difference is exact from 0.5 up; below, it may round
// to -0.5 and so into the image, where the position itself is not.
inline float nbpFromZero(float position)
{
    const float moved = position - 1.0F;
    return moved == -0.5F && position < 0.5F ? std::nextafter(-0.5F, -1.0F) : moved;
}
