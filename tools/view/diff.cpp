// nimbex-view diff: what two files have in common, cell by cell.
#include "tools/view/commands.h"
#include "tools/view/gridFile.h"
#include "tools/view/quantity.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>

namespace nbView {
namespace {

// Cells of A and B, and B - A where both have a value.
struct Comparison {
    std::uint64_t both = 0, neither = 0, onlyA = 0, onlyB = 0, differing = 0;
    double least = std::numeric_limits<double>::infinity();
    double most = -std::numeric_limits<double>::infinity();
    double sum = 0, squares = 0;
};

std::vector<double> valuesByLevel(const GridFile& grid)
{
    std::vector<double> values(65536);
    for (int level = 0; level < 65536; ++level)
        values[static_cast<std::size_t>(level)] = static_cast<double>(grid.value(level));
    return values;
}

Comparison compare(const GridFile& a, const GridFile& b)
{
    const std::vector<double> valueA = valuesByLevel(a), valueB = valuesByLevel(b);
    Comparison result;
    for (std::size_t i = 0; i < a.levels.size(); ++i) {
        const double va = valueA[a.levels[i]], vb = valueB[b.levels[i]];
        if (std::isnan(va) || std::isnan(vb)) {
            ++(std::isnan(va) && std::isnan(vb) ? result.neither
               : std::isnan(vb)                 ? result.onlyA
                                                : result.onlyB);
            continue;
        }
        const double difference = vb - va;
        ++result.both;
        if (difference != 0) ++result.differing;
        result.least = std::min(result.least, difference);
        result.most = std::max(result.most, difference);
        result.sum += difference;
        result.squares += difference * difference;
    }
    return result;
}

void requireComparable(const GridFile& a, const GridFile& b, Quantity quantityA, Quantity quantityB)
{
    const auto fail = [&](const std::string& what) {
        throw std::runtime_error(a.path + " and " + b.path + " : " + what);
    };
    const auto size = [](const GridFile& grid) {
        return std::to_string(grid.columns) + " x " + std::to_string(grid.rows);
    };
    if (a.columns != b.columns || a.rows != b.rows)
        fail("different maps, " + size(a) + " and " + size(b) + " cells");
    if (a.isGrid != b.isGrid || (a.isGrid && (a.stepX != b.stepX || a.stepY != b.stepY ||
                                              a.corners[0].lon != b.corners[0].lon ||
                                              a.corners[0].lat != b.corners[0].lat)))
        fail("different maps");
    if (quantityA != quantityB) fail("different quantities, by their labels");
}

int run(const CommandLine& line)
{
    const GridFile a = readGridFile(line.positional()[0]);
    const GridFile b = readGridFile(line.positional()[1]);
    const Meaning meaning = meaningOf(a.label);
    requireComparable(a, b, meaning.quantity, meaningOf(b.label).quantity);
    const Comparison c = compare(a, b);

    const auto print = [](const char* what, std::uint64_t cells) {
        std::printf("%-22s %llu\n", what, static_cast<unsigned long long>(cells));
    };
    print("cells", a.levels.size());
    print("with a value in both", c.both);
    print("in neither", c.neither);
    print("in the first alone", c.onlyA);
    print("in the second alone", c.onlyB);
    print("differing values", c.differing);
    if (c.both > 0) {
        const auto n = static_cast<double>(c.both);
        std::printf("second less first      min %.7g  max %.7g  mean %.7g  rms %.7g%s%s\n", c.least,
                    c.most, c.sum / n, std::sqrt(c.squares / n),
                    meaning.unit[0] != '\0' ? "  " : "", meaning.unit);
    }
    return c.differing + c.onlyA + c.onlyB > 0 ? 1 : 0;
}

} // namespace

constexpr CommandSpec diffCommand{
    "diff",
    "A B",
    "Compares the physical values of two files of the same map, cell by cell.\n"
    "Exit status 0: the same, 1: different, 2: they cannot be compared.",
    {},
    2,
    2,
    run};

} // namespace nbView
