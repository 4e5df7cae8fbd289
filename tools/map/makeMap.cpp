/**
 * nimbex-map: makes a shore map, such as nbMap30.dat, from public shorelines.
 */
#include "tools/arguments.h"
#include "tools/map/shoreSource.h"

#include <cstdio>
#include <exception>

namespace {
constexpr const char* usage =
    "usage: nimbex-map SOURCE MAP\n"
    "\n"
    "Makes a shore map for nimbex, such as nbMap30.dat, from SOURCE:\n"
    "  *.nc       binned shorelines of GSHHG, such as binned_GSHHS_i.nc of Debian's\n"
    "             gmt-gshhg-low (c, l, i: 25, 5, 1 km), gmt-gshhg-high (h: 0.2 km) or\n"
    "             gmt-gshhg-full (f)\n"
    "  otherwise  text, a ring a line: 0 around land or 1 around a hole in it, then\n"
    "             longitude latitude pairs in degrees; # begins a comment line\n"
    "The map is of use in the directory that nimbex -d names, or as the file that\n"
    "NIMBL_MAP names in the environment.\n";
} // namespace

int main(int argc, char** argv)
{
    try {
        const Arguments arguments(argc, argv, {"help"});
        if (arguments.has("help")) {
            std::fputs(usage, stdout);
            return 0;
        }
        if (arguments.positional().size() != 2) {
            std::fputs(usage, stderr);
            return 2;
        }
        const std::string& source = arguments.positional()[0];
        const std::string& map = arguments.positional()[1];
        requireOther(map, {source});
        makeShoreMap(source, map);
        return 0;
    } catch (const UsageError& e) {
        std::fprintf(stderr, "nimbex-map : %s\n", e.what());
        return 2;
    } catch (const std::exception& e) {
        std::fprintf(stderr, "nimbex-map : %s\n", e.what());
        return 1;
    }
}
