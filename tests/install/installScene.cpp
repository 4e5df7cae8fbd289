/*
 * The inputs of the tests of an installation: images of one count in each quarter of the disk.
 *
 *     install_scene DIRECTORY
 *
 * Writes infrared.dat (band 13), its two halves "north half.dat" and "south half.dat", visible.dat
 * (band 3), gvar.dat, native.dat (two channels of twelve) and expected.txt: for each band a line
 * with the physical values of the quarters NW, NE, SW, SE. c.txt holds what c_interface prints for
 * infrared.dat.
 */
#include "tests/synth/synthGvar.h"
#include "tests/synth/synthHisd.h"
#include "tests/synth/synthNative.h"

#include <cmath>
#include <cstdint>
#include <fstream>
#include <iomanip>
#include <string>
#include <vector>

namespace {

constexpr int infraredBand = 13;
constexpr int visibleBand = 3;

// NW, NE, SW, SE; the visible band has half as many counts.
std::vector<std::uint16_t> countsOf(int band)
{
    if (band == infraredBand) return {1000, 1700, 2400, 3100};
    return {500, 850, 1200, 1550};
}

SynthHisd quarters(int band)
{
    SynthHisd scene;
    scene.band = band;
    scene.fill = [counts = countsOf(band)](int line, std::span<std::uint16_t> row) {
        const std::size_t south = line > 55 ? 2 : 0;
        for (std::size_t c = 0; c < row.size(); ++c)
            row[c] = counts[south + (c >= 55 ? 1 : 0)];
        if (line == 1) row[2] = 65534; // off the scan
    };
    return scene.resolved();
}

double physical(const SynthHisd& scene, int quarter)
{
    return scene.physical(countsOf(scene.band)[static_cast<std::size_t>(quarter)]);
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 2) return 1;
    const std::string folder = std::string(argv[1]) + "/";
    const SynthHisd infrared = quarters(infraredBand);
    infrared.write(folder + "infrared.dat");
    const auto halves = infrared.split(2);
    halves[0].write(folder + "north half.dat");
    halves[1].write(folder + "south half.dat");

    const SynthHisd visible = quarters(visibleBand);
    visible.write(folder + "visible.dat");
    SynthGvar{}.write(folder + "gvar.dat");
    SynthNative{.channels = {3, 8}}.write(folder + "native.dat");

    std::ofstream expected(folder + "expected.txt");
    expected << std::setprecision(9);
    for (const SynthHisd& scene : {infrared, visible})
        for (int quarter = 0; quarter < 4; ++quarter)
            expected << physical(scene, quarter) << (quarter < 3 ? ' ' : '\n');

    // Levels are kelvins above 100; the map has one column west of the sub-satellite point, two
    // east of it and two behind the limb.
    std::ofstream c(folder + "c.txt");
    const auto level = [&](int quarter) { return std::lround(physical(infrared, quarter) - 100); };
    for (const int west : {0, 2})
        c << level(west) << ' ' << level(west + 1) << ' ' << level(west + 1) << " -1 -1\n";
    return expected && c ? 0 : 1;
}
