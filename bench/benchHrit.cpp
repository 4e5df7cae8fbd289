/*
 * An infrared disk of 2200 x 2200 counts in ten HRIT segments onto a map of 2501 x 2501 cells: the
 * grid in memory and the program, beside the same disk as one segment.
 */
#include "sat/nbSat.h"
#include "sat/nbSatElem.h"
#include "sat/nbSatGetProjData.h"
#include "tests/synth/synthHrit.h"

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace {

constexpr int side = 2501;

// The files, made once a process and removed at its end.
class Files {
public:
    Files()
    {
        std::filesystem::create_directories(directory_);
        const SynthHrit disk{.columns = 2200, .imageLines = 2200};
        for (const SynthHrit& part : disk.split(10)) {
            const std::string path = directory_ / ("segment" + std::to_string(part.segment));
            part.write(path);
            segments_ += (segments_.empty() ? "" : " ") + path;
            std::ofstream(directory_ / "list", std::ios::app) << path << "\n";
        }
        disk.write(directory_ / "whole");
        std::ofstream(directory_ / "setup")
            << "STDLON 120\nSTDLAT 50\nSTDXSIZ 0.02\nSTDYSIZ 0.02\nSTDXNUM " << side << "\nSTDYNUM "
            << side << "\n";
    }
    ~Files() { std::filesystem::remove_all(directory_); }
    std::string input(int count) const { return count == 10 ? segments_ : path("whole"); }
    std::string path(const char* name) const { return directory_ / name; }

    static const Files& get()
    {
        static const Files files;
        return files;
    }

private:
    std::filesystem::path directory_ =
        std::filesystem::temp_directory_path() / ("nimbexBenchHrit" + std::to_string(std::rand()));
    std::string segments_;
};

void hritProjected(benchmark::State& state)
{
    const int count = static_cast<int>(state.range(0));
    std::vector<NbSatObject> objects(10);
    if (nbSatOpenObject(objects.data(), Files::get().input(count).c_str()) != 0) std::abort();
    nbSatSetElems(objects.data(), "IR1");
    NbProjPara map{};
    map.prjType = NB_PROJ_GRID;
    map.baseLon = 120;
    map.baseLat = 50;
    map.stepX = map.stepY = 0.02;
    map.xNum = map.yNum = side;
    map.roughX = map.roughY = 6;
    std::vector<std::int16_t> out(static_cast<std::size_t>(side) * side);
    for (auto _ : state)
        nbSatGetI2ProjData(objects.data(), &map, out.data(), NB_OVERLAP_LATEST_FILE, 0, nullptr,
                           nullptr);
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(out.size()));
    for (int i = 0; i < count; ++i)
        nbSatCloseObject(&objects[static_cast<std::size_t>(i)]);
}
BENCHMARK(hritProjected)->Arg(1)->Arg(10)->Unit(benchmark::kMillisecond);

void hritConversion(benchmark::State& state)
{
    const Files& files = Files::get();
    const int count = static_cast<int>(state.range(0));
    const std::string command = std::string(NIMBEX_PROGRAM) + " -c=0 -b=8 " +
                                (count == 10 ? "-m " + files.path("list") : files.input(count)) +
                                " " + files.path("out") + " " + files.path("setup") +
                                " 2>/dev/null";
    for (auto _ : state)
        if (std::system(command.c_str()) != 0) state.SkipWithError("the conversion failed");
}
BENCHMARK(hritConversion)->Arg(1)->Arg(10)->Unit(benchmark::kMillisecond)->UseRealTime();

} // namespace
