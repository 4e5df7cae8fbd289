#pragma once
/**
 * The cells of a file as pixels.
 */
#include "tools/view/canvas.h"
#include "tools/view/gridFile.h"
#include "util/nbNumber.h"

#include <span>

namespace nbView {

// Pixels a cell and side: a whole number, or less than 1, when several cells share a pixel.
struct CellScale {
    double factor = 1;

    int pixelOf(int cell) const { return nbpTrunc32(cell * factor); }
    int pixels(int cells) const
    {
        return factor < 1 ? pixelOf(cells - 1) + 1 : nbpTrunc32(cells * factor);
    }
    // Pixel position of a cell position: cells count from the centre of the first.
    double position(double cell) const { return (cell + 0.5) * factor; }
};

// Draws into the upper left of the canvas. A pixel of several cells is their mean, and transparent
// by the share of cells without a colour.
//
// colours: of each level, as Canvas::row has them
void drawCells(const GridFile& grid, std::span<const std::uint32_t> colours, CellScale scale,
               Canvas& canvas);

} // namespace nbView
