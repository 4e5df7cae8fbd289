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

#include <algorithm>
#include <filesystem>
#include <map>
#include <string>
#include <unistd.h>
#include <vector>

// frontend/satproj3.cpp is compiled in with this name for its main.
int nimbexMain(int argc, char** argv);

struct Conversion {
    std::string format;
    Bytes bytes;           // of the input file
    double lon, lat, step; // of the map's corner in the north-west, degrees

    std::vector<std::string> options = {}; // "@" in them is the conversion's folder
    std::string input = "in";
    std::map<std::string, Bytes> others = {}; // further files of the folder
    std::vector<std::string> listed = {};     // of them; the input file is the list of these
    std::string rewritten = {};               // of them; the run writes it anew
    int stride = 1; // of a long run's many reads and allocations, those that are made to fail
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

// The folder of one conversion: "in", "map", its further files, and "out" with the text "before" to
// begin with.
class ConversionFolder {
public:
    explicit ConversionFolder(const Conversion& c, const char* option = "-v")
        : inputs_(c.others), rewritten_(c.rewritten), arguments_({"nimbex", "-v", "-b", option})
    {
        const auto line = [](const char* word, double value) {
            return word + (" " + std::to_string(value) + "\n");
        };
        inputs_["in"] = c.bytes;
        // The small size first, also for what is cut off.
        writeText(dir / "map", "STDXNUM 8\nSTDYNUM 6\n" + line("STDLON", c.lon) +
                                   line("STDLAT", c.lat) + line("STDXSIZ", c.step) +
                                   line("STDYSIZ", c.step));
        std::string list;
        for (const std::string& name : c.listed)
            list += dir / name + "\n";
        if (!list.empty()) {
            writeText(dir / "in", list);
            inputs_["in"] = readFile(dir / "in");
        }
        inputs_["map"] = readFile(dir / "map");
        restoreInput();
        for (std::string text : c.options) {
            if (const auto at = text.find('@'); at != std::string::npos)
                text.replace(at, 1, dir.path());
            arguments_.push_back(text);
        }
        arguments_.insert(arguments_.end(), {dir / c.input, dir / "out", dir / "map"});
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
        if (!rewritten_.empty()) restore(rewritten_);
    }
    void restoreInput()
    {
        for (const auto& [name, bytes] : inputs_)
            restore(name);
    }
    // The exit status.
    int run() { return nimbexMain(static_cast<int>(argv_.size()) - 1, argv_.data()); }
    Bytes output() const { return readFile(dir / "out"); }
    bool isAsBefore() const
    {
        const Bytes out = output();
        return out.size() == 6 && std::to_integer<char>(out[0]) == 'b';
    }
    // What a run may write anew, as it is; nothing where there is no such file.
    Bytes rewritten() const { return rewritten_.empty() ? Bytes() : readFile(dir / rewritten_); }
    bool inputIsUntouched() const
    {
        return std::ranges::all_of(inputs_, [&](const auto& input) {
            const auto& [name, bytes] = input;
            return name == rewritten_ ||
                   (readFile(dir / name) == bytes &&
                    std::filesystem::last_write_time(dir / name) == times_.at(name));
        });
    }
    // Nothing lies there that was not there at the beginning.
    bool isTidy() const
    {
        return std::distance(std::filesystem::recursive_directory_iterator(dir.path()),
                             std::filesystem::recursive_directory_iterator()) ==
               std::ssize(inputs_) + 1;
    }

    TempDir dir;

private:
    void restore(const std::string& name)
    {
        unlink((dir / name).c_str());
        writeFile(dir / name, inputs_[name]);
        times_[name] = std::filesystem::last_write_time(dir / name);
    }

    std::map<std::string, Bytes> inputs_; // all but the output
    std::map<std::string, std::filesystem::file_time_type> times_;
    std::string rewritten_;
    std::vector<std::string> arguments_;
    std::vector<char*> argv_;
};

inline long openDescriptors()
{
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"),
                         std::filesystem::directory_iterator());
}
