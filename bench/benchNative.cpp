// A native full disk of one channel, start to end, beside what any program does to the file that
// it reads and the file that it writes. The floors of the map itself stand in benchConversion.
#include "drivers/common/nbUnpack10.h"
#include "tests/synth/synthNative.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace {

constexpr int side = 2501;
constexpr int disk = 3712;

// The file, made once a process and removed at its end.
class NativeDisk {
public:
    NativeDisk()
        : directory_(std::filesystem::temp_directory_path() /
                     ("nimbexBenchNative" + std::to_string(std::rand())))
    {
        std::filesystem::create_directory(directory_);
        SynthNative{.channels = {0}, .columns = disk, .lines = disk}.write(path());
        std::ofstream(directory_ / "setup")
            << "STDLON -25\nSTDLAT 25\nSTDXSIZ 0.02\nSTDYSIZ 0.02\nSTDXNUM " << side << "\nSTDYNUM "
            << side << "\n";
    }
    ~NativeDisk() { std::filesystem::remove_all(directory_); }
    std::string path() const { return directory_ / "disk.nat"; }
    std::string setup() const { return directory_ / "setup"; }
    std::string output() const { return directory_ / "out"; }

    static const NativeDisk& get()
    {
        static const NativeDisk made;
        return made;
    }

private:
    std::filesystem::path directory_;
};

void nativeFileFloor(benchmark::State& state)
{
    const NativeDisk& files = NativeDisk::get();
    std::vector<char> block(1U << 20);
    const std::vector<char> rows(static_cast<std::size_t>(side) * side, 7);
    for (auto _ : state) {
        std::FILE* in = std::fopen(files.path().c_str(), "rb");
        while (std::fread(block.data(), 1, block.size(), in) > 0) {
        }
        std::fclose(in);
        std::FILE* out = std::fopen(files.output().c_str(), "wb");
        std::fwrite(rows.data(), 1, rows.size(), out);
        std::fclose(out);
    }
}
BENCHMARK(nativeFileFloor)->Unit(benchmark::kMillisecond);

// All lines of the disk from one in the cache.
void nativeUnpack(benchmark::State& state)
{
    const std::vector<std::byte> packed(disk * 10 / 8, std::byte{0x5A});
    std::vector<std::uint16_t> counts(disk);
    for (auto _ : state)
        for (int line = 0; line < disk; ++line) {
            nbpUnpack10(packed, counts);
            benchmark::DoNotOptimize(counts.data());
            benchmark::ClobberMemory();
        }
}
BENCHMARK(nativeUnpack)->Unit(benchmark::kMillisecond);

void nativeConversion(benchmark::State& state)
{
    const NativeDisk& files = NativeDisk::get();
    const std::string command = std::string(NIMBEX_PROGRAM) + " -c=0 -b=8 " + files.path() + " " +
                                files.output() + " " + files.setup() + " 2>/dev/null";
    for (auto _ : state)
        if (std::system(command.c_str()) != 0) state.SkipWithError("the conversion failed");
}
BENCHMARK(nativeConversion)->Unit(benchmark::kMillisecond)->UseRealTime();

} // namespace
