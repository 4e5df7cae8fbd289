// nimbex-view csv: physical values at places.
#include "tools/view/commands.h"
#include "tools/view/mapGeometry.h"
#include "util/nbNumber.h"

#include <cmath>
#include <cstdio>

namespace nbView {
namespace {

int run(const CommandLine& line)
{
    const auto& arguments = line.positional();
    if (arguments.size() % 2 == 0) throw UsageError("csv : a LON without its LAT");
    MapGeometry::Points places;
    for (std::size_t i = 1; i < arguments.size(); i += 2)
        places.add(std::remainder(parseNumber(arguments[i], "LON", -360, 360), 360),
                   parseNumber(arguments[i + 1], "LAT", -90, 90));

    const GridFile grid = readGridFile(arguments[0]);
    const MapGeometry geometry(grid, line.text("-p"), line.text("--setup"));
    geometry.toCells(places);
    std::puts("lon,lat,column,row,level,value");
    for (std::size_t i = 0; i < places.lon.size(); ++i) {
        std::string row = arguments[2 * i + 1] + "," + arguments[2 * i + 2] + ",";
        const double x = std::floor(static_cast<double>(places.x[i]) + 0.5);
        const double y = std::floor(static_cast<double>(places.y[i]) + 0.5);
        if (!(x >= 0 && y >= 0 && x < grid.columns && y < grid.rows)) {
            row += ",,,outside the map";
        } else {
            const int column = nbpTrunc32(x);
            const int level = grid.levelAt(column, nbpTrunc32(y));
            const float value = grid.value(level);
            row += text(x) + "," + text(y) + "," + std::to_string(level) + "," +
                   (std::isnan(value) ? "no data" : text(value));
        }
        std::puts(row.c_str());
    }
    return 0;
}

constexpr OptionSpec options[] = {projectionOption, setupOption};

} // namespace

constexpr CommandSpec csvCommand{
    "csv",
    "FILE LON LAT ...",
    "Physical values at places, degrees east and north: one line each, of the cell that holds it.\n"
    "Columns and rows count from 0. \"outside the map\" and \"no data\" stand for a value.",
    options,
    3,
    SIZE_MAX,
    run};

} // namespace nbView
