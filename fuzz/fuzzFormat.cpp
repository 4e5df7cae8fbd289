// One target a format, told by FUZZ_TYPE. The input's last byte holds the choices, what stands
// before it is the file.
#include "fuzz/fuzzFile.h"
#include "fuzz/fuzzObject.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size == 0) return 0;
    const FuzzFile file({data, size - 1});
    fuzzObject(file.path(), FUZZ_TYPE, data[size - 1]);
    return 0;
}
