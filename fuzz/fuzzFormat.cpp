// One target a format, told by FUZZ_TYPE. The input's last byte holds the choices, what stands
// before it is the file.
#include "fuzz/fuzzObject.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size > 0) fuzzObject({data, size - 1}, FUZZ_TYPE, data[size - 1]);
    return 0;
}
