#pragma once
/**
 * A tiny file of each format and the map it is converted to, run through the program's own main in
 * this process.
 */
#include "tests/support/support.h"
#include "tests/synth/synthGvar.h"
#include "tests/synth/synthHisd.h"
#include "tests/synth/synthHrit.h"
#include "tests/synth/synthNative.h"
#include "tests/synth/synthNoaa.h"
#include "tests/synth/synthRdat.h"
#include "tests/synth/synthVissr.h"

#include <filesystem>
#include <string>
#include <unistd.h>
#include <vector>

// frontend/satproj3.cpp is compiled in with this name for its main.
int nimbexMain(int argc, char** argv);

struct Conversion {
    std::string format;
    Bytes bytes;
    double lon, lat, step; // of the map's corner in the north-west, degrees
};

inline std::vector<Conversion> conversions()
{
    // From the grid's first corner, which is off the earth, to the sub-satellite point.
    const SynthNative native{.channels = {0}, .columns = 1862, .lines = 1862};
    SynthNgac ngac;
    SynthNgacv1 ngacv1;
    ngac.lines = ngacv1.lines = 30;
    return {
        {"hisd", SynthHisd{.columns = 40, .diskLines = 40}.bytes(), 125, 20, 5},
        {"hrit", SynthHrit{.columns = 40, .imageLines = 40}.bytes(), 125, 20, 5},
        {"native", native.bytes(), -0.2, 0.2, 0.05},
        {"rdat", SynthRdat{.columns = 60, .lines = 40}.bytes(), 132.5, 31.8, 0.1},
        {"vissr", SynthVissr{.columns = 40, .lines = 40}.bytes(), 125, 20, 5},
        {"gvar", SynthGvar{}.bytes(), -75.4, 0.8, 0.03},
        {"ngac", ngac.bytes(), -0.4, 0.7, 0.1},
        {"ngacv1", ngacv1.bytes(), -0.4, 0.7, 0.1},
    };
}

// The folder of one conversion: "in", "map", and "out" with the text "before" to begin with.
class ConversionFolder {
public:
    explicit ConversionFolder(const Conversion& c, const char* option = "-v")
        : input_(c.bytes),
          arguments_({"nimbex", "-v", "-b", option, dir / "in", dir / "out", dir / "map"})
    {
        restoreInput();
        const auto line = [](const char* word, double value) {
            return word + (" " + std::to_string(value) + "\n");
        };
        writeText(dir / "map", line("STDLON", c.lon) + line("STDLAT", c.lat) +
                                   line("STDXSIZ", c.step) + line("STDYSIZ", c.step) +
                                   "STDXNUM 8\nSTDYNUM 6\n");
        for (std::string& argument : arguments_)
            argv_.push_back(argument.data());
        argv_.push_back(nullptr);
        reset();
    }
    // Names go first: a file system may wait for the disk when a file is cut and written anew.
    void reset()
    {
        unlink((dir / "out").c_str());
        writeText(dir / "out", "before");
    }
    void restoreInput()
    {
        unlink((dir / "in").c_str());
        writeFile(dir / "in", input_);
    }
    // The exit status.
    int run() { return nimbexMain(static_cast<int>(argv_.size()) - 1, argv_.data()); }
    Bytes output() const { return readFile(dir / "out"); }
    bool isAsBefore() const
    {
        const Bytes out = output();
        return out.size() == 6 && std::to_integer<char>(out[0]) == 'b';
    }
    bool inputIsUntouched() const { return readFile(dir / "in") == input_; }
    // Nothing lies there that was not there at the beginning.
    bool isTidy() const
    {
        return std::distance(std::filesystem::directory_iterator(dir.path()),
                             std::filesystem::directory_iterator()) == 3;
    }

    TempDir dir;

private:
    Bytes input_;
    std::vector<std::string> arguments_;
    std::vector<char*> argv_;
};

inline long openDescriptors()
{
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"),
                         std::filesystem::directory_iterator());
}
