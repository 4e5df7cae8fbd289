// Writes a small file of each format into a directory: the fuzzer's first inputs. Each begins with
// the byte that chooses how it is opened.
#include "tests/synth/synthGvar.h"
#include "tests/synth/synthHisd.h"
#include "tests/synth/synthHrit.h"
#include "tests/synth/synthNative.h"
#include "tests/synth/synthNoaa.h"
#include "tests/synth/synthRdat.h"
#include "tests/synth/synthVissr.h"

#include <cstdio>
#include <span>
#include <string>

namespace {

void put(const std::string& path, int choice, std::span<const std::byte> bytes)
{
    std::FILE* const f = std::fopen(path.c_str(), "wb");
    if (f == nullptr) return;
    std::fputc(choice, f);
    std::fwrite(bytes.data(), 1, bytes.size(), f);
    std::fclose(f);
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 2) {
        std::fputs("usage: fuzz_seeds directory\n", stderr);
        return 2;
    }
    const std::string directory = std::string(argv[1]) + "/";
    put(directory + "hisd", 1, SynthHisd{.columns = 40, .diskLines = 40}.bytes());
    put(directory + "hisdBig", 0x30, SynthHisd{.band = 3, .columns = 40, .diskLines = 40}.bytes());
    put(directory + "hrit", 2, SynthHrit{}.bytes());
    put(directory + "native", 3, SynthNative{}.bytes());
    put(directory + "gvar", 4, SynthGvar{}.bytes());
    put(directory + "vissr", 5, SynthVissr{}.bytes());
    put(directory + "ngac", 6, SynthNgac{}.bytes());
    put(directory + "ngacv1", 7, SynthNgacv1{}.bytes());
    put(directory + "rdat", 0, SynthRdat{}.bytes());
}
