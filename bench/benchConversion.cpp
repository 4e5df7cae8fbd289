// The main job in one process and as a process, on a synthetic full disk of 5500 x 5500 pixels:
// positions of a map grid, samples at them, and the whole conversion, each beside the floor that
// the machine itself sets: the same work with nothing but the arithmetic in it.
#include "geo/nbProj.h"
#include "sat/nbSat.h"
#include "sat/nbSatElem.h"
#include "sat/nbSatGetDataByPixLin.h"
#include "sat/nbSatGetProjData.h"
#include "sat/nbSatLattice.h"
#include "sat/nbSatNav.h"
#include "tests/synth/synthHisd.h"

#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <numeric>
#include <string>
#include <vector>

namespace {

constexpr int side = 2501;

// The disk on disk, made once a process and removed at its end.
class Disk {
public:
    Disk()
        : directory_(std::filesystem::temp_directory_path() /
                     ("nimbexBench" + std::to_string(std::rand())))
    {
        std::filesystem::create_directory(directory_);
        SynthHisd disk{.columns = 5500, .diskLines = 5500};
        disk.write(path());
        std::ofstream(directory_ / "setup")
            << "STDLON 120\nSTDLAT 50\nSTDXSIZ 0.02\nSTDYSIZ 0.02\nSTDXNUM " << side << "\nSTDYNUM "
            << side << "\n";
    }
    ~Disk() { std::filesystem::remove_all(directory_); }
    std::string path() const { return directory_ / "disk.dat"; }
    std::string setup() const { return directory_ / "setup"; }
    std::string output() const { return directory_ / "out"; }

    static const Disk& get()
    {
        static const Disk disk;
        return disk;
    }

private:
    std::filesystem::path directory_;
};

struct Open {
    NbSatObject object{};
    Open()
    {
        if (nbSatOpenObject(&object, Disk::get().path().c_str()) != 0) std::abort();
        nbSatSetElems(&object, "B13");
    }
    ~Open() { nbSatCloseObject(&object); }
};

NbProjPara map(int rough)
{
    NbProjPara p{};
    p.prjType = NB_PROJ_GRID;
    p.baseLon = 120;
    p.baseLat = 50;
    p.stepX = p.stepY = 0.02;
    p.xNum = p.yNum = side;
    p.roughX = p.roughY = rough;
    return p;
}

// Longitudes and latitudes of every `step`-th row and column.
void earth(int step, std::vector<double>& lon, std::vector<double>& lat)
{
    for (int y = 0; y < side; y += step)
        for (int x = 0; x < side; x += step) {
            lon.push_back(120 + 0.02 * x);
            lat.push_back(50 - 0.02 * y);
        }
}

void count(benchmark::State& state, std::size_t n)
{
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(n));
}

// The navigation formula with nothing around it.
void navigationFloor(benchmark::State& state)
{
    std::vector<double> lon;
    std::vector<double> lat;
    earth(6, lon, lat);
    std::vector<float> pixel(lon.size());
    std::vector<float> line(lon.size());
    constexpr double degree = 3.141592653589793 / 180;
    constexpr double re = 6378.137;
    constexpr double rp = 6356.7523;
    constexpr double rs = 42164;
    for (auto _ : state) {
        for (std::size_t i = 0; i < lon.size(); ++i) {
            const double q = rp * rp / (re * re);
            const double c = std::atan(q * std::tan(lat[i] * degree));
            const double d = (lon[i] - 140.7) * degree;
            const double r = rp / std::sqrt(1 - (1 - q) * std::cos(c) * std::cos(c));
            const double r1 = rs - r * std::cos(c) * std::cos(d);
            const double r2 = -r * std::cos(c) * std::sin(d);
            const double r3 = r * std::sin(c);
            const double far = std::sqrt(r1 * r1 + r2 * r2 + r3 * r3);
            pixel[i] = static_cast<float>(312.3 * std::atan2(-r2, r1) / degree + 2749.5);
            line[i] = static_cast<float>(312.3 * std::asin(-r3 / far) / degree + 2749.5);
        }
        benchmark::DoNotOptimize(pixel.data());
        benchmark::ClobberMemory();
    }
    count(state, lon.size());
}
BENCHMARK(navigationFloor)->Unit(benchmark::kMillisecond);

void navigation(benchmark::State& state)
{
    Open open;
    std::vector<double> lon;
    std::vector<double> lat;
    earth(6, lon, lat);
    std::vector<float> pixel(lon.size());
    std::vector<float> line(lon.size());
    for (auto _ : state)
        nbSatLonLatToPixLin(&open.object, lon.data(), lat.data(), pixel.data(), line.data(),
                            static_cast<int>(lon.size()));
    count(state, lon.size());
}
BENCHMARK(navigation)->Unit(benchmark::kMillisecond);

// Positions of all cells by the lattice, without samples.
void latticePositions(benchmark::State& state)
{
    Open open;
    NbProjPara p = map(6);
    const NbGrid grid(&p);
    for (auto _ : state) {
        NbLatticeEarth lattice(grid);
        NbStripPositions strips(&open.object, grid, NbCellFields{},
                                std::make_shared<NbRawLattice>(grid, nbpSatRawNav(&open.object),
                                                               open.object.privateData));
        for (int strip = 0; strip < grid.strips(); ++strip) {
            lattice.load("bench", strip);
            lattice.load("bench", strip + 1);
            benchmark::DoNotOptimize(strips.fill("bench", lattice, strip));
        }
    }
    count(state, static_cast<std::size_t>(side) * side);
}
BENCHMARK(latticePositions)->Unit(benchmark::kMillisecond);

// Exact positions of the cells of a few rows, for scale.
struct Positions {
    std::vector<float> pixel, line;
    Positions(NbSatObject* object, int rows)
    {
        for (int y = 0; y < rows; ++y) {
            std::vector<double> lon(side);
            std::vector<double> lat(side, 50 - 0.02 * y);
            for (int x = 0; x < side; ++x)
                lon[static_cast<std::size_t>(x)] = 120 + 0.02 * x;
            const std::size_t at = pixel.size();
            pixel.resize(at + side);
            line.resize(at + side);
            nbSatLonLatToPixLin(object, lon.data(), lat.data(), pixel.data() + at, line.data() + at,
                                side);
        }
    }
};

// Nearest samples from one block of memory, positions given.
void samplesFloor(benchmark::State& state)
{
    Open open;
    const Positions at(&open.object, 600);
    const std::vector<std::uint16_t> image(5500U * 5500U, 7);
    std::vector<std::int16_t> out(at.pixel.size());
    for (auto _ : state) {
        for (std::size_t i = 0; i < out.size(); ++i) {
            const int column = static_cast<int>(at.pixel[i] + 0.5F);
            const int line = static_cast<int>(at.line[i] + 0.5F);
            out[i] = static_cast<std::int16_t>(
                image[static_cast<std::size_t>(line) * 5500 + static_cast<std::size_t>(column)]);
        }
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    count(state, out.size());
}
BENCHMARK(samplesFloor)->Unit(benchmark::kMillisecond);

void samples(benchmark::State& state)
{
    Open open;
    const Positions at(&open.object, 600);
    std::vector<std::int16_t> out(at.pixel.size());
    for (auto _ : state)
        nbSatGetI2DataByPixLin(&open.object, at.pixel.data(), at.line.data(), out.data(),
                               static_cast<int>(out.size()));
    count(state, out.size());
}
BENCHMARK(samples)->Unit(benchmark::kMillisecond);

// The grid in memory; argument: roughness.
void projectedData(benchmark::State& state)
{
    Open open;
    NbProjPara p = map(static_cast<int>(state.range(0)));
    std::vector<std::int16_t> out(static_cast<std::size_t>(side) * side);
    for (auto _ : state)
        nbSatGetI2ProjData(&open.object, &p, out.data(), 0, 0, nullptr, nullptr);
    count(state, out.size());
}
BENCHMARK(projectedData)->Arg(6)->Arg(1)->Unit(benchmark::kMillisecond);

// What any program does to the file that it reads and the file that it writes.
void conversionFloor(benchmark::State& state)
{
    const Disk& disk = Disk::get();
    std::vector<char> block(1U << 20);
    const std::vector<char> rows(static_cast<std::size_t>(side) * side, 7);
    for (auto _ : state) {
        std::FILE* in = std::fopen(disk.path().c_str(), "rb");
        while (std::fread(block.data(), 1, block.size(), in) > 0) {
        }
        std::fclose(in);
        std::FILE* out = std::fopen(disk.output().c_str(), "wb");
        std::fwrite(rows.data(), 1, rows.size(), out);
        std::fclose(out);
    }
}
BENCHMARK(conversionFloor)->Unit(benchmark::kMillisecond);

// The program, start to end.
void conversion(benchmark::State& state)
{
    const Disk& disk = Disk::get();
    const std::string command = std::string(NIMBEX_PROGRAM) + " -c=0 -b=8 " + disk.path() + " " +
                                disk.output() + " " + disk.setup() + " 2>/dev/null";
    for (auto _ : state)
        if (std::system(command.c_str()) != 0) state.SkipWithError("the conversion failed");
}
BENCHMARK(conversion)->Unit(benchmark::kMillisecond)->UseRealTime();

} // namespace
