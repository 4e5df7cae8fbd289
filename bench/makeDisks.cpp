// Writes a full disk of each geostationary format into a directory, and beside each a plain disk of
// as many counts in the layout that the floor reads ("FORMAT.floor"): the input of
// peers/formats.py. With --small: an image of few pixels of every format, for
// scripts/memcheck.
#include "tests/synth/synthGvar.h"
#include "tests/synth/synthHisd.h"
#include "tests/synth/synthHrit.h"
#include "tests/synth/synthNative.h"
#include "tests/synth/synthNoaa.h"
#include "tests/synth/synthRdat.h"
#include "tests/synth/synthVissr.h"

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>

namespace {

std::string directory;

template <class Synth>
void put(const std::string& name, const Synth& image)
{
    const auto bytes = image.bytes();
    std::ofstream(directory + "/" + name, std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes.data()),
               static_cast<std::streamsize>(bytes.size()));
}

// Scene by scene, line by line: large ones do not fit into memory twice.
template <class Synth>
void write(const std::string& name, const Synth& image)
{
    image.write(directory + "/" + name);
}

void writeFloor(const std::string& format, int side, double subLon)
{
    write(format + ".floor", SynthHisd{.columns = side, .diskLines = side, .subLon = subLon});
}

void makeSmall()
{
    put("hisd", SynthHisd{});
    put("hrit", SynthHrit{});
    // From the grid's south-eastern corner: the earth begins some way up and left of it.
    put("native",
        SynthNative{.channels = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10}, .columns = 1856, .lines = 320});
    put("gvar", SynthGvar{.north = 7401, .south = 8408, .west = 14601, .east = 16000});
    put("vissr", SynthVissr{});
    put("rdat", SynthRdat{});
    put("ngac", SynthNgac{});
    put("ngacv1", SynthNgacv1{});
}

void makeDisks()
{
    write("hisd", SynthHisd{.columns = 5500, .diskLines = 5500});
    writeFloor("hisd", 5500, 140.7);
    write("hrit", SynthHrit{.columns = 2200, .imageLines = 2200});
    writeFloor("hrit", 2200, 140);
    write("native", SynthNative{.channels = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10},
                                .columns = 3712,
                                .lines = 3712});
    writeFloor("native", 3712, 0);
    write("gvar", SynthGvar{}.fullDisk());
    writeFloor("gvar", 3589, -75.2); // infrared: 2712 lines of 4750 pixels
    put("vissr", SynthVissr{.columns = 2291, .lines = 2291});
    writeFloor("vissr", 2291, 140);
    write("rdat", SynthRdat{.columns = 5500, .lines = 5500, .eastRad = 0, .northRad = 0});
    writeFloor("rdat", 5500, 140.7);
}

} // namespace

int main(int argc, char** argv)
{
    const bool small = argc == 3 && std::string_view(argv[1]) == "--small";
    if (argc != 2 && !small) {
        std::fputs("usage: makeDisks [--small] directory\n", stderr);
        return 2;
    }
    directory = argv[argc - 1];
    std::filesystem::create_directories(directory);
    small ? makeSmall() : makeDisks();
}
