#pragma once
/**
 * The strip under a picture: colour bar with numbers, and what the picture shows.
 */
#include "tools/view/canvas.h"
#include "tools/view/palette.h"

#include <string>

namespace nbView {

struct Legend {
    const Palette& palette;
    Range range;
    Quantity quantity;
    std::string title; // satellite, channel, time
    std::string scale; // quantity and unit
};

// Height of the strip under a picture of a width, pixels.
int legendHeight(int width);

// Draws it from the line `top` to the lower edge.
void drawLegend(const Legend& legend, int top, Canvas& canvas);

// Round numbers within a range, about `count` of them.
std::vector<double> roundNumbers(Range range, double count);

} // namespace nbView
