#include "tools/view/picture.h"

#include <algorithm>

namespace nbView {
namespace {

void enlarge(const GridFile& grid, std::span<const std::uint32_t> colours, int factor,
             Canvas& canvas)
{
    for (int row = 0; row < grid.rows; ++row) {
        std::uint32_t* const first = canvas.row(row * factor);
        std::uint32_t* out = first;
        for (int column = 0; column < grid.columns; ++column)
            out = std::fill_n(out, factor, colours[grid.levelAt(column, row)]);
        for (int copy = 1; copy < factor; ++copy)
            std::copy(first, out, canvas.row(row * factor + copy));
    }
}

void reduce(const GridFile& grid, std::span<const std::uint32_t> colours, CellScale scale,
            Canvas& canvas)
{
    struct Sum {
        std::uint64_t channel[4] = {};
        std::uint64_t cells = 0;
    };
    std::vector<std::size_t> pixelOf; // of a column
    pixelOf.reserve(static_cast<std::size_t>(grid.columns));
    for (int column = 0; column < grid.columns; ++column)
        pixelOf.push_back(static_cast<std::size_t>(scale.pixelOf(column)));
    std::vector<Sum> sums(pixelOf.back() + 1);
    for (int row = 0; row < grid.rows; ++row) {
        for (int column = 0; column < grid.columns; ++column) {
            const std::uint32_t colour = colours[grid.levelAt(column, row)];
            Sum& sum = sums[pixelOf[static_cast<std::size_t>(column)]];
            for (int i = 0; i < 4; ++i)
                sum.channel[i] += colour >> (8 * i) & 0xFF;
            ++sum.cells;
        }
        const int y = scale.pixelOf(row);
        if (row + 1 < grid.rows && scale.pixelOf(row + 1) == y) continue;
        std::uint32_t* out = canvas.row(y);
        for (const Sum& sum : sums) {
            std::uint32_t pixel = 0;
            for (int i = 0; i < 4; ++i)
                pixel |= static_cast<std::uint32_t>((sum.channel[i] + sum.cells / 2) / sum.cells)
                         << (8 * i);
            *out++ = pixel;
        }
        std::ranges::fill(sums, Sum{});
    }
}

} // namespace

void drawCells(const GridFile& grid, std::span<const std::uint32_t> colours, CellScale scale,
               Canvas& canvas)
{
    cairo_surface_t* const surface = cairo_get_target(canvas.cairo());
    cairo_surface_flush(surface);
    if (scale.factor < 1)
        reduce(grid, colours, scale, canvas);
    else
        enlarge(grid, colours, nbpTrunc32(scale.factor), canvas);
    cairo_surface_mark_dirty(surface);
}

} // namespace nbView
