// Writes a full disk of each geostationary format into a directory, and beside each a plain disk of
// as many counts in the layout that the floor reads ("FORMAT.floor"). For bench/peers/formats.py.
#include "tests/synth/synthGvar.h"
#include "tests/synth/synthHisd.h"
#include "tests/synth/synthHrit.h"
#include "tests/synth/synthNative.h"
#include "tests/synth/synthRdat.h"
#include "tests/synth/synthVissr.h"

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>

namespace {

std::string directory;

std::string in(const std::string& name)
{
    return directory + "/" + name;
}

void writeFloor(const std::string& format, int side, double subLon)
{
    SynthHisd{.columns = side, .diskLines = side, .subLon = subLon}.write(in(format + ".floor"));
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 2) {
        std::fputs("usage: makeDisks directory\n", stderr);
        return 2;
    }
    directory = argv[1];
    std::filesystem::create_directories(directory);

    SynthHisd{.columns = 5500, .diskLines = 5500}.write(in("hisd"));
    writeFloor("hisd", 5500, 140.7);
    SynthHrit{.columns = 2200, .imageLines = 2200}.write(in("hrit"));
    writeFloor("hrit", 2200, 140);
    SynthNative{.channels = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10}, .columns = 3712, .lines = 3712}
        .write(in("native"));
    writeFloor("native", 3712, 0);
    SynthGvar{}.fullDisk().write(in("gvar"));
    writeFloor("gvar", 3589, -75.2); // infrared: 2712 lines of 4750 pixels
    const auto vissr = SynthVissr{.columns = 2291, .lines = 2291}.bytes();
    std::ofstream(in("vissr"), std::ios::binary)
        .write(reinterpret_cast<const char*>(vissr.data()),
               static_cast<std::streamsize>(vissr.size()));
    writeFloor("vissr", 2291, 140);
    SynthRdat{.columns = 5500, .lines = 5500, .eastRad = 0, .northRad = 0}.write(in("rdat"));
    writeFloor("rdat", 5500, 140.7);
}
