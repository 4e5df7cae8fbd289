/*
 * Navigation and sampling of the HISD driver, on a disk of 5500 x 5500 counts: points a second.
 * hisdGatherFloor is the floor of sampling: the same positions as ready indices, out of one array.
 */
#include "drivers/hisd/nbHisd.h"
#include "tests/synth/synthHisd.h"

#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <random>
#include <vector>

namespace {

constexpr int size = 5500;

// The disk, opened once; its file goes as soon as the driver has it open.
NbSatObject* disk()
{
    static const std::unique_ptr<NbSatObject> object = [] {
        SynthHisd synth{.columns = size, .diskLines = size};
        synth.fill = [](int line, std::span<std::uint16_t> counts) {
            for (std::size_t i = 0; i < counts.size(); ++i)
                counts[i] =
                    static_cast<std::uint16_t>((3 * i + 7 * static_cast<unsigned>(line)) % 4096);
        };
        const std::string path = std::filesystem::temp_directory_path() / "benchHisd.dat";
        synth.write(path);
        auto o = std::make_unique<NbSatObject>();
        if (nbHisdLinkSat(o.get(), path.c_str()) != 0) std::abort();
        std::filesystem::remove(path);
        return o;
    }();
    return object.get();
}

struct Places {
    std::vector<double> lon, lat;
};

// 501 rows of a map of the western Pacific, one latitude each; or the same places in disorder.
Places places(bool rows)
{
    constexpr int side = 501;
    Places p;
    std::mt19937 random(3);
    std::uniform_real_distribution<double> lon(90, 190), lat(-50, 50);
    for (int y = 0; y < side; ++y)
        for (int x = 0; x < side; ++x) {
            p.lon.push_back(rows ? 90 + 0.2 * x : lon(random));
            p.lat.push_back(rows ? 50 - 0.2 * y : lat(random));
        }
    return p;
}

void hisdNavigate(benchmark::State& state, bool rows)
{
    const Places p = places(rows);
    const int n = static_cast<int>(p.lon.size());
    std::vector<float> pixel(p.lon.size()), line(p.lon.size());
    NbSatObject* o = disk();
    for (auto _ : state) {
        benchmark::DoNotOptimize(o->LonLatHgtToPixLinInfo(o->privateData, p.lon.data(),
                                                          p.lat.data(), nullptr, pixel.data(),
                                                          line.data(), nullptr, n));
    }
    state.SetItemsProcessed(state.iterations() * n);
}
BENCHMARK_CAPTURE(hisdNavigate, rows, true);
BENCHMARK_CAPTURE(hisdNavigate, scattered, false);

void hisdPositionsToEarth(benchmark::State& state)
{
    std::vector<float> pixel, line;
    for (int y = 1000; y < 4500; y += 7)
        for (int x = 1000; x < 4500; x += 7) {
            pixel.push_back(static_cast<float>(x));
            line.push_back(static_cast<float>(y));
        }
    std::vector<double> lon(pixel.size()), lat(pixel.size());
    NbSatObject* o = disk();
    const int n = static_cast<int>(pixel.size());
    for (auto _ : state) {
        benchmark::DoNotOptimize(o->PixLinToLonLatInfo(o->privateData, pixel.data(), line.data(),
                                                       lon.data(), lat.data(), nullptr, n));
    }
    state.SetItemsProcessed(state.iterations() * n);
}
BENCHMARK(hisdPositionsToEarth);

struct Positions {
    std::vector<float> pixel, line;
};

// Image positions of a strip of a map: smooth curves across the image.
Positions strip()
{
    constexpr int columns = 2501, rows = 24;
    Positions p;
    for (int y = 0; y < rows; ++y)
        for (int x = 0; x < columns; ++x) {
            const double u = x / 1250.0 - 1;
            p.pixel.push_back(static_cast<float>(2750 + 2200 * std::sin(u)));
            p.line.push_back(static_cast<float>(1200 + 0.9 * y + 80 * u * u));
        }
    return p;
}

void hisdSampleCounts(benchmark::State& state)
{
    const Positions p = strip();
    std::vector<std::int16_t> out(p.pixel.size());
    NbSatObject* o = disk();
    const int n = static_cast<int>(out.size());
    for (auto _ : state) {
        benchmark::DoNotOptimize(
            o->GetI2DataByPixLin(o->privateData, p.pixel.data(), p.line.data(), out.data(), n));
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * n);
}
BENCHMARK(hisdSampleCounts);

void hisdSampleValues(benchmark::State& state)
{
    const Positions p = strip();
    std::vector<float> out(p.pixel.size());
    NbSatObject* o = disk();
    int size3[3];
    float error = 0;
    o->SetElements(o->privateData, "B13_T", &size3[0], &size3[1], &size3[2], &error);
    const int n = static_cast<int>(out.size());
    for (auto _ : state) {
        benchmark::DoNotOptimize(
            o->GetR4DataByPixLin(o->privateData, p.pixel.data(), p.line.data(), out.data(), n));
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * n);
}
BENCHMARK(hisdSampleValues);

void hisdGatherFloor(benchmark::State& state)
{
    const Positions p = strip();
    std::vector<std::uint16_t> raster(std::size_t{size} * size, 7);
    std::vector<std::size_t> index;
    for (std::size_t i = 0; i < p.pixel.size(); ++i)
        index.push_back(static_cast<std::size_t>(p.line[i] + 0.5F) * size +
                        static_cast<std::size_t>(p.pixel[i] + 0.5F));
    std::vector<std::int16_t> out(p.pixel.size());
    for (auto _ : state) {
        for (std::size_t i = 0; i < index.size(); ++i)
            out[i] = static_cast<std::int16_t>(raster[index[i]]);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(index.size()));
}
BENCHMARK(hisdGatherFloor);

void hisdReadWholeDisk(benchmark::State& state)
{
    const std::string path = std::filesystem::temp_directory_path() / "benchHisdRead.dat";
    SynthHisd synth{.columns = size, .diskLines = size};
    synth.fill = [](int, std::span<std::uint16_t> counts) {
        std::fill(counts.begin(), counts.end(), std::uint16_t{7});
    };
    synth.bigEndian = state.range(0) != 0;
    synth.write(path);
    for (auto _ : state) {
        NbSatObject o{};
        if (nbHisdLinkSat(&o, path.c_str()) != 0) std::abort();
        for (int line = 0; line < size; ++line)
            nbpHisdReadOneLine(o.privateData, static_cast<float>(line));
        o.CloseFile(o.privateData);
    }
    state.SetBytesProcessed(state.iterations() * 2 * size * size);
    std::filesystem::remove(path);
}
BENCHMARK(hisdReadWholeDisk)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

} // namespace
