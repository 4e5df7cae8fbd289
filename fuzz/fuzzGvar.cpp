// GVAR with its CRCs made good, so that what changed reaches the decoders. The last byte is as in
// fuzzFormat.cpp; its highest bit leaves the CRCs as they are.
#include "fuzz/fuzzFile.h"
#include "fuzz/fuzzObject.h"
#include "tests/synth/synthGvar.h"

#include <algorithm>
#include <vector>

namespace {

constexpr std::size_t recordSize = 26624;
constexpr std::size_t copySize = 30;
constexpr std::size_t headSize = 3 * copySize;

void putCrc(std::span<std::uint8_t> bytes)
{
    const std::size_t size = bytes.size() - 2;
    const std::uint16_t crc = synthGvarCrc(std::as_bytes(bytes).data(), size);
    bytes[size] = static_cast<std::uint8_t>(crc >> 8);
    bytes[size + 1] = static_cast<std::uint8_t>(crc);
}

// Repairs the block at the start of `bytes`; gives its length, 0 when it has none.
std::size_t repairBlock(std::span<std::uint8_t> bytes)
{
    if (bytes.size() < headSize) return 0;
    for (std::size_t copy = 0; copy < headSize; copy += copySize)
        putCrc(bytes.subspan(copy, copySize));
    const std::size_t words = bytes[2] * 256U + bytes[3];
    const std::size_t length = headSize + (std::max<std::size_t>(words, 2) - 2) * bytes[1] / 8 + 2;
    if (length <= bytes.size()) putCrc(bytes.subspan(headSize, length - headSize));
    return length;
}

void repair(std::span<std::uint8_t> bytes)
{
    if (bytes.size() < 2) return;
    const unsigned sync = bytes[0] * 256U + bytes[1];
    const bool records = sync == 0x5A5A || sync == 0xFF01;
    while (!bytes.empty()) {
        std::size_t step = recordSize;
        if (records) {
            const std::size_t prefix = bytes[0] == 0x5A ? 10 : 2;
            if (bytes.size() > prefix) repairBlock(bytes.subspan(prefix));
        } else {
            step = repairBlock(bytes);
            if (step == 0) return;
        }
        bytes = bytes.subspan(std::min(step, bytes.size()));
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size == 0) return 0;
    std::vector<std::uint8_t> bytes(data, data + size - 1);
    const unsigned choices = data[size - 1];
    if ((choices & 128U) == 0) repair(bytes);
    const FuzzFile file(bytes);
    fuzzObject(file.path(), "?type=gvar", choices);
    return 0;
}
