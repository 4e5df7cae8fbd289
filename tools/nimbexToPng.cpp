/**
 * nimbexToPng: a picture of a nimbex file. Temperatures are shown cold and bright, reflectances
 * bright and bright, space and cells without a sample dark blue.
 */
#include "tools/arguments.h"
#include "tools/overlay.h"

#include <png.h>

#include <cmath>
#include <cstdio>
#include <exception>
#include <limits>
#include <stdexcept>

namespace {

constexpr char usage[] = "Usage : nimbexToPng [options] nimbex-file png-file\n"
                         "  --width=N       at most N pixels wide, by averaging (as the file)\n"
                         "  --low=X --high=X  physical values at the ends of the grey scale\n"
                         "  --gamma=X       exponent of the grey scale (0.8; reflectance 0.6)\n"
                         "  --coast         coast lines\n"
                         "  --net[=N]       meridians and parallels every N degrees (10)\n"
                         "  --projection=P  ps, merc or disk: the map, for coast and net; a\n"
                         "                  latitude-longitude grid says it in its header\n"
                         "  --setup=FILE    setup file that the map was made with\n"
                         "  --land=FILE     rings of coast\n";

// Colours 0 to 252 are greys.
constexpr int lastGrey = 252;
constexpr std::uint8_t missing = 253, coastLine = 254, netLine = 255;

struct Scale {
    double low, high, gamma; // values of black and white
};

// Scale for what the table holds: kelvin, reflectance or something else.
Scale usualScale(const GridFile& grid)
{
    const auto [least, most] = std::ranges::minmax(grid.table);
    if (most > 100) return {.low = 312, .high = 190, .gamma = 0.8};
    if (most < 2) return {.low = 0, .high = 0.95, .gamma = 0.6};
    return {.low = static_cast<double>(least), .high = static_cast<double>(most), .gamma = 1};
}

// Grey of every level, 0 to 252, or below 0 for one without a value and for cold space.
std::vector<float> greys(const GridFile& grid, const Scale& scale)
{
    constexpr double coldest = 175; // K: nothing on earth is as cold
    const bool temperatures = std::ranges::max(grid.table) > 100;
    std::vector<float> grey(65536, -1);
    for (std::size_t level = 0; level < grey.size(); ++level) {
        const auto value = static_cast<double>(grid.value(static_cast<std::uint16_t>(level)));
        if (std::isnan(value) || (temperatures && value < coldest)) continue;
        const double part = std::clamp((value - scale.low) / (scale.high - scale.low), 0.0, 1.0);
        grey[level] = static_cast<float>(lastGrey * std::pow(part, scale.gamma));
    }
    return grey;
}

struct Picture {
    int width = 0;
    int height = 0;
    std::vector<std::uint8_t> pixels;
};

// Each pixel is the mean of the cells it covers; it is missing when most of them are.
Picture reduce(const GridFile& grid, const std::vector<float>& grey, int reduction)
{
    Picture picture;
    picture.width = std::max(grid.columns / reduction, 1);
    picture.height = std::max(grid.rows / reduction, 1);
    const int across = std::min(reduction, grid.columns);
    const int down = std::min(reduction, grid.rows);
    for (int y = 0; y < picture.height; ++y) {
        for (int x = 0; x < picture.width; ++x) {
            float sum = 0;
            int good = 0;
            for (int j = 0; j < down; ++j) {
                const std::size_t first = static_cast<std::size_t>(y * down + j) *
                                              static_cast<std::size_t>(grid.columns) +
                                          static_cast<std::size_t>(x * across);
                for (std::size_t i = first; i < first + static_cast<std::size_t>(across); ++i) {
                    const float g = grey[grid.levels[i]];
                    if (g < 0) continue;
                    sum += g;
                    ++good;
                }
            }
            const bool shown = 2 * good >= across * down;
            picture.pixels.push_back(
                shown ? static_cast<std::uint8_t>(std::lround(sum / static_cast<float>(good)))
                      : missing);
        }
    }
    return picture;
}

void writePng(const Picture& picture, const std::string& path)
{
    std::uint8_t colours[256][3] = {};
    for (int i = 0; i <= lastGrey; ++i)
        std::fill_n(colours[i], 3, static_cast<std::uint8_t>((i * 255 + lastGrey / 2) / lastGrey));
    const auto set = [&](std::uint8_t index, std::uint8_t r, std::uint8_t g, std::uint8_t b) {
        colours[index][0] = r;
        colours[index][1] = g;
        colours[index][2] = b;
    };
    set(missing, 14, 20, 52);
    set(coastLine, 236, 196, 64);
    set(netLine, 72, 128, 168);

    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    image.width = static_cast<png_uint_32>(picture.width);
    image.height = static_cast<png_uint_32>(picture.height);
    image.format = PNG_FORMAT_RGB_COLORMAP;
    image.colormap_entries = 256;
    if (png_image_write_to_file(&image, path.c_str(), 0, picture.pixels.data(), 0, colours) == 0)
        throw std::runtime_error(path + " : " + image.message);
}

void run(const Arguments& arguments)
{
    const GridFile grid = readGridFile(arguments.positional()[0]);
    const int width = arguments.number("width", grid.columns, 16, 100000);
    const int reduction = (grid.columns + width - 1) / width;
    Scale scale = usualScale(grid);
    scale.low = arguments.number("low", scale.low, -1e6, 1e6);
    scale.high = arguments.number("high", scale.high, -1e6, 1e6);
    scale.gamma = arguments.number("gamma", scale.gamma, 0.1, 10.0);
    if (scale.low == scale.high) throw std::runtime_error("--low and --high are the same");

    Picture picture = reduce(grid, greys(grid, scale), reduction);
    if (arguments.has("coast") || arguments.has("net")) {
        const MapFunction map =
            mapFunction(grid, arguments.text("projection", ""), arguments.text("setup", ""));
        Overlay overlay(picture.pixels, picture.width, picture.height, reduction);
        if (arguments.has("net")) {
            const bool given = !arguments.text("net", "").empty();
            overlay.net(map, given ? arguments.number("net", 10, 1, 90) : 10, netLine);
        }
        if (arguments.has("coast"))
            overlay.coast(map, readLandRings(arguments.text("land", TOOLS_DATA "/land.txt")),
                          coastLine);
    }
    writePng(picture, arguments.positional()[1]);
    std::printf("%s : %s %s %s, %d x %d cells, %d x %d pixels\n", arguments.positional()[1].c_str(),
                grid.satellite.c_str(), grid.channel.c_str(), grid.start.c_str(), grid.columns,
                grid.rows, picture.width, picture.height);
}

} // namespace

int main(int argc, char** argv)
{
    try {
        const Arguments arguments(
            argc, argv,
            {"width", "low", "high", "gamma", "coast", "net", "projection", "setup", "land"});
        if (arguments.positional().size() != 2) {
            std::fputs(usage, stderr);
            return 1;
        }
        run(arguments);
        return 0;
    } catch (const std::exception& e) {
        std::fprintf(stderr, "nimbexToPng : %s\n", e.what());
        return 1;
    }
}
