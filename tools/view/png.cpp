// nimbex-view png: a picture with physical scaling.
#include "tools/view/commands.h"
#include "tools/view/legend.h"
#include "tools/view/overlay.h"
#include "util/nbNumber.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace nbView {
namespace {

// "LO,HI", or what the quantity usually spans.
Range rangeOf(const std::optional<std::string>& given, const Meaning& meaning, const GridFile& grid)
{
    if (given) {
        const std::size_t comma = std::min(given->find(','), given->size());
        const auto number = [](const std::string& part) {
            return parseNumber(part, "--range LO,HI :", -1e9, 1e9);
        };
        const Range range{number(given->substr(0, comma)),
                          comma < given->size() ? number(given->substr(comma + 1)) : -1e9};
        if (range.low >= range.high)
            throw UsageError("--range " + *given + " : LO,HI expected, LO the lower");
        return range;
    }
    if (meaning.low < meaning.high) return {meaning.low, meaning.high};
    const CellStatistics cells = cellStatistics(grid);
    if (cells.valid == 0) return {0, 1};
    if (meaning.quantity == Quantity::Difference) {
        // As far to both sides, so that white is no difference; rare extremes do not count.
        const double reach = std::min(std::fabs(cells.mean) + 3 * cells.deviation,
                                      std::max(std::fabs(cells.least), std::fabs(cells.most)));
        const double kelvin = std::max(1.0, std::ceil(reach));
        return {-kelvin, kelvin};
    }
    return cells.least < cells.most ? Range{cells.least, cells.most}
                                    : Range{cells.least - 1, cells.least + 1};
}

CellScale scaleOf(const CommandLine& line)
{
    const double factor = line.number("--scale", 1, 0.001, 64);
    if (factor > 1 && factor != std::floor(factor))
        throw UsageError("--scale " + *line.text("--scale") +
                         " : a whole number of pixels a cell, or less than 1, expected");
    return {factor};
}

// The colour of every level; 0, transparent, for one without a value.
std::vector<std::uint32_t> coloursOf(const GridFile& grid, const Palette& palette, Range range,
                                     Quantity quantity)
{
    std::vector<std::uint32_t> colours(65536);
    for (int level = 0; level < 65536; ++level) {
        const auto value = static_cast<double>(grid.value(level));
        if (std::isnan(value)) continue;
        const Colour c =
            colourAt(palette, (value - range.low) / (range.high - range.low), quantity);
        std::uint32_t pixel = 0xFF;
        for (const double part : {c.red, c.green, c.blue})
            pixel = pixel << 8 | static_cast<std::uint32_t>(nbpNearest32(part * 255));
        colours[static_cast<std::size_t>(level)] = pixel;
    }
    return colours;
}

std::string titleOf(const GridFile& grid)
{
    std::string title = grid.satellite;
    if (!grid.label.empty()) title += (title.empty() ? "" : "  ") + grid.label;
    const NbDateInts& t = grid.start;
    char time[64];
    std::snprintf(time, sizeof time, "  %04d-%02d-%02d %02d:%02d UTC", t.year, t.month, t.day,
                  t.hour, t.minute);
    return title + time;
}

int run(const CommandLine& line)
{
    const std::string& input = line.positional()[0];
    const std::string& output = line.positional()[1];
    const std::string shores = line.has("--map")     ? *line.text("--map")
                               : line.has("--coast") ? findShoreMap()
                                                     : "";
    requireOther(output, {input, line.text("--setup").value_or(""), shores});
    const CellScale scale = scaleOf(line);
    const double spacing = line.number("--grid", 0, 0.1, 90);
    const GridFile grid = readGridFile(input);
    const Meaning meaning = meaningOf(grid.label);
    const Palette& palette = findPalette(line.text("--palette"), meaning.quantity);
    const Range range = rangeOf(line.text("--range"), meaning, grid);

    const int width = scale.pixels(grid.columns);
    const int height = scale.pixels(grid.rows);
    Canvas canvas(width, height + (line.has("--legend") ? legendHeight(width) : 0));
    drawCells(grid, coloursOf(grid, palette, range, meaning.quantity), scale, canvas);
    if (line.has("--coast") || line.has("--grid")) {
        const MapGeometry geometry(grid, line.text("-p"), line.text("--setup"));
        Overlay overlay(geometry, grid, scale, canvas);
        if (line.has("--coast")) overlay.coast(shores);
        if (line.has("--grid")) overlay.net(spacing);
    }
    if (line.has("--legend")) {
        const std::string unit = meaning.unit;
        drawLegend({palette, range, meaning.quantity, titleOf(grid),
                    meaning.name + (unit.empty() ? unit : " (" + unit + ")")},
                   height, canvas);
    }
    canvas.writePng(output);
    return 0;
}

constexpr OptionSpec options[] = {
    {"--range", "LO,HI", "values at the ends of the palette (by the quantity)"},
    {"--palette", "NAME",
     "grey: temperatures white when cold, dark when warm\n"
     "enhanced: the same, cold cloud tops in colour\n"
     "visible: reflectance, dark parts raised\n"
     "rainbow, diff (blue, white, red)"},
    {"--coast", nullptr, "coast lines"},
    {"--map", "FILE", "map of shorelines for --coast (NIMBL_MAP, nbMap30.dat)"},
    {"--grid", "DEG", "meridians and parallels every DEG degrees"},
    {"--legend", nullptr, "colour bar with units, satellite, channel and time"},
    {"--scale", "N", "pixels a cell: 2, 3, ..., or less than 1 (1)"},
    projectionOption,
    setupOption,
};

} // namespace

constexpr CommandSpec pngCommand{
    "png",
    "FILE OUT.png",
    "A picture in physical units; cells without a value are transparent.",
    options,
    2,
    2,
    run};

} // namespace nbView
